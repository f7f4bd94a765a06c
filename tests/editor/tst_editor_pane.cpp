// The editor pane end to end: draft binding, save state, toolbar, find panel keys and focus.
#include "EditorTestSupport.h"

#include <EditorFindField.h>
#include <EditorFindPanel.h>
#include <EditorPane.h>
#include <EditorToolbar.h>
#include <TarnDocument.h>
#include <TarnEditorTextView.h>

#include <QApplication>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>
#include <QSignalSpy>
#include <QTextDocument>
#include <QToolButton>

namespace {

struct PaneFixture
{
    explicit PaneFixture(const QString &content)
        : document(QUrl::fromLocalFile("/tmp/notes.md"), content)
    {
        pane.resize(700, 500);
        pane.setDocument(&document);
        pane.show();
        pane.activateWindow();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        pane.textView()->setFocus();
    }

    QString viewText() const { return pane.textViewAdapter()->text(); }
    void caretAt(int position) { pane.textViewAdapter()->setSelection({position, 0}); }

    TarnDocument document;
    EditorPane pane;
};

} // namespace

// loaded text, caret, keys pressed there, draft after them
using DraftRow = std::tuple<QString, int, QString, QString>;

class EditorPaneTest : public QObject
{
    Q_OBJECT

private slots:
    // Typing goes into the draft and shows it unsaved; untouched text keeps every character,
    // line ends included, and Return takes the document's usual break, never Qt's U+2028.
    // Undoing back to the loaded text gives it back exactly.
    void typingReachesTheDraft_data()
    {
        QTest::addColumn<DraftRow>("row");
        const QString mixed = "a\r\nb\nc\r\n";
        // clang-format off
        QTest::newRow("no-break space kept") << DraftRow{"a\u00A0b", 3, "X", "a\u00A0bx"};
        QTest::newRow("line separator kept") << DraftRow{"a\u2028b", 0, "X", "xa\u2028b"};
        QTest::newRow("LF") << DraftRow{"a\nb\n", 4, "X", "a\nb\nx"};
        QTest::newRow("CRLF") << DraftRow{"a\r\nb\r\n", 4, "X", "a\r\nb\r\nx"};
        QTest::newRow("CR") << DraftRow{"a\rb\r", 4, "X", "a\rb\rx"};
        QTest::newRow("mixed: each line keeps its own") << DraftRow{"a\r\nb\n", 4, "X", "a\r\nb\nx"};
        QTest::newRow("Return and Shift+Return") << DraftRow{mixed, 1, "Shift+Return, Return", "a\r\n\r\n\r\nb\nc\r\n"};
        QTest::newRow("joining lines keeps the others' breaks") << DraftRow{mixed, 4, "Backspace", "a\r\nbc\r\n"};
        QTest::newRow("Shift still extends the selection") << DraftRow{"a\nb", 0, "Shift+Down, X", "xb"};
        // clang-format on
    }
    void typingReachesTheDraft()
    {
        QFETCH(DraftRow, row);
        const auto &[content, caret, keys, draft] = row;
        PaneFixture f(content);
        QLabel *label = f.pane.toolbar()->saveStateLabel();
        QToolButton *save = f.pane.toolbar()->saveButton();
        QCOMPARE(label->text(), "已保存");
        QVERIFY(!save->isEnabled());
        f.caretAt(caret);
        QTest::keySequence(f.pane.textView(), QKeySequence(keys));
        QCOMPARE(f.document.draft(), draft);
        QCOMPARE(label->text(), "未保存");
        const QColor unsaved = label->palette().color(QPalette::WindowText);
        QVERIFY(unsaved.red() > 200 && unsaved.blue() < 50); // orange
        QSignalSpy saves(&f.pane, &EditorPane::saveRequested);
        save->click();
        QCOMPARE(saves.value(0).value(0).value<TarnDocument *>(), &f.document);
        while (f.pane.textView()->document()->isUndoAvailable())
            f.pane.textView()->undo();
        QCOMPARE(f.document.draft(), content);
        QCOMPARE(label->text(), "已保存");
        QVERIFY(!save->isEnabled());
    }

