// The standard flavour's HTML: one walk over cmark-gfm's parse tree.
#pragma once

#include "MarkdownRenderer.h"

#include <cmark-gfm.h>

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace TarnGfm {

// Appends the blocks of `root` to `out` (UTF-8) and fills the fragment's outline, source lines
// and resource flags; `firstLine` is the 0-based source line of the tree's line 1. Alerts are
// taken out of the tree as they are met. Raw HTML is written (through GitHub's tag filter)
// only with `keepRawHtml`, for a caller that sanitizes the byte ranges of `out` returned (whole
// top-level blocks holding raw HTML); otherwise it is left out and nothing is returned.
std::vector<std::pair<std::size_t, std::size_t>> writeHtml(cmark_node *root, std::size_t firstLine,
                                                           std::string &out,
                                                           MarkdownRenderer::Fragment &fragment,
                                                           bool keepRawHtml);

} // namespace TarnGfm
