// The library of known files: remembering, favourites, the sidebar list, finding them again.
#include "FileLibrary.h"

#include "ModelSettings.h"
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

FileLibrary::FileLibrary(QSettings &settings, Platform &platform, TarnClock clock, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_platform(platform)
    , m_clock(std::move(clock))
    , m_storedFiles(ModelSettings::readStoredFiles(settings))
{
    // Written straight back: a value that could not be read is replaced. A store that cannot be
    // written shows in its status, which the owner checks once the parts are made.
    static_cast<void>(ModelSettings::writeStoredFiles(m_settings, m_storedFiles));
}

void FileLibrary::setStoredFiles(const QList<StoredFile> &files)
{
    m_storedFiles = files;
    if (!ModelSettings::writeStoredFiles(m_settings, m_storedFiles))
        emit settingsNotWritten();
    emit storedFilesChanged();
    emit filteredStoredFilesChanged();
}

void FileLibrary::setFileFilter(const QString &filter)
{
    if (m_fileFilter == filter)
        return;
    m_fileFilter = filter;
    emit fileFilterChanged();
    emit filteredStoredFilesChanged();
}

QList<StoredFile> FileLibrary::filteredStoredFiles() const
{
    return StoredFiles::filtered(m_storedFiles, m_fileFilter);
}

std::optional<QByteArray> FileLibrary::makeBookmark(const QString &path)
{
    return m_platform.createBookmark(QUrl::fromLocalFile(path));
}

void FileLibrary::rememberFile(const QUrl &url)
{
    const QString path = url.toLocalFile();
    const qsizetype existing = indexOfPath(m_storedFiles, path);

    StoredFile entry;
    entry.path = path;
    entry.displayName = url.fileName(QUrl::FullyDecoded);
    entry.bookmarkData = makeBookmark(path);
    entry.isFavorite = existing >= 0 && m_storedFiles.at(existing).isFavorite;
    entry.lastOpenedAt = StoredFiles::secondsSinceReferenceDate(m_clock());

    // One write of the finished list: the path is never in it twice.
    QList<StoredFile> files = m_storedFiles;
    files.removeIf([&path](const StoredFile &file) { return file.path == path; });
    files.append(entry);
    setStoredFiles(files);
}

void FileLibrary::toggleFavorite(const StoredFile &file)
{
    const qsizetype index = indexOfPath(m_storedFiles, file.path);
    if (index < 0)
        return;
    QList<StoredFile> files = m_storedFiles;
    StoredFile &entry = files[index];
    entry.isFavorite = !entry.isFavorite;
    if (entry.isFavorite && !entry.bookmarkData)
        entry.bookmarkData = makeBookmark(entry.path);
    // A favourite taken off the recent list has nothing left to show.
    if (!entry.isFavorite && !entry.lastOpenedAt)
        files.removeAt(index);
    setStoredFiles(files);
}

void FileLibrary::removeRecent(const StoredFile &file)
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

std::optional<QUrl> FileLibrary::resolveStoredFile(const StoredFile &file)
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
