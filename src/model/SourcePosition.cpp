// Lines come from the renderer itself, so blocks and headings agree with the reader's page.
#include "SourcePosition.h"

#include "Utf16Text.h"

namespace SourcePosition {

MarkdownRenderer::Fragment fragmentOf(const QString &markdown, MarkdownFlavor flavor)
{
    return MarkdownRenderer::renderFragment(u16View(markdown), flavor);
}

int lineOfBlock(const QString &markdown, MarkdownFlavor flavor, int block)
{
    const MarkdownRenderer::Fragment fragment = fragmentOf(markdown, flavor);
    if (block < 0 || std::size_t(block) >= fragment.blockLines.size())
        return 0;
    return int(fragment.blockLines[std::size_t(block)]);
}

int lineOfHeading(const QString &markdown, MarkdownFlavor flavor, const QString &headingID)
{
    if (headingID.isEmpty())
        return 0;
    const MarkdownRenderer::Fragment fragment = fragmentOf(markdown, flavor);
    const std::u16string id = headingID.toStdU16String();
    for (std::size_t i = 0; i < fragment.toc.size(); ++i) {
        if (fragment.toc[i].id == id)
            return int(fragment.headingLines[i]);
    }
    return 0;
}

QString headingAtOrAbove(const QString &markdown, MarkdownFlavor flavor, int line)
{
    const MarkdownRenderer::Fragment fragment = fragmentOf(markdown, flavor);
    QString found;
    for (std::size_t i = 0; i < fragment.toc.size(); ++i) {
        if (fragment.headingLines[i] > std::size_t(std::max(line, 0)))
            break;
        found = QString::fromStdU16String(fragment.toc[i].id);
    }
    return found;
}

} // namespace SourcePosition
