// Source colours for the four themes: the accent carries structure (headings, links), quiet
// greys carry the punctuation, and code sits on a tint of the theme's background.
#include "MarkdownSourceStyle.h"

#include <QFont>

namespace {

struct SourceColours
{
    QColor heading;
    QColor link;
    QColor address;
    QColor marker;
    QColor listMarker;
    QColor code;
    QColor codeBackground;
    QColor html;
    QColor math;
    QColor frontMatter;
};

SourceColours coloursOf(TarnTheme theme)
{
    switch (theme) {
    case TarnTheme::businessBlue:
        return {QColor(0x1f, 0x4e, 0x8c),     QColor(0x25, 0x63, 0xa8), QColor(0x6b, 0x7a, 0x90),
                QColor(0x8a, 0x94, 0xa6),     QColor(0xc2, 0x41, 0x0c), QColor(0x9a, 0x34, 0x12),
                QColor(0x25, 0x63, 0xa8, 22), QColor(0x7c, 0x3a, 0xed), QColor(0x04, 0x78, 0x57),
                QColor(0x64, 0x74, 0x8b)};
    case TarnTheme::light:
        return {QColor(0x11, 0x18, 0x27), QColor(0x1d, 0x4e, 0xd8), QColor(0x6b, 0x72, 0x80),
                QColor(0x9c, 0xa3, 0xaf), QColor(0xb4, 0x53, 0x09), QColor(0xbe, 0x12, 0x3c),
                QColor(0, 0, 0, 14),      QColor(0x86, 0x19, 0x8f), QColor(0x04, 0x78, 0x57),
                QColor(0x6b, 0x72, 0x80)};
    case TarnTheme::warm:
        return {QColor(0x7c, 0x2d, 0x12),     QColor(0x9a, 0x34, 0x12), QColor(0x8a, 0x78, 0x66),
                QColor(0xa8, 0x98, 0x86),     QColor(0xb4, 0x53, 0x09), QColor(0x83, 0x3f, 0x2a),
                QColor(0x92, 0x40, 0x0e, 20), QColor(0x6d, 0x28, 0xd9), QColor(0x3f, 0x62, 0x12),
                QColor(0x78, 0x71, 0x6c)};
    case TarnTheme::dark:
        return {QColor(0x93, 0xc5, 0xfd),  QColor(0x7d, 0xd3, 0xfc), QColor(0x94, 0xa3, 0xb8),
                QColor(0x6b, 0x72, 0x80),  QColor(0xfb, 0xbf, 0x24), QColor(0xfd, 0xa4, 0xaf),
                QColor(255, 255, 255, 20), QColor(0xc4, 0xb5, 0xfd), QColor(0x6e, 0xe7, 0xb7),
                QColor(0x9c, 0xa3, 0xaf)};
    }
    return coloursOf(TarnTheme::businessBlue);
}

QTextCharFormat coloured(const QColor &colour)
{
    QTextCharFormat format;
    format.setForeground(colour);
    return format;
}

} // namespace

MarkdownSourceStyle markdownSourceStyle(TarnTheme theme)
{
    const SourceColours colours = coloursOf(theme);
    MarkdownSourceStyle style;
    style.heading = coloured(colours.heading);
    style.heading.setFontWeight(QFont::Bold);
    style.emphasis.setFontItalic(true);
    style.strong.setFontWeight(QFont::Bold);
    style.strikethrough.setFontStrikeOut(true);
    style.code = coloured(colours.code);
    style.code.setBackground(colours.codeBackground);
    style.codeBlock = coloured(colours.code);
    style.fence = coloured(colours.marker);
    style.linkText = coloured(colours.link);
    style.linkText.setFontUnderline(true);
    style.linkAddress = coloured(colours.address);
    style.marker = coloured(colours.marker);
    style.listMarker = coloured(colours.listMarker);
    style.listMarker.setFontWeight(QFont::Bold);
    style.taskBox = coloured(colours.listMarker);
    style.quoteMarker = coloured(colours.listMarker);
    style.tablePipe = coloured(colours.marker);
    style.tablePipe.setFontWeight(QFont::Bold);
    style.html = coloured(colours.html);
    style.math = coloured(colours.math);
    style.frontMatter = coloured(colours.frontMatter);
    style.quietBackground = colours.codeBackground;
    return style;
}
