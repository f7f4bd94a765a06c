// QPlainTextEdit adapter: text access, undoable edits, scrolling and on-screen search marks.
#include "PlainTextEditView.h"

#include "AlertBox.h"

#include <QEvent>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>

#include <algorithm>

namespace {

bool looksDark(const QPlainTextEdit *edit)
{
    return edit->palette().color(QPalette::Text).lightness() > 128;
}

// The system yellow and orange, for light and dark surroundings.
QColor matchColor(bool dark)
{
    QColor color = dark ? QColor(255, 214, 10) : QColor(255, 204, 0);
    color.setAlphaF(0.42f);
    return color;
}

QColor currentMatchColor(bool dark)
{
    QColor color = dark ? QColor(255, 159, 10) : QColor(255, 149, 0);
    color.setAlphaF(0.52f);
    return color;
}

// Closes a command's edit block so that what is typed next is an undo step of its own: Qt merges
// an insertion typed right after a block that ended with an insertion into that block.
class StepBoundary : public QAbstractUndoItem
{
public:
    void undo() override {}
    void redo() override {}
};

void endCommandBlock(QTextCursor &cursor)
{
    cursor.document()->appendUndoItem(new StepBoundary);
    cursor.endEditBlock();
}

} // namespace

PlainTextEditView::PlainTextEditView(QPlainTextEdit *edit)
    : EditorTextView(edit)
    , m_edit(edit)
{
    QTextDocument *document = edit->document();
    m_length = document->characterCount() - 1;
    connect(document, &QTextDocument::contentsChange, this, &PlainTextEditView::onContentsChange);
    connect(document, &QTextDocument::undoCommandAdded, this, [this] {
        m_undoActionName.clear();
        m_namedUndoSteps = -1;
    });
    connect(edit->verticalScrollBar(), &QScrollBar::valueChanged, this,
            &PlainTextEditView::showVisibleHighlights);
    edit->viewport()->installEventFilter(this);
}

QString PlainTextEditView::text() const
{
    if (!m_edit)
        return {};
    if (!m_textValid) {
        // toPlainText() would also turn no-break spaces into plain ones; the raw text keeps
        // every character and only needs its paragraph separators written as newlines.
        m_text = m_edit->document()->toRawText();
        m_text.replace(QChar::ParagraphSeparator, u'\n');
        m_textValid = true;
    }
    return m_text;
}

EditorRange PlainTextEditView::selection() const
{
    if (!m_edit)
        return {};
    const QTextCursor cursor = m_edit->textCursor();
    return EditorRange{cursor.selectionStart(), cursor.selectionEnd() - cursor.selectionStart()};
}

int PlainTextEditView::clampToText(int position) const
{
    return std::clamp(position, 0, m_length);
}

void PlainTextEditView::setSelection(EditorRange range)
{
    if (!m_edit)
        return;
    QTextCursor cursor = m_edit->textCursor();
    cursor.setPosition(clampToText(range.location));
    cursor.setPosition(clampToText(range.end()), QTextCursor::KeepAnchor);
    m_edit->setTextCursor(cursor);
}

void PlainTextEditView::insertText(const QString &text, EditorRange replacing)
{
    if (!m_edit)
        return;
    QTextCursor cursor = m_edit->textCursor();
    cursor.setPosition(clampToText(replacing.location));
    cursor.setPosition(clampToText(replacing.end()), QTextCursor::KeepAnchor);
    cursor.beginEditBlock();
    cursor.insertText(text);
    endCommandBlock(cursor);
    m_edit->setTextCursor(cursor);
    m_edit->ensureCursorVisible();
}

bool PlainTextEditView::replaceUndoably(EditorRange range, const QString &text,
                                        EditorRange selectionAfter)
{
    if (!m_edit || m_edit->isReadOnly())
        return false;
    // A programmatic change: the scroll position stays where it was.
    const int scrolled = m_edit->verticalScrollBar()->value();
    QTextCursor cursor(m_edit->document());
    cursor.setPosition(clampToText(range.location));
    cursor.setPosition(clampToText(range.end()), QTextCursor::KeepAnchor);
    cursor.beginEditBlock();
    cursor.insertText(text);
    endCommandBlock(cursor);
    setSelection(selectionAfter);
    m_edit->verticalScrollBar()->setValue(scrolled);
    return true;
}

void PlainTextEditView::setUndoActionName(const QString &name)
{
    if (!m_edit)
        return;
    m_undoActionName = name;
    m_namedUndoSteps = m_edit->document()->availableUndoSteps();
}

