// Qt implementations of panels and alerts; D-Bus for the file manager; xbel for recent files.
#include "QtPlatform.h"

#include "AlertBox.h"
#include "FilePanelModel.h"
#include "RecentDocuments.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMimeDatabase>

namespace {

void prepare(QFileDialog &dialog, const QString &directory, const QStringList &filters)
{
    // Qt's own dialog rather than the desktop's, whose texts follow the session's language.
    dialog.setOption(QFileDialog::DontUseNativeDialog);
    dialog.setProxyModel(new FilePanelModel(&dialog));
    // Never the program's working folder, which means nothing to someone who started Tarn
    // from a file manager.
    dialog.setDirectory(directory.isEmpty() ? QDir::homePath() : directory);
    if (filters.isEmpty())
        return;
    dialog.setNameFilters(filters);
    dialog.selectNameFilter(filters.first());
}

} // namespace

QList<QUrl> QtPlatform::runOpenPanel(const OpenPanelOptions &options)
{
    QFileDialog dialog(m_window, options.title);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(options.canChooseDirectories      ? QFileDialog::Directory
                       : options.allowsMultipleSelection ? QFileDialog::ExistingFiles
                                                         : QFileDialog::ExistingFile);
    prepare(dialog, options.directory, options.nameFilters);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return dialog.selectedUrls();
}

std::optional<QUrl> QtPlatform::runSavePanel(const SavePanelOptions &options)
{
    QFileDialog dialog(m_window, options.title);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    prepare(dialog, options.directory, options.nameFilters);
    dialog.setDefaultSuffix(options.defaultSuffix);
    dialog.selectFile(options.suggestedName);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedUrls().isEmpty())
        return std::nullopt;
    return dialog.selectedUrls().constFirst();
}

int QtPlatform::runModalAlert(const ModalAlert &alert)
{
    return AlertBox::run(alert, m_window);
}

void QtPlatform::openWithDefaultHandler(const QUrl &url)
{
    QDesktopServices::openUrl(url);
}

void QtPlatform::revealInFileManager(const QString &path)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(path).toString()} << QString();
    const QDBusMessage reply = QDBusConnection::sessionBus().call(call, QDBus::Block, 3000);
    if (reply.type() == QDBusMessage::ReplyMessage)
        return;
    // No file manager answers on the bus: open the folder instead.
    QDesktopServices::openUrl(QUrl::fromLocalFile(QFileInfo(path).absolutePath()));
}

void QtPlatform::noteRecentDocument(const QUrl &url)
{
    const QString mimeType = QMimeDatabase().mimeTypeForFile(url.toLocalFile()).name();
    RecentDocuments::add(RecentDocuments::defaultPath(), url, mimeType);
}

bool QtPlatform::isShowingModalDialog() const
{
    return QApplication::activeModalWidget() != nullptr;
}
