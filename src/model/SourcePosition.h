// Where a reading position lies in the Markdown source, and back: by the outline's headings.
#pragma once

#include <QString>

namespace SourcePosition {

// The first 0-based source line of the top-level block at this index, in page order; 0 when
// the text has fewer blocks.
int lineOfBlock(const QString &markdown, int block);
// The 0-based source line of the heading with this id; 0 when the text has no such heading.
int lineOfHeading(const QString &markdown, const QString &headingID);
// The id of the last heading at or above the line; empty when none is.
QString headingAtOrAbove(const QString &markdown, int line);

} // namespace SourcePosition
