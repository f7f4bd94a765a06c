// Shared fixtures for the editor tests: a real QPlainTextEdit behind the command object.
#pragma once

#include <EditorRange.h>
#include <MarkdownEditorActions.h>
#include <PlainTextEditView.h>

#include <QPlainTextEdit>
#include <QStringList>
#include <QTest>

#include <functional>
#include <memory>

char *toString(const EditorRange &range);

// A plain text edit with its adapter and a command object attached, as the editor pane wires
// them, minus the pane.
struct EditorHarness
{
    explicit EditorHarness(const QString &text = {});

    QString text() const { return view->text(); }
    void select(EditorRange range) { view->setSelection(range); }
    EditorRange selection() const { return view->selection(); }
    void undo() { edit.undo(); }

    QPlainTextEdit edit;
    PlainTextEditView *view;
    MarkdownEditorActions actions;
    QStringList changes; // every text passed to onChange
};

// Presses a button of the next modal message box, by its text, and remembers what it showed.
class DialogAnswerer : public QObject
{
    Q_OBJECT

public:
    explicit DialogAnswerer(const QString &buttonText);

    std::function<void()> whileShown; // runs once the dialog is up, before it is answered
    bool answered = false;
    QString message;
    QString informativeText;
    QStringList buttons; // sorted
    QString defaultButton;

private:
    void tryAnswer();
    QString m_buttonText;
    int m_attempts = 0;
};
