// The block loop and the line-oriented blocks: paragraphs, quotes, lists and rules.
#include "RendererInternal.h"

#include <climits>

#include <unicode/uchar.h>
#include <unicode/utf16.h>

namespace TarnRender {

u16 normalizeLineEnds(u16v text)
{
    u16 out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != u'\r') {
            out.push_back(text[i]);
            continue;
        }
        out.push_back(u'\n');
        if (i + 1 < text.size() && text[i + 1] == u'\n')
            ++i;
    }
    return out;
}

std::vector<u16v> splitLines(u16v text)
{
    std::vector<u16v> lines;
    lines.reserve(text.size() / 40 + 1);
    std::size_t begin = 0;
    while (true) {
        const std::size_t end = text.find(u'\n', begin);
        if (end == u16v::npos) {
            lines.push_back(text.substr(begin));
            break;
        }
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

bool beginsWithFence(u16v trimmedLine)
{
    return startsWithChars(trimmedLine, u"```");
}

bool isHeadingStart(u16v line)
{
    const u16v t = trimmed(line);
    std::size_t level = 0;
    while (level < t.size() && t[level] == u'#')
        ++level;
    return level >= 1 && level <= 6 && level < t.size() && t[level] == u' ' &&
           isBoundary(t, level) && isBoundary(t, level + 1);
}

bool isHorizontalRule(u16v line)
{
    const u16v t = trimmed(line);
    if (t.size() < 3 || (t[0] != u'-' && t[0] != u'*' && t[0] != u'_'))
        return false;
    // A combining mark would make a character other than the rule's, so plain equality suffices.
    return t.find_first_not_of(t[0]) == u16v::npos;
}

namespace {

bool mayStartListItem(u16v t)
{
    if (t.empty())
        return false;
    if (t[0] == u'-' || t[0] == u'*' || t[0] == u'+')
        return true;
    UChar32 c;
    std::size_t i = 0;
    U16_NEXT(t.data(), i, t.size(), c);
    return u_isdigit(c);
}

std::optional<long long> parseDecimal(u16v digits)
{
    long long value = 0;
    for (char16_t c : digits) {
        if (c < u'0' || c > u'9')
            return std::nullopt;
        if (value > (LLONG_MAX - (c - u'0')) / 10)
            return std::nullopt;
        value = value * 10 + (c - u'0');
    }
    return value;
}

// True when the list patterns' "." and "$" meet no line terminator in `t` and their "\s" means
// exactly tab and the space separators: then they can be matched by hand, with the same result.
bool isPlainLine(u16v t)
{
    for (char16_t c : t) {
        if ((c < 0x20 && c != u'\t') || c == 0x85 || c == 0x2028 || c == 0x2029)
            return false;
    }
    return true;
}

std::size_t skipWhitespace(u16v t, std::size_t i)
{
    while (i < t.size() && isWhitespace(t[i])) // every space separator is in the BMP
        ++i;
    return i;
}

// The list patterns matched by hand on a plain, trimmed line that may start an item (most
// lines of real documents); sets `decided` to false where only the expressions can tell.
std::optional<ListItemInfo> plainListInfo(u16v t, bool &decided)
{
    decided = true;
    ListItemInfo item;
    if (t[0] == u'-' || t[0] == u'*' || t[0] == u'+') {
        const std::size_t text = skipWhitespace(t, 1);
        if (text == 1 || text == t.size())
            return std::nullopt;
        if (text + 3 < t.size() && t[text] == u'[' &&
            (t[text + 1] == u' ' || t[text + 1] == u'x' || t[text + 1] == u'X') &&
            t[text + 2] == u']') {
            const std::size_t content = skipWhitespace(t, text + 3);
            if (content > text + 3 && content < t.size()) {
                item.content = u16(t.substr(content));
                item.checked = t[text + 1] != u' ';
                return item;
            }
        }
        item.content = u16(t.substr(text));
        return item;
    }
    std::size_t digits = 0;
    while (digits < t.size() && t[digits] >= u'0' && t[digits] <= u'9')
        ++digits;
    if (digits == 0 || (digits < t.size() && t[digits] >= 0x80)) {
        decided = false; // a digit of another script may follow
        return std::nullopt;
    }
    if (digits == t.size() || t[digits] != u'.')
        return std::nullopt;
    const std::size_t content = skipWhitespace(t, digits + 1);
    if (content == digits + 1 || content == t.size())
        return std::nullopt;
    item.ordered = true;
    item.content = u16(t.substr(content));
    item.start = parseDecimal(t.substr(0, digits));
    return item;
}

} // namespace

std::optional<ListItemInfo> listInfo(u16v line)
{
    const u16v t = trimmed(line);
    if (!mayStartListItem(t))
        return std::nullopt;
    if (isPlainLine(t)) {
        bool decided = false;
        auto item = plainListInfo(t, decided);
        if (decided)
            return item;
    }
    if (auto task = firstMatch(t, uR"(^[-*+]\s+\[( |x|X)\]\s+(.+)$)")) {
        ListItemInfo item;
        item.content = (*task)[2];
        item.checked = toLowerFull((*task)[1]) == u"x";
        return item;
    }
    if (auto bullet = firstMatch(t, uR"(^[-*+]\s+(.+)$)")) {
        ListItemInfo item;
        item.content = (*bullet)[1];
        return item;
    }
    if (auto ordered = firstMatch(t, uR"(^(\d+)\.\s+(.+)$)")) {
        ListItemInfo item;
        item.ordered = true;
        item.content = (*ordered)[2];
        item.start = parseDecimal((*ordered)[1]);
        return item;
    }
    return std::nullopt;
}

void Parser::parse(u16 &out)
{
    bool any = false;
    auto append = [&](const u16 &block) {
        if (any)
            out.push_back(u'\n');
        out.append(block);
        any = true;
    };

    while (index < lines.size()) {
        const u16v line = lines[index];
        const u16v t = trimmed(line);
        if (t.empty()) {
            ++index;
            continue;
        }
        // Each branch below appends exactly one top-level element.
        blockLines.push_back(index);
        if (beginsWithFence(t)) {
            append(parseCodeFence());
        } else if (auto heading = parseHeading(line)) {
            append(*heading);
            ++index;
        } else if (isHorizontalRule(line)) {
            append(u"<hr>");
            ++index;
        } else if (isTableStart(index)) {
            append(parseTable());
        } else if (startsWithChars(t, u">")) {
            append(parseBlockquote());
        } else if (auto item = listInfo(line)) {
            append(parseList(*item));
        } else {
            append(parseParagraph());
        }
    }
    if (!any)
        out.append(kEmptyState);
}

u16 Parser::parseParagraph()
{
    u16 joined;
    const std::size_t first = index;
    for (std::size_t i = index; i < lines.size(); ++i) {
        const u16v line = lines[i];
        const u16v t = trimmed(line);
        if (i > first &&
            (t.empty() || beginsWithFence(t) || isHeadingStart(line) || isHorizontalRule(line) ||
             isTableStart(i) || startsWithChars(t, u">") || listInfo(line)))
            break;
        if (i > first)
            joined.push_back(u' ');
        joined.append(line);
        index = i + 1;
    }
    return u"<p>" + renderInline(joined) + u"</p>";
}

u16 Parser::parseBlockquote()
{
    u16 out = u"<blockquote>";
    bool firstLine = true;
    while (index < lines.size()) {
        const u16v t = trimmed(lines[index]);
        if (!startsWithChars(t, u">"))
            break;
        if (!firstLine)
            out.append(u"<br>");
        out.append(renderInline(trimmed(t.substr(1))));
        firstLine = false;
        ++index;
    }
    return out + u"</blockquote>";
}

u16 Parser::parseList(const ListItemInfo &first)
{
    const u16v tag = first.ordered ? u"ol" : u"ul";
    u16 out = u"<";
    out.append(tag);
    if (first.ordered && first.start && *first.start != 1) {
        out.append(u" start=\"");
        appendDecimal(out, *first.start);
        out.append(u"\"");
    }
    out.append(u">\n");

    bool firstItem = true;
    while (index < lines.size()) {
        const auto item = firstItem ? std::optional<ListItemInfo>(first) : listInfo(lines[index]);
        if (!item || item->ordered != first.ordered)
            break;
        if (!firstItem)
            out.push_back(u'\n');
        if (item->checked) {
            out.append(u"<li class=\"task-item\"><input type=\"checkbox\" disabled");
            if (*item->checked)
                out.append(u" checked");
            out.append(u"><span>");
            out.append(renderInline(item->content));
            out.append(u"</span></li>");
        } else {
            out.append(u"<li>");
            out.append(renderInline(item->content));
            out.append(u"</li>");
        }
        firstItem = false;
        ++index;
    }
    out.append(u"\n</");
    out.append(tag);
    out.append(u">");
    return out;
}

} // namespace TarnRender
