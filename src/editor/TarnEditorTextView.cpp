// Text view configuration and the Ctrl+F key equivalent.
#include "TarnEditorTextView.h"

#include "EditorNotifications.h"

#include <QFontDatabase>
#include <QKeyEvent>
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

bool TarnEditorTextView::event(QEvent *event)
{
    // Claim Ctrl+F before an application shortcut does, so it is handled once, here.
    if (event->type() == QEvent::ShortcutOverride &&
        isFindShortcut(static_cast<QKeyEvent *>(event))) {
        event->accept();
        return true;
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
    QPlainTextEdit::keyPressEvent(event);
}
