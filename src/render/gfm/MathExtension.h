// Math as GitHub writes it, as a cmark-gfm syntax extension: "$…$" inline and "$$…$$" display.
#pragma once

#include <cmark-gfm-extension_api.h>

namespace TarnGfm {

// The extension, created once per process; attach it to each parser.
cmark_syntax_extension *mathExtension();
// The node types it creates; their TeX source is the node's string content.
cmark_node_type mathInlineType();
cmark_node_type mathDisplayType();
// Forgets what earlier documents taught the scanner; call before each parse on this thread.
void resetMathScanner();

} // namespace TarnGfm
