// Opening, closing and remembering the sidebar's folder.
#include "WorkspaceFolder.h"

#include "AppModel.h"
#include "Platform.h"
#include "TarnUsageLogger.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

WorkspaceFolder::WorkspaceFolder(QSettings &settings, Platform &platform, TarnUsageLogger &logger,
                                 QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_platform(platform)
    , m_logger(logger)
{
    const QVariant stored = m_settings.value(QLatin1String(settingsKey));
    if (!stored.isValid())
        return;
    const QString path = stored.toString();
    const QString problem = path.isEmpty() ? QStringLiteral("不是文件夹") : folderProblem(path);
    if (problem.isEmpty()) {
        m_path = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
        return;
    }
    m_settings.remove(QLatin1String(settingsKey));
    m_logger.log(QStringLiteral("folder.open.failure"),
                 {{QStringLiteral("path"), path}, {QStringLiteral("error"), problem}});
}

QString WorkspaceFolder::folderProblem(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return QStringLiteral("文件夹不存在");
    if (!info.isDir())
        return QStringLiteral("不是文件夹");
    if (!info.isReadable() || !info.isExecutable())
        return QStringLiteral("没有读取这个文件夹的权限");
    return QString();
}

bool WorkspaceFolder::open(const QString &path)
{
    const QString problem = folderProblem(path);
    if (!problem.isEmpty()) {
        m_logger.log(QStringLiteral("folder.open.failure"),
                     {{QStringLiteral("path"), path}, {QStringLiteral("error"), problem}});
        emit openFailed(problem);
        return false;
    }
    const QString clean = QDir::cleanPath(QFileInfo(path).absoluteFilePath());
    m_settings.setValue(QLatin1String(settingsKey), clean);
    m_logger.log(QStringLiteral("folder.open.success"), {{QStringLiteral("path"), clean}});
    setPath(clean);
    return true;
}

void WorkspaceFolder::close()
{
    m_settings.remove(QLatin1String(settingsKey));
    setPath(QString());
}

void WorkspaceFolder::presentFolderPanel()
{
    OpenPanelOptions options;
    options.title = QStringLiteral("打开文件夹");
    options.canChooseFiles = false;
    options.canChooseDirectories = true;
    options.directory = m_path;
    const QList<QUrl> chosen = m_platform.runOpenPanel(options);
    if (!chosen.isEmpty() && chosen.first().isLocalFile())
        open(chosen.first().toLocalFile());
}

void WorkspaceFolder::noteSearchFinished(const FolderSearchStats &stats)
{
    m_logger.log(QStringLiteral("folder.search.finished"),
                 {{QStringLiteral("files"), QString::number(stats.files)},
                  {QStringLiteral("hits"), QString::number(stats.hits)},
                  {QStringLiteral("skipped"), QString::number(stats.skipped)},
                  {QStringLiteral("ms"), QString::number(stats.ms)}});
}

bool WorkspaceFolder::isIgnoredName(QStringView name)
{
    // A name that is not valid UTF-8 decodes with replacement characters and would not lead
    // back to its file.
    return name.startsWith(u'.') || name == u"node_modules" ||
           name.contains(QChar(QChar::ReplacementCharacter));
}

bool WorkspaceFolder::isListedDocument(QStringView name)
{
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot <= 0)
        return false;
    const QStringView extension = name.mid(dot + 1);
    for (const QString &listed : AppModel::documentExtensions()) {
        if (extension.compare(listed, Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

void WorkspaceFolder::setPath(const QString &path)
{
    if (m_path == path)
        return;
    m_path = path;
    emit pathChanged();
}
