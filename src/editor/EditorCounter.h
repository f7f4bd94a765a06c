// Keeps the editor's word, character and line counts, counting off the main thread.
#pragma once

#include "TextCounts.h"

#include <QFutureWatcher>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <optional>

class QPlainTextEdit;

// A count of a long document takes tens of milliseconds, so it never runs on a keystroke:
// changes start a short timer that is not restarted by further ones (while typing goes on the
// counts still move a few times a second), and the count itself runs in the thread pool, one
// at a time. A count finished for an older text is shown, and the newest text is counted next.
class EditorCounter : public QObject
{
    Q_OBJECT

public:
    explicit EditorCounter(QPlainTextEdit *view, QObject *parent = nullptr);

    TextCounts counts() const { return m_counts; }
    // Words in the selection, or -1 without one.
    qsizetype selectedWords() const { return m_selectedWords; }
    QString statusText() const;

signals:
    void statusTextChanged(const QString &text);

private:
    struct Result
    {
        std::optional<TextCounts> counts; // none when only the selection was counted
        qsizetype selectedWords = -1;
    };

    void schedule(bool textChanged);
    void startCount();
    void takeResult();

    QPointer<QPlainTextEdit> m_view;
    QTimer m_delay;
    QFutureWatcher<Result> m_watcher;
    TextCounts m_counts;
    qsizetype m_selectedWords = -1;
    bool m_textStale = true;
    bool m_pending = false; // something changed while a count was running
};
