// The editor pane end to end: draft binding, save state, toolbar, find panel keys and focus.
#include "EditorTestSupport.h"

#include <EditorFindField.h>
#include <EditorFindPanel.h>
#include <EditorNotifications.h>
#include <EditorPane.h>
#include <EditorToolbar.h>
#include <TarnDocument.h>
#include <TarnEditorTextView.h>

#include <QApplication>
#include <QInputMethodEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTextDocument>
#include <QToolButton>

#include <memory>

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
    EditorFindField *openFind()
    {
        pane.openFindPanel();
        EditorFindField *field = pane.findPanel()->findField();
        return QTest::qWaitFor([field] { return field->hasFocus(); }) ? field : nullptr;
    }

    TarnDocument document;
    EditorPane pane;
};

} // namespace

class EditorPaneTest : public QObject
{
    Q_OBJECT

private slots:
    // Typing goes into the draft; untouched text keeps every character, line ends included.
    void typingReachesTheDraft_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<int>("caret");
        QTest::addColumn<QString>("draft");
        // clang-format off
        QTest::newRow("no-break space kept") << "a\u00A0b" << 3 << "a\u00A0bx";
        QTest::newRow("line separator kept") << "a\u2028b" << 0 << "xa\u2028b";
        QTest::newRow("LF") << "a\nb\n" << 4 << "a\nb\nx";
        QTest::newRow("CRLF") << "a\r\nb\r\n" << 4 << "a\r\nb\r\nx";
        QTest::newRow("CR") << "a\rb\r" << 4 << "a\rb\rx";
        QTest::newRow("mixed: each line keeps its own") << "a\r\nb\n" << 4 << "a\r\nb\nx";
        // clang-format on
    }
    void typingReachesTheDraft()
    {
        QFETCH(QString, content);
        QFETCH(int, caret);
        QFETCH(QString, draft);
        PaneFixture fixture(content);
        QVERIFY(!fixture.document.isDirty());
        fixture.caretAt(caret);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_X);
        QCOMPARE(fixture.document.draft(), draft);
        QCOMPARE(fixture.document.content(), content);
        QVERIFY(fixture.document.isDirty());
        QTest::keyClick(fixture.pane.textView(), Qt::Key_Backspace);
        QVERIFY(!fixture.document.isDirty());
    }

    // Return and Shift+Return insert the document's own line break, never Qt's U+2028; undoing
    // back to the loaded text gives it back exactly.
    void lineBreaksKeepTheirForm()
    {
        const QString content = "a\r\nb\nc\r\n";
        PaneFixture fixture(content);
        fixture.caretAt(1);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_Return, Qt::ShiftModifier);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_Return);
        QCOMPARE(fixture.document.draft(), "a\r\n\r\n\r\nb\nc\r\n");
        // Other keys keep their Shift: it still extends the selection.
        QTest::keyClick(fixture.pane.textView(), Qt::Key_Down, Qt::ShiftModifier);
        QCOMPARE(fixture.pane.textViewAdapter()->selection(), EditorRange({3, 1}));
        while (fixture.pane.textView()->document()->isUndoAvailable())
            fixture.pane.textView()->undo();
        QCOMPARE(fixture.document.draft(), content);
        fixture.caretAt(4);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_Backspace); // joins b and c
        QCOMPARE(fixture.document.draft(), "a\r\nbc\r\n");
        fixture.pane.textView()->undo();
        QCOMPARE(fixture.document.draft(), content);
        QVERIFY(!fixture.document.isDirty());
    }

    void formattingKeys_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<QString>("draft");
        QTest::newRow("Ctrl+B") << int(Qt::Key_B) << "**ab**";
        QTest::newRow("Ctrl+I") << int(Qt::Key_I) << "*ab*";
        QTest::newRow("Ctrl+K") << int(Qt::Key_K) << "[ab](https://)";
    }
    void formattingKeys()
    {
        QFETCH(int, key);
        PaneFixture fixture("ab");
        fixture.pane.textViewAdapter()->setSelection({0, 2});
        QTest::keyClick(fixture.pane.textView(), Qt::Key(key), Qt::ControlModifier);
        QTEST(fixture.document.draft(), "draft");
    }

    void saveStateFollowsDirtiness()
    {
        PaneFixture fixture("text");
        QLabel *label = fixture.pane.toolbar()->saveStateLabel();
        QToolButton *save = fixture.pane.toolbar()->saveButton();
        QSignalSpy saves(&fixture.pane, &EditorPane::saveRequested);
        QCOMPARE(label->text(), "已保存");
        QVERIFY(!save->isEnabled());
        fixture.caretAt(4);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_X);
        QCOMPARE(label->text(), "未保存");
        const QColor unsaved = label->palette().color(QPalette::WindowText);
        QVERIFY(unsaved.red() > 200 && unsaved.blue() < 50); // orange
        save->click();
        QCOMPARE(saves.size(), 1);
        QCOMPARE(saves.first().first().value<TarnDocument *>(), &fixture.document);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_Backspace);
        QCOMPARE(label->text(), "已保存");
        QVERIFY(!save->isEnabled());
    }

    // Another document, or a draft replaced from outside, replaces the text without an undo
    // step; the search follows the new text.
    void documentSwitchesAndOutsideChanges()
    {
        PaneFixture fixture("first");
        TarnDocument other(QUrl::fromLocalFile("/tmp/other.md"), "second");
        fixture.pane.actions()->setFindText("ed");
        fixture.caretAt(5);
        QTest::keyClicks(fixture.pane.textView(), " edited");
        QCOMPARE(fixture.pane.actions()->matchCount(), 2);
        fixture.pane.setDocument(&other);
        QCOMPARE(fixture.viewText(), "second");
        QVERIFY(!fixture.pane.textView()->document()->isUndoAvailable());
        QVERIFY(!other.isDirty());
        QCOMPARE(fixture.pane.actions()->matchCount(), 0);
        fixture.pane.setDocument(&fixture.document);
        QCOMPARE(fixture.viewText(), "first edited");
        QVERIFY(!fixture.pane.textView()->document()->isUndoAvailable());
        fixture.document.discardDraft();
        QCOMPARE(fixture.viewText(), "first");
        QVERIFY(!fixture.document.isDirty());
        fixture.pane.setDocument(nullptr);
        QCOMPARE(fixture.viewText(), QString());
        QVERIFY(fixture.pane.textView()->isReadOnly());
        QVERIFY(!fixture.pane.toolbar()->isEnabled());
    }

    void toolbarButtons_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("help");
        QTest::addColumn<QString>("draft");
        // clang-format off
        QTest::newRow("bold") << 0 << "加粗 (Ctrl+B)" << "ab**加粗文字**";
        QTest::newRow("task list") << 2 << "任务列表" << "- [ ] ab";
        QTest::newRow("find") << 6 << "查找" << "ab";
        // clang-format on
    }
    void toolbarButtons()
    {
        QFETCH(QString, help);
        PaneFixture fixture("ab");
        fixture.caretAt(2);
        QFETCH(int, index);
        QToolButton *button = fixture.pane.toolbar()->commandButtons().at(index);
        QTEST(button->toolTip(), "help");
        button->click();
        QTEST(fixture.document.draft(), "draft");
        QCOMPARE(fixture.pane.showFindPanel(), help == "查找");
        // Undo is an edit like any other: the draft follows it back.
        fixture.pane.textView()->undo();
        QCOMPARE(fixture.document.draft(), "ab");
        QVERIFY(!fixture.document.isDirty());
    }

    void ctrlFOpensFindPanel_data()
    {
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<bool>("opens");
        QTest::newRow("Ctrl") << Qt::KeyboardModifiers(Qt::ControlModifier) << true;
        QTest::newRow("Ctrl+Shift") << (Qt::ControlModifier | Qt::ShiftModifier) << false;
    }
    void ctrlFOpensFindPanel()
    {
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(bool, opens);
        PaneFixture fixture("find me");
        EditorPane second;
        QTest::keyClick(fixture.pane.textView(), Qt::Key_F, modifiers);
        QCOMPARE(fixture.pane.showFindPanel(), opens);
        QCOMPARE(second.showFindPanel(), opens); // the notification reaches every pane
        if (opens)
            QTRY_VERIFY(fixture.pane.findPanel()->findField()->hasFocus());
    }

    // In the field: typing selects the first match, Return and Shift+Return step and hand the
    // keys back to the text, Ctrl+F again reselects the query, Escape closes and clears.
    void findFieldKeys()
    {
        PaneFixture fixture("ab, ab, ab");
        EditorFindField *field = fixture.openFind();
        QVERIFY(field);
        QTest::keyClicks(field, "AB");
        QCOMPARE(fixture.pane.textViewAdapter()->selection(), EditorRange({0, 2}));
        QVERIFY(field->hasFocus());
        QTest::keyClick(field, Qt::Key_Return);
        QCOMPARE(fixture.pane.textViewAdapter()->selection(), EditorRange({4, 2}));
        QTRY_VERIFY(fixture.pane.textView()->hasFocus());
        QTest::keyClick(fixture.pane.textView(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(field->hasFocus());
        QCOMPARE(field->selectedText(), "AB");
        QTest::keyClick(field, Qt::Key_Return, Qt::ShiftModifier);
        QCOMPARE(fixture.pane.textViewAdapter()->selection(), EditorRange({0, 2}));
        QTest::keyClick(fixture.pane.textView(), Qt::Key_F, Qt::ControlModifier);
        QTRY_VERIFY(field->hasFocus());
        QTest::keyClick(field, Qt::Key_Escape);
        QVERIFY(!fixture.pane.showFindPanel());
        QCOMPARE(fixture.pane.actions()->findText(), QString());
        QCOMPARE(fixture.pane.findPanel()->statusLabel()->text(), QString());
        QVERIFY(fixture.pane.textView()->extraSelections().isEmpty());
        QCOMPARE(fixture.viewText(), "ab, ab, ab");
    }

    void replaceRow()
    {
        PaneFixture fixture("one two");
        QVERIFY(fixture.openFind());
        EditorFindPanel *panel = fixture.pane.findPanel();
        const QList<QWidget *> buttons{panel->previousButton(), panel->nextButton(),
                                       panel->replaceButton(), panel->replaceAllButton()};
        auto enabled = [&] {
            return std::count_if(buttons.begin(), buttons.end(),
                                 [](QWidget *button) { return button->isEnabled(); });
        };
        fixture.pane.actions()->setFindText("three");
        QCOMPARE(enabled(), 0);
        QCOMPARE(panel->statusLabel()->text(), "无结果");
        fixture.pane.actions()->setFindText("two");
        QCOMPARE(enabled(), 4);
        QVERIFY(!panel->replaceField()->isVisible());
        panel->replaceToggle()->click();
        QTRY_VERIFY(panel->replaceField()->isVisible());
        QTest::keyClicks(panel->replaceField(), "2");
        panel->replaceButton()->click();
        QCOMPARE(fixture.document.draft(), "one 2");
        QCOMPARE(enabled(), 0);
        // Closing hides the replace row again but keeps its text.
        panel->closeButton()->click();
        QVERIFY(!fixture.pane.showReplaceControls());
        fixture.pane.openFindPanel();
        QTRY_VERIFY(panel->isVisible());
        QVERIFY(!panel->replaceField()->isVisible());
        QCOMPARE(panel->replaceField()->text(), "2");
    }

    void inputMethodTextIsAccepted()
    {
        PaneFixture fixture("");
        // Composition shows in the view but is not text yet; the commit is.
        QInputMethodEvent composing("zhong", {});
        QApplication::sendEvent(fixture.pane.textView(), &composing);
        QCOMPARE(fixture.document.draft(), QString());
        QInputMethodEvent commit;
        commit.setCommitString("中文");
        QApplication::sendEvent(fixture.pane.textView(), &commit);
        QCOMPARE(fixture.document.draft(), "中文");
        EditorFindField *field = fixture.openFind();
        QVERIFY(field);
        QInputMethodEvent findCommit;
        findCommit.setCommitString("文");
        QApplication::sendEvent(field, &findCommit);
        QCOMPARE(fixture.pane.actions()->searchStatusText(), "1/1");
    }
};

int runEditorPaneTests(int argc, char **argv)
{
    EditorPaneTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "EditorPaneTest.moc"
