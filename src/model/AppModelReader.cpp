// AppModel's reader-facing operations: followed links, in-page search state, outline jumps.
#include "AppModel.h"

#include "MarkdownRenderer.h"
#include "Platform.h"
#include "SourcePosition.h"

#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include <algorithm>

namespace {

// The outline entry that a link's "#fragment" names: by its id, or by the slug a heading with
// the fragment's text would get, so "#目标锚点" and "#Target Anchor" both find their heading.
std::optional<QString> headingNamedBy(const QString &markdown, MarkdownFlavor flavor,
                                      const QString &fragment)
{
    if (fragment.trimmed().isEmpty())
        return std::nullopt;
    // Both flavours give a heading the same slug of its text.
    const std::vector<TOCItem> asHeading =
        SourcePosition::fragmentOf(QStringLiteral("# ") + fragment, MarkdownFlavor::classic).toc;
    const std::u16string slug = asHeading.empty() ? std::u16string() : asHeading.front().id;
    const std::vector<TOCItem> outline = SourcePosition::fragmentOf(markdown, flavor).toc;
    for (const std::u16string &wanted : {fragment.toStdU16String(), slug}) {
        for (const TOCItem &item : outline) {
            if (item.id == wanted)
                return QString::fromStdU16String(item.id);
        }
    }
    return std::nullopt;
}

} // namespace

void AppModel::openLink(const QUrl &url, TarnDocument *fromDocument)
{
    const QString source = fromDocument ? fromDocument->fileName() : QString();
    if (!url.isLocalFile()) {
        // Every scheme goes to its handler; the page only lets users click links it shows.
        log(QStringLiteral("link.open.external"),
            {{QStringLiteral("url"), QString::fromUtf8(url.toEncoded())},
             {QStringLiteral("source"), source}});
        m_platform.openWithDefaultHandler(url);
        return;
    }

    const QString path = QDir::cleanPath(url.toLocalFile());
    const QUrl standardized = QUrl::fromLocalFile(path);
    const QFileInfo info(path);
    const QMap<QString, QString> metadata{{QStringLiteral("path"), path},
                                          {QStringLiteral("source"), source}};
    if (!info.exists()) {
        log(QStringLiteral("link.open.local_missing"), metadata);
        showAlert(QStringLiteral("链接不可用"),
                  QStringLiteral("这个本地文件不存在，或者 Tarn 暂时无法访问：\n") + path);
        return;
    }
    log(QStringLiteral("link.open.local"), metadata);
    if (!info.isDir() && isDocumentFile(path)) {
        openURLs({standardized}, false);
        // "file.md#heading": the reader jumps there once the page shows.
        TarnDocument *opened = selectedDocument();
        if (opened && opened->url() == standardized && url.hasFragment()) {
            if (const auto id = headingNamedBy(opened->content(), m_markdownFlavor,
                                               url.fragment(QUrl::FullyDecoded)))
                setScrollTargetID(*id);
        }
    } else {
        m_platform.openWithDefaultHandler(standardized);
    }
}

void AppModel::navigateSearch(SearchNavigationDirection direction)
{
    if (selectedDocument())
        m_reader->navigateSearch(direction);
}
