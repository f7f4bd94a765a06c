// The standard flavour: CommonMark with GitHub's extensions, parsed by cmark-gfm, turned into the
// same kind of fragment and outline as the classic grammar's.
#pragma once

#include "MarkdownRenderer.h"

#include <string_view>

namespace TarnGfm {

MarkdownRenderer::Fragment renderFragment(std::u16string_view markdown);
MarkdownRenderer::Fragment renderFragment(std::string_view markdownUtf8);

} // namespace TarnGfm
