// Reads a text file the way Tarn opens documents: UTF-8 first, then detected encodings.
#pragma once

#include <QString>

struct TextFileReadResult
{
    bool ok = false;
    QString text;
    QString encoding;    // name of the encoding used, e.g. "UTF-8", "GB18030"
    QString errorString; // localised description when !ok
};

namespace TextFileReader {

TextFileReadResult read(const QString &path);
// Decodes bytes already in memory; `fileName` only names the file in error messages.
TextFileReadResult decode(const QByteArray &bytes, const QString &fileName);

} // namespace TextFileReader
