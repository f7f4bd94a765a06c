// The renderer's test class, shared by the files that hold its rows, and string conversions.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

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

// Rows of the fragment table (Markdown in, HTML out), by topic.
void addBlockRows();
void addCodeAndTableRows();

class RenderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fragment_data();
    void fragment();
    void textFunctions_data();
    void textFunctions();
    void headingHtmlAndOutline();
    void diagramsAreNumberedAndFlagged();
    void renderInline_data();
    void renderInline();
    void escaping();
    void scannersAgreeWithIcu();
    void pageStructure();
    void stylesheetPerTheme_data();
    void stylesheetPerTheme();
    void diagramLibraryOnlyWithDiagrams();
    void pageOfAFragment();
    void lineEnds_data();
    void lineEnds();
    void themes();
    void flavorHints_data();
    void flavorHints();
    void sanitizer_data();
    void sanitizer();
    void rawHtmlOnlyThroughSanitizer_data();
    void rawHtmlOnlyThroughSanitizer();
    void digests();
    void standardPagePolicy_data();
    void standardPagePolicy();
    void gfmFragment_data();
    void gfmFragment();
    void gfmOutline_data();
    void gfmOutline();
    void gfmResourcesAndDiagrams();
    void commonMarkConformance();
};
