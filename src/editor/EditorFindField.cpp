// Find field key handling and the focus token. Input-method events take QLineEdit's own path.
#include "EditorFindField.h"

#include <QKeyEvent>
#include <QTimer>

EditorFindField::EditorFindField(QWidget *parent)
    : QLineEdit(parent)
{
    setObjectName(QStringLiteral("findField"));
    setFrame(false);
    setPlaceholderText(QStringLiteral("查找"));
    setAutoFillBackground(false);
    QPalette colours = palette();
    colours.setColor(QPalette::Base, Qt::transparent);
    setPalette(colours);
}

void EditorFindField::setFocusToken(int token)
{
    if (token == m_focusToken)
        return;
    m_focusToken = token;
    QTimer::singleShot(0, this, [this] {
        setFocus(Qt::OtherFocusReason);
        selectAll();
    });
}

void EditorFindField::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        emit submitted(event->modifiers() & Qt::ShiftModifier ? SearchNavigationDirection::previous
                                                              : SearchNavigationDirection::next);
        event->accept();
        return;
    case Qt::Key_Escape:
        emit cancelled();
        event->accept();
        return;
    default:
        QLineEdit::keyPressEvent(event);
    }
}
