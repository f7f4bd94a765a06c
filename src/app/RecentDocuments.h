// The freedesktop list of recently used files (recently-used.xbel), which file choosers and
// desktop shells show.
#pragma once

#include <QDateTime>
#include <QString>
#include <QUrl>

namespace RecentDocuments {

// $XDG_DATA_HOME/recently-used.xbel, or ~/.local/share/recently-used.xbel.
QString defaultPath();

// Adds `url` (or refreshes its entry) and registers Tarn as an application that opened it.
// The file is replaced atomically; a broken file is left untouched and false is returned.
bool add(const QString &xbelPath, const QUrl &url, const QString &mimeType,
         const QDateTime &now = QDateTime::currentDateTimeUtc());

} // namespace RecentDocuments
