// The settings store's keys and value forms; INI files lose most types, so reading is strict.
#include "ModelSettings.h"

#include "Utf16Text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

#include <cmath>

namespace ModelSettings {
namespace {

// Binary values come back as QByteArray only when they were stored as one.
std::optional<QByteArray> readBlob(QSettings &settings, const char *key)
{
    const QVariant value = settings.value(QLatin1String(key));
    if (value.typeId() != QMetaType::QByteArray)
        return std::nullopt;
    return value.toByteArray();
}

// A binary value holding a JSON document; nothing when it is missing or does not parse.
std::optional<QJsonDocument> readJsonBlob(QSettings &settings, const char *key)
{
    const auto blob = readBlob(settings, key);
    if (!blob)
        return std::nullopt;
    QJsonParseError error;
    QJsonDocument document = QJsonDocument::fromJson(*blob, &error);
    if (error.error != QJsonParseError::NoError)
        return std::nullopt;
    return document;
}

bool store(QSettings &settings, const char *key, const QVariant &value)
{
    settings.setValue(QLatin1String(key), value);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

} // namespace

QString flavorName(MarkdownFlavor flavor)
{
    return flavor == MarkdownFlavor::gfm ? QStringLiteral("gfm") : QStringLiteral("classic");
}

std::optional<MarkdownFlavor> flavorFromName(const QString &name)
{
    if (name == QLatin1String("classic"))
        return MarkdownFlavor::classic;
    if (name == QLatin1String("gfm"))
        return MarkdownFlavor::gfm;
    return std::nullopt;
}

TarnTheme readTheme(QSettings &settings)
{
    const QVariant value = settings.value(QLatin1String(themeKey));
    if (value.typeId() != QMetaType::QString)
        return TarnTheme::businessBlue;
    const QString raw = value.toString();
    return TarnThemes::fromRawValue(u16View(raw)).value_or(TarnTheme::businessBlue);
}

bool readShowOutline(QSettings &settings)
{
    const QVariant value = settings.value(QLatin1String(showOutlineKey));
    if (value.typeId() == QMetaType::Bool)
        return value.toBool();
    // An INI file keeps a boolean as the word "true" or "false".
    if (value.typeId() == QMetaType::QString) {
        const QString text = value.toString();
        if (text == QLatin1String("true"))
            return true;
        if (text == QLatin1String("false"))
            return false;
    }
    return true;
}

QList<StoredFile> readStoredFiles(QSettings &settings)
{
    const auto blob = readBlob(settings, storedFilesKey);
    if (!blob)
        return {};
    return StoredFiles::decode(*blob).value_or(QList<StoredFile>());
}

ReadPositions readReadPositions(QSettings &settings)
{
    const auto document = readJsonBlob(settings, readPositionsKey);
    if (!document || !document->isObject())
        return {};
    QHash<QString, double> positions;
    const QJsonObject object = document->object();
    for (auto it = object.begin(); it != object.end(); ++it) {
        // One value of another kind makes the whole map unreadable.
        if (!it.value().isDouble())
            return {};
        positions.insert(it.key(), it.value().toDouble());
    }
    // A missing or broken order only loses which files were read last.
    QStringList order;
    if (const auto stored = readJsonBlob(settings, readPositionOrderKey);
        stored && stored->isArray()) {
        for (const QJsonValue &path : stored->array())
            order.append(path.toString());
    }
    return ReadPositions(positions, order);
}

MarkdownFlavor readMarkdownFlavor(QSettings &settings)
{
    const QVariant value = settings.value(QLatin1String(markdownFlavorKey));
    if (value.typeId() != QMetaType::QString)
        return MarkdownFlavor::classic;
    return flavorFromName(value.toString()).value_or(MarkdownFlavor::classic);
}

QSet<QString> readFlavorHintClosed(QSettings &settings)
{
    const auto document = readJsonBlob(settings, flavorHintClosedKey);
    if (!document || !document->isArray())
        return {};
    QSet<QString> paths;
    for (const QJsonValue &path : document->array()) {
        // One entry of another kind makes the whole list unreadable, as for the positions.
        if (!path.isString())
            return {};
        paths.insert(path.toString());
    }
    return paths;
}

bool writeTheme(QSettings &settings, TarnTheme theme)
{
    const std::string_view raw = TarnThemes::rawValue(theme);
    return store(settings, themeKey, QString::fromLatin1(raw.data(), qsizetype(raw.size())));
}

bool writeShowOutline(QSettings &settings, bool show)
{
    return store(settings, showOutlineKey, show);
}

bool writeStoredFiles(QSettings &settings, const QList<StoredFile> &files)
{
    const auto json = StoredFiles::encode(files);
    return !json || store(settings, storedFilesKey, *json);
}

bool writeReadPositions(QSettings &settings, const ReadPositions &positions)
{
    QJsonObject object;
    for (auto it = positions.positions().begin(); it != positions.positions().end(); ++it) {
        if (!std::isfinite(it.value()))
            return true;
        object.insert(it.key(), it.value());
    }
    settings.setValue(QLatin1String(readPositionOrderKey),
                      QJsonDocument(QJsonArray::fromStringList(positions.order()))
                          .toJson(QJsonDocument::Compact));
    return store(settings, readPositionsKey, QJsonDocument(object).toJson(QJsonDocument::Compact));
}

bool writeMarkdownFlavor(QSettings &settings, MarkdownFlavor flavor)
{
    return store(settings, markdownFlavorKey, flavorName(flavor));
}

bool writeFlavorHintClosed(QSettings &settings, const QSet<QString> &paths)
{
    QStringList sorted(paths.begin(), paths.end());
    sorted.sort();
    return store(settings, flavorHintClosedKey,
                 QJsonDocument(QJsonArray::fromStringList(sorted)).toJson(QJsonDocument::Compact));
}

QString failureText(const QSettings &settings)
{
    if (settings.status() == QSettings::FormatError)
        return QStringLiteral("设置文件“%1”的格式有误。").arg(settings.fileName());
    return QStringLiteral("无法写入设置文件“%1”。").arg(settings.fileName());
}

} // namespace ModelSettings
