// What a standard-flavour page has beyond the shared template: its Content-Security-Policy,
// the styles and scripts for math, code colours and images that do not load.
#pragma once

#include "MarkdownRenderer.h"

#include <string>

namespace TarnGfm {

// The policy's <meta> element, to go first in <head>: only the scripts that
// `appendScripts` and the shared template put on this page may run.
std::u16string securityPolicy(const MarkdownRenderer::Fragment &fragment);
// <style> elements, and the script that frames images that fail, for the end of <head>.
void appendStyles(std::u16string &page, const MarkdownRenderer::Fragment &fragment,
                  TarnTheme theme);
// Script elements (and KaTeX's styles) that go after the diagram library and before the reader
// script.
void appendScripts(std::u16string &page, const MarkdownRenderer::Fragment &fragment);

} // namespace TarnGfm
