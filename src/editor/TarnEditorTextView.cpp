// Text view configuration, the Ctrl+F key equivalent and the background of code blocks.
#include "TarnEditorTextView.h"

#include "EditorNotifications.h"
#include "MarkdownHighlighter.h"

#include <QFontDatabase>
#include <QKeyEvent>
#include <QPainter>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextOption>

TarnEditorTextView::TarnEditorTextView(QWidget *parent)
    : QPlainTextEdit(parent)
{
    setObjectName(QStringLiteral("editorTextView"));
    setUndoRedoEnabled(true);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    // Wrap at the view's width, breaking inside words only when a word is wider than the view.
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);

    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setPixelSize(15);
    font.setWeight(QFont::Normal);
    font.setStyleHint(QFont::Monospace);
    setFont(font);

    // No background of its own: the pane's theme colour shows through.
    viewport()->setAutoFillBackground(false);
    QPalette colours = palette();
    colours.setColor(QPalette::Base, Qt::transparent);
    setPalette(colours);

    // 22 points of inset at the sides and 20 at top and bottom; the document margin scrolls with
    // the text, the viewport margins add the rest at the sides.
    document()->setDocumentMargin(20);
    setViewportMargins(2, 0, 2, 0);
}

bool TarnEditorTextView::isFindShortcut(const QKeyEvent *event)
{
    const Qt::KeyboardModifiers modifiers = event->modifiers() & ~Qt::KeypadModifier;
    return modifiers == Qt::ControlModifier && event->key() == Qt::Key_F;
}

std::optional<TarnEditorTextView::Formatting>
TarnEditorTextView::formattingShortcut(const QKeyEvent *event)
{
    if ((event->modifiers() & ~Qt::KeypadModifier) != Qt::ControlModifier)
        return std::nullopt;
    switch (event->key()) {
    case Qt::Key_B:
        return Formatting::bold;
    case Qt::Key_I:
        return Formatting::italic;
    case Qt::Key_K:
        return Formatting::link;
    default:
        return std::nullopt;
    }
}

bool TarnEditorTextView::event(QEvent *event)
{
    // Claim Ctrl+F before an application shortcut does, so it is handled once, here; and the
    // formatting keys before the text view's own bindings (Ctrl+K deletes to the line's end).
    if (event->type() == QEvent::ShortcutOverride) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (isFindShortcut(key) || formattingShortcut(key)) {
            event->accept();
            return true;
        }
    }
    return QPlainTextEdit::event(event);
}

void TarnEditorTextView::keyPressEvent(QKeyEvent *event)
{
    if (isFindShortcut(event)) {
        emit EditorNotifications::instance()->showEditorFind();
        event->accept();
        return;
    }
    if (const auto command = formattingShortcut(event)) {
        emit formattingRequested(*command);
        event->accept();
        return;
    }
    // Shift+Return would insert Qt's line separator (U+2028), which is no line break in a file
    // and which the reader does not break at: every Return makes a new line.
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) &&
        (event->modifiers() & Qt::ShiftModifier)) {
        QKeyEvent plain(event->type(), event->key(), event->modifiers() & ~Qt::ShiftModifier,
                        event->text(), event->isAutoRepeat(), ushort(event->count()));
        QPlainTextEdit::keyPressEvent(&plain);
        event->setAccepted(plain.isAccepted());
        return;
    }
    QPlainTextEdit::keyPressEvent(event);
}

void TarnEditorTextView::setQuietBackground(const QColor &colour)
{
    m_quietBackground = colour;
    viewport()->update();
}

void TarnEditorTextView::paintEvent(QPaintEvent *event)
{
    if (m_quietBackground.isValid()) {
        // Under the text, so the base class draws the characters and the selection on top.
        QPainter painter(viewport());
        const QPointF offset = contentOffset();
        for (QTextBlock block = firstVisibleBlock(); block.isValid(); block = block.next()) {
            const QRectF box = blockBoundingGeometry(block).translated(offset);
            if (box.top() > event->rect().bottom())
                break;
            if (block.isVisible() && MarkdownHighlighter::isOnQuietBackground(block))
                painter.fillRect(QRectF(0, box.top(), viewport()->width(), box.height()),
                                 m_quietBackground);
        }
    }
    QPlainTextEdit::paintEvent(event);
}
