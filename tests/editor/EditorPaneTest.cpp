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
    // Types like a keyboard, Return included.
    void type(const QString &text)
    {
        const QStringList lines = text.split(u'\n');
        for (qsizetype i = 0; i < lines.size(); ++i) {
            if (i > 0)
                QTest::keyClick(pane.textView(), Qt::Key_Return);
            QTest::keyClicks(pane.textView(), lines[i]);
        }
    }

    TarnDocument document;
    EditorPane pane;
};

} // namespace

class EditorPaneTest : public QObject
{
    Q_OBJECT

private slots:
    void editsReachTheDraft_data()
    {
        // clang-format off
        QTest::addColumn<QString>("content");
        QTest::addColumn<int>("caret");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("expectedDraft");

        QTest::newRow("no-break space kept") << QString::fromUtf8("a\u00A0b") << 3 << "c" << QString::fromUtf8("a\u00A0bc");
        QTest::newRow("line separator kept") << QString::fromUtf8("a\u2028b") << 0 << "x" << QString::fromUtf8("xa\u2028b");
        // clang-format on
    }

    void editsReachTheDraft()
    {
        QFETCH(QString, content);
        QFETCH(int, caret);
        QFETCH(QString, typed);
        QFETCH(QString, expectedDraft);

        PaneFixture fixture(content);
        QCOMPARE(fixture.viewText(), content);
        QVERIFY(!fixture.document.isDirty());
        fixture.caretAt(caret);
        fixture.type(typed);
        QCOMPARE(fixture.document.draft(), expectedDraft);
        QCOMPARE(fixture.document.content(), content);
        QVERIFY(fixture.document.isDirty());
    }

    void saveStateFollowsDirtiness()
    {
        PaneFixture fixture("text");
        QLabel *label = fixture.pane.toolbar()->saveStateLabel();
        QToolButton *save = fixture.pane.toolbar()->saveButton();
        QSignalSpy saves(&fixture.pane, &EditorPane::saveRequested);
        QCOMPARE(label->text(), "已保存");
        QVERIFY(!save->isEnabled());
        const QColor savedColour = label->palette().color(QPalette::WindowText);

        fixture.caretAt(4);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_X);
        QCOMPARE(label->text(), "未保存");
        QVERIFY(save->isEnabled());
        const QColor unsavedColour = label->palette().color(QPalette::WindowText);
        QVERIFY(unsavedColour.red() > 200 && unsavedColour.blue() < 50); // orange
        QVERIFY(unsavedColour != savedColour);
        save->click();
        QCOMPARE(saves.size(), 1);
        QCOMPARE(saves.first().first().value<TarnDocument *>(), &fixture.document);

