// AppModel's file operations: the open panel, opening files as tabs, save and save-as.
#include "AppModel.h"

#include "AtomicFileWriter.h"
#include "Platform.h"
#include "TarnUsageLogger.h"
#include "TextFileReader.h"
#include "WorkspaceFolder.h"

#include <QFileInfo>
#include <QMimeDatabase>

namespace {

QString fileNameOf(const QUrl &url)
{
    return url.fileName(QUrl::FullyDecoded);
}

} // namespace

QString AppModel::pathExtension(const QString &path)
{
    const QString name = path.section(QLatin1Char('/'), -1);
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    // A leading dot names a hidden file, not an extension; a trailing dot has nothing after it.
    if (dot <= 0 || dot == name.size() - 1)
        return QString();
    return name.mid(dot + 1);
}

const QStringList &AppModel::documentExtensions()
{
    static const QStringList extensions = {QStringLiteral("md"),    QStringLiteral("markdown"),
                                           QStringLiteral("mdown"), QStringLiteral("mkd"),
                                           QStringLiteral("mkdn"),  QStringLiteral("txt")};
    return extensions;
}

QString AppModel::documentNameFilter()
{
    QStringList patterns;
    for (const QString &extension : documentExtensions())
        patterns << QStringLiteral("*.") + extension;
    return QStringLiteral("Markdown 与文本文件 (%1)").arg(patterns.join(u' '));
}

bool AppModel::isDocumentFile(const QString &path)
{
    if (documentExtensions().contains(pathExtension(path).toLower()))
        return true;
    // Anything else only when the MIME database, by name or by content, calls it Markdown or
    // plain text; a file without an extension (README, NOTES) may be any kind of text. Source
    // code and data files are text too, but not documents.
    static const QMimeDatabase database;
    const QMimeType type = database.mimeTypeForFile(path);
    if (type.name() == QLatin1String("text/plain") ||
        type.inherits(QStringLiteral("text/markdown")))
        return true;
    return pathExtension(path).isEmpty() && type.inherits(QStringLiteral("text/plain"));
}

QUrl AppModel::withDefaultSuffix(const QUrl &url, const QString &suffix)
{
    if (!url.isLocalFile() || !pathExtension(url.toLocalFile()).isEmpty())
        return url;
    return QUrl::fromLocalFile(url.toLocalFile() + QLatin1Char('.') + suffix);
}

void AppModel::presentOpenPanel()
{
    if (TarnDocument *current = selectedDocument(); current && !confirmDirtyDocument(current))
        return;
    OpenPanelOptions options;
    options.title = QStringLiteral("打开 Markdown 文件");
    options.allowsMultipleSelection = true;
    options.canChooseFiles = true;
    options.canChooseDirectories = false;
    options.nameFilters = {documentNameFilter(), QStringLiteral("所有文件 (*)")};
    options.directory = panelFolder(selectedDocument());
    const QList<QUrl> chosen = m_platform.runOpenPanel(options);
    if (!chosen.isEmpty())
        notePanelChoice(chosen.constFirst());
    // A file picked under "all files" that Tarn cannot show is said so, not silently dropped.
    QList<QUrl> refused;
    for (const QUrl &url : chosen) {
        if (!url.isLocalFile() || !isDocumentFile(url.toLocalFile()))
            refused << url;
    }
    alertUnopenableFiles(refused);
    if (!chosen.isEmpty())
        openURLs(chosen, true);
}

void AppModel::openURLs(const QList<QUrl> &urls, bool alreadyConfirmed)
{
    QList<QUrl> accepted;
    for (const QUrl &url : urls) {
        if (url.isLocalFile() && QFileInfo(url.toLocalFile()).isDir())
            m_workspaceFolder->open(url.toLocalFile());
        else if (url.isLocalFile() && isDocumentFile(url.toLocalFile()))
            accepted.append(url);
    }
    if (accepted.isEmpty())
        return;
    if (!alreadyConfirmed) {
        if (TarnDocument *current = selectedDocument(); current && !confirmDirtyDocument(current))
            return;
    }
    for (const QUrl &url : std::as_const(accepted))
        openURL(url);
    setEditing(false);
}

QString AppModel::panelFolder(const TarnDocument *document) const
{
    if (document && document->url().isLocalFile())
        return QFileInfo(document->url().toLocalFile()).absolutePath();
    return m_lastPanelFolder;
}

void AppModel::notePanelChoice(const QUrl &chosen)
{
    if (chosen.isLocalFile())
        m_lastPanelFolder = QFileInfo(chosen.toLocalFile()).absolutePath();
}

