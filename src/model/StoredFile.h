// One entry of the library of known files, its stored JSON form and the sidebar's order.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

struct StoredFile
{
    QString path;        // absolute; the entry's identity
    QString displayName; // last path component when it was remembered
    std::optional<QByteArray> bookmarkData;
    bool isFavorite = false;
    // Seconds since 2001-01-01T00:00:00Z, kept as stored so a round trip changes nothing.
    std::optional<double> lastOpenedAt;

    QString id() const { return path; }
    // The folder that holds the file.
    QString subtitle() const;
    std::optional<QDateTime> lastOpenedDate() const;

    friend bool operator==(const StoredFile &, const StoredFile &) = default;
};

namespace StoredFiles {

double secondsSinceReferenceDate(const QDateTime &time);
QDateTime dateFromReferenceSeconds(double seconds);

// Compact JSON array, one object per entry. Nothing when a value cannot be encoded.
std::optional<QByteArray> encode(const QList<StoredFile> &files);
// Nothing when the value is not exactly such an array: one bad entry spoils all of them.
std::optional<QList<StoredFile>> decode(const QByteArray &json);

// What the sidebar shows: dated entries and favourites matching `filter`, favourites first,
// then newest first; ties keep their stored order.
QList<StoredFile> filtered(const QList<StoredFile> &files, const QString &filter);

} // namespace StoredFiles
