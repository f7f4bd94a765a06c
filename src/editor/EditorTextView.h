// What the editor's commands need of a text view, so they can work on any implementation of it.
#pragma once

#include "EditorRange.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

class EditorTextView : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // The whole text, with "\n" between lines.
    virtual QString text() const = 0;
    virtual EditorRange selection() const = 0;
    virtual void setSelection(EditorRange range) = 0;

    // The range extended to whole lines, including the last line's terminator if it has one.
    virtual EditorRange lineRange(EditorRange range) const;

    // Replaces the range by text as one undo step, like typing; the caret ends after the text.
    virtual void insertText(const QString &text, EditorRange replacing) = 0;
    // The same for a programmatic change; returns false when the view refuses to be edited.
    // The selection becomes `selectionAfter` (in the new text) and the view does not scroll.
    virtual bool replaceUndoably(EditorRange range, const QString &text,
                                 EditorRange selectionAfter) = 0;
    // Names the undo step just recorded, for the Undo menu item.
    virtual void setUndoActionName(const QString &name) = 0;
    // Replaces everything without recording an undo step.
    virtual void setWholeText(const QString &text) = 0;

    virtual void scrollRangeToVisible(EditorRange range) = 0;
    virtual void focus() = 0;

    // Display-only marks: never part of the text, never undoable. Replaces earlier marks.
    virtual void setSearchHighlights(const QList<EditorRange> &matches,
                                     std::optional<EditorRange> current) = 0;

    // Modal warning with the buttons in order; returns the index of the one pressed, or -1.
    virtual int confirm(const QString &message, const QString &informativeText,
                        const QStringList &buttons) = 0;

    static EditorRange lineRangeIn(QStringView text, EditorRange range);

signals:
    // Emitted for every change: text[position, position + removed) became `added` new units.
    void contentsChanged(int position, int removed, int added);
};