QString PlainTextEditView::undoActionName() const
{
    if (!m_edit || m_edit->document()->availableUndoSteps() != m_namedUndoSteps)
        return {};
    return m_undoActionName;
}

void PlainTextEditView::setWholeText(const QString &text)
{
    if (m_edit)
        m_edit->setPlainText(text);
}

void PlainTextEditView::scrollRangeToVisible(EditorRange range)
{
    if (!m_edit)
        return;
    // Only the view's own cursor can be scrolled to, so show both ends of the range with it and
    // put the selection back afterwards.
    const QTextCursor original = m_edit->textCursor();
    QTextCursor probe(m_edit->document());
    probe.setPosition(clampToText(range.end()));
    m_edit->setTextCursor(probe);
    m_edit->ensureCursorVisible();
    probe.setPosition(clampToText(range.location));
    m_edit->setTextCursor(probe);
    m_edit->ensureCursorVisible();
    m_edit->setTextCursor(original);
}

void PlainTextEditView::focus()
{
    if (m_edit)
        m_edit->setFocus(Qt::OtherFocusReason);
}

void PlainTextEditView::setSearchHighlights(const QList<EditorRange> &matches,
                                            std::optional<EditorRange> current)
{
    m_matches = matches;
    m_current = current;
    showVisibleHighlights();
}

void PlainTextEditView::showVisibleHighlights()
{
    if (!m_edit)
        return;
    QList<QTextEdit::ExtraSelection> selections;
    if (!m_matches.isEmpty()) {
        const QRect area = m_edit->viewport()->rect();
        const int first = m_edit->cursorForPosition(area.topLeft()).block().position();
        const QTextCursor bottom = m_edit->cursorForPosition(area.bottomRight());
        const int last = bottom.block().position() + bottom.block().length();
        // One long wrapped line can hold every match, so narrow the stretch to what is shown.
        const int shownStart =
            std::max(first, m_edit->cursorForPosition(area.topLeft()).position());
        const int shownEnd = std::min(last, bottom.position() + 1);

        const bool dark = looksDark(m_edit);
        QTextCharFormat matchFormat;
        matchFormat.setBackground(matchColor(dark));
        QTextCharFormat currentFormat;
        currentFormat.setBackground(currentMatchColor(dark));
        currentFormat.setUnderlineStyle(QTextCharFormat::SingleUnderline);

        QTextDocument *document = m_edit->document();
        auto add = [&](EditorRange range, const QTextCharFormat &format) {
            QTextEdit::ExtraSelection selection;
            selection.cursor = QTextCursor(document);
            selection.cursor.setPosition(clampToText(range.location));
            selection.cursor.setPosition(clampToText(range.end()), QTextCursor::KeepAnchor);
            selection.format = format;
            selections.append(selection);
        };
        auto it = std::partition_point(m_matches.cbegin(), m_matches.cend(),
                                       [&](const EditorRange &r) { return r.end() <= shownStart; });
        for (; it != m_matches.cend() && it->location <= shownEnd; ++it) {
            if (*it != m_current)
                add(*it, matchFormat);
        }
        if (m_current && m_current->end() > shownStart && m_current->location <= shownEnd)
            add(*m_current, currentFormat);
    }
    m_edit->setExtraSelections(selections);
}

bool PlainTextEditView::eventFilter(QObject *watched, QEvent *event)
{
    // The type first: the viewport's last events arrive while the editor is half destroyed,
    // when even reading the guarded pointer is undefined.
    if (event->type() == QEvent::Resize && !m_matches.isEmpty() && m_edit &&
        watched == m_edit->viewport())
        showVisibleHighlights();
    return EditorTextView::eventFilter(watched, event);
}

int PlainTextEditView::confirm(const QString &message, const QString &informativeText,
                               const QStringList &buttons)
{
    ModalAlert alert;
    alert.message = message;
    alert.informativeText = informativeText;
    alert.buttons = buttons;
    return AlertBox::run(alert, m_edit ? m_edit->window() : nullptr);
}

void PlainTextEditView::onContentsChange(int position, int removed, int added)
{
    if (!m_edit)
        return;
    m_textValid = false;
    const int newLength = m_edit->document()->characterCount() - 1;
    // Whole-document changes are reported with the final paragraph separator counted in; fold
    // that back, and fall back to "everything changed" for anything that does not add up.
    if (position + removed > m_length) {
        const int excess = position + removed - m_length;
        removed -= excess;
        added -= excess;
    }
    if (position < 0 || removed < 0 || added < 0 || m_length - removed + added != newLength) {
        position = 0;
        removed = m_length;
        added = newLength;
    }
    m_length = newLength;
    emit contentsChanged(position, removed, added);
}
