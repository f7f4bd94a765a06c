// A line scan for constructs the classic grammar shows differently from CommonMark: the block
// rules here follow CommonMark's closely enough to tell, and stop at the first one found.
#include "FlavorHints.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace FlavorHints {
namespace {

using View = std::u16string_view;

// One source line: its indentation in columns (tabs to the next multiple of four) and the text
// after it, without a trailing carriage return or trailing blanks.
struct Line
{
    int indent = 0;
    View text;
};

bool isBlankChar(char16_t c)
{
    return c == u' ' || c == u'\t';
}

bool isAsciiLetter(char16_t c)
{
    return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

bool isAsciiDigit(char16_t c)
{
    return c >= u'0' && c <= u'9';
}

Line splitLine(View raw)
{
    Line line;
    std::size_t i = 0;
    for (; i < raw.size() && isBlankChar(raw[i]); ++i)
        line.indent = raw[i] == u'\t' ? (line.indent / 4 + 1) * 4 : line.indent + 1;
    std::size_t end = raw.size();
    while (end > i && (isBlankChar(raw[end - 1]) || raw[end - 1] == u'\r'))
        --end;
    line.text = raw.substr(i, end - i);
    return line;
}

std::size_t runLength(View text, char16_t c)
{
    std::size_t n = 0;
    while (n < text.size() && text[n] == c)
        ++n;
    return n;
}

bool consistsOf(View text, char16_t c)
{
    return !text.empty() && runLength(text, c) == text.size();
}

// A code fence opener or closer: three or more backticks or tildes.
struct Fence
{
    char16_t marker = 0;
    std::size_t length = 0;
};

std::optional<Fence> fenceOf(const Line &line)
{
    if (line.indent >= 4 || line.text.empty())
        return std::nullopt;
    const char16_t c = line.text[0];
    if (c != u'`' && c != u'~')
        return std::nullopt;
    const std::size_t length = runLength(line.text, c);
    if (length < 3)
        return std::nullopt;
    return Fence{c, length};
}

bool isListItem(View text)
{
    if (text.empty())
        return false;
    std::size_t i = 0;
    if (text[0] == u'-' || text[0] == u'*' || text[0] == u'+') {
        i = 1;
    } else {
        while (i < text.size() && i < 9 && isAsciiDigit(text[i]))
            ++i;
        if (i == 0 || i >= text.size() || (text[i] != u'.' && text[i] != u')'))
            return false;
        ++i;
    }
    return i == text.size() || isBlankChar(text[i]);
}

bool isThematicBreak(View text)
{
    if (text.empty() || (text[0] != u'-' && text[0] != u'*' && text[0] != u'_'))
        return false;
    std::size_t count = 0;
    for (char16_t c : text) {
        if (c == text[0])
            ++count;
        else if (!isBlankChar(c))
            return false;
    }
    return count >= 3;
}

bool isAtxHeading(View text)
{
    const std::size_t hashes = runLength(text, u'#');
    return hashes >= 1 && hashes <= 6 && (hashes == text.size() || isBlankChar(text[hashes]));
}

// Starts a block of its own, so it cannot continue a paragraph or a list item.
bool startsOtherBlock(const Line &line)
{
    const View text = line.text;
    return isAtxHeading(text) || isThematicBreak(text) || text[0] == u'>' || text[0] == u'|' ||
           fenceOf(line).has_value();
}

// "[label]:" at the start of the text; the label may not be blank.
bool isDefinitionLabel(View text, bool footnote)
{
    const std::size_t start = footnote ? 2 : 1;
    if (text.size() <= start || text[0] != u'[' || (text[1] == u'^') != footnote)
        return false;
    bool blank = true;
    for (std::size_t i = start; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c == u'\\') {
            ++i;
            blank = false;
        } else if (c == u'[') {
            return false;
        } else if (c == u']') {
            return !blank && i + 1 < text.size() && text[i + 1] == u':';
        } else if (!isBlankChar(c)) {
            blank = false;
        }
    }
    return false;
}

bool isLinkReferenceDefinition(View text)
{
    if (!isDefinitionLabel(text, false))
        return false;
    // A destination must follow on the same line; "[x]: " at the end of a line is rare enough.
    const std::size_t colon = text.find(u"]:");
    return text.substr(colon + 2).find_first_not_of(u" \t") != View::npos;
}

// The tag name at `text[i]` ("<" already passed), or an empty view when none starts there.
View tagNameAt(View text, std::size_t i)
{
    if (i < text.size() && text[i] == u'/')
        ++i;
    const std::size_t begin = i;
    if (i >= text.size() || !isAsciiLetter(text[i]))
        return {};
    while (i < text.size() && (isAsciiLetter(text[i]) || isAsciiDigit(text[i]) || text[i] == u'-'))
        ++i;
    // A name ends the tag, a blank starts its attributes; "<http:" or "<a@b>" are autolinks.
    if (i < text.size() && text[i] != u'>' && text[i] != u'/' && !isBlankChar(text[i]))
        return {};
    return text.substr(begin, i - begin);
}

bool equalsIgnoringCase(View name, std::u16string_view lower)
{
    return name.size() == lower.size() &&
           std::equal(name.begin(), name.end(), lower.begin(), [](char16_t a, char16_t b) {
               return (a >= u'A' && a <= u'Z' ? char16_t(a + 32) : a) == b;
           });
}

// Tags people write inside a paragraph; other names in running text ("List<String>") are more
// often prose than markup.
bool isInlineTagName(View name)
{
    static constexpr std::array<std::u16string_view, 24> names{
        u"a",  u"abbr",  u"b",    u"br",     u"code", u"del",     u"details", u"div",
        u"em", u"i",     u"img",  u"ins",    u"kbd",  u"mark",    u"p",       u"picture",
        u"s",  u"small", u"span", u"strong", u"sub",  u"summary", u"sup",     u"u"};
    return std::any_of(names.begin(), names.end(), [name](std::u16string_view known) {
        return equalsIgnoringCase(name, known);
    });
}

bool hasRawHtml(const Line &line)
{
    const View text = line.text;
    if (line.indent < 4 && text.size() > 1 && text[0] == u'<') {
        if (text.starts_with(u"<!--") || text.starts_with(u"<?") ||
            (text[1] == u'!' && text.size() > 2 && isAsciiLetter(text[2])))
            return true;
        if (!tagNameAt(text, 1).empty() && text.find(u'>') != View::npos)
            return true;
    }
    // Inline tags outside code spans: an even number of backticks before the "<".
    std::size_t backticks = 0;
    for (std::size_t i = 0; i + 1 < text.size(); ++i) {
        if (text[i] == u'`') {
            ++backticks;
        } else if (text[i] == u'<' && backticks % 2 == 0) {
            const View name = tagNameAt(text, i + 1);
            if (!name.empty() && isInlineTagName(name) && text.find(u'>', i) != View::npos)
                return true;
        }
    }
    return false;
}

// Front matter: "---" as the very first line, closed by "---" or "..." with a key in between.
bool hasFrontMatter(View markdown)
{
    std::size_t position = 0;
    bool first = true;
    bool sawKey = false;
    while (position <= markdown.size()) {
        std::size_t end = markdown.find(u'\n', position);
        if (end == View::npos)
            end = markdown.size();
        const View raw = markdown.substr(position, end - position);
        const Line line = splitLine(raw);
        if (first) {
            if (line.indent != 0 || line.text != u"---")
                return false;
            first = false;
        } else if (line.indent == 0 && (line.text == u"---" || line.text == u"...")) {
            return sawKey;
        } else if (line.text.find(u':') != View::npos) {
            sawKey = true;
        }
        position = end + 1;
    }
    return false;
}

} // namespace

