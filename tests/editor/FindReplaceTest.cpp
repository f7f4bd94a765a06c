// Find and replace on a real text view: matches, navigation, replacing, status and highlights.
#include "EditorTestSupport.h"

#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocument>

using Ranges = QList<EditorRange>;
Q_DECLARE_METATYPE(SearchNavigationDirection)

class FindReplaceTest : public QObject
{
    Q_OBJECT

private slots:
    void typingQuerySelectsFirstMatch_data()
    {
        // clang-format off
        QTest::addColumn<QString>("text");
        QTest::addColumn<EditorRange>("caret");
        QTest::addColumn<QString>("query");
        QTest::addColumn<EditorRange>("expectedSelection");
        QTest::addColumn<QString>("expectedStatus");

        QTest::newRow("first of three") << "AB ab aB" << EditorRange{0, 0} << "ab" << EditorRange{0, 2} << "1/3";
        QTest::newRow("no match leaves the selection") << "ab ab" << EditorRange{1, 2} << "xyz" << EditorRange{1, 2} << "无结果";
        QTest::newRow("folded match") << "Die STRASSE" << EditorRange{0, 0} << "straße" << EditorRange{4, 7} << "1/1";
        // clang-format on
    }

    void typingQuerySelectsFirstMatch()
    {
        QFETCH(QString, text);
        QFETCH(EditorRange, caret);
        QFETCH(QString, query);
        QFETCH(EditorRange, expectedSelection);
        QFETCH(QString, expectedStatus);

        EditorHarness editor(text);
        editor.select(caret);
        editor.actions.setFindText(query);
        QCOMPARE(editor.selection(), expectedSelection);
        QCOMPARE(editor.actions.searchStatusText(), expectedStatus);
    }

    void moveSearch_data()
    {
        // clang-format off
        QTest::addColumn<QString>("text");
        QTest::addColumn<EditorRange>("selection");
        QTest::addColumn<SearchNavigationDirection>("direction");
        QTest::addColumn<EditorRange>("expectedSelection");
        QTest::addColumn<int>("expectedIndex");

        const auto next = SearchNavigationDirection::next;
        const auto previous = SearchNavigationDirection::previous;
        const QString text = "ab ab ab";
        QTest::newRow("next from the last wraps") << text << EditorRange{6, 2} << next << EditorRange{0, 2} << 1;
        QTest::newRow("previous from the first wraps") << text << EditorRange{0, 2} << previous << EditorRange{6, 2} << 3;
        QTest::newRow("next from inside a match") << text << EditorRange{4, 0} << next << EditorRange{6, 2} << 3;
        QTest::newRow("previous from inside a match takes it") << text << EditorRange{4, 0} << previous << EditorRange{3, 2} << 2;
        QTest::newRow("previous from a caret before a match") << text << EditorRange{3, 0} << previous << EditorRange{0, 2} << 1;
        QTest::newRow("selection that is part of a match") << text << EditorRange{3, 1} << next << EditorRange{6, 2} << 3;
        // clang-format on
    }

    void moveSearch()
    {
        QFETCH(QString, text);
        QFETCH(EditorRange, selection);
        QFETCH(SearchNavigationDirection, direction);
        QFETCH(EditorRange, expectedSelection);
        QFETCH(int, expectedIndex);

        EditorHarness editor(text);
        editor.actions.setFindText("AB");
        editor.select(selection);
        editor.actions.moveSearch(direction);
        QCOMPARE(editor.selection(), expectedSelection);
        QCOMPARE(editor.actions.currentMatchIndex(), expectedIndex);
        QCOMPARE(editor.view->highlightedCurrent(), expectedSelection);
    }

    void replaceCurrent_data()
    {
        // clang-format off
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QString>("replacement");
        QTest::addColumn<EditorRange>("selection");
        QTest::addColumn<QString>("expectedText");
        QTest::addColumn<EditorRange>("expectedSelection");
        QTest::addColumn<QString>("expectedStatus");

        QTest::newRow("moves past the inserted text") << "a a" << "a" << "aa" << EditorRange{0, 1} << "aa a" << EditorRange{3, 1} << "3/3";
        QTest::newRow("containing the query is not found again") << "ab ab" << "ab" << "xab" << EditorRange{0, 2} << "xab ab" << EditorRange{4, 2} << "2/2";
        QTest::newRow("last match wraps to the first") << "a b a" << "a" << "c" << EditorRange{4, 1} << "a b c" << EditorRange{0, 1} << "1/1";
        QTest::newRow("not on a match only moves") << "x a a" << "a" << "b" << EditorRange{0, 1} << "x a a" << EditorRange{2, 1} << "1/2";
        QTest::newRow("replacing the only match") << "a" << "A" << "b" << EditorRange{0, 1} << "b" << EditorRange{1, 0} << "无结果";
        QTest::newRow("empty replacement deletes") << "a-a" << "-" << "" << EditorRange{1, 1} << "aa" << EditorRange{1, 0} << "无结果";
        // clang-format on
    }

