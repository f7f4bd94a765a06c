// AppModel's library of known files: remembering, favourites, the sidebar list, reopening.
#include "AppModel.h"

#include "Platform.h"

#include <QFileInfo>

#include <algorithm>

namespace {

qsizetype indexOfPath(const QList<StoredFile> &files, const QString &path)
{
    const auto it = std::find_if(files.begin(), files.end(),
                                 [&path](const StoredFile &file) { return file.path == path; });
    return it == files.end() ? -1 : qsizetype(it - files.begin());
}

} // namespace

QList<StoredFile> AppModel::filteredStoredFiles() const
{
    return StoredFiles::filtered(m_storedFiles, m_fileFilter);
}

std::optional<QByteArray> AppModel::makeBookmark(const QString &path)
{
    return m_platform.createBookmark(QUrl::fromLocalFile(path));
}

void AppModel::rememberFile(const QUrl &url)
{
    const QString path = url.toLocalFile();
    const qsizetype existing = indexOfPath(m_storedFiles, path);

    StoredFile entry;
    entry.path = path;
    entry.displayName = url.fileName(QUrl::FullyDecoded);
    entry.bookmarkData = makeBookmark(path);
    entry.isFavorite = existing >= 0 && m_storedFiles.at(existing).isFavorite;
    entry.lastOpenedAt = StoredFiles::secondsSinceReferenceDate(m_clock());

    // Stored twice on purpose, once without the entry and once with it at the end, so the
    // store never holds a list with the path in two places.
    QList<StoredFile> files = m_storedFiles;
    files.removeIf([&path](const StoredFile &file) { return file.path == path; });
    setStoredFiles(files);
    files.append(entry);
    setStoredFiles(files);
}

void AppModel::toggleFavorite(const StoredFile &file)
{
    const qsizetype index = indexOfPath(m_storedFiles, file.path);
    if (index < 0)
        return;
    QList<StoredFile> files = m_storedFiles;
    StoredFile &entry = files[index];
    entry.isFavorite = !entry.isFavorite;
    setStoredFiles(files);

    if (entry.isFavorite && !entry.bookmarkData) {
        entry.bookmarkData = makeBookmark(entry.path);
        setStoredFiles(files);
    }
    if (!entry.isFavorite && !entry.lastOpenedAt) {
        // A favourite taken off the recent list has nothing left to show.
        files.removeAt(index);
        setStoredFiles(files);
    }
}

void AppModel::removeRecent(const StoredFile &file)
{
    const qsizetype index = indexOfPath(m_storedFiles, file.path);
    if (index < 0)
        return;
    QList<StoredFile> files = m_storedFiles;
    if (files.at(index).isFavorite)
        files[index].lastOpenedAt.reset();
    else
        files.removeAt(index);
    setStoredFiles(files);
}

void AppModel::showInFinder(const StoredFile &file)
{
    m_platform.revealInFileManager(file.path);
}

std::optional<QUrl> AppModel::resolveStoredFile(const StoredFile &file)
{
    if (file.bookmarkData) {
        if (const auto resolved = m_platform.resolveBookmark(*file.bookmarkData)) {
            if (resolved->isStale)
                rememberFile(resolved->url);
            return resolved->url;
        }
    }
    if (QFileInfo::exists(file.path))
        return QUrl::fromLocalFile(file.path);
    return std::nullopt;
}

void AppModel::openStoredFile(const StoredFile &file)
{
    if (const auto url = resolveStoredFile(file)) {
        openURLs({*url}, false);
        return;
    }
    showAlert(QStringLiteral("文件不可用"),
              QStringLiteral("Tarn 无法继续访问这个文件。它可能已被移动、重命名或删除。"));
}