        // Typing the change away makes the document clean again.
        QTest::keyClick(fixture.pane.textView(), Qt::Key_Backspace);
        QCOMPARE(label->text(), "已保存");
        QVERIFY(!save->isEnabled());
    }

    void lineEndingsSurviveEditing_data()
    {
        // clang-format off
        QTest::addColumn<QString>("content");
        QTest::addColumn<QString>("expectedDraft");

        QTest::newRow("LF") << "a\nb\n" << "a\nb\nx";
        QTest::newRow("CRLF") << "a\r\nb\r\n" << "a\r\nb\r\nx";
        QTest::newRow("CR") << "a\rb\r"
                            << "a\rb\rx";
        // Mixed endings cannot be told apart in the view; the first edit settles them on LF.
        QTest::newRow("mixed") << "a\r\nb\n" << "a\nb\nx";
        // clang-format on
    }

    void lineEndingsSurviveEditing()
    {
        QFETCH(QString, content);
        QFETCH(QString, expectedDraft);

        PaneFixture fixture(content);
        QCOMPARE(fixture.viewText(), "a\nb\n");
        QVERIFY(!fixture.document.isDirty());
        fixture.caretAt(4);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_X);
        QCOMPARE(fixture.document.draft(), expectedDraft);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_Backspace);
        QCOMPARE(fixture.document.isDirty(), expectedDraft.chopped(1) != content);
    }

    void switchingDocumentsLeavesNoUndoStep()
    {
        PaneFixture fixture("first");
        TarnDocument other(QUrl::fromLocalFile("/tmp/other.md"), "second");
        fixture.caretAt(5);
        QTest::keyClicks(fixture.pane.textView(), " edit");
        QVERIFY(fixture.pane.textView()->document()->isUndoAvailable());

        fixture.pane.setDocument(&other);
        QCOMPARE(fixture.viewText(), "second");
        QVERIFY(!fixture.pane.textView()->document()->isUndoAvailable());
        QVERIFY(!other.isDirty());
        QCOMPARE(fixture.document.draft(), "first edit");

        fixture.pane.setDocument(&fixture.document);
        QCOMPARE(fixture.viewText(), "first edit");
        QVERIFY(!fixture.pane.textView()->document()->isUndoAvailable());

        fixture.pane.setDocument(nullptr);
        QCOMPARE(fixture.viewText(), QString());
        QVERIFY(fixture.pane.textView()->isReadOnly());
        QVERIFY(!fixture.pane.toolbar()->isEnabled());
        QCOMPARE(fixture.document.draft(), "first edit");
    }

    void draftChangedElsewhereReplacesText()
    {
        PaneFixture fixture("saved");
        fixture.pane.actions()->setFindText("ed");
        fixture.caretAt(5);
        QTest::keyClicks(fixture.pane.textView(), " changed");
        QCOMPARE(fixture.pane.actions()->matchCount(), 2);
        fixture.document.discardDraft();
        QCOMPARE(fixture.viewText(), "saved");
        QCOMPARE(fixture.pane.actions()->matchCount(), 1);
        QVERIFY(!fixture.document.isDirty());
    }

    void toolbarButtons_data()
    {
        // clang-format off
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("help");
        QTest::addColumn<QString>("expectedDraft");

        QTest::newRow("bold") << 0 << "加粗" << "ab**加粗文字**";
        QTest::newRow("task list") << 2 << "任务列表" << "- [ ] ab";
        QTest::newRow("find") << 6 << "查找" << "ab";
        // clang-format on
    }

    void toolbarButtons()
    {
        QFETCH(int, index);
        QFETCH(QString, help);
        QFETCH(QString, expectedDraft);

        PaneFixture fixture("ab");
        fixture.caretAt(2);
        QToolButton *button = fixture.pane.toolbar()->commandButtons().at(index);
        QCOMPARE(button->toolTip(), help);
        button->click();
        QCOMPARE(fixture.document.draft(), expectedDraft);
        QCOMPARE(fixture.pane.showFindPanel(), help == "查找");
        // Undo is an edit like any other: the draft follows it back.
        fixture.pane.textView()->undo();
        QCOMPARE(fixture.document.draft(), "ab");
        QVERIFY(!fixture.document.isDirty());
    }

    void ctrlFOpensFindPanel_data()
    {
        // clang-format off
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<bool>("opens");

        QTest::newRow("Ctrl") << Qt::KeyboardModifiers(Qt::ControlModifier) << true;
        QTest::newRow("Ctrl+Shift") << (Qt::ControlModifier | Qt::ShiftModifier) << false;
        // clang-format on
    }

    void ctrlFOpensFindPanel()
    {
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(bool, opens);

        PaneFixture fixture("find me");
        EditorPane second;
        QSignalSpy notifications(EditorNotifications::instance(),
                                 &EditorNotifications::showEditorFind);
        QTest::keyClick(fixture.pane.textView(), Qt::Key_F, modifiers);
        QCOMPARE(notifications.size(), opens ? 1 : 0);
        QCOMPARE(fixture.pane.showFindPanel(), opens);
        // The notification reaches every pane.
        QCOMPARE(second.showFindPanel(), opens);
        if (opens) {
            QTRY_VERIFY(fixture.pane.findPanel()->isVisible());
            QTRY_VERIFY(fixture.pane.findPanel()->findField()->hasFocus());
        }
    }

    void ctrlFAgainReselectsQuery()
    {
        PaneFixture fixture("abc abc");
        fixture.pane.openFindPanel();
        EditorFindField *field = fixture.pane.findPanel()->findField();
        QTRY_VERIFY(field->hasFocus());
        QTest::keyClicks(field, "abc");
        QCOMPARE(fixture.pane.actions()->searchStatusText(), "1/2");
        fixture.pane.textView()->setFocus();
        QTRY_VERIFY(!field->hasFocus());

        QTest::keyClick(fixture.pane.textView(), Qt::Key_F, Qt::ControlModifier);
        QVERIFY(fixture.pane.showFindPanel());
        QCOMPARE(fixture.pane.findFocusToken(), 2);
        QTRY_VERIFY(field->hasFocus());
        QCOMPARE(field->selectedText(), "abc");
    }

    void findFieldKeys_data()
    {
        // clang-format off
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<int>("key");
        QTest::addColumn<EditorRange>("expectedSelection");

        // Typing the query selected the first of three matches.
        QTest::newRow("Return") << Qt::KeyboardModifiers() << int(Qt::Key_Return) << EditorRange{4, 2};
        QTest::newRow("Shift+Return") << Qt::KeyboardModifiers(Qt::ShiftModifier) << int(Qt::Key_Return) << EditorRange{8, 2};
        // clang-format on
    }

    void findFieldKeys()
    {
        QFETCH(Qt::KeyboardModifiers, modifiers);
        QFETCH(int, key);
        QFETCH(EditorRange, expectedSelection);

        PaneFixture fixture("ab, ab, ab");
        fixture.pane.openFindPanel();
        EditorFindField *field = fixture.pane.findPanel()->findField();
        QTRY_VERIFY(field->hasFocus());
        QTest::keyClicks(field, "AB");
        // The first match is selected while typing goes on in the field.
        QCOMPARE(fixture.pane.textViewAdapter()->selection(), EditorRange({0, 2}));
        QVERIFY(field->hasFocus());

        QTest::keyClick(field, Qt::Key(key), modifiers);
        QCOMPARE(fixture.pane.textViewAdapter()->selection(), expectedSelection);
        QTRY_VERIFY(fixture.pane.textView()->hasFocus());
        QVERIFY(fixture.pane.showFindPanel());
    }

    void escapeClosesAndClears()
    {
        PaneFixture fixture("ab ab");
        fixture.pane.openFindPanel();
        EditorFindPanel *panel = fixture.pane.findPanel();
        QTRY_VERIFY(panel->findField()->hasFocus());
        QTest::keyClicks(panel->findField(), "ab");
        QCOMPARE(panel->statusLabel()->text(), "1/2");
        QVERIFY(!fixture.pane.textView()->extraSelections().isEmpty());

        QTest::keyClick(panel->findField(), Qt::Key_Escape);
        QVERIFY(!fixture.pane.showFindPanel());
        QTRY_VERIFY(!panel->isVisible());
        QCOMPARE(fixture.pane.actions()->findText(), QString());
        QCOMPARE(panel->findField()->text(), QString());
        QCOMPARE(panel->statusLabel()->text(), QString());
        QCOMPARE(fixture.pane.actions()->matchCount(), 0);
        QVERIFY(fixture.pane.textView()->extraSelections().isEmpty());
        QCOMPARE(fixture.viewText(), "ab ab");
        QVERIFY(!fixture.document.isDirty());
    }

    void panelButtonsFollowState()
    {
        PaneFixture fixture("one two");
        fixture.pane.openFindPanel();
        EditorFindPanel *panel = fixture.pane.findPanel();
        const QList<QWidget *> stateButtons{panel->previousButton(), panel->nextButton(),
                                            panel->replaceButton(), panel->replaceAllButton()};
        auto enabledCount = [&] {
            return std::count_if(stateButtons.begin(), stateButtons.end(),
                                 [](QWidget *button) { return button->isEnabled(); });
        };
        QCOMPARE(enabledCount(), 0);
        fixture.pane.actions()->setFindText("three");
        QCOMPARE(enabledCount(), 0);
        QCOMPARE(panel->statusLabel()->text(), "无结果");
        fixture.pane.actions()->setFindText("two");
        QCOMPARE(enabledCount(), 4);

        // The replace button works on the document through the panel's field.
        panel->replaceToggle()->click();
        QTest::keyClicks(panel->replaceField(), "2");
        panel->replaceButton()->click();
        QCOMPARE(fixture.document.draft(), "one 2");
        QCOMPARE(enabledCount(), 0);
    }

    void replaceRowResetsOnClose()
    {
        PaneFixture fixture("x");
        fixture.pane.openFindPanel();
        EditorFindPanel *panel = fixture.pane.findPanel();
        QToolButton *toggle = panel->replaceToggle();
        QVERIFY(!panel->replaceField()->isVisible());
        toggle->click();
        QVERIFY(fixture.pane.showReplaceControls());
        QTRY_VERIFY(panel->replaceField()->isVisible());
        QTest::keyClicks(panel->replaceField(), "new");

        panel->closeButton()->click();
        QVERIFY(!fixture.pane.showFindPanel());
        QVERIFY(!fixture.pane.showReplaceControls());
        fixture.pane.openFindPanel();
        QTRY_VERIFY(panel->isVisible());
        QVERIFY(!panel->replaceField()->isVisible());
        QCOMPARE(fixture.pane.actions()->replaceText(), "new");
        QCOMPARE(panel->replaceField()->text(), "new");
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

        fixture.pane.openFindPanel();
        EditorFindField *field = fixture.pane.findPanel()->findField();
        QTRY_VERIFY(field->hasFocus());
        QInputMethodEvent findCommit;
        findCommit.setCommitString("文");
        QApplication::sendEvent(field, &findCommit);
        QCOMPARE(fixture.pane.actions()->findText(), "文");
        QCOMPARE(fixture.pane.actions()->searchStatusText(), "1/1");
    }
};

int runEditorPaneTests(int argc, char **argv)
{
    EditorPaneTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "EditorPaneTest.moc"
