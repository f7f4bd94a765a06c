// Shared fixture for the editor tests: a real QPlainTextEdit behind the command object.
#pragma once

#include <EditorRange.h>
#include <MarkdownEditorActions.h>
#include <PlainTextEditView.h>

#include <QPlainTextEdit>
#include <QTest>

using Ranges = QList<EditorRange>;

inline char *toString(const EditorRange &range)
{
    return QTest::toString(QStringLiteral("(%1, %2)").arg(range.location).arg(range.length));
}

// A plain text edit with its adapter and a command object attached, as the editor pane wires
// them, minus the pane.
struct EditorHarness
{
    explicit EditorHarness(const QString &text = {})
    {
        edit.setPlainText(text);
        view = new PlainTextEditView(&edit);
        actions.setTextView(view);
        actions.onChange = [this](const QString &changed) { changes.append(changed); };
    }

    QString text() const { return view->text(); }
    void select(EditorRange range) { view->setSelection(range); }
    EditorRange selection() const { return view->selection(); }

    QPlainTextEdit edit;
    PlainTextEditView *view;
    MarkdownEditorActions actions;
    QStringList changes; // every text passed to onChange
};

// The runner EditorTestMain.cpp calls for one test class.
#define EDITOR_TEST_RUNNER(Class, run)                                                             \
    int run(int argc, char **argv)                                                                 \
    {                                                                                              \
        Class test;                                                                                \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