std::optional<Construct> firstStandardConstruct(View markdown)
{
    if (hasFrontMatter(markdown))
        return Construct::frontMatter;

    enum class Previous
    {
        blank,
        paragraph,
        listItem,
        other
    };
    Previous previous = Previous::blank;
    std::optional<Fence> openFence;
    bool inList = false;
    int listIndent = 0;

    std::size_t position = 0;
    while (position <= markdown.size()) {
        std::size_t end = markdown.find(u'\n', position);
        if (end == View::npos)
            end = markdown.size();
        const Line line = splitLine(markdown.substr(position, end - position));
        position = end + 1;

        if (openFence) {
            const auto fence = fenceOf(line);
            if (fence && fence->marker == openFence->marker && fence->length >= openFence->length &&
                runLength(line.text, fence->marker) == line.text.size())
                openFence.reset();
            continue;
        }
        if (line.text.empty()) {
            previous = Previous::blank;
            continue;
        }
        if (const auto fence = fenceOf(line)) {
            openFence = fence;
            previous = Previous::other;
            inList = inList && line.indent >= 2;
            continue;
        }
        if (isListItem(line.text)) {
            if (inList && line.indent >= listIndent + 2)
                return Construct::nestedList;
            if (!inList)
                listIndent = line.indent;
            inList = true;
            previous = Previous::listItem;
            continue;
        }
        if (previous == Previous::listItem && !startsOtherBlock(line))
            return Construct::continuedListItem;
        if (inList && previous == Previous::blank && line.indent >= listIndent + 2)
            return Construct::continuedListItem;
        if (line.indent >= 4 && previous == Previous::blank)
            return Construct::indentedCode;
        if (previous == Previous::paragraph && line.indent < 4 &&
            (consistsOf(line.text, u'=') || consistsOf(line.text, u'-')))
            return Construct::underlinedHeading;
        if (line.indent < 4 && isDefinitionLabel(line.text, true))
            return Construct::footnote;
        if (line.indent < 4 && previous != Previous::paragraph &&
            isLinkReferenceDefinition(line.text))
            return Construct::linkReferenceDefinition;
        if (hasRawHtml(line))
            return Construct::rawHtml;

        inList = false;
        previous = startsOtherBlock(line) ? Previous::other : Previous::paragraph;
    }
    return std::nullopt;
}

} // namespace FlavorHints
