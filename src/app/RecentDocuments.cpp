// Updating recently-used.xbel: a small XML file shared by every desktop application.
#include "RecentDocuments.h"

#include <QDir>
#include <QDomDocument>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>

namespace RecentDocuments {
namespace {

const QString kBookmarkNamespace =
    QStringLiteral("http://www.freedesktop.org/standards/desktop-bookmarks");
const QString kMimeNamespace =
    QStringLiteral("http://www.freedesktop.org/standards/shared-mime-info");

QString timestamp(const QDateTime &time)
{
    return time.toUTC().toString(Qt::ISODateWithMs);
}

QDomElement child(QDomElement parent, const QString &tagName)
{
    QDomElement element = parent.firstChildElement(tagName);
    if (element.isNull()) {
        element = parent.ownerDocument().createElement(tagName);
        parent.appendChild(element);
    }
    return element;
}

QDomDocument emptyDocument()
{
    QDomDocument document;
    document.appendChild(document.createProcessingInstruction(
        QStringLiteral("xml"), QStringLiteral("version=\"1.0\" encoding=\"UTF-8\"")));
    QDomElement root = document.createElement(QStringLiteral("xbel"));
    root.setAttribute(QStringLiteral("version"), QStringLiteral("1.0"));
    root.setAttribute(QStringLiteral("xmlns:bookmark"), kBookmarkNamespace);
    root.setAttribute(QStringLiteral("xmlns:mime"), kMimeNamespace);
    document.appendChild(root);
    return document;
}

} // namespace

QString defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/recently-used.xbel");
}

bool add(const QString &xbelPath, const QUrl &url, const QString &mimeType, const QDateTime &now)
{
    QDomDocument document;
    QFile existing(xbelPath);
    if (existing.exists()) {
        if (!existing.open(QIODevice::ReadOnly) || !document.setContent(&existing))
            return false; // never overwrite what another program wrote and we cannot read
        existing.close();
    } else {
        document = emptyDocument();
    }
    QDomElement root = document.documentElement();
    if (root.tagName() != QLatin1String("xbel"))
        return false;

    const QString href = QString::fromUtf8(url.toEncoded());
    const QString stamp = timestamp(now);
    QDomElement bookmark;
    for (QDomElement candidate = root.firstChildElement(QStringLiteral("bookmark"));
         !candidate.isNull();
         candidate = candidate.nextSiblingElement(QStringLiteral("bookmark"))) {
        if (candidate.attribute(QStringLiteral("href")) == href) {
            bookmark = candidate;
            break;
        }
    }
    if (bookmark.isNull()) {
        bookmark = document.createElement(QStringLiteral("bookmark"));
        bookmark.setAttribute(QStringLiteral("href"), href);
        bookmark.setAttribute(QStringLiteral("added"), stamp);
        root.appendChild(bookmark);
    }
    bookmark.setAttribute(QStringLiteral("modified"), stamp);
    bookmark.setAttribute(QStringLiteral("visited"), stamp);

    QDomElement metadata =
        child(child(bookmark, QStringLiteral("info")), QStringLiteral("metadata"));
    metadata.setAttribute(QStringLiteral("owner"), QStringLiteral("http://freedesktop.org"));
    QDomElement mime = child(metadata, QStringLiteral("mime:mime-type"));
    mime.setAttribute(QStringLiteral("type"), mimeType);
    QDomElement applications = child(metadata, QStringLiteral("bookmark:applications"));
    QDomElement application;
    for (QDomElement candidate =
             applications.firstChildElement(QStringLiteral("bookmark:application"));
         !candidate.isNull();
         candidate = candidate.nextSiblingElement(QStringLiteral("bookmark:application"))) {
        if (candidate.attribute(QStringLiteral("name")) == QLatin1String("Tarn"))
            application = candidate;
    }
    if (application.isNull()) {
        application = document.createElement(QStringLiteral("bookmark:application"));
        application.setAttribute(QStringLiteral("name"), QStringLiteral("Tarn"));
        application.setAttribute(QStringLiteral("exec"), QStringLiteral("'tarn %u'"));
        application.setAttribute(QStringLiteral("count"), 0);
        applications.appendChild(application);
    }
    application.setAttribute(QStringLiteral("modified"), stamp);
    application.setAttribute(QStringLiteral("count"),
                             application.attribute(QStringLiteral("count")).toInt() + 1);

    QDir().mkpath(QFileInfo(xbelPath).path());
    QSaveFile file(xbelPath);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    file.write(document.toByteArray(2));
    return file.commit();
}

} // namespace RecentDocuments
