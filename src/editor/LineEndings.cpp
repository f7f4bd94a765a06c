// Detecting and restoring a document's line endings.
#include "LineEndings.h"

LineEnding LineEndings::detect(QStringView text)
{
    qsizetype crlf = 0;
    qsizetype cr = 0;
    qsizetype lf = 0;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r') {
            if (i + 1 < text.size() && text[i + 1] == u'\n') {
                ++crlf;
                ++i;
            } else {
                ++cr;
            }
        } else if (text[i] == u'\n') {
            ++lf;
        }
    }
    if (crlf > 0 && cr == 0 && lf == 0)
        return LineEnding::crlf;
    if (cr > 0 && crlf == 0 && lf == 0)
        return LineEnding::cr;
    return LineEnding::lf;
}

QString LineEndings::toView(const QString &text)
{
    if (!text.contains(u'\r'))
        return text;
    QString result = text;
    result.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    result.replace(u'\r', u'\n');
    return result;
}

QString LineEndings::fromView(const QString &text, LineEnding ending)
{
    switch (ending) {
    case LineEnding::crlf: {
        QString result = text;
        return result.replace(u'\n', QStringLiteral("\r\n"));
    }
    case LineEnding::cr: {
        QString result = text;
        return result.replace(u'\n', u'\r');
    }
    case LineEnding::lf:
        break;
    }
    return text;
}
