// QString and the renderer's strings hold the same UTF-16 code units; these re-type them.
#pragma once

#include <QString>
#include <QStringView>

#include <string_view>

// The text's code units as the renderer takes them, without a copy: a 10 MB document is
// otherwise copied once more on the way in. Valid while `text` is alive and unchanged.
inline std::u16string_view u16View(QStringView text)
{
    return {text.utf16(), std::size_t(text.size())};
}

// The renderer's text as a QString of its own.
inline QString toQString(std::u16string_view text)
{
    return QString::fromUtf16(text.data(), qsizetype(text.size()));
}

// The renderer's text seen as a QString without a copy; valid while `text` is alive.
inline QString rawQString(std::u16string_view text)
{
    return QString::fromRawData(reinterpret_cast<const QChar *>(text.data()),
                                qsizetype(text.size()));
}
