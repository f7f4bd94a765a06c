// Headings: their HTML, readable unique ids (slugs) and outline entries.
#include "RendererInternal.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

namespace TarnRender {

std::optional<u16> Parser::parseHeading(u16v line)
{
    if (!isHeadingStart(line))
        return std::nullopt;
    const u16v t = trimmed(line);
    std::size_t level = 0;
    while (t[level] == u'#')
        ++level;
    const u16v text = trimmed(t.substr(level));
    const u16 slug = uniqueSlug(text);
    toc.push_back(TOCItem{slug, plainText(text), static_cast<std::int64_t>(level)});
    headingLines.push_back(index);

    u16 out = u"<h";
    appendDecimal(out, static_cast<long long>(level));
    out.append(u" id=\"");
    out.append(slug);
    out.append(u"\">");
    out.append(renderInline(text));
    out.append(u"</h");
    appendDecimal(out, static_cast<long long>(level));
    out.append(u">");
    return out;
}

u16 Parser::uniqueSlug(u16v text)
{
    return slugs.unique(plainText(text));
}

u16 SlugRegistry::unique(u16v plain)
{
    const u16 lowered = toLowerFull(plain);

    // Letters, marks and numbers stay; everything else becomes one hyphen per run.
    u16 base;
    base.reserve(lowered.size());
    for (std::size_t i = 0; i < lowered.size();) {
        const std::size_t begin = i;
        UChar32 c;
        U16_NEXT(lowered.data(), i, lowered.size(), c);
        const uint32_t mask = U_GET_GC_MASK(c);
        if (mask & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) {
            base.append(lowered, begin, i - begin);
        } else if (base.empty() || base.back() != u'-') {
            base.push_back(u'-');
        }
    }
    const std::size_t first = base.find_first_not_of(u'-');
    base = first == u16::npos ? u16() : base.substr(first, base.find_last_not_of(u'-') - first + 1);
    if (base.empty())
        base = u"section";

    long long &count = counts[base];
    const long long used = count;
    count = used + 1;
    if (used == 0)
        return base;
    u16 slug = base + u"-";
    appendDecimal(slug, used + 1);
    return slug;
}

} // namespace TarnRender
