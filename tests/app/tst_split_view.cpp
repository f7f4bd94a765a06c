// The split view: the menu item and shortcut, the preview that follows typing without a
// reload, source lines only in the preview's page, scroll sync both ways and the outline.
#include "AppTestSupport.h"
#include "EditorPane.h"
#include "LivePreview.h"
#include "MarkdownEditorActions.h"
#include "OutlinePane.h"
#include "ReaderPane.h"
#include "SplitPreviewView.h"
#include "TarnEditorTextView.h"
#include "TarnWebView.h"

#include <QFile>
#include <QListWidget>
#include <QScrollBar>
#include <QSplitter>
#include <QTest>

#include <memory>

namespace {

// The page's answer to `script`, waited for.
QVariant pageValue(TarnWebView *view, const QString &script)
{
    const auto result = std::make_shared<QVariant>();
    const auto done = std::make_shared<bool>(false);
    view->page()->runJavaScript(script, [result, done](const QVariant &value) {
        *result = value;
        *done = true;
    });
    if (!QTest::qWaitFor([&] { return *done; }, 10000))
        return {};
    return *result;
}

// Sections far enough apart that each can come to the top of either side.
QString longDocument()
{
    QString text;
    for (int section = 0; section < 40; ++section) {
        text += QStringLiteral("## Part %1\n\n").arg(section);
        for (int line = 0; line < 6; ++line)
            text += QStringLiteral("Line %1 of part %2, long enough to fill a row.\n\n")
                        .arg(line)
                        .arg(section);
    }
    return text;
}

int lineOfPart(int part)
{
    return part * 14; // a heading, a blank line and six paragraphs with their blank lines
}

} // namespace

void AppTest::splitView_data()
{
    QTest::addColumn<MarkdownFlavor>("flavor");
    QTest::newRow("classic") << MarkdownFlavor::classic;
    QTest::newRow("gfm") << MarkdownFlavor::gfm;
}

