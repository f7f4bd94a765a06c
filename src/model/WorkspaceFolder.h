// The folder open in the sidebar: which one it is, remembered across launches, and the log
// lines about it. One folder at a time.
#pragma once

#include <QObject>
#include <QString>

class Platform;
class QSettings;
class TarnUsageLogger;

// What a finished search across the folder counted.
struct FolderSearchStats
{
    int files = 0;   // files searched
    int hits = 0;    // matches in them
    int skipped = 0; // files left out: too large, binary, unreadable or gone
    qint64 ms = 0;
};
Q_DECLARE_METATYPE(FolderSearchStats)

class WorkspaceFolder : public QObject
{
    Q_OBJECT
    // Absolute and clean; empty when no folder is open.
    Q_PROPERTY(QString path READ path NOTIFY pathChanged)

public:
    static constexpr char settingsKey[] = "tarn.workspaceFolder";
    // Larger files are not searched.
    static constexpr qint64 maximumSearchedFileSize = 10 * 1024 * 1024;

    // Opens the remembered folder; one that is gone is forgotten and logged.
    WorkspaceFolder(QSettings &settings, Platform &platform, TarnUsageLogger &logger,
                    QObject *parent = nullptr);

    QString path() const { return m_path; }

    // Replaces the open folder. False, with openFailed and a log line, when `path` is not a
    // folder Tarn can read.
    bool open(const QString &path);
    void close();
    // "打开文件夹…": the folder panel, starting at the open folder.
    void presentFolderPanel();
    void noteSearchFinished(const FolderSearchStats &stats);

    // Entries the tree and the search leave out: hidden ones, node_modules and .git, and names
    // that are not valid UTF-8.
    static bool isIgnoredName(QStringView name);
    // Files the tree lists and the search reads: the types the open panel offers.
    static bool isListedDocument(QStringView name);

signals:
    void pathChanged();
    // Why a folder could not be opened, in words for the user.
    void openFailed(const QString &problem);

private:
    // Empty when `path` is a readable folder, else why not.
    static QString folderProblem(const QString &path);
    void setPath(const QString &path);

    QSettings &m_settings;
    Platform &m_platform;
    TarnUsageLogger &m_logger;
    QString m_path;
};
