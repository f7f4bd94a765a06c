// Find and replace on a real text view: matches, navigation, replacing, status and highlights.
#include "EditorTestSupport.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QTextCursor>
#include <QTextDocument>
#include <QTimer>

namespace {

// A find step; none only types the query.
using Step = void (MarkdownEditorActions::*)();
// text, query, replacement, selection, step, text after, selection after, status after
using FindRow =
    std::tuple<QString, QString, QString, EditorRange, Step, QString, EditorRange, QString>;
// answer (empty: no question expected), text, typed while asked, text after, matches after,
// selection after (the selection starts on the second "a")
using ReplaceAllRow = std::tuple<QString, QString, QString, QString, int, EditorRange>;

} // namespace

class FindReplaceTest : public QObject
{
    Q_OBJECT

private slots:
    void step_data()
    {
        QTest::addColumn<FindRow>("row");
        using A = MarkdownEditorActions;
        const Step type = nullptr, next = &A::findNext, previous = &A::findPrevious;
        const Step replace = &A::replaceCurrent;
        const QString abs = "ab ab ab";
        // clang-format off
        QTest::newRow("typing selects the first match") << FindRow{"AB ab aB", "ab", "", {3, 2}, type, "AB ab aB", {0, 2}, "1/3"};
        QTest::newRow("typing without a match keeps the selection") << FindRow{"ab ab", "xyz", "", {1, 2}, type, "ab ab", {1, 2}, "无结果"};
        QTest::newRow("next from the last wraps") << FindRow{abs, "AB", "", {6, 2}, next, abs, {0, 2}, "1/3"};
        QTest::newRow("previous from the first wraps") << FindRow{abs, "AB", "", {0, 2}, previous, abs, {6, 2}, "3/3"};
        QTest::newRow("next from inside a match") << FindRow{abs, "AB", "", {4, 0}, next, abs, {6, 2}, "3/3"};
        QTest::newRow("previous from inside a match takes it") << FindRow{abs, "AB", "", {4, 0}, previous, abs, {3, 2}, "2/3"};
        QTest::newRow("previous from a caret before a match") << FindRow{abs, "AB", "", {3, 0}, previous, abs, {0, 2}, "1/3"};
        QTest::newRow("selection that is part of a match") << FindRow{abs, "AB", "", {3, 1}, next, abs, {6, 2}, "3/3"};
        QTest::newRow("replace moves past the inserted text") << FindRow{"a a", "a", "aa", {0, 1}, replace, "aa a", {3, 1}, "3/3"};
        QTest::newRow("replacement containing the query is not found again") << FindRow{"ab ab", "ab", "xab", {0, 2}, replace, "xab ab", {4, 2}, "2/2"};
        QTest::newRow("replacing the last match wraps to the first") << FindRow{"a b a", "a", "c", {4, 1}, replace, "a b c", {0, 1}, "1/1"};
        QTest::newRow("replace not on a match only moves") << FindRow{"x a a", "a", "b", {0, 1}, replace, "x a a", {2, 1}, "1/2"};
        QTest::newRow("empty replacement deletes the only match") << FindRow{"a-a", "-", "", {1, 1}, replace, "aa", {1, 0}, "无结果"};
        // clang-format on
    }

    void step()
    {
        QFETCH(FindRow, row);
        const auto &[text, query, replacement, selection, step, after, selectionAfter, status] =
            row;
        EditorHarness editor(text);
        editor.actions.setReplaceText(replacement);
        editor.select(selection);
        editor.actions.setFindText(query);
        if (step) {
            editor.select(selection);
            (editor.actions.*step)();
        }
        QCOMPARE(editor.text(), after);
        QCOMPARE(editor.selection(), selectionAfter);
        QCOMPARE(editor.actions.searchStatusText(), status);
        QCOMPARE(editor.view->highlightedCurrent(),
                 status.contains(u'/') ? std::optional(selectionAfter) : std::nullopt);
        QCOMPARE(editor.changes, after == text ? QStringList() : QStringList{after});
    }

    // The status after edits: a count while no match is current; the current match keeps its
    // number while it moves and is clamped when matches go.
    void statusFollowsEdits()
    {
        EditorHarness editor("x");
        MarkdownEditorActions &actions = editor.actions;
        actions.setFindText("ab");
        // Edits from outside are reported as the editor pane does.
        QTextCursor cursor(editor.edit.document());
        cursor.insertText("ab ab ab ab ");
        actions.refreshSearchState(false, false);
        QCOMPARE(actions.searchStatusText(), "4 处");
        actions.findNext();
        actions.findNext();
        QCOMPARE(actions.searchStatusText(), "2/4");
        // The selected match is current, whatever its number was.
        cursor.setPosition(0);
        cursor.setPosition(3, QTextCursor::KeepAnchor);
        cursor.removeSelectedText();
        actions.refreshSearchState(false, false);
        QCOMPARE(actions.searchStatusText(), "1/3");

        actions.findNext();
        editor.select({0, 0});
        actions.taskList();
        QCOMPARE(editor.text(), "- [ ] ab ab ab x");
        QCOMPARE(actions.searchStatusText(), "2/3");
        QCOMPARE(editor.view->highlightedMatches(), (Ranges{{6, 2}, {9, 2}, {12, 2}}));
        QCOMPARE(editor.view->highlightedCurrent(), EditorRange({9, 2}));
        editor.select({6, 5});
        actions.horizontalRule();
        QCOMPARE(actions.searchStatusText(), "1/1");
        editor.select({0, int(editor.text().size())});
        actions.horizontalRule();
        QCOMPARE(actions.searchStatusText(), "无结果");
        QVERIFY(editor.view->highlightedMatches().isEmpty());
    }

