// Sends the Edit menu's standard commands to whichever text widget or page has keyboard focus.
#pragma once

class QWidget;

namespace EditRouting {

enum class Command
{
    undo,
    redo,
    cut,
    copy,
    paste,
    deleteSelection,
    selectAll
};

// True when `focus` (a line edit, a text edit or a web view) carried the command out.
bool perform(Command command, QWidget *focus);

} // namespace EditRouting
