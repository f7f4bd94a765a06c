// How the window's text is rasterised, where Qt's own choice does not suit Tarn's themes.
#pragma once

namespace TextRendering {

// Draws CFF fonts (Noto Sans CJK, the Chinese fallback) like TrueType ones, without FreeType's
// stem darkening. Qt turns that darkening on and then blends such glyphs gamma-corrected, which
// balances dark text on a light page but makes light text on the dark theme a quarter heavier:
// Chinese looked bold in the dark theme only, while Latin text, TrueType, stayed the same. Call
// once the application object exists and before any text is drawn.
void drawCffFontsUndarkened();

} // namespace TextRendering
