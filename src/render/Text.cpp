// Character classes, trimming, escaping and case mapping over UTF-16 text.
#include "RendererInternal.h"

#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

namespace TarnRender {

bool isWhitespace(char32_t c)
{
    if (c < 0x80)
        return c == u' ' || c == u'\t';
    return u_charType(UChar32(c)) == U_SPACE_SEPARATOR;
}

bool isWhitespaceOrLineBreak(char32_t c)
{
    if (c < 0x80)
        return c == u' ' || c == u'\t' || (c >= 0x0A && c <= 0x0D);
    if (c == 0x85)
        return true;
    const int8_t type = u_charType(UChar32(c));
    return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

bool isGraphemeExtender(char32_t c)
{
    if (c < 0x300)
        return false;
    const int32_t kind = u_getIntPropertyValue(UChar32(c), UCHAR_GRAPHEME_CLUSTER_BREAK);
    return kind == U_GCB_EXTEND || kind == U_GCB_ZWJ || kind == U_GCB_SPACING_MARK;
}

bool isBoundary(u16v s, std::size_t i)
{
    if (i >= s.size())
        return true;
    UChar32 c;
    std::size_t j = i;
    U16_NEXT(s.data(), j, s.size(), c);
    return !isGraphemeExtender(char32_t(c));
}

bool startsWithChars(u16v s, u16v prefix)
{
    return s.substr(0, prefix.size()) == prefix && isBoundary(s, prefix.size());
}

namespace {

template<typename Predicate> u16v trimWith(u16v s, Predicate isSpace)
{
    std::size_t begin = 0;
    while (begin < s.size()) {
        UChar32 c;
        std::size_t next = begin;
        U16_NEXT(s.data(), next, s.size(), c);
        if (!isSpace(char32_t(c)))
            break;
        begin = next;
    }
    std::size_t end = s.size();
    while (end > begin) {
        UChar32 c;
        std::size_t previous = end;
        U16_PREV(s.data(), 0, previous, c);
        if (!isSpace(char32_t(c)))
            break;
        end = previous;
    }
    return s.substr(begin, end - begin);
}

} // namespace

u16v trimmed(u16v s)
{
    return trimWith(s, isWhitespace);
}

u16v trimmedWide(u16v s)
{
    return trimWith(s, isWhitespaceOrLineBreak);
}

u16v trimmedAddress(u16v s)
{
    // Category Z, U+000A to U+000D and U+0085: a tab is not in it, so a leading tab stays.
    return trimWith(s, [](char32_t c) { return c != u'\t' && isWhitespaceOrLineBreak(c); });
}

void replaceAll(u16 &s, u16v from, u16v to)
{
    std::size_t at = s.find(from);
    if (from.empty() || at == u16::npos)
        return;
    u16 out;
    out.reserve(s.size());
    std::size_t copied = 0;
    while (at != u16::npos) {
        out.append(s, copied, at - copied);
        out.append(to);
        copied = at + from.size();
        at = s.find(from, copied);
    }
    out.append(s, copied, u16::npos);
    s = std::move(out);
}

void appendEscapedHTML(u16 &out, u16v text)
{
    std::size_t copied = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (c != u'&' && c != u'<' && c != u'>')
            continue;
        out.append(text.substr(copied, i - copied));
        out.append(c == u'&' ? u"&amp;" : c == u'<' ? u"&lt;" : u"&gt;");
        copied = i + 1;
    }
    out.append(text.substr(copied));
}

void appendEscapedAttribute(u16 &out, u16v text)
{
    for (char16_t c : text) {
        switch (c) {
        case u'&':
            out.append(u"&amp;");
            break;
        case u'<':
            out.append(u"&lt;");
            break;
        case u'>':
            out.append(u"&gt;");
            break;
        case u'"':
            out.append(u"&quot;");
            break;
        case u'\'':
            out.append(u"&#39;");
            break;
        default:
            out.push_back(c);
        }
    }
}

u16 toLowerFull(u16v s)
{
    u16 out(s.size() + 16, u'\0');
    UErrorCode status = U_ZERO_ERROR;
    int32_t length =
        u_strToLower(out.data(), int32_t(out.size()), s.data(), int32_t(s.size()), "", &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        out.assign(std::size_t(length), u'\0');
        status = U_ZERO_ERROR;
        length =
            u_strToLower(out.data(), int32_t(out.size()), s.data(), int32_t(s.size()), "", &status);
    }
    if (U_FAILURE(status))
        return u16(s);
    out.resize(std::size_t(length));
    return out;
}

void appendDecimal(u16 &out, long long value)
{
    const std::string digits = std::to_string(value);
    out.append(digits.begin(), digits.end());
}

} // namespace TarnRender

namespace MarkdownRenderer {

std::u16string escapeHTML(std::u16string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    TarnRender::appendEscapedHTML(out, text);
    return out;
}

std::u16string escapeAttribute(std::u16string_view text)
{
    std::u16string out;
    out.reserve(text.size());
    TarnRender::appendEscapedAttribute(out, text);
    return out;
}

} // namespace MarkdownRenderer

namespace TarnText {

std::u16string fromUtf8(std::string_view utf8)
{
    std::u16string out(utf8.size(), u'\0');
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strFromUTF8WithSub(out.data(), int32_t(out.size()), &length, utf8.data(),
                         int32_t(utf8.size()), 0xFFFD, nullptr, &status);
    if (U_FAILURE(status))
        return {};
    out.resize(std::size_t(length));
    return out;
}

std::string toUtf8(std::u16string_view utf16)
{
    // Measure first: a worst-case buffer would triple the peak memory of large exports.
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8WithSub(nullptr, 0, &length, utf16.data(), int32_t(utf16.size()), 0xFFFD, nullptr,
                       &status);
    if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status))
        return {};
    std::string out(std::size_t(length), '\0');
    status = U_ZERO_ERROR;
    u_strToUTF8WithSub(out.data(), int32_t(out.size()), &length, utf16.data(),
                       int32_t(utf16.size()), 0xFFFD, nullptr, &status);
    if (U_FAILURE(status))
        return {};
    return out;
}

} // namespace TarnText
