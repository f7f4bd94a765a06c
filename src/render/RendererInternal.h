// Shared helpers of the renderer's translation units; not part of the public interface.
#pragma once

#include "MarkdownRenderer.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace TarnRender {

using u16 = std::u16string;
using u16v = std::u16string_view;

// --- Characters (Text.cpp) ---------------------------------------------------------------

// Tab and the Unicode space separators (Zs).
bool isWhitespace(char32_t c);
// Every separator (Z), U+000A...U+000D and U+0085.
bool isWhitespaceOrLineBreak(char32_t c);
// Code points that join the preceding character into one user-perceived character.
bool isGraphemeExtender(char32_t c);
// True when a user-perceived character ends just before index `i` of `s`.
bool isBoundary(u16v s, std::size_t i);
// `s` begins with the characters of the ASCII `prefix`, none of them carrying a combining mark.
bool startsWithChars(u16v s, u16v prefix);

u16v trimmed(u16v s);
u16v trimmedWide(u16v s);
// Trims a link or image address.
u16v trimmedAddress(u16v s);

void replaceAll(u16 &s, u16v from, u16v to);
void appendEscapedHTML(u16 &out, u16v text);
void appendEscapedAttribute(u16 &out, u16v text);
// Full, locale-independent lower-case mapping.
u16 toLowerFull(u16v s);
void appendDecimal(u16 &out, long long value);

// --- Resources (Resources.cpp) -------------------------------------------------------

// A file of the program's resources (`relativePath` below the resource folder), whole, or
// nothing when it is missing or unreadable; the text version also when it is not UTF-8.
std::optional<std::string> readResourceBytes(const std::string &relativePath);
std::optional<u16> readResourceText(const std::string &relativePath);

// --- Regular expressions (Matchers.cpp) ------------------------------------------------

// One match of an inline pattern: the whole match and up to two groups, as offsets.
struct Match
{
    std::size_t begin = 0, end = 0;
    std::size_t g1Begin = 0, g1End = 0;
    std::size_t g2Begin = 0, g2End = 0;
};

// Ranges [begin, end) of the tags in `s`: from each "<" to the next ">" outside quotes.
using TagRanges = std::vector<std::pair<std::size_t, std::size_t>>;
TagRanges tagRanges(u16v s);
bool insideTag(const TagRanges &tags, std::size_t at);

// Each finder returns the non-overlapping matches, left to right, exactly as an ICU regular
// expression search of the quoted pattern would find them.
std::vector<Match> findCodeSpans(u16v s); // `([^`]+)`
std::vector<Match> findImages(u16v s);    // !\[([^\]]*)\]\(([^)]+)\)
// \[([^\]]+)\]\(([^)]+)\); with `keepTagsWhole`, a match that would begin or end inside one of
// the tags already in `s` is not taken.
std::vector<Match> findLinks(u16v s, bool keepTagsWhole = false);
std::vector<Match> findPaired(u16v s, char16_t c); // cc(.+?)cc  for ~, * and _
std::vector<Match> findSingle(u16v s, char16_t c); // (?<!c)c([^c]+)c(?!c)  for * and _

// The first ICU match of `pattern` in `text`, group 0 first; nothing when there is no match or
// the pattern does not compile. Patterns are compiled once per thread.
std::optional<std::vector<u16>> firstMatch(u16v text, u16v pattern);

// --- Inline rendering (Inline.cpp) -------------------------------------------------------

u16 renderInline(u16v text);
u16 plainText(u16v text);

// --- Shared by both flavours (Headings.cpp, Blocks.cpp) ----------------------------------

// Readable, unique element ids for headings: letters, marks and numbers of the lower-cased plain
// text, other runs as one hyphen; a repeated id gets "-2", "-3", ... Ids never hold "_".
struct SlugRegistry
{
    std::unordered_map<u16, long long> counts;
    u16 unique(u16v plain);
};

// A ```mermaid block: the figure the reader script turns into a diagram.
void appendDiagram(u16 &out, long long number, u16v code);
bool isDiagramLanguage(u16v language);

// --- Block parsing (Parser.cpp, Headings.cpp, Blocks.cpp) ---------------------------------

struct ListItemInfo
{
    bool ordered = false;
    u16 content;
    std::optional<bool> checked;
    std::optional<long long> start;
};

struct Parser
{
    std::vector<u16v> lines;
    std::size_t index = 0;
    std::vector<TOCItem> toc;
    std::vector<std::size_t> headingLines; // the source line of each outline entry
    std::vector<std::size_t> blockLines;   // the first source line of each top-level block
    SlugRegistry slugs;
    bool hasMermaid = false;
    long long mermaidCounter = 0;

    // Appends the blocks' HTML to `out`, or the empty state when there is none.
    void parse(u16 &out);

    // Block parsers: each consumes at least the line at `index`.
    u16 parseParagraph();
    u16 parseBlockquote();
    u16 parseList(const ListItemInfo &first);
    u16 parseCodeFence();
    u16 parseTable();
    std::optional<u16> parseHeading(u16v line);
    u16 uniqueSlug(u16v text);

    bool isTableStart(std::size_t at) const;
};

std::vector<u16v> splitLines(u16v normalizedText);
// Replaces "\r\n" and then lone "\r" by "\n"; returns the input unchanged when it has no "\r".
u16 normalizeLineEnds(u16v text);

bool isHeadingStart(u16v line);
bool isHorizontalRule(u16v line);
bool beginsWithFence(u16v trimmedLine);
std::optional<ListItemInfo> listInfo(u16v line);
bool isTableSeparator(u16v line);
std::vector<u16v> splitTableRow(u16v line);
u16 normalizedFenceLanguage(u16v info);

inline constexpr std::u16string_view kEmptyState =
    u"<section class=\"empty-state\"><h1>Tarn</h1><p>打开或拖入 Markdown "
    u"文件开始阅读。</p></section>";

} // namespace TarnRender
