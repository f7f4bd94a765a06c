// Conversions between QString (what QtTest prints) and the renderer's UTF-16 strings.
#pragma once

#include <QObject>
#include <QString>

#include <string>
#include <string_view>

inline std::u16string u16(const QString &text)
{
    return text.toStdU16String();
}

inline QString qs(std::u16string_view text)
{
    return QString::fromUtf16(text.data(), qsizetype(text.size()));
}

// Lines joined with "\n": test tables read better with one source line per element.
inline QString lines(std::initializer_list<const char *> parts)
{
    QStringList list;
    for (const char *part : parts)
        list << QString::fromUtf8(part);
    return list.join(QLatin1Char('\n'));
}

QObject *makeBlocksTest();
QObject *makeInlineTest();
QObject *makeHeadingsTest();
QObject *makeCodeTablesTest();
QObject *makePageTest();
