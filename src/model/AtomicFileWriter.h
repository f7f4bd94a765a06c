// Writes a whole file through a temporary that replaces the target only when fully written.
#pragma once

#include <QByteArray>
#include <QString>

struct FileWriteResult
{
    bool ok = false;
    QString errorString; // localised description when !ok
};

namespace AtomicFileWriter {

FileWriteResult write(const QString &path, const QByteArray &bytes);

} // namespace AtomicFileWriter
