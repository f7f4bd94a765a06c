// AppModel and the disk after opening: open files follow changes made by other programs (the
// disk watcher says which to look at), and drafts that survived a crash come back as unsaved tabs.
#include "AppModel.h"

#include "Platform.h"
#include "TarnUsageLogger.h"
#include "TextFileReader.h"

#include <QFileInfo>
#include <QPointer>

void AppModel::checkDocumentOnDisk(const QString &path)
{
    TarnDocument *document = m_documents->documentWithPath(path);
    if (!document)
        return;
    const QMap<QString, QString> fileAndPath{{QStringLiteral("file"), document->fileName()},
                                             {QStringLiteral("path"), path}};
    if (!QFileInfo::exists(path)) {
        if (!document->isMissingOnDisk()) {
            document->setMissingOnDisk(true);
            log(QStringLiteral("file.missing.external"), fileAndPath);
        }
        return;
    }
    const TextFileReadResult read = TextFileReader::read(path);
    // Tarn's own saves end here, and so does a file still half written: its next change
    // brings another look.
    if (!read.ok || (read.text == document->content() && !document->isMissingOnDisk()))
        return;
    const bool edited = !TarnDocument::canonicallyEqual(document->draft(), document->content());
    if (!edited) {
        document->setContent(read.text);
        document->discardDraft();
        log(QStringLiteral("file.reload.external"), fileAndPath);
    } else if (read.text == document->content()) {
        document->setContent(read.text); // the file is back as it was
        document->setDirty(true);
    } else {
        askAboutChangeOnDisk(document, read.text);
    }
}

void AppModel::askAboutChangeOnDisk(TarnDocument *document, const QString &diskText)
{
    ModalAlert alert;
    alert.style = AlertStyle::warning;
    alert.message = QStringLiteral("文件已在磁盘上更改");
    alert.informativeText = QStringLiteral("“%1”已被其他程序修改，你在 Tarn 中还有未保存的修改。")
                                .arg(document->fileName());
    alert.buttons = {QStringLiteral("保留我的修改"), QStringLiteral("载入磁盘上的版本")};
    const QPointer<TarnDocument> asked = document;
    m_askingAboutDisk = true;
    const int answer = m_platform.runModalAlert(alert);
    m_askingAboutDisk = false;
    if (!asked || !m_documents->contains(asked))
        return;
    // The file may have changed again while the question was open.
    const QString path = asked->url().toLocalFile();
    const TextFileReadResult now = TextFileReader::read(path);
    const QString text = now.ok ? now.text : diskText;
    asked->setContent(text);
    if (answer == 1) {
        asked->discardDraft();
        log(QStringLiteral("file.reload.external"),
            {{QStringLiteral("file"), asked->fileName()}, {QStringLiteral("path"), path}});
    } else {
        // The draft stays; whether it is unsaved is now measured against the disk.
        asked->setDirty(!TarnDocument::canonicallyEqual(asked->draft(), text));
    }
}

void AppModel::restoreDrafts(const QList<RecoveredDraft> &drafts)
{
    QStringList names;
    TarnDocument *last = nullptr;
    for (const RecoveredDraft &draft : drafts) {
        TarnDocument *document = m_documents->documentWithPath(draft.path);
        if (!document && QFileInfo::exists(draft.path)) {
            openURL(QUrl::fromLocalFile(draft.path));
            document = m_documents->documentWithPath(draft.path);
        } else if (!document) {
            // The file is gone: the tab still opens with the recovered text; saving makes it.
            document = new TarnDocument(QUrl::fromLocalFile(draft.path), QString(),
                                        m_reader->readPosition(draft.path));
            m_documents->append(document);
            document->setMissingOnDisk(true);
        }
        if (!document)
            continue; // unreadable now: its recovery file is kept for a later launch
        document->updateDraft(draft.draft);
        names << document->fileName();
        last = document;
        log(QStringLiteral("draft.recovered"),
            {{QStringLiteral("file"), document->fileName()}, {QStringLiteral("path"), draft.path}});
    }
    if (!last)
        return;
    setSelectedTabID(last->id());
    resetSearchResults();
    setEditing(true);
    showAlert(
        QStringLiteral("已恢复未保存的修改"),
        QStringLiteral("Tarn 上次没有正常退出，以下文件的未保存修改已恢复，请检查后保存：\n") +
            names.join(u'\n'));
}

void AppModel::warnDraftsUnwritable(const QString &error)
{
    m_platform.runModalAlert(ModalAlert{
        AlertStyle::warning,
        QStringLiteral("无法保存恢复草稿"),
        QStringLiteral(
            "Tarn 无法把未保存的修改写入恢复文件夹。如果 Tarn 意外退出，这些修改将会丢失，"
            "请及时保存你的文件。\n\n") +
            error,
        {QStringLiteral("好")}});
}