    void replaceCurrent()
    {
        QFETCH(QString, text);
        QFETCH(QString, query);
        QFETCH(QString, replacement);
        QFETCH(EditorRange, selection);
        QFETCH(QString, expectedText);
        QFETCH(EditorRange, expectedSelection);
        QFETCH(QString, expectedStatus);

        EditorHarness editor(text);
        editor.actions.setFindText(query);
        editor.actions.setReplaceText(replacement);
        editor.select(selection);
        editor.actions.replaceCurrent();
        QCOMPARE(editor.text(), expectedText);
        QCOMPARE(editor.selection(), expectedSelection);
        QCOMPARE(editor.actions.searchStatusText(), expectedStatus);
        if (expectedText != text)
            QCOMPARE(editor.changes.value(0), expectedText);
    }

    void replaceCurrentIsOneUndoStep()
    {
        EditorHarness editor("one two one");
        editor.actions.setFindText("one");
        editor.actions.setReplaceText("1");
        editor.actions.replaceCurrent();
        editor.actions.replaceCurrent();
        QCOMPARE(editor.text(), "1 two 1");
        editor.undo();
        QCOMPARE(editor.text(), "1 two one");
        QCOMPARE(editor.view->undoActionName(), QString());
    }

    void replaceAllAsksFirst_data()
    {
        // clang-format off
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("expectedText");
        QTest::addColumn<int>("expectedCount");

        QTest::newRow("confirmed") << "全部替换" << "Xa b Xa cXa" << 3;
        QTest::newRow("cancelled") << "取消" << "A b a ca" << 3;
        // clang-format on
    }

    void replaceAllAsksFirst()
    {
        QFETCH(QString, answer);
        QFETCH(QString, expectedText);
        QFETCH(int, expectedCount);

        const QString original = "A b a ca";
        EditorHarness editor(original);
        editor.actions.setFindText("a");
        editor.actions.setReplaceText("Xa");
        const int undoSteps = editor.edit.document()->availableUndoSteps();

        DialogAnswerer dialog(answer);
        editor.actions.replaceAll();
        QVERIFY(dialog.answered);
        QCOMPARE(dialog.message, "全部替换？");
        QCOMPARE(dialog.informativeText, "将替换当前文档中的 3 处内容。");
        QCOMPARE(dialog.buttons, (QStringList{"全部替换", "取消"}));
        QCOMPARE(dialog.defaultButton, "全部替换");
        QCOMPARE(editor.text(), expectedText);
        // The new occurrences inside the replacements count as matches again.
        QCOMPARE(editor.actions.matchCount(), expectedCount);

        if (expectedText == original) {
            QCOMPARE(editor.edit.document()->availableUndoSteps(), undoSteps);
            QVERIFY(editor.changes.isEmpty());
            return;
        }
        QCOMPARE(editor.changes.last(), expectedText);
        QCOMPARE(editor.view->undoActionName(), "全部替换");
        editor.undo();
        QCOMPARE(editor.text(), original);
        QCOMPARE(editor.view->undoActionName(), QString());
        editor.edit.redo();
        QCOMPARE(editor.view->undoActionName(), "全部替换");
    }

    // The dialog runs an event loop of its own; what changed meanwhile is replaced as it is then.
    void replaceAllReplacesWhatMatchesAfterTheQuestion()
    {
        EditorHarness editor("a b a");
        editor.actions.setFindText("a");
        editor.actions.setReplaceText("c");
        DialogAnswerer dialog("全部替换");
        dialog.whileShown = [&] { QTextCursor(editor.edit.document()).insertText("aa "); };
        editor.actions.replaceAll();
        QVERIFY(dialog.answered);
        QCOMPARE(dialog.informativeText, "将替换当前文档中的 2 处内容。");
        QCOMPARE(editor.text(), "cc c b c");
    }

