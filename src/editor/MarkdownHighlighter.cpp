// Scheduling of the source colours: edited lines and the screen now, the rest in slices.
#include "MarkdownHighlighter.h"

#include "MarkdownLineColouring.h"

#include <QPlainTextEdit>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>

namespace {

// How long colouring may add to a keystroke, and how long one background slice may run.
constexpr qint64 editBudgetNs = 3'000'000;
constexpr qint64 sliceBudgetNs = 6'000'000;

} // namespace

MarkdownHighlighter::MarkdownHighlighter(QPlainTextEdit *view)
    : QSyntaxHighlighter(view->document())
    , m_view(view)
    , m_style(markdownSourceStyle(TarnTheme::businessBlue))
{
    m_sliceTimer.setInterval(0);
    connect(&m_sliceTimer, &QTimer::timeout, this, &MarkdownHighlighter::colourSlice);
    // The plain text edit moves its top line without always going through its scroll bar; its
    // update requests report every scroll.
    connect(view, &QPlainTextEdit::updateRequest, this, [this](const QRect &, int dy) {
        if (dy != 0)
            colourVisible();
    });
    attach();
}

void MarkdownHighlighter::attach()
{
    QTextDocument *doc = m_view->document();
    if (document() != doc)
        setDocument(doc);
    // Take over from the base class: it would colour every block a change reaches, in one go.
    // Its full pass runs here once with colouring refused, which only cancels the pending one.
    disconnect(doc, nullptr, this, nullptr);
    rehighlight();
    connect(doc, &QTextDocument::contentsChange, this, &MarkdownHighlighter::onContentsChange);
    connect(doc, &QTextDocument::contentsChanged, this, &MarkdownHighlighter::colourPendingEdit);
    m_blockCount = doc->blockCount();
    markStale(0, m_blockCount - 1);
    colourVisible();
    scheduleSlices();
}

bool MarkdownHighlighter::isOnQuietBackground(const QTextBlock &block)
{
    using MarkdownLineColouring::Open;
    const auto quiet = [](int state) {
        const Open kind = MarkdownLineColouring::openKind(state);
        return kind == Open::fence || kind == Open::frontMatter;
    };
    // A closing fence hands on nothing; the line before it still holds the fence open.
    const QTextBlock previous = block.previous();
    return quiet(block.userState()) || (previous.isValid() && quiet(previous.userState()));
}

void MarkdownHighlighter::setEnabled(bool enabled)
{
    if (enabled == m_enabled || !m_view)
        return;
    m_enabled = enabled;
    if (enabled) {
        attach();
        return;
    }
    m_sliceTimer.stop();
    m_staleFrom = 0;
    m_staleTo = -1;
    QTextDocument *doc = document();
    disconnect(doc, nullptr, this, nullptr);
    // Drops the colours; the base class never touches the text doing so.
    setDocument(nullptr);
    m_view->viewport()->update();
}

void MarkdownHighlighter::setTheme(TarnTheme theme)
{
    m_style = markdownSourceStyle(theme);
    if (QTextDocument *doc = document(); doc && m_enabled) {
        markStale(0, doc->blockCount() - 1);
        colourVisible();
        scheduleSlices();
    }
}

void MarkdownHighlighter::highlightBlock(const QString &text)
{
    const QTextBlock block = currentBlock();
    if (!m_colourAllowed) {
        // A block the base class reaches on its own (the one after a block whose state
        // changed): keep it as it is; it is stale and gets its turn.
        for (const QTextLayout::FormatRange &range : block.layout()->formats())
            setFormat(range.start, range.length, range.format);
        setCurrentBlockState(block.userState());
        return;
    }
    m_colourAllowed = false;
    const QTextBlock previous = block.previous();
    const int state =
        MarkdownLineColouring::colour(text, previous.isValid() ? previous.userState() : -1,
                                      !previous.isValid(), m_style, m_lineFormats);
    for (qsizetype start = 0; start < m_lineFormats.size();) {
        qsizetype end = start + 1;
        while (end < m_lineFormats.size() && m_lineFormats[end] == m_lineFormats[start])
            ++end;
        if (m_lineFormats[start].propertyCount() > 0)
            setFormat(int(start), int(end - start), m_lineFormats[start]);
        start = end;
    }
    setCurrentBlockState(state);
}

