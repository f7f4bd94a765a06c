// JavaScript string literal encoding for the texts the host hands to reader pages.
#include "ReaderScripts.h"

#include "Utf16Text.h"

namespace ReaderScripts {
namespace {

void appendEscape(QString &out, char16_t unit)
{
    static const char hex[] = "0123456789abcdef";
    out += QLatin1String("\\u");
    for (int shift = 12; shift >= 0; shift -= 4)
        out += QLatin1Char(hex[(unit >> shift) & 0xF]);
}

} // namespace

QString stringLiteral(QStringView text)
{
    QString out;
    out.reserve(text.size() + text.size() / 16 + 2);
    out += QLatin1Char('"');
    const qsizetype size = text.size();
    const char16_t *units = u16View(text).data();
    for (qsizetype i = 0; i < size; ++i) {
        const char16_t unit = units[i];
        switch (unit) {
        case u'"':
            out += QLatin1String("\\\"");
            continue;
        case u'\\':
            out += QLatin1String("\\\\");
            continue;
        case u'\n':
            out += QLatin1String("\\n");
            continue;
        case u'\r':
            out += QLatin1String("\\r");
            continue;
        case u'\t':
            out += QLatin1String("\\t");
            continue;
        default:
            break;
        }
        if (unit < 0x20 || unit == 0x2028 || unit == 0x2029) {
            appendEscape(out, unit);
        } else if (QChar::isHighSurrogate(unit) && i + 1 < size &&
                   QChar::isLowSurrogate(units[i + 1])) {
            out += QChar(unit);
            out += QChar(units[++i]);
        } else if (QChar::isSurrogate(unit)) {
            // A lone surrogate would not survive the trip to the page as text.
            appendEscape(out, unit);
        } else {
            out += QChar(unit);
        }
    }
    out += QLatin1Char('"');
    return out;
}

} // namespace ReaderScripts
