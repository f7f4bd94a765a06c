// AppModel's operations on the library that reach beyond it: revealing and reopening files.
#include "AppModel.h"

#include "Platform.h"

void AppModel::showInFinder(const StoredFile &file)
{
    m_platform.revealInFileManager(file.path);
}

void AppModel::openStoredFile(const StoredFile &file)
{
    if (const auto url = resolveStoredFile(file)) {
        openURLs({*url}, false);
        return;
    }
    showAlert(QStringLiteral("文件不可用"),
              QStringLiteral("Tarn 无法继续访问这个文件。它可能已被移动、重命名或删除。"));
}
