// Colours one line of Markdown source from its text and the state the line before left behind.
// Covers both flavours at once: the standard flavour's additions (tables, task boxes,
// strikethrough, math, front matter) are told apart in classic documents too, where they are
// at worst literal text that looks like those constructs.
#pragma once

#include "MarkdownSourceStyle.h"

#include <QList>
#include <QString>
#include <QTextCharFormat>

namespace MarkdownLineColouring {

// What a line leaves open for the next one. Kept in the block's user state, so the low bits
// are the kind and the rest its details (fence character and length, the HTML block's end).
enum class Open
{
    nothing = 0,
    fence = 1,
    frontMatter = 2,
    htmlBlock = 3,
    displayMath = 4
};

Open openKind(int state);

// Fills `formats` (one per UTF-16 unit of `line`) and returns the state for the next line.
// `previousState` is -1 for a line nothing was known about; `firstLine` allows front matter.
int colour(const QString &line, int previousState, bool firstLine, const MarkdownSourceStyle &style,
           QList<QTextCharFormat> &formats);

} // namespace MarkdownLineColouring
