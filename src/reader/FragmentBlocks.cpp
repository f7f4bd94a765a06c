// A tag-depth scan: start and end tags, void elements, comments and quoted attribute values.
// Text never holds a raw "<" (the renderers escape it), so every "<" opens markup.
#include "FragmentBlocks.h"

#include <QLatin1StringView>

namespace FragmentBlocks {
namespace {

bool isVoidElement(QStringView name)
{
    static const QLatin1StringView names[] = {
        QLatin1StringView("area"), QLatin1StringView("base"),   QLatin1StringView("br"),
        QLatin1StringView("col"),  QLatin1StringView("embed"),  QLatin1StringView("hr"),
        QLatin1StringView("img"),  QLatin1StringView("input"),  QLatin1StringView("link"),
        QLatin1StringView("meta"), QLatin1StringView("source"), QLatin1StringView("track"),
        QLatin1StringView("wbr")};
    for (const QLatin1StringView known : names) {
        if (name.compare(known, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

// The index just past the markup that starts at `at` ("<" there).
qsizetype markupEnd(QStringView html, qsizetype at)
{
    if (html.sliced(at).startsWith(u"<!--")) {
        const qsizetype end = html.indexOf(u"-->", at + 4);
        return end < 0 ? html.size() : end + 3;
    }
    QChar quote;
    for (qsizetype i = at + 1; i < html.size(); ++i) {
        const QChar c = html[i];
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (c == u'"' || c == u'\'') {
            quote = c;
        } else if (c == u'>') {
            return i + 1;
        }
    }
    return html.size();
}

} // namespace

QList<QStringView> split(QStringView html)
{
    QList<QStringView> blocks;
    qsizetype depth = 0;
    qsizetype start = -1;
    qsizetype at = html.indexOf(u'<');
    while (at >= 0 && at < html.size()) {
        const qsizetype end = markupEnd(html, at);
        const QStringView tag = html.sliced(at, end - at);
        if (tag.startsWith(u"</")) {
            if (depth > 0 && --depth == 0 && start >= 0) {
                blocks.append(html.sliced(start, end - start));
                start = -1;
            }
        } else if (!tag.startsWith(u"<!") && !tag.startsWith(u"<?")) {
            qsizetype nameEnd = 1;
            while (nameEnd < tag.size() &&
                   (tag[nameEnd].isLetterOrNumber() || tag[nameEnd] == u'-'))
                ++nameEnd;
            const bool empty = tag.endsWith(u"/>") || isVoidElement(tag.sliced(1, nameEnd - 1));
            if (depth == 0 && empty)
                blocks.append(tag);
            else if (!empty && depth++ == 0)
                start = at;
        }
        at = html.indexOf(u'<', end);
    }
    return blocks;
}

} // namespace FragmentBlocks
