// Reading and writing the model's values in the settings store, with defaults for bad values.
#pragma once

#include "MarkdownRenderer.h"
#include "ReadPositions.h"
#include "StoredFile.h"
#include "TarnTheme.h"

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>

class QSettings;

namespace ModelSettings {

inline constexpr char themeKey[] = "tarn.theme";
inline constexpr char showOutlineKey[] = "tarn.showOutline";
inline constexpr char storedFilesKey[] = "tarn.storedFiles";
inline constexpr char readPositionsKey[] = "tarn.readPositions";
// The paths of the read positions, oldest first, so the oldest can be dropped.
inline constexpr char readPositionOrderKey[] = "tarn.readPositionOrder";
inline constexpr char markdownFlavorKey[] = "tarn.markdownFlavor";
// The files whose hint to show them in the standard flavour was closed.
inline constexpr char flavorHintClosedKey[] = "tarn.flavorHintClosed";

// "classic" and "gfm", as stored and as the command line takes them.
QString flavorName(MarkdownFlavor flavor);
std::optional<MarkdownFlavor> flavorFromName(const QString &name);

// Every reader falls back to the default when the value is missing, of another type or
// undecodable.
TarnTheme readTheme(QSettings &settings);
bool readShowOutline(QSettings &settings);
QList<StoredFile> readStoredFiles(QSettings &settings);
ReadPositions readReadPositions(QSettings &settings);
MarkdownFlavor readMarkdownFlavor(QSettings &settings);
QSet<QString> readFlavorHintClosed(QSettings &settings);

// Writers store at once; a value that cannot be encoded leaves the store as it was. False when
// the store could not be written to disk (see failureText).
[[nodiscard]] bool writeTheme(QSettings &settings, TarnTheme theme);
[[nodiscard]] bool writeShowOutline(QSettings &settings, bool show);
[[nodiscard]] bool writeStoredFiles(QSettings &settings, const QList<StoredFile> &files);
[[nodiscard]] bool writeReadPositions(QSettings &settings, const ReadPositions &positions);
[[nodiscard]] bool writeMarkdownFlavor(QSettings &settings, MarkdownFlavor flavor);
[[nodiscard]] bool writeFlavorHintClosed(QSettings &settings, const QSet<QString> &paths);

// Why the last write did not reach the disk, for the log.
QString failureText(const QSettings &settings);

} // namespace ModelSettings
