// Math as GitHub writes it, as a cmark-gfm syntax extension: "$…$" inline and "$$…$$" display.
#pragma once

#include <cmark-gfm-extension_api.h>

#include <string_view>

namespace TarnGfm {

// The extension, created once per process; attach it to each parser.
cmark_syntax_extension *mathExtension();
enum class Math
{
    none,
    inlineMath,
    displayMath
};
// Which formula a node holds, if it is one the extension made, and its TeX source. Formulas
// have node types of their own, except in table cells: cmark-gfm's tables accept only their
// known inline types there, so a formula in a cell is a code node marked as math.
Math mathOf(cmark_node *node);
std::string_view texOf(cmark_node *node);
// Forgets what earlier documents taught the scanner; call before each parse on this thread.
void resetMathScanner();

} // namespace TarnGfm