    void replaceAllWithoutMatchesDoesNotAsk()
    {
        EditorHarness editor("abc");
        editor.actions.setFindText("x");
        DialogAnswerer dialog("全部替换");
        editor.actions.replaceAll();
        QVERIFY(!dialog.answered);
        QCOMPARE(editor.text(), "abc");
    }

    void statusTextFollowsState()
    {
        EditorHarness editor("x");
        MarkdownEditorActions &actions = editor.actions;
        QCOMPARE(actions.searchStatusText(), QString());
        QVERIFY(!actions.hasFindText());

        actions.setFindText("ab");
        QCOMPARE(actions.searchStatusText(), "无结果");
        QVERIFY(actions.hasFindText());
        QVERIFY(!actions.canMoveSearch());
        QVERIFY(!actions.canReplace());

        // An edit that creates matches, reported as the editor pane does: counted, none current.
        QTextCursor cursor(editor.edit.document());
        cursor.insertText("ab ab ab ab ab ");
        actions.refreshSearchState(false, false);
        QCOMPARE(actions.searchStatusText(), "5 处");
        QVERIFY(actions.canMoveSearch());

        actions.findNext();
        actions.findNext();
        QCOMPARE(actions.searchStatusText(), "2/5");

        // Deleting another match keeps the number and shrinks the count.
        cursor.setPosition(12);
        cursor.setPosition(14, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        actions.refreshSearchState(false, false);
        QCOMPARE(actions.searchStatusText(), "2/4");
    }

    void clearFindKeepsReplaceText()
    {
        EditorHarness editor("ab ab");
        editor.actions.setFindText("ab");
        editor.actions.setReplaceText("cd");
        editor.actions.clearFind();
        QCOMPARE(editor.actions.findText(), QString());
        QCOMPARE(editor.actions.replaceText(), "cd");
        QCOMPARE(editor.actions.matchCount(), 0);
        QVERIFY(editor.edit.extraSelections().isEmpty());
    }

    void highlightsAreDisplayOnly()
    {
        EditorHarness editor("ab cd ab");
        editor.edit.resize(400, 200);
        editor.edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor.edit));
        const int undoSteps = editor.edit.document()->availableUndoSteps();

        editor.actions.setFindText("ab");
        const QList<QTextEdit::ExtraSelection> marks = editor.edit.extraSelections();
        QCOMPARE(marks.size(), 2);
        // The current match is drawn in its own colour and underlined.
        QCOMPARE(marks.last().cursor.selectionStart(), 0);
        QCOMPARE(marks.last().format.underlineStyle(), QTextCharFormat::SingleUnderline);
        QCOMPARE(marks.first().cursor.selectionStart(), 6);
        QCOMPARE(marks.first().format.underlineStyle(), QTextCharFormat::NoUnderline);
        QVERIFY(marks.first().format.background() != marks.last().format.background());

        QCOMPARE(editor.text(), "ab cd ab");
        QCOMPARE(editor.edit.document()->availableUndoSteps(), undoSteps);
        QVERIFY(!editor.edit.document()->isModified());
        QVERIFY(editor.changes.isEmpty());
    }

    void highlightsFollowScrolling()
    {
        QString text;
        for (int line = 0; line < 2000; ++line)
            text += QStringLiteral("line %1 with a match\n").arg(line);
        EditorHarness editor(text);
        editor.edit.resize(400, 200);
        editor.edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor.edit));

        editor.actions.setFindText("match");
        QCOMPARE(editor.actions.matchCount(), 2000);
        const int shownAtTop = int(editor.edit.extraSelections().size());
        QVERIFY(shownAtTop > 0);
        QVERIFY(shownAtTop < 100);

        QScrollBar *scrollBar = editor.edit.verticalScrollBar();
        scrollBar->setValue(scrollBar->maximum());
        const QList<QTextEdit::ExtraSelection> marks = editor.edit.extraSelections();
        QVERIFY(!marks.isEmpty());
        QVERIFY(marks.size() < 100);
        const QTextCursor last = marks.last().cursor;
        QCOMPARE(last.selectedText(), "match");
        QVERIFY(last.selectionStart() > text.size() - 500);
    }
};

int runFindReplaceTests(int argc, char **argv)
{
    FindReplaceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "FindReplaceTest.moc"
