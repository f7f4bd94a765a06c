// Where a reading position lies in the Markdown source, and back: by the outline's headings.
#pragma once

#include "MarkdownRenderer.h"

#include <QString>

namespace SourcePosition {

// The text rendered in `flavor` as the reader renders it, for its outline and source lines.
MarkdownRenderer::Fragment fragmentOf(const QString &markdown, MarkdownFlavor flavor);

// The first 0-based source line of the top-level block at this index, in page order; 0 when
// the text has fewer blocks.
int lineOfBlock(const QString &markdown, MarkdownFlavor flavor, int block);
// The 0-based source line of the heading with this id; 0 when the text has no such heading.
int lineOfHeading(const QString &markdown, MarkdownFlavor flavor, const QString &headingID);
// The id of the last heading at or above the line; empty when none is.
QString headingAtOrAbove(const QString &markdown, MarkdownFlavor flavor, int line);

} // namespace SourcePosition
