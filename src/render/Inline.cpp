// Inline Markdown: a fixed sequence of whole-string passes, and the outline's plain-text stripper.
#include "RendererInternal.h"

namespace TarnRender {
namespace {

constexpr u16v kPlaceholder = u"TARNCODEPLACEHOLDER";
constexpr u16v kPlaceholderEnd = u"END";

// Rebuilds `s` with each match replaced by what `replacement` appends. Equivalent to replacing
// the matches from last to first, since they never overlap.
template<typename Replacement>
void replaceMatches(u16 &s, const std::vector<Match> &matches, Replacement replacement)
{
    if (matches.empty())
        return;
    u16 out;
    out.reserve(s.size() + matches.size() * 16);
    std::size_t copied = 0;
    for (std::size_t i = 0; i < matches.size(); ++i) {
        const Match &match = matches[i];
        out.append(s, copied, match.begin - copied);
        replacement(out, u16v(s), match, i);
        copied = match.end;
    }
    out.append(s, copied, u16::npos);
    s = std::move(out);
}

u16v group1(u16v s, const Match &match)
{
    return s.substr(match.g1Begin, match.g1End - match.g1Begin);
}

u16v group2(u16v s, const Match &match)
{
    return s.substr(match.g2Begin, match.g2End - match.g2Begin);
}

// The scheme as a browser reads it: it drops ASCII tab, LF and CR anywhere and C0 controls and
// spaces in front, so "java<TAB>script:" would run as "javascript:".
bool isScriptAddress(u16v address)
{
    u16 scheme;
    for (const char16_t c : address) {
        if (c == u'\t' || c == u'\n' || c == u'\r' || (scheme.empty() && c <= 0x20))
            continue;
        scheme.push_back(c);
        if (scheme.size() == 64)
            break;
    }
    return toLowerFull(scheme).starts_with(u"javascript:");
}

void appendAddress(u16 &out, u16v raw)
{
    const u16v address = trimmedAddress(raw);
    if (isScriptAddress(address))
        appendEscapedAttribute(out, u"#");
    else
        appendEscapedAttribute(out, address);
}

void wrapPaired(u16 &s, char16_t delimiter, u16v open, u16v close)
{
    if (s.find(delimiter) == u16::npos)
        return;
    replaceMatches(s, findPaired(s, delimiter), [&](u16 &out, u16v text, const Match &m, auto) {
        out.append(open);
        out.append(group1(text, m));
        out.append(close);
    });
}

void wrapSingle(u16 &s, char16_t delimiter)
{
    if (s.find(delimiter) == u16::npos)
        return;
    replaceMatches(s, findSingle(s, delimiter), [](u16 &out, u16v whole, const Match &m, auto) {
        out.append(u"<em>");
        out.append(group1(whole, m));
        out.append(u"</em>");
    });
}

// Parses "<digits>END" at `at`; the digits must be a number as written in decimal (no
// leading zero), because only such text was ever produced as a placeholder.
std::optional<std::size_t> placeholderNumber(u16v s, std::size_t at, std::size_t *end)
{
    std::size_t i = at;
    std::size_t value = 0;
    while (i < s.size() && s[i] >= u'0' && s[i] <= u'9' && i - at < 18) {
        value = value * 10 + std::size_t(s[i] - u'0');
        ++i;
    }
    if (i == at || (s[at] == u'0' && i - at > 1) || s.substr(i, 3) != kPlaceholderEnd)
        return std::nullopt;
    *end = i + 3;
    return value;
}

// Puts the code spans back. Doing it as "for k in 0..<n, replace every placeholder k" would
// rescan the text n times; instead each placeholder is expanded where it stands, and the text
// it brings in is expanded only for higher numbers, which is what the later rounds would see.
// A span that lands inside an attribute value (a link or image address) has its quotes
// escaped, or they would end the value early and turn the rest of the span into markup.
void restoreCodeSpans(u16 &out, u16v s, const std::vector<u16> &codes, std::size_t minimum,
                      const TagRanges &tags, bool inAttribute)
{
    std::size_t copied = 0;
    std::size_t at = s.find(kPlaceholder);
    while (at != u16v::npos) {
        std::size_t end = 0;
        const auto number = placeholderNumber(s, at + kPlaceholder.size(), &end);
        if (number && *number >= minimum && *number < codes.size()) {
            out.append(s.substr(copied, at - copied));
            const bool quoted = inAttribute || insideTag(tags, at);
            if (quoted) {
                u16 expanded;
                restoreCodeSpans(expanded, codes[*number], codes, *number + 1, {}, true);
                replaceAll(expanded, u"\"", u"&quot;");
                out.append(expanded);
            } else {
                restoreCodeSpans(out, codes[*number], codes, *number + 1, {}, false);
            }
            copied = end;
            at = s.find(kPlaceholder, end);
        } else {
            at = s.find(kPlaceholder, at + 1);
        }
    }
    out.append(s.substr(copied));
}

} // namespace

u16 renderInline(u16v text)
{
    u16 s;
    s.reserve(text.size() + text.size() / 8);
    appendEscapedHTML(s, text);

    std::vector<u16> codes;
    if (s.find(u'`') != u16::npos) {
        const std::vector<Match> spans = findCodeSpans(s);
        codes.reserve(spans.size());
        // Numbered from the last span to the first.
        for (auto span = spans.rbegin(); span != spans.rend(); ++span)
            codes.push_back(u"<code>" + u16(group1(s, *span)) + u"</code>");
        replaceMatches(s, spans, [&](u16 &out, u16v, const Match &, std::size_t i) {
            out.append(kPlaceholder);
            appendDecimal(out, static_cast<long long>(spans.size() - 1 - i));
            out.append(kPlaceholderEnd);
        });
    }

    if (s.find(u"![") != u16::npos) {
        replaceMatches(s, findImages(s), [](u16 &out, u16v whole, const Match &m, auto) {
            out.append(u"<img alt=\"");
            appendEscapedAttribute(out, group1(whole, m));
            out.append(u"\" src=\"");
            appendAddress(out, group2(whole, m));
            out.append(u"\">");
        });
    }
    if (s.find(u"](") != u16::npos) {
        // The only tags so far are the images: the source's own "<" were escaped.
        replaceMatches(s, findLinks(s, true), [](u16 &out, u16v whole, const Match &m, auto) {
            out.append(u"<a href=\"");
            appendAddress(out, group2(whole, m));
            out.append(u"\">");
            out.append(group1(whole, m));
            out.append(u"</a>");
        });
    }
    wrapPaired(s, u'~', u"<del>", u"</del>");
    wrapPaired(s, u'*', u"<strong>", u"</strong>");
    wrapPaired(s, u'_', u"<strong>", u"</strong>");
    wrapSingle(s, u'*');
    wrapSingle(s, u'_');

    if (codes.empty())
        return s;
    u16 out;
    out.reserve(s.size() + codes.size() * 8);
    // Every "<" here opens a tag of the link or image passes: the source's own were escaped.
    const TagRanges tags = s.find(u'<') != u16::npos ? tagRanges(s) : TagRanges();
    restoreCodeSpans(out, s, codes, 0, tags, false);
    return out;
}

u16 plainText(u16v text)
{
    u16 s(text);
    auto keepGroup1 = [](u16 &out, u16v whole, const Match &m, auto) {
        out.append(group1(whole, m));
    };
    replaceMatches(s, findCodeSpans(s), keepGroup1);
    replaceMatches(s, findImages(s), keepGroup1);
    replaceMatches(s, findLinks(s), keepGroup1);
    // Removing "**" and "__" before "*" and "_" leaves the same text as removing every "*" and
    // "_"; "~~" goes last, so pairs that the removal brings together go too.
    std::erase_if(s, [](char16_t c) { return c == u'*' || c == u'_'; });
    replaceAll(s, u"~~", u"");
    return u16(trimmedWide(s));
}

} // namespace TarnRender
