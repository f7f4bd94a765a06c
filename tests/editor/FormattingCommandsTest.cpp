// The six formatting commands on a real text view: resulting text, selection and undo.
#include "EditorTestSupport.h"

#include <QTextDocument>

#include <functional>

using Command = void (MarkdownEditorActions::*)();
Q_DECLARE_METATYPE(Command)

class FormattingCommandsTest : public QObject
{
    Q_OBJECT

private slots:
    void command_data()
    {
        // clang-format off
        QTest::addColumn<Command>("command");
        QTest::addColumn<QString>("text");
        QTest::addColumn<EditorRange>("selection");
        QTest::addColumn<QString>("expected");
        QTest::addColumn<EditorRange>("expectedSelection");

        const Command bold = &MarkdownEditorActions::bold;
        const Command italic = &MarkdownEditorActions::italic;
        const Command link = &MarkdownEditorActions::link;
        const Command rule = &MarkdownEditorActions::horizontalRule;
        const Command task = &MarkdownEditorActions::taskList;
        const Command quote = &MarkdownEditorActions::quote;

        QTest::newRow("bold wraps the selection, caret after")
            << bold << "0123 abc!" << EditorRange{5, 3} << "0123 **abc**!" << EditorRange{12, 0};
        QTest::newRow("bold at a caret selects the placeholder")
            << bold << "0123 abc" << EditorRange{5, 0} << "0123 **加粗文字**abc" << EditorRange{7, 4};
        QTest::newRow("italic in an empty text") << italic << "" << EditorRange{0, 0} << "*斜体文字*" << EditorRange{1, 4};
        QTest::newRow("italic wraps across lines") << italic << "a\nb" << EditorRange{0, 3} << "*a\nb*" << EditorRange{5, 0};
        QTest::newRow("link placeholder stays unselected") << link << "" << EditorRange{0, 0} << "[链接文字](https://)" << EditorRange{16, 0};
        QTest::newRow("link around a selection") << link << "see site now" << EditorRange{4, 4}
                                                 << "see [site](https://) now" << EditorRange{20, 0};
        QTest::newRow("rule replaces the selection") << rule << "axyzb" << EditorRange{1, 3} << "a\n---\nb" << EditorRange{6, 0};
        QTest::newRow("rule splits a line at the caret") << rule << "ab" << EditorRange{1, 0} << "a\n---\nb" << EditorRange{6, 0};
        QTest::newRow("quote keeps the trailing newline") << quote << "a\nb\n" << EditorRange{0, 3} << "> a\n> b\n" << EditorRange{8, 0};
        QTest::newRow("quote marks empty lines bare") << quote << "a\n\nb" << EditorRange{0, 4} << "> a\n>\n> b" << EditorRange{9, 0};
        QTest::newRow("quote does not toggle") << quote << "> a" << EditorRange{1, 0} << "> > a" << EditorRange{5, 0};
        QTest::newRow("blank line is prefixed like text") << quote << "   " << EditorRange{0, 0} << ">    " << EditorRange{5, 0};
        QTest::newRow("selection ending on a newline stays on its line")
            << quote << "a\nb" << EditorRange{0, 2} << "> a\nb" << EditorRange{4, 0};
        QTest::newRow("task on the empty last line after a newline") << task << "a\n" << EditorRange{2, 0} << "a\n\n" << EditorRange{3, 0};
        QTest::newRow("task on an empty middle line") << task << "a\n\nb" << EditorRange{2, 0} << "a\n- [ ]\nb" << EditorRange{8, 0};
        QTest::newRow("task over two lines") << task << "x\ny" << EditorRange{0, 3} << "- [ ] x\n- [ ] y" << EditorRange{15, 0};
        // clang-format on
    }

    void command()
    {
        QFETCH(Command, command);
        QFETCH(QString, text);
        QFETCH(EditorRange, selection);
        QFETCH(QString, expected);
        QFETCH(EditorRange, expectedSelection);

        EditorHarness editor(text);
        editor.select(selection);
        (editor.actions.*command)();
        QCOMPARE(editor.text(), expected);
        QCOMPARE(editor.selection(), expectedSelection);
        QCOMPARE(editor.changes, QStringList{expected});
    }

    void commandIsOneUndoStep_data()
    {
        // clang-format off
        QTest::addColumn<Command>("command");
        QTest::newRow("bold") << Command(&MarkdownEditorActions::bold);
        QTest::newRow("quote") << Command(&MarkdownEditorActions::quote);
        QTest::newRow("horizontal rule") << Command(&MarkdownEditorActions::horizontalRule);
        // clang-format on
    }

    void commandIsOneUndoStep()
    {
        QFETCH(Command, command);
        EditorHarness editor("first\nsecond line\nthird");
        editor.edit.show();
        // Typed text just before must stay a step of its own.
        editor.select({6, 0});
        QTest::keyClicks(&editor.edit, "new ");
        const QString typed = editor.text();
        editor.select({6, 8});
        (editor.actions.*command)();
        const QString formatted = editor.text();
        QVERIFY(formatted != typed);
        // Typing right after the command is a step of its own too.
        QTest::keyClicks(&editor.edit, "z");
        editor.undo();
        QCOMPARE(editor.text(), formatted);
        editor.undo();
        QCOMPARE(editor.text(), typed);
        editor.edit.redo();
        editor.undo();
        QCOMPARE(editor.text(), typed);
    }

    void commandUpdatesFindState()
    {
        EditorHarness editor("ab ab ab");
        editor.actions.setFindText("ab");
        editor.actions.findNext();
        QCOMPARE(editor.actions.currentMatchIndex(), 2);

        // Matches move with the text; the current one keeps its number.
        editor.select({0, 8});
        editor.actions.taskList();
        QCOMPARE(editor.text(), "- [ ] ab ab ab");
        QCOMPARE(editor.actions.matchCount(), 3);
        QCOMPARE(editor.actions.currentMatchIndex(), 2);
        QCOMPARE(editor.view->highlightedMatches(), (QList<EditorRange>{{6, 2}, {9, 2}, {12, 2}}));
        QCOMPARE(editor.view->highlightedCurrent(), EditorRange({9, 2}));

        // Fewer matches than the current number: it is clamped to the last.
        editor.select({6, 5});
        editor.actions.horizontalRule();
        QCOMPARE(editor.actions.matchCount(), 1);
        QCOMPARE(editor.actions.currentMatchIndex(), 1);
        QCOMPARE(editor.actions.searchStatusText(), "1/1");

        editor.select({0, int(editor.text().size())});
        editor.actions.horizontalRule();
        QCOMPARE(editor.actions.matchCount(), 0);
        QCOMPARE(editor.actions.searchStatusText(), "无结果");
        QVERIFY(editor.view->highlightedMatches().isEmpty());
        QVERIFY(editor.edit.extraSelections().isEmpty());
    }
};

int runFormattingCommandsTests(int argc, char **argv)
{
    FormattingCommandsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FormattingCommandsTest.moc"
