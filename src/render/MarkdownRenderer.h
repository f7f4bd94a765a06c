// Public face of the Markdown renderer: Markdown text in, complete reader page and outline out.
#pragma once

#include "TarnTheme.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// One outline entry; `id` is the heading's slug and element id.
struct TOCItem
{
    std::u16string id;
    std::u16string title;
    std::int64_t level = 1;
    friend bool operator==(const TOCItem &, const TOCItem &) = default;
};

// Which grammar reads the text: Tarn's own small one, or CommonMark with GitHub's extensions.
enum class MarkdownFlavor
{
    classic,
    gfm
};

struct RenderedMarkdown
{
    std::u16string html; // the complete, self-contained page
    std::vector<TOCItem> toc;
    std::vector<std::size_t> headingLines; // 0-based source line of each outline entry
    // The standard flavour's parse tree, freed with the last copy of this. Freeing the tree of
    // a large document takes about as long as writing its page, so a reader may keep it until
    // the page is on screen.
    std::shared_ptr<void> parseTree;
};

namespace MarkdownRenderer {

RenderedMarkdown render(std::u16string_view markdown, TarnTheme theme = TarnTheme::businessBlue,
                        std::u16string_view title = u"Tarn",
                        MarkdownFlavor flavor = MarkdownFlavor::classic);
// The same, for UTF-8 input (invalid sequences become U+FFFD).
RenderedMarkdown render(std::string_view markdownUtf8, TarnTheme theme = TarnTheme::businessBlue,
                        std::u16string_view title = u"Tarn",
                        MarkdownFlavor flavor = MarkdownFlavor::classic);

// Only the block fragment that goes inside <main>, for callers and tests that need no page.
struct Fragment
{
    std::u16string html;
    std::vector<TOCItem> toc;
    std::vector<std::size_t> headingLines; // 0-based source line of each outline entry
    std::vector<std::size_t> blockLines;   // 0-based first source line of each top-level block
    bool hasMermaid = false;
    // What the standard flavour's page needs besides the reader script.
    bool hasMath = false;      // math elements for KaTeX
    bool hasHighlight = false; // code blocks in a language the highlighter knows
};
Fragment renderFragment(std::u16string_view markdown,
                        MarkdownFlavor flavor = MarkdownFlavor::classic);

// The page around a fragment rendered already in `flavor`: what `render` returns for the text.
// The standard flavour's policy, styles and scripts follow the fragment's flags.
std::u16string pageOf(const Fragment &fragment, MarkdownFlavor flavor,
                      TarnTheme theme = TarnTheme::businessBlue,
                      std::u16string_view title = u"Tarn");
// pageOf in the standard flavour.
std::u16string standardPage(const Fragment &fragment, TarnTheme theme = TarnTheme::businessBlue,
                            std::u16string_view title = u"Tarn");

std::u16string escapeHTML(std::u16string_view text);
std::u16string escapeAttribute(std::u16string_view text);

// "<script>\n" + the diagram library + "\n</script>", or empty when the library is missing or
// unreadable. The file is read once per process.
const std::u16string &inlineMermaidScript();

// The DOM-morphing library (morphdom's browser build) that the split view's preview runs to
// change only the blocks that changed; empty when it is missing. Read once per process.
const std::u16string &morphingLibrary();

// The reader script, embedded verbatim from reader-script.js at build time.
std::u16string_view readerScript();

} // namespace MarkdownRenderer

namespace TarnText {
std::u16string fromUtf8(std::string_view utf8);
std::string toUtf8(std::u16string_view utf16);
} // namespace TarnText
