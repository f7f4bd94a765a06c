// The editor's text-view operations carried out on a QPlainTextEdit.
#pragma once

#include "EditorTextView.h"

#include <QPlainTextEdit>
#include <QPointer>
#include <QTextEdit>

// Lives as a child of the edit it serves, so whoever holds it weakly sees it vanish with the
// edit. Search highlights are kept as a list and turned into extra selections only for the
// stretch of text on screen: a long document can have tens of thousands of matches, and every
// extra selection is a cursor the document has to move on each keystroke.
class PlainTextEditView : public EditorTextView
{
    Q_OBJECT

public:
    explicit PlainTextEditView(QPlainTextEdit *edit);

    QPlainTextEdit *textEdit() const { return m_edit; }

    QString text() const override;
    EditorRange selection() const override;
    void setSelection(EditorRange range) override;
    void insertText(const QString &text, EditorRange replacing) override;
    bool replaceUndoably(EditorRange range, const QString &text,
                         EditorRange selectionAfter) override;
    void setUndoActionName(const QString &name) override;
    void setWholeText(const QString &text) override;
    void scrollRangeToVisible(EditorRange range) override;
    void focus() override;
    void setSearchHighlights(const QList<EditorRange> &matches,
                             std::optional<EditorRange> current) override;
    int confirm(const QString &message, const QString &informativeText,
                const QStringList &buttons) override;

    // The name of the step Undo would revert, when one was named; empty otherwise.
    QString undoActionName() const;
    // The ranges currently marked, whether on screen or not.
    const QList<EditorRange> &highlightedMatches() const { return m_matches; }
    std::optional<EditorRange> highlightedCurrent() const { return m_current; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void onContentsChange(int position, int removed, int added);
    void showVisibleHighlights();
    int clampToText(int position) const;

    QPointer<QPlainTextEdit> m_edit;
    mutable QString m_text;
    mutable bool m_textValid = false;
    int m_length = 0;

    QList<EditorRange> m_matches;
    std::optional<EditorRange> m_current;

    QString m_undoActionName;
    int m_namedUndoSteps = -1;
};