    void replaceAll_data()
    {
        QTest::addColumn<ReplaceAllRow>("row");
        // clang-format off
        // The selected match ends up as its replacement, never as text beside it.
        QTest::newRow("confirmed") << ReplaceAllRow{"全部替换", "A b a ca", "", "aa b aa caa", 6, {5, 2}};
        QTest::newRow("cancelled") << ReplaceAllRow{"取消", "A b a ca", "", "A b a ca", 3, {4, 1}};
        // The question runs an event loop of its own: what matches once it is answered is replaced.
        QTest::newRow("typed while asked") << ReplaceAllRow{"全部替换", "A b a ca", "a ", "aa aa b aa caa", 8, {8, 2}};
        QTest::newRow("no question without matches") << ReplaceAllRow{"", "b c", "", "b c", 0, {3, 0}};
        // clang-format on
    }

    void replaceAll()
    {
        QFETCH(ReplaceAllRow, row);
        const auto &[answer, text, typed, textAfter, matchesAfter, selectionAfter] = row;
        EditorHarness editor(text);
        editor.actions.setFindText("a");
        editor.select({4, 1});
        editor.actions.setReplaceText("aa");
        const int undoSteps = editor.edit.document()->availableUndoSteps();
        QString shown; // message, informative text, buttons and the default one
        QTimer::singleShot(0, &editor.edit, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (!box)
                return;
            if (!typed.isEmpty())
                QTextCursor(editor.edit.document()).insertText(typed);
            QStringList buttons;
            for (QAbstractButton *button : box->buttons())
                buttons.append(button->text());
            buttons.sort(); // the platform decides their order
            shown = box->text() + '|' + box->informativeText() + '|' + buttons.join(u',') + '|' +
                    box->defaultButton()->text();
            for (QAbstractButton *button : box->buttons())
                if (button->text() == answer)
                    button->click();
            if (box->isVisible())
                box->reject();
        });
        editor.actions.replaceAll();
        QCOMPARE(shown, answer.isEmpty() ? QString()
                                         : "全部替换？|将替换当前文档中的 3 处内容。|"
                                           "全部替换,取消|全部替换");
        QCOMPARE(editor.text(), textAfter);
        QCOMPARE(editor.actions.matchCount(), matchesAfter);
        QCOMPARE(editor.selection(), selectionAfter);
        if (textAfter == text) {
            QCOMPARE(editor.edit.document()->availableUndoSteps(), undoSteps);
            QVERIFY(editor.changes.isEmpty());
            return;
        }
        // One undo step, named for the Undo menu item while it is the one Undo reverts.
        QCOMPARE(editor.changes.last(), textAfter);
        QCOMPARE(editor.view->undoActionName(), "全部替换");
        editor.edit.undo();
        QCOMPARE(editor.text(), typed + text);
        QCOMPARE(editor.view->undoActionName(), QString());
    }

    // Matches are marked on screen only: the text, its undo stack and its saved state stay as
    // they were, and only the part in view is marked, following the scroll bar.
    void highlightsAreDisplayOnly()
    {
        QString text;
        for (int line = 0; line < 2000; ++line)
            text += QStringLiteral("line %1 with a match\n").arg(line);
        EditorHarness editor(text);
        editor.edit.resize(400, 200);
        editor.edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&editor.edit));
        const int undoSteps = editor.edit.document()->availableUndoSteps();

        editor.actions.setFindText("match");
        QList<QTextEdit::ExtraSelection> marks = editor.edit.extraSelections();
        QVERIFY(marks.size() > 1 && marks.size() < 100);
        // The current match is drawn last, in its own colour and underlined.
        QCOMPARE(marks.last().cursor.selectionStart(), text.indexOf("match"));
        QCOMPARE(marks.last().format.underlineStyle(), QTextCharFormat::SingleUnderline);
        QCOMPARE(marks.first().format.underlineStyle(), QTextCharFormat::NoUnderline);
        QVERIFY(marks.first().format.background() != marks.last().format.background());
        QCOMPARE(editor.edit.document()->availableUndoSteps(), undoSteps);
        QVERIFY(!editor.edit.document()->isModified());

        QScrollBar *scrollBar = editor.edit.verticalScrollBar();
        scrollBar->setValue(scrollBar->maximum());
        marks = editor.edit.extraSelections();
        QVERIFY(!marks.isEmpty() && marks.size() < 100);
        QCOMPARE(marks.last().cursor.selectedText(), "match");
        QVERIFY(marks.last().cursor.selectionStart() > text.size() - 500);
    }
};

EDITOR_TEST_RUNNER(FindReplaceTest, runFindReplaceTests)

#include "tst_find_replace.moc"
