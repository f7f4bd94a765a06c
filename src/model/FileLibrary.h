// The library of known files: recently opened ones and favourites, stored in the settings,
// and the sidebar's filtered view of them.
#pragma once

#include "StoredFile.h"
#include "TarnClock.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QUrl>

#include <optional>

class Platform;
class QSettings;

class FileLibrary : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<StoredFile> storedFiles READ storedFiles WRITE setStoredFiles NOTIFY
                   storedFilesChanged)
    Q_PROPERTY(QString fileFilter READ fileFilter WRITE setFileFilter NOTIFY fileFilterChanged)
    Q_PROPERTY(QList<StoredFile> filteredStoredFiles READ filteredStoredFiles NOTIFY
                   filteredStoredFilesChanged)

public:
    // Reads the library from `settings` and writes it straight back, so a value that could
    // not be read is replaced by an empty list. Both collaborators must outlive the library.
    FileLibrary(QSettings &settings, Platform &platform, TarnClock clock,
                QObject *parent = nullptr);

    QList<StoredFile> storedFiles() const { return m_storedFiles; }
    // Writes the settings store at once.
    void setStoredFiles(const QList<StoredFile> &files);
    QString fileFilter() const { return m_fileFilter; }
    void setFileFilter(const QString &filter);
    QList<StoredFile> filteredStoredFiles() const;

    // Moves the file to the end of the list, dated now, keeping whether it is a favourite.
    void rememberFile(const QUrl &url);
    void toggleFavorite(const StoredFile &file);
    void removeRecent(const StoredFile &file);
    // Where the file is now: its bookmark's target, or else its path when it still exists.
    std::optional<QUrl> resolveStoredFile(const StoredFile &file);

signals:
    void storedFilesChanged();
    void fileFilterChanged();
    void filteredStoredFilesChanged();
    // A write of the settings store did not reach the disk.
    void settingsNotWritten();

private:
    std::optional<QByteArray> makeBookmark(const QString &path);

    QSettings &m_settings;
    Platform &m_platform;
    const TarnClock m_clock;
    QList<StoredFile> m_storedFiles;
    QString m_fileFilter;
};
