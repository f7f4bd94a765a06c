// Lines come from the renderer itself, so blocks and headings agree with the reader's page.
#include "SourcePosition.h"

#include <MarkdownRenderer.h>

namespace SourcePosition {
namespace {

MarkdownRenderer::Fragment outlineOf(const QString &markdown)
{
    return MarkdownRenderer::renderFragment(std::u16string_view(
        reinterpret_cast<const char16_t *>(markdown.utf16()), std::size_t(markdown.size())));
}

} // namespace

int lineOfBlock(const QString &markdown, int block)
{
    const MarkdownRenderer::Fragment fragment = outlineOf(markdown);
    if (block < 0 || std::size_t(block) >= fragment.blockLines.size())
        return 0;
    return int(fragment.blockLines[std::size_t(block)]);
}

int lineOfHeading(const QString &markdown, const QString &headingID)
{
    if (headingID.isEmpty())
        return 0;
    const MarkdownRenderer::Fragment fragment = outlineOf(markdown);
    const std::u16string id = headingID.toStdU16String();
    for (std::size_t i = 0; i < fragment.toc.size(); ++i) {
        if (fragment.toc[i].id == id)
            return int(fragment.headingLines[i]);
    }
    return 0;
}

QString headingAtOrAbove(const QString &markdown, int line)
{
    const MarkdownRenderer::Fragment fragment = outlineOf(markdown);
    QString found;
    for (std::size_t i = 0; i < fragment.toc.size(); ++i) {
        if (fragment.headingLines[i] > std::size_t(std::max(line, 0)))
            break;
        found = QString::fromStdU16String(fragment.toc[i].id);
    }
    return found;
}

} // namespace SourcePosition