void AppTest::splitView()
{
    QFETCH(MarkdownFlavor, flavor);
    WindowFixture f(QByteArrayLiteral("[General]\ntarn.splitViewEditorShare=0.3\n"));
    f.model->setMarkdownFlavor(flavor);
    f.window.resize(1800, 1000); // room for both sides beside the sidebar and the outline
    f.model->openURLs({f.file(QStringLiteral("long.md"), longDocument())}, true);
    TarnWebView *reader = nullptr;
    QTRY_VERIFY((reader = f.view.readerPane()->currentView()) &&
                pageValue(reader, "window.tarnReadyDone === true").toBool());

    // The shortcut turns the split view on, with the keys in the editor.
    QAction *item = f.item(C::toggleSplitView);
    QCOMPARE(item->shortcut(), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_E));
    f.window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&f.window));
    QTest::keyClick(&f.window, Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(f.model->isSplitView() && f.model->isEditing());
    QVERIFY(item->isChecked());
    SplitPreviewView *split = f.view.splitView();
    EditorPane *editor = f.view.editorPane();
    QCOMPARE(f.view.currentContent(), split);
    QCOMPARE(editor->parentWidget(), split->splitter());
    QCOMPARE(f.window.focusWidget(), editor->textView());
    const QList<int> sizes = split->splitter()->sizes();
    QVERIFY(qAbs(double(sizes[0]) / (sizes[0] + sizes[1]) - 0.3) < 0.02);

    // Only the preview's page carries source lines.
    TarnWebView *preview = split->preview()->view();
    QTRY_COMPARE(pageValue(preview, "window.tarnPreview ? document.querySelector("
                                    "'[data-source-line=\"14\"]')?.id : ''")
                     .toString(),
                 QStringLiteral("part-1"));
    QCOMPARE(pageValue(reader, "document.querySelectorAll('[data-source-line]').length").toInt(),
             0);

    // Typing reaches the page without a reload: what the page held survives.
    const int loads = preview->loadCount();
    pageValue(preview, "window.tarnMarker = 7");
    QTextCursor cursor = editor->textView()->textCursor();
    cursor.movePosition(QTextCursor::End);
    editor->textView()->setTextCursor(cursor);
    QTest::keyClicks(editor->textView(), "Zebra");
    QTRY_VERIFY(pageValue(preview, "document.body.textContent.includes('Zebra')").toBool());
    QCOMPARE(pageValue(preview, "window.tarnMarker").toInt(), 7);
    QCOMPARE(preview->loadCount(), loads);

    // The editor's top line brings its block to the preview's top, and back.
    editor->showLineAtTop(lineOfPart(20));
    QVERIFY(headingAtTop(preview, QStringLiteral("part-20")));
    // As a user would scroll: the blocks passed by get their real size meanwhile.
    pageValue(preview, "for (let i = 0; i < 4; i += 1) window.scrollTo(0, document"
                       ".getElementById('part-30').getBoundingClientRect().top + scrollY)");
    QTRY_COMPARE(editor->topLine(), lineOfPart(30));
    // Neither side answers the other: the preview stays at the block it was put at.
    QVERIFY(headingAtTop(preview, QStringLiteral("part-30")));

    // The outline moves both.
    QListWidget *rows = split->outline()->rows();
    QTRY_COMPARE(rows->count(), 40);
    rows->scrollToItem(rows->item(10));
    QTest::mouseClick(rows->viewport(), Qt::LeftButton, {},
                      rows->visualItemRect(rows->item(10)).center());
    QCOMPARE(editor->topLine(), lineOfPart(10));
    QVERIFY(headingAtTop(preview, QStringLiteral("part-10")));
    QCOMPARE(f.model->currentHeadingID(), QStringLiteral("part-10"));

    // The editor's commands work beside the preview: formatting, undo, find, save, and a
    // change on disk reaches both sides.
    TarnDocument *document = f.model->selectedDocument();
    cursor.movePosition(QTextCursor::End);
    editor->textView()->setTextCursor(cursor);
    QTest::keyClicks(editor->textView(), " word");
    cursor = editor->textView()->textCursor();
    cursor.movePosition(QTextCursor::PreviousWord, QTextCursor::KeepAnchor);
    editor->textView()->setTextCursor(cursor);
    editor->actions()->bold();
    QVERIFY(document->draft().endsWith(QStringLiteral("Zebra **word**")));
    QVERIFY(document->isDirty());
    QTRY_VERIFY(
        pageValue(preview, "document.querySelector('strong')?.textContent === 'word'").toBool());
    f.item(C::undo)->trigger();
    QVERIFY(document->draft().endsWith(QStringLiteral("Zebra word")));
    f.item(C::find)->trigger();
    QTRY_VERIFY(editor->showFindPanel());
    f.item(C::save)->trigger();
    QVERIFY(!document->isDirty());
    QFile onDisk(document->url().toLocalFile());
    QVERIFY(onDisk.open(QIODevice::Append));
    onDisk.write("\n\nWritten elsewhere\n");
    onDisk.close();
    QTRY_VERIFY_WITH_TIMEOUT(document->draft().contains(QStringLiteral("Written elsewhere")),
                             10000);
    QTRY_VERIFY(
        pageValue(preview, "document.body.textContent.includes('Written elsewhere')").toBool());
    QCOMPARE(f.view.currentContent(), split);

    // The divider's place is kept; the shortcut again goes back to the editor alone.
    QSplitterHandle *handle = split->splitter()->handle(1);
    QTest::mousePress(handle, Qt::LeftButton);
    QTest::mouseMove(handle, QPoint(split->splitter()->width() / 4, 5));
    QTest::mouseRelease(handle, Qt::LeftButton, {}, QPoint(split->splitter()->width() / 4, 5));
    QVERIFY(qAbs(f.model->splitViewEditorShare() - 0.3) > 0.02);
    QTest::keyClick(&f.window, Qt::Key_E, Qt::ControlModifier | Qt::ShiftModifier);
    QVERIFY(!f.model->isSplitView() && f.model->isEditing());
    QCOMPARE(f.view.currentContent(), editor);
    QVERIFY(document->draft().endsWith(QStringLiteral("Written elsewhere\n")));
    // Leaving the editor ends the split view; the editor comes back on its own.
    item->trigger();
    f.model->toggleEditing();
    QVERIFY(!f.model->isSplitView());
    QCOMPARE(f.view.currentContent(), f.view.readerPane());
    f.model->toggleEditing();
    QCOMPARE(f.view.currentContent(), editor);
    QCOMPARE(f.window.focusWidget(), editor->textView());
}
