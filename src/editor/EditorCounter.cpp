// The status line's counts: throttled, counted in the thread pool, newest text last.
#include "EditorCounter.h"

#include <QPlainTextEdit>
#include <QTextCursor>
#include <QtConcurrent/QtConcurrentRun>

namespace {

constexpr int countDelayMs = 150;

} // namespace

EditorCounter::EditorCounter(QPlainTextEdit *view, QObject *parent)
    : QObject(parent)
    , m_view(view)
{
    m_delay.setSingleShot(true);
    m_delay.setInterval(countDelayMs);
    connect(&m_delay, &QTimer::timeout, this, &EditorCounter::startCount);
    connect(&m_watcher, &QFutureWatcher<Result>::finished, this, &EditorCounter::takeResult);
    connect(view, &QPlainTextEdit::textChanged, this, [this] { schedule(true); });
    connect(view, &QPlainTextEdit::selectionChanged, this, [this] { schedule(false); });
    schedule(true);
}

QString EditorCounter::statusText() const
{
    return TextCounting::statusText(m_counts, m_selectedWords);
}

void EditorCounter::schedule(bool textChanged)
{
    m_textStale = m_textStale || textChanged;
    if (m_watcher.isRunning()) {
        m_pending = true;
        return;
    }
    if (!m_delay.isActive())
        m_delay.start();
}

void EditorCounter::startCount()
{
    if (!m_view)
        return;
    std::optional<QString> text;
    if (m_textStale)
        text = m_view->toPlainText();
    m_textStale = false;
    const QTextCursor cursor = m_view->textCursor();
    const QString selected = cursor.hasSelection() ? cursor.selectedText() : QString();
    const bool hasSelection = cursor.hasSelection();
    m_watcher.setFuture(QtConcurrent::run([text, selected, hasSelection] {
        Result result;
        if (text)
            result.counts = TextCounting::count(*text);
        result.selectedWords = hasSelection ? TextCounting::words(selected) : -1;
        return result;
    }));
}

void EditorCounter::takeResult()
{
    const Result result = m_watcher.result();
    const QString before = statusText();
    if (result.counts)
        m_counts = *result.counts;
    m_selectedWords = result.selectedWords;
    if (statusText() != before)
        emit statusTextChanged(statusText());
    if (m_pending) {
        m_pending = false;
        m_delay.start();
    }
}
