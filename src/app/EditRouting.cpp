// The routing the desktop's responder chain would do: the focused widget gets the command, and
// for the reader's page the command goes to the web engine.
#include "EditRouting.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QWebEngineView>

namespace EditRouting {
namespace {

// Delete removes the selection as one undo step, like typing Delete.
template<typename Edit> bool deleteSelection(Edit *edit)
{
    if (edit->isReadOnly())
        return false;
    QTextCursor cursor = edit->textCursor();
    cursor.removeSelectedText();
    edit->setTextCursor(cursor);
    return true;
}

bool deleteSelection(QLineEdit *edit)
{
    if (edit->isReadOnly() || !edit->hasSelectedText())
        return false;
    edit->del();
    return true;
}

// The same commands on QPlainTextEdit, QTextEdit and QLineEdit.
template<typename Edit> bool performOnEdit(Command command, Edit *edit)
{
    switch (command) {
    case Command::undo:
        edit->undo();
        break;
    case Command::redo:
        edit->redo();
        break;
    case Command::cut:
        edit->cut();
        break;
    case Command::copy:
        edit->copy();
        break;
    case Command::paste:
        edit->paste();
        break;
    case Command::deleteSelection:
        return deleteSelection(edit);
    case Command::selectAll:
        edit->selectAll();
        break;
    }
    return true;
}

QWebEnginePage::WebAction webAction(Command command)
{
    switch (command) {
    case Command::undo:
        return QWebEnginePage::Undo;
    case Command::redo:
        return QWebEnginePage::Redo;
    case Command::cut:
        return QWebEnginePage::Cut;
    case Command::copy:
        return QWebEnginePage::Copy;
    case Command::paste:
        return QWebEnginePage::Paste;
    case Command::deleteSelection:
        return QWebEnginePage::NoWebAction;
    case Command::selectAll:
        return QWebEnginePage::SelectAll;
    }
    return QWebEnginePage::NoWebAction;
}

} // namespace

bool perform(Command command, QWidget *focus)
{
    if (auto *edit = qobject_cast<QLineEdit *>(focus))
        return performOnEdit(command, edit);
    if (auto *edit = qobject_cast<QPlainTextEdit *>(focus))
        return performOnEdit(command, edit);
    if (auto *edit = qobject_cast<QTextEdit *>(focus))
        return performOnEdit(command, edit);
    // The web view's keyboard focus sits on an internal child widget.
    for (QWidget *widget = focus; widget; widget = widget->parentWidget()) {
        if (auto *view = qobject_cast<QWebEngineView *>(widget)) {
            const QWebEnginePage::WebAction action = webAction(command);
            if (action == QWebEnginePage::NoWebAction || !view->page())
                return false;
            view->page()->triggerAction(action);
            return true;
        }
    }
    return false;
}

} // namespace EditRouting
