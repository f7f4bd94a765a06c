// Stored file records: JSON form, derived values and the sidebar's filter and order.
#include "StoredFile.h"

#include "StoredFileListModel.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>

#include <cmath>

namespace {

const QDateTime &referenceDate()
{
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), QTimeZone::utc());
    return date;
}

std::optional<StoredFile> decodeEntry(const QJsonValue &value)
{
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    const QJsonValue path = object.value(QLatin1String("path"));
    const QJsonValue displayName = object.value(QLatin1String("displayName"));
    const QJsonValue isFavorite = object.value(QLatin1String("isFavorite"));
    if (!path.isString() || !displayName.isString() || !isFavorite.isBool())
        return std::nullopt;

    StoredFile file;
    file.path = path.toString();
    file.displayName = displayName.toString();
    file.isFavorite = isFavorite.toBool();

    const QJsonValue bookmark = object.value(QLatin1String("bookmarkData"));
    if (bookmark.isString()) {
        const auto decoded = QByteArray::fromBase64Encoding(
            bookmark.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return std::nullopt;
        file.bookmarkData = *decoded;
    } else if (!bookmark.isUndefined() && !bookmark.isNull()) {
        return std::nullopt;
    }

    const QJsonValue lastOpened = object.value(QLatin1String("lastOpenedAt"));
    if (lastOpened.isDouble())
        file.lastOpenedAt = lastOpened.toDouble();
    else if (!lastOpened.isUndefined() && !lastOpened.isNull())
        return std::nullopt;
    return file;
}

} // namespace

QString StoredFile::subtitle() const
{
    QString folder = path;
    while (folder.size() > 1 && folder.endsWith(QLatin1Char('/')))
        folder.chop(1);
    const qsizetype slash = folder.lastIndexOf(QLatin1Char('/'));
    if (slash < 0)
        return QString();
    folder.truncate(slash);
    return folder.isEmpty() ? QStringLiteral("/") : folder;
}

std::optional<QDateTime> StoredFile::lastOpenedDate() const
{
    if (!lastOpenedAt)
        return std::nullopt;
    return StoredFiles::dateFromReferenceSeconds(*lastOpenedAt);
}

namespace StoredFiles {

double secondsSinceReferenceDate(const QDateTime &time)
{
    return double(referenceDate().msecsTo(time)) / 1000.0;
}

QDateTime dateFromReferenceSeconds(double seconds)
{
    return referenceDate().addMSecs(qint64(std::llround(seconds * 1000.0)));
}

std::optional<QByteArray> encode(const QList<StoredFile> &files)
{
    QJsonArray array;
    for (const StoredFile &file : files) {
        QJsonObject object;
        object.insert(QLatin1String("path"), file.path);
        object.insert(QLatin1String("displayName"), file.displayName);
        if (file.bookmarkData)
            object.insert(QLatin1String("bookmarkData"),
                          QString::fromLatin1(file.bookmarkData->toBase64()));
        object.insert(QLatin1String("isFavorite"), file.isFavorite);
        if (file.lastOpenedAt) {
            // JSON has no spelling for infinities or NaN.
            if (!std::isfinite(*file.lastOpenedAt))
                return std::nullopt;
            object.insert(QLatin1String("lastOpenedAt"), *file.lastOpenedAt);
        }
        array.append(object);
    }
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

std::optional<QList<StoredFile>> decode(const QByteArray &json)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(json, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    QList<StoredFile> files;
    const QJsonArray array = document.array();
    files.reserve(array.size());
    for (const QJsonValue &value : array) {
        auto file = decodeEntry(value);
        if (!file)
            return std::nullopt;
        files.append(std::move(*file));
    }
    return files;
}

QList<StoredFile> filtered(const QList<StoredFile> &files, const QString &filter)
{
    StoredFileListModel all;
    all.setFiles(files);
    StoredFileFilterModel shown;
    shown.setSourceModel(&all);
    shown.setFilterText(filter);
    QList<StoredFile> result;
    for (int row = 0; row < shown.rowCount(); ++row)
        result.append(shown.file(row));
    return result;
}

} // namespace StoredFiles
