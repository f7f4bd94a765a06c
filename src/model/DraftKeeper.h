// Keeps the recovery file of every document with unsaved edits up to date, and brings the
// drafts back after a crash.
#pragma once

#include <QObject>
#include <QPointer>
#include <QSet>
#include <QTimer>

class AppModel;
class DraftStore;
class TarnDocument;

class DraftKeeper : public QObject
{
    Q_OBJECT

public:
    // How long after an unsaved edit its draft is written at the latest.
    static constexpr int writeDelayMs = 1000;

    // Both must outlive the keeper.
    DraftKeeper(AppModel &model, DraftStore &store, QObject *parent = nullptr);

    // Opens the drafts a crashed Tarn left behind as unsaved tabs and says so.
    void restore();
    // Writes the draft of every document with unsaved edits now and waits for the disk: before
    // the process ends on a signal or a logout.
    void writeAllNow();

signals:
    // The first recovery file of the session that could not be written or removed: from now on
    // a crash may lose unsaved edits. Emitted once.
    void draftsUnwritable(const QString &error);

private:
    void onSaveFailed(const QString &documentPath, const QString &error);
    void watchNewDocuments();
    void onDirtyChanged(TarnDocument *document);
    void writeChanged();

    AppModel &m_model;
    DraftStore &m_store;
    QSet<TarnDocument *> m_watched;
    QList<QPointer<TarnDocument>> m_changed;
    QSet<QString> m_kept; // documents with a recovery file, written or queued
    bool m_failed = false;
    QTimer m_timer;
};