bool MarkdownHighlighter::colourBlock(const QTextBlock &block)
{
    const int before = block.userState();
    // Format changes make the document report a change of its contents; nobody listening to
    // the text needs to hear of them.
    const QSignalBlocker quiet(document());
    m_colourAllowed = true;
    rehighlightBlock(block);
    m_colourAllowed = false;
    return block.userState() != before;
}

void MarkdownHighlighter::onContentsChange(int position, int removed, int added)
{
    Q_UNUSED(removed);
    QTextDocument *doc = document();
    // Lines added or removed above the stale range move it; widen it so it still covers them.
    const int delta = doc->blockCount() - m_blockCount;
    m_blockCount = doc->blockCount();
    if (!isUpToDate()) {
        if (delta < 0)
            m_staleFrom = std::max(0, m_staleFrom + delta);
        else
            m_staleTo += delta;
    }
    const int first = doc->findBlock(position).blockNumber();
    QTextBlock last = doc->findBlock(position + added);
    const int lastNumber = last.isValid() ? last.blockNumber() : m_blockCount - 1;
    m_editFrom = m_editFrom < 0 ? first : std::min(m_editFrom, first);
    m_editTo = std::max(m_editTo, std::max(first, lastNumber));
    m_editTo = std::min(m_editTo, m_blockCount - 1);
}

void MarkdownHighlighter::colourPendingEdit()
{
    if (m_editFrom < 0)
        return;
    const int from = std::min(m_editFrom, m_blockCount - 1);
    const int to = m_editTo;
    m_editFrom = m_editTo = -1;
    // The document is between edits now, so colouring can open its own edit blocks.
    QElapsedTimer clock;
    clock.start();
    QTextBlock block = document()->findBlockByNumber(std::max(from, 0));
    while (block.isValid() && clock.nsecsElapsed() < editBudgetNs) {
        const bool handedOnChanged = colourBlock(block);
        const int number = block.blockNumber();
        if (number == m_staleFrom)
            m_staleFrom = number + 1;
        block = block.next();
        if (number >= to && !handedOnChanged) {
            block = QTextBlock();
            break;
        }
    }
    if (block.isValid())
        markStale(block.blockNumber(), std::max(to, block.blockNumber()));
    if (m_staleFrom > m_staleTo) {
        m_staleFrom = 0;
        m_staleTo = -1;
    }
    colourVisible();
    scheduleSlices();
}

void MarkdownHighlighter::colourVisible()
{
    if (!m_view || isUpToDate())
        return;
    const QRect area = m_view->viewport()->rect();
    const int firstNumber = m_view->cursorForPosition(area.topLeft()).blockNumber();
    const int lastNumber = m_view->cursorForPosition(area.bottomLeft()).blockNumber();
    // Lines on screen are coloured now from whatever their predecessor holds; the ordered pass
    // corrects them if that was stale.
    QTextBlock block = document()->findBlockByNumber(std::max(firstNumber, m_staleFrom));
    while (block.isValid() && block.blockNumber() <= std::min(lastNumber, m_staleTo)) {
        if (colourBlock(block))
            m_staleTo = std::max(m_staleTo, block.blockNumber() + 1);
        block = block.next();
    }
}

void MarkdownHighlighter::colourSlice()
{
    QElapsedTimer clock;
    clock.start();
    QTextBlock block = document()->findBlockByNumber(m_staleFrom);
    while (block.isValid() && m_staleFrom <= m_staleTo && clock.nsecsElapsed() < sliceBudgetNs) {
        if (colourBlock(block))
            m_staleTo = std::max(m_staleTo, m_staleFrom + 1);
        ++m_staleFrom;
        block = block.next();
    }
    if (!block.isValid() || m_staleFrom > m_staleTo) {
        m_staleFrom = 0;
        m_staleTo = -1;
        m_sliceTimer.stop();
        emit upToDate();
    }
}

void MarkdownHighlighter::markStale(int from, int to)
{
    if (to < from)
        return;
    if (isUpToDate()) {
        m_staleFrom = from;
        m_staleTo = to;
    } else {
        m_staleFrom = std::min(m_staleFrom, from);
        m_staleTo = std::max(m_staleTo, to);
    }
}

void MarkdownHighlighter::scheduleSlices()
{
    if (!isUpToDate() && !m_sliceTimer.isActive())
        m_sliceTimer.start();
}
