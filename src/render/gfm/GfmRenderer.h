// The standard flavour: CommonMark with GitHub's extensions, parsed by cmark-gfm, turned into the
// same kind of fragment and outline as the classic grammar's.
#pragma once

#include "MarkdownRenderer.h"

#include <memory>
#include <string_view>

namespace TarnGfm {

// With `keptTree`, the parser's tree is handed over there instead of being freed on return.
MarkdownRenderer::Fragment renderFragment(std::u16string_view markdown,
                                          std::shared_ptr<void> *keptTree = nullptr);
MarkdownRenderer::Fragment renderFragment(std::string_view markdownUtf8,
                                          std::shared_ptr<void> *keptTree = nullptr);

} // namespace TarnGfm
