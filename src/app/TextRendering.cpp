// FreeType settings for the text Qt draws in the window.
#include "TextRendering.h"

#ifdef TARN_HAS_FREETYPE
#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_MODULE_H

// Qt's FreeType library for the calling thread, exported by Qt GUI but declared only in its
// private headers; Qt itself sets "no-stem-darkening" to false on it when it creates it.
FT_Library qt_getFreetype();
#endif

namespace TextRendering {

void drawCffFontsUndarkened()
{
#ifdef TARN_HAS_FREETYPE
    FT_Bool noStemDarkening = true;
    FT_Property_Set(qt_getFreetype(), "cff", "no-stem-darkening", &noStemDarkening);
#endif
}

} // namespace TextRendering
