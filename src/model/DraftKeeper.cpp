// DraftKeeper: unsaved edits reach the recovery folder about a second later, off the typing path.
#include "DraftKeeper.h"

#include "AppModel.h"
#include "DraftStore.h"
#include "TarnUsageLogger.h"

DraftKeeper::DraftKeeper(AppModel &model, DraftStore &store, QObject *parent)
    : QObject(parent)
    , m_model(model)
    , m_store(store)
{
    // A timer that is not restarted by later edits: typing without a pause is still written
    // every second.
    m_timer.setSingleShot(true);
    m_timer.setInterval(writeDelayMs);
    connect(&m_timer, &QTimer::timeout, this, &DraftKeeper::writeChanged);
    connect(&m_model, &AppModel::tabsChanged, this, &DraftKeeper::watchNewDocuments);
    // Queued: the store reports from its writer thread.
    connect(&m_store, &DraftStore::saveFailed, this, &DraftKeeper::onSaveFailed,
            Qt::QueuedConnection);
    connect(this, &DraftKeeper::draftsUnwritable, &m_model, &AppModel::warnDraftsUnwritable);
    watchNewDocuments();
}

void DraftKeeper::onSaveFailed(const QString &documentPath, const QString &error)
{
    m_model.logger().log(
        QStringLiteral("draft.save.failure"),
        {{QStringLiteral("path"), documentPath}, {QStringLiteral("error"), error}});
    if (!std::exchange(m_failed, true))
        emit draftsUnwritable(error);
}

void DraftKeeper::watchNewDocuments()
{
    for (TarnDocument *document : m_model.tabs()) {
        if (m_watched.contains(document))
            continue;
        m_watched.insert(document);
        connect(document, &TarnDocument::isDirtyChanged, this,
                [this, document] { onDirtyChanged(document); });
        connect(document, &QObject::destroyed, this,
                [this, document] { m_watched.remove(document); });
        if (document->isDirty())
            onDirtyChanged(document);
    }
}

void DraftKeeper::onDirtyChanged(TarnDocument *document)
{
    // Runs on every keystroke: only a list lookup and a timer check while typing.
    if (document->isDirty()) {
        if (!m_changed.contains(document))
            m_changed.append(document);
        if (!m_timer.isActive())
            m_timer.start();
        return;
    }
    // Saved, discarded, or typed back to the saved text.
    m_changed.removeAll(document);
    const QString path = document->url().toLocalFile();
    if (m_kept.remove(path))
        m_store.remove(path);
}

void DraftKeeper::writeChanged()
{
    for (const QPointer<TarnDocument> &document : std::exchange(m_changed, {})) {
        if (!document || !document->isDirty())
            continue;
        const QString path = document->url().toLocalFile();
        // The draft is shared, not copied: the writer thread encodes it.
        m_store.save(path, document->draft());
        m_kept.insert(path);
    }
}

void DraftKeeper::writeAllNow()
{
    m_timer.stop();
    m_changed.clear();
    for (TarnDocument *document : m_model.tabs()) {
        if (!document->isDirty())
            continue;
        const QString path = document->url().toLocalFile();
        m_store.save(path, document->draft());
        m_kept.insert(path);
    }
    m_store.flush();
}

void DraftKeeper::restore()
{
    QList<BrokenDraftFile> broken;
    const QList<RecoveredDraft> drafts = m_store.readAll(&broken);
    for (const BrokenDraftFile &file : broken) {
        m_model.logger().log(
            QStringLiteral("draft.recovery.failure"),
            {{QStringLiteral("path"), file.path}, {QStringLiteral("error"), file.error}});
        // Left in place it is only read again at the next start, so the user is not alarmed.
        if (!file.moveError.isEmpty())
            m_model.logger().log(
                QStringLiteral("draft.save.failure"),
                {{QStringLiteral("path"), file.path}, {QStringLiteral("error"), file.moveError}});
    }
    if (drafts.isEmpty())
        return;
    m_model.restoreDrafts(drafts);
    // A recovered draft that matches its file needs its recovery file no more; one whose file
    // could not be opened keeps it for the next launch.
    for (const RecoveredDraft &draft : drafts) {
        m_kept.insert(draft.path);
        for (TarnDocument *document : m_model.tabs()) {
            if (document->url().toLocalFile() == draft.path && !document->isDirty())
                onDirtyChanged(document);
        }
    }
}
