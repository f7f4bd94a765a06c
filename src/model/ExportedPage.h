// A rendered page made ready to be written into a folder other than its document's.
#pragma once

#include <QString>

namespace ExportedPage {

// `page` (a reader page from MarkdownRenderer) with the relative addresses of the document's
// images and links rewritten so that, from `outputFolder`, they reach what they reach from
// `documentFolder`. Absolute paths, addresses with a scheme, protocol-relative ones and
// in-page ("#…") or query-only ones are left alone; queries and fragments are kept. When both
// folders are the same, the page comes back unchanged, byte for byte.
QString relocated(const QString &page, const QString &documentFolder, const QString &outputFolder);

} // namespace ExportedPage
