// Colours the Markdown source in the editor's text view without touching its text or undo stack.
#pragma once

#include "MarkdownSourceStyle.h"

#include <QElapsedTimer>
#include <QPointer>
#include <QSyntaxHighlighter>
#include <QTimer>

class QPlainTextEdit;

// QSyntaxHighlighter on its own colours every block a change reaches before the keystroke
// returns, and the whole document when text is loaded: seconds for a large file. Here edits
// only mark lines stale. The edited lines and the lines on screen are coloured at once; the
// rest follows in slices of a few milliseconds from a timer, in document order, so the state a
// line hands to the next (an open fence, front matter, an HTML block, display math) is always
// the one its predecessor left.
class MarkdownHighlighter : public QSyntaxHighlighter
{
    Q_OBJECT

public:
    explicit MarkdownHighlighter(QPlainTextEdit *view);

    void setTheme(TarnTheme theme);
    // Off, the text shows uncoloured and edits cost nothing here.
    void setEnabled(bool enabled);
    bool isEnabled() const { return m_enabled; }
    const MarkdownSourceStyle &style() const { return m_style; }
    // Whether the block belongs to a fenced block or the front matter, fences included.
    static bool isOnQuietBackground(const QTextBlock &block);
    // No line waits to be coloured.
    bool isUpToDate() const { return m_staleFrom > m_staleTo; }

signals:
    // The last stale line has been coloured.
    void upToDate();

protected:
    void highlightBlock(const QString &text) override;

private:
    void attach();
    void onContentsChange(int position, int removed, int added);
    void colourPendingEdit();
    void colourSlice();
    void colourVisible();
    // Colours one block from its predecessor's state; true when the state it hands on changed.
    bool colourBlock(const QTextBlock &block);
    void markStale(int from, int to);
    void scheduleSlices();

    QPointer<QPlainTextEdit> m_view;
    MarkdownSourceStyle m_style;
    QTimer m_sliceTimer;
    QList<QTextCharFormat> m_lineFormats; // reused buffer for one line
    int m_staleFrom = 0;
    int m_staleTo = -1;
    int m_blockCount = 1;
    int m_editFrom = -1; // blocks changed by the edit being reported, coloured once it is done
    int m_editTo = -1;
    bool m_colourAllowed = false;
    bool m_enabled = true;
};