    // Ctrl+B, Ctrl+I and Ctrl+K format (Ctrl+K does not delete to the line's end); a toolbar
    // button runs its command and the find button opens the panel. Undo takes the draft back.
    void formattingKeysAndToolbar()
    {
        PaneFixture f("ab");
        const QList<std::pair<Qt::Key, QString>> keys{
            {Qt::Key_B, "**ab**"}, {Qt::Key_I, "*ab*"}, {Qt::Key_K, "[ab](https://)"}};
        for (const auto &[key, draft] : keys) {
            f.pane.textViewAdapter()->setSelection({0, 2});
            QTest::keyClick(f.pane.textView(), key, Qt::ControlModifier);
            QCOMPARE(f.document.draft(), draft);
            f.pane.textView()->undo();
            QCOMPARE(f.document.draft(), "ab");
        }
        f.caretAt(2);
        f.pane.toolbar()->commandButtons().at(2)->click(); // task list
        QCOMPARE(f.document.draft(), "- [ ] ab");
        QVERIFY(!f.pane.showFindPanel());
        f.pane.toolbar()->commandButtons().last()->click(); // find
        QVERIFY(f.pane.showFindPanel());
    }

    // Another document, or a draft replaced from outside, replaces the text without an undo
    // step; the search follows the new text.
    void documentSwitchesAndOutsideChanges()
    {
        PaneFixture f("first");
        TarnDocument other(QUrl::fromLocalFile("/tmp/other.md"), "second");
        f.pane.actions()->setFindText("ed");
        f.caretAt(5);
        QTest::keyClicks(f.pane.textView(), " edited");
        QCOMPARE(f.pane.actions()->matchCount(), 2);
        f.pane.setDocument(&other);
        QCOMPARE(f.viewText(), "second");
        QVERIFY(!f.pane.textView()->document()->isUndoAvailable());
        QVERIFY(!other.isDirty());
        QCOMPARE(f.pane.actions()->matchCount(), 0);
        f.pane.setDocument(&f.document);
        QCOMPARE(f.viewText(), "first edited");
        QVERIFY(!f.pane.textView()->document()->isUndoAvailable());
        f.document.discardDraft();
        QCOMPARE(f.viewText(), "first");
        QVERIFY(!f.document.isDirty());
        f.pane.setDocument(nullptr);
        QCOMPARE(f.viewText(), QString());
        QVERIFY(f.pane.textView()->isReadOnly());
        QVERIFY(!f.pane.toolbar()->isEnabled());
    }

