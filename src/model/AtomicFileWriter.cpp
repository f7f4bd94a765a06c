// Atomic whole-file writes with QSaveFile, whose every step is checked.
#include "AtomicFileWriter.h"

#include <QFileInfo>
#include <QSaveFile>

namespace AtomicFileWriter {

FileWriteResult write(const QString &path, const QByteArray &bytes)
{
    const QFileInfo info(path);
    const auto failure = [&info](const QString &reason) {
        return FileWriteResult{false,
                               QStringLiteral("无法写入文件“%1”：%2").arg(info.fileName(), reason)};
    };
    // QSaveFile would only find out when renaming over it, after writing everything.
    if (info.isDir())
        return failure(QStringLiteral("同名的文件夹已经存在。"));

    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return failure(file.errorString());
    if (file.write(bytes) != bytes.size()) {
        const QString reason = file.errorString();
        file.cancelWriting();
        return failure(reason);
    }
    if (!file.commit())
        return failure(file.errorString());
    return FileWriteResult{true, QString()};
}

} // namespace AtomicFileWriter