void AppModel::alertUnopenableFiles(const QList<QUrl> &urls)
{
    QStringList lines;
    QStringList otherKinds;
    for (const QUrl &url : urls) {
        const QFileInfo info(url.toLocalFile());
        // The reader words these two without touching the file's contents.
        if (url.isLocalFile() && (!info.exists() || info.isDir()))
            lines << TextFileReader::read(info.filePath()).errorString;
        else
            otherKinds << fileNameOf(url);
    }
    if (!otherKinds.isEmpty())
        lines << QStringLiteral("Tarn 只能打开 Markdown 和纯文本文件：\n") + otherKinds.join(u'\n');
    if (!lines.isEmpty())
        showAlert(QStringLiteral("打开失败"), lines.join(u'\n'));
}

void AppModel::openURL(const QUrl &url)
{
    const QString path = url.toLocalFile();
    const QMap<QString, QString> fileAndPath{{QStringLiteral("file"), fileNameOf(url)},
                                             {QStringLiteral("path"), path}};
    if (TarnDocument *existing = m_documents->documentWithPath(path)) {
        // The open text is kept; a change on disk is deliberately not picked up.
        setSelectedTabID(existing->id());
        rememberFile(url);
        resetSearchResults();
        log(QStringLiteral("file.open.existing"), fileAndPath);
        return;
    }

    const TextFileReadResult read = TextFileReader::read(path);
    if (!read.ok) {
        QMap<QString, QString> metadata = fileAndPath;
        metadata.insert(QStringLiteral("error"), read.errorString);
        log(QStringLiteral("file.open.failure"), metadata);
        showAlert(QStringLiteral("打开失败"), read.errorString);
        return;
    }

    auto *document = new TarnDocument(url, read.text, m_reader->readPosition(path));
    m_documents->append(document);
    setSelectedTabID(document->id());
    resetSearchResults();
    rememberFile(url);
    m_platform.noteRecentDocument(url);
    log(QStringLiteral("file.open.success"), fileAndPath);
}

void AppModel::saveSelectedDocument()
{
    if (TarnDocument *document = selectedDocument())
        saveDocument(document);
}

bool AppModel::saveDocument(TarnDocument *document)
{
    if (!document)
        return false;
    const QString path = document->url().toLocalFile();
    const QString written = document->draft();
    QMap<QString, QString> metadata{{QStringLiteral("file"), document->fileName()},
                                    {QStringLiteral("path"), path}};
    const FileWriteResult result = AtomicFileWriter::write(path, written.toUtf8());
    if (result.ok) {
        document->setContent(written);
        document->setDirty(false);
        rememberFile(document->url());
        log(QStringLiteral("file.save.success"), metadata);
        return true;
    }

    metadata.insert(QStringLiteral("error"), result.errorString);
    log(QStringLiteral("file.save.failure"), metadata);
    ModalAlert alert;
    alert.style = AlertStyle::critical;
    alert.message = QStringLiteral("保存失败");
    alert.informativeText =
        QStringLiteral("Tarn 无法写入文件。你的编辑内容仍然保留在窗口中。\n\n") +
        result.errorString;
    alert.buttons = {QStringLiteral("继续编辑"), QStringLiteral("另存为...")};
    if (m_platform.runModalAlert(alert) == 1)
        return saveDocumentAs(document);
    return false;
}

bool AppModel::saveDocumentAs(TarnDocument *document)
{
    if (!document)
        return false;
    SavePanelOptions options;
    options.title = QStringLiteral("另存为 Markdown 文件");
    options.suggestedName = document->fileName();
    options.nameFilters = {documentNameFilter()};
    options.defaultSuffix = QStringLiteral("md");
    options.directory = panelFolder(document);
    std::optional<QUrl> chosen = m_platform.runSavePanel(options);
    if (chosen) {
        notePanelChoice(*chosen);
        chosen = withDefaultSuffix(*chosen, options.defaultSuffix);
    }
    if (!chosen) {
        log(QStringLiteral("file.save_as.cancelled"),
            {{QStringLiteral("file"), document->fileName()}});
        return false;
    }

    const QString path = chosen->toLocalFile();
    const QString written = document->draft();
    QMap<QString, QString> metadata{{QStringLiteral("file"), document->fileName()},
                                    {QStringLiteral("path"), path}};
    const FileWriteResult result = AtomicFileWriter::write(path, written.toUtf8());
    if (!result.ok) {
        metadata.insert(QStringLiteral("error"), result.errorString);
        log(QStringLiteral("file.save_as.failure"), metadata);
        showAlert(QStringLiteral("保存失败"), result.errorString);
        return false;
    }
    // The document keeps its own url: it now shows clean although its old file was not written.
    document->setContent(written);
    document->setDirty(false);
    rememberFile(*chosen);
    log(QStringLiteral("file.save_as.success"), metadata);
    return true;
}
