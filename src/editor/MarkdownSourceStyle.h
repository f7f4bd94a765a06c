// The character formats that colour Markdown source in the editor, one set per reading theme.
#pragma once

#include <TarnTheme.h>

#include <QColor>
#include <QTextCharFormat>

struct MarkdownSourceStyle
{
    QTextCharFormat heading;
    QTextCharFormat emphasis;
    QTextCharFormat strong;
    QTextCharFormat strikethrough;
    QTextCharFormat code;      // inline code
    QTextCharFormat codeBlock; // the lines of a fenced block
    QTextCharFormat fence;     // the fence lines themselves
    QTextCharFormat linkText;  // the text of a link or the alt text of an image
    QTextCharFormat linkAddress;
    QTextCharFormat marker; // syntax that only delimits: #, **, [ ]( ), thematic breaks
    QTextCharFormat listMarker;
    QTextCharFormat taskBox;
    QTextCharFormat quoteMarker;
    QTextCharFormat tablePipe;
    QTextCharFormat html;
    QTextCharFormat math;
    QTextCharFormat frontMatter;
    // Drawn across the width behind fenced blocks and front matter.
    QColor quietBackground;
};

MarkdownSourceStyle markdownSourceStyle(TarnTheme theme);