    // Ctrl+F, not Ctrl+Shift+F, opens the find panel of every pane. In the field: typing selects
    // the first match, Return and Shift+Return step and hand the keys back to the text, Ctrl+F
    // again reselects the query, Escape closes and clears.
    void findPanelKeys()
    {
        PaneFixture f("ab, ab, ab");
        EditorPane second;
        QTest::keyClick(f.pane.textView(), Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
        QVERIFY(!f.pane.showFindPanel());
        QTest::keyClick(f.pane.textView(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(f.pane.showFindPanel());
        QVERIFY(second.showFindPanel());
        EditorFindField *field = f.pane.findPanel()->findField();
        QTRY_VERIFY(field->hasFocus());
        // Keys and input-method commits both reach the query.
        QTest::keyClicks(field, "A");
        QInputMethodEvent commit;
        commit.setCommitString("B");
        QApplication::sendEvent(field, &commit);
        QCOMPARE(f.pane.actions()->findText(), "AB");
        QCOMPARE(f.pane.textViewAdapter()->selection(), EditorRange({0, 2}));
        QVERIFY(field->hasFocus());
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(f.pane.textViewAdapter()->selection(), EditorRange({4, 2}));
        QTRY_VERIFY(f.pane.textView()->hasFocus());
        QTest::keyClick(f.pane.textView(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(field->hasFocus());
        QCOMPARE(field->selectedText(), "AB");
        QTest::keyClick(field, Qt::Key_Return, Qt::ShiftModifier);
        QCOMPARE(f.pane.textViewAdapter()->selection(), EditorRange({0, 2}));
        QTest::keyClick(f.pane.textView(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(field->hasFocus());
        QTest::keyClick(field, Qt::Key_Escape);
        QVERIFY(!f.pane.showFindPanel());
        QVERIFY(f.pane.textView()->hasFocus());
        QCOMPARE(f.pane.actions()->findText(), QString());
        QCOMPARE(f.pane.findPanel()->statusLabel()->text(), QString());
        QVERIFY(f.pane.textView()->extraSelections().isEmpty());
        QCOMPARE(f.viewText(), "ab, ab, ab");
    }

    // Keys pressed while the find bar is in use stay in it: Tab and Shift+Tab go round its own
    // fields and buttons, also right after Return has selected a match in the text, so nothing
    // typed there lands in the document. Escape, wherever the focus is in the bar, closes it and
    // hands the keys back to the text.
    void findBarKeysStayInTheBar_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::newRow("tab") << Qt::Key_Tab << Qt::KeyboardModifiers();
        QTest::newRow("shift+tab") << Qt::Key_Backtab << Qt::KeyboardModifiers(Qt::ShiftModifier);
    }

    void findBarKeysStayInTheBar()
    {
        QFETCH(Qt::Key, key);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        const QString text = "alpha beta pear beta";
        PaneFixture f(text);
        EditorFindPanel *panel = f.pane.findPanel();
        auto focused = [] { return QApplication::focusWidget(); };
        QTest::keyClick(f.pane.textView(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(panel->findField()->hasFocus());
        QTest::keyClicks(focused(), "beta");
        QTest::keyClick(focused(), Qt::Key_Return);
        QCOMPARE(f.pane.textViewAdapter()->selection(), EditorRange({16, 4}));
        QTest::keyClick(focused(), key, modifiers);
        QVERIFY(panel->isAncestorOf(focused()));
        QTest::keyClicks(focused(), "gamma");
        QCOMPARE(f.document.draft(), text);

        // Round the whole bar, replace row included, and back to where it started.
        panel->replaceToggle()->click();
        QTRY_VERIFY(panel->replaceField()->isVisible());
        panel->findField()->setFocus();
        QSet<QWidget *> visited;
        for (int i = 0; i < 12; ++i) {
            QTest::keyClick(focused(), key, modifiers);
            QVERIFY2(panel->isAncestorOf(focused()), qPrintable(focused()->objectName()));
            visited.insert(focused());
        }
        QVERIFY(visited.contains(panel->replaceField()));
        QVERIFY(visited.contains(panel->replaceAllButton()));
        QVERIFY(visited.contains(panel->findField()));
        QCOMPARE(f.document.draft(), text);

        // Escape from a button of the bar closes it; the next keys go into the text.
        while (focused() != panel->closeButton())
            QTest::keyClick(focused(), key, modifiers);
        QTest::keyClick(focused(), Qt::Key_Escape);
        QVERIFY(!f.pane.showFindPanel());
        QVERIFY(f.pane.textView()->hasFocus());
        f.caretAt(0);
        QTest::keyClicks(focused(), "x");
        QCOMPARE(f.document.draft(), "x" + text);
    }

    void replaceRow()
    {
        PaneFixture f("one two");
        f.pane.openFindPanel();
        EditorFindPanel *panel = f.pane.findPanel();
        auto enabled = [panel] {
            return panel->previousButton()->isEnabled() + panel->nextButton()->isEnabled() +
                   panel->replaceButton()->isEnabled() + panel->replaceAllButton()->isEnabled();
        };
        f.pane.actions()->setFindText("three");
        QCOMPARE(enabled(), 0);
        QCOMPARE(panel->statusLabel()->text(), "无结果");
        f.pane.actions()->setFindText("two");
        QCOMPARE(enabled(), 4);
        QVERIFY(!panel->replaceField()->isVisible());
        panel->replaceToggle()->click();
        QTRY_VERIFY(panel->replaceField()->isVisible());
        QTest::keyClicks(panel->replaceField(), "2");
        panel->replaceButton()->click();
        QCOMPARE(f.document.draft(), "one 2");
        QCOMPARE(enabled(), 0);
        // Closing hides the replace row again but keeps its text.
        panel->closeButton()->click();
        QVERIFY(!f.pane.showReplaceControls());
        f.pane.openFindPanel();
        QTRY_VERIFY(panel->isVisible());
        QVERIFY(!panel->replaceField()->isVisible());
        QCOMPARE(panel->replaceField()->text(), "2");
    }

    void inputMethodTextIsAccepted()
    {
        PaneFixture f("");
        // Composition shows in the view but is not text yet; the commit is.
        QInputMethodEvent composing("zhong", {});
        QApplication::sendEvent(f.pane.textView(), &composing);
        QCOMPARE(f.document.draft(), QString());
        QInputMethodEvent commit;
        commit.setCommitString("中文");
        QApplication::sendEvent(f.pane.textView(), &commit);
        QCOMPARE(f.document.draft(), "中文");
    }
};

EDITOR_TEST_RUNNER(EditorPaneTest, runEditorPaneTests)

#include "tst_editor_pane.moc"
