// The six formatting commands on a real text view: resulting text, selection and undo.
#include "EditorTestSupport.h"

using Command = void (MarkdownEditorActions::*)();
// command, text, selection, text after, selection after
using CommandRow = std::tuple<Command, QString, EditorRange, QString, EditorRange>;

class FormattingCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void command_data()
    {
        QTest::addColumn<CommandRow>("row");
        using A = MarkdownEditorActions;
        const Command bold = &A::bold, italic = &A::italic, link = &A::link;
        const Command rule = &A::horizontalRule, task = &A::taskList, quote = &A::quote;
        // clang-format off
        QTest::newRow("bold wraps the selection, caret after") << CommandRow{bold, "0123 abc!", {5, 3}, "0123 **abc**!", {12, 0}};
        QTest::newRow("bold at a caret selects the placeholder") << CommandRow{bold, "0123 abc", {5, 0}, "0123 **加粗文字**abc", {7, 4}};
        QTest::newRow("italic in an empty text") << CommandRow{italic, "", {0, 0}, "*斜体文字*", {1, 4}};
        QTest::newRow("italic wraps across lines") << CommandRow{italic, "a\nb", {0, 3}, "*a\nb*", {5, 0}};
        QTest::newRow("link placeholder stays unselected") << CommandRow{link, "", {0, 0}, "[链接文字](https://)", {16, 0}};
        QTest::newRow("link around a selection") << CommandRow{link, "see site now", {4, 4}, "see [site](https://) now", {20, 0}};
        QTest::newRow("rule replaces the selection") << CommandRow{rule, "axyzb", {1, 3}, "a\n---\nb", {6, 0}};
        QTest::newRow("rule splits a line at the caret") << CommandRow{rule, "ab", {1, 0}, "a\n---\nb", {6, 0}};
        QTest::newRow("quote keeps the trailing newline") << CommandRow{quote, "a\nb\n", {0, 3}, "> a\n> b\n", {8, 0}};
        QTest::newRow("quote marks empty lines bare") << CommandRow{quote, "a\n\nb", {0, 4}, "> a\n>\n> b", {9, 0}};
        QTest::newRow("quote does not toggle") << CommandRow{quote, "> a", {1, 0}, "> > a", {5, 0}};
        QTest::newRow("blank line is prefixed like text") << CommandRow{quote, "   ", {0, 0}, ">    ", {5, 0}};
        QTest::newRow("selection ending on a newline stays on its line") << CommandRow{quote, "a\nb", {0, 2}, "> a\nb", {4, 0}};
        QTest::newRow("task on the empty last line after a newline") << CommandRow{task, "a\n", {2, 0}, "a\n\n", {3, 0}};
        QTest::newRow("task on an empty middle line") << CommandRow{task, "a\n\nb", {2, 0}, "a\n- [ ]\nb", {8, 0}};
        QTest::newRow("task over two lines") << CommandRow{task, "x\ny", {0, 3}, "- [ ] x\n- [ ] y", {15, 0}};
        // clang-format on
    }

    void command()
    {
        QFETCH(CommandRow, row);
        const auto &[command, text, selection, expected, expectedSelection] = row;
        EditorHarness editor(text);
        editor.select(selection);
        (editor.actions.*command)();
        QCOMPARE(editor.text(), expected);
        QCOMPARE(editor.selection(), expectedSelection);
        QCOMPARE(editor.changes, QStringList{expected});
    }

    // A command is one undo step; what is typed just before and right after it stays a step of
    // its own.
    void commandIsOneUndoStep()
    {
        for (const Command command :
             {&MarkdownEditorActions::bold, &MarkdownEditorActions::quote}) {
            EditorHarness editor("first\nsecond line\nthird");
            editor.edit.show();
            editor.select({6, 0});
            QTest::keyClicks(&editor.edit, "new ");
            const QString typed = editor.text();
            editor.select({6, 8});
            (editor.actions.*command)();
            const QString formatted = editor.text();
            QVERIFY(formatted != typed);
            QTest::keyClicks(&editor.edit, "z");
            editor.edit.undo();
            QCOMPARE(editor.text(), formatted);
            editor.edit.undo();
            QCOMPARE(editor.text(), typed);
        }
    }
};

EDITOR_TEST_RUNNER(FormattingCommandsTest, runFormattingCommandsTests)

#include "tst_formatting_commands.moc"
