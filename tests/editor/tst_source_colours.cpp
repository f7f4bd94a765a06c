// The editor's source colours: which format lands where, the state carried between lines, the
// themes, large documents, and that colouring leaves the text and the undo stack alone.
#include "EditorTestSupport.h"

#include <EditorPane.h>
#include <MarkdownHighlighter.h>
#include <TarnDocument.h>
#include <TarnEditorTextView.h>

#include <QImage>
#include <QTextBlock>
#include <QTextDocument>
#include <QTextLayout>

namespace {

// The format the highlighter put on one character.
QTextCharFormat formatAt(const QTextBlock &block, int position)
{
    for (const QTextLayout::FormatRange &range : block.layout()->formats()) {
        if (position >= range.start && position < range.start + range.length)
            return range.format;
    }
    return {};
}

// Whether `actual` carries everything `expected` sets (it may carry more: a heading's marker
// is bold from the heading and grey from the marker).
bool carries(const QTextCharFormat &actual, const QTextCharFormat &expected)
{
    const auto properties = expected.properties();
    for (auto it = properties.begin(); it != properties.end(); ++it) {
        if (actual.property(it.key()) != it.value())
            return false;
    }
    return !properties.isEmpty() || actual.properties().isEmpty();
}

QTextCharFormat roleFormat(const MarkdownSourceStyle &style, const QString &role)
{
    const std::pair<const char *, QTextCharFormat> roles[] = {
        {"heading", style.heading},
        {"emphasis", style.emphasis},
        {"strong", style.strong},
        {"strikethrough", style.strikethrough},
        {"code", style.code},
        {"codeBlock", style.codeBlock},
        {"fence", style.fence},
        {"linkText", style.linkText},
        {"linkAddress", style.linkAddress},
        {"marker", style.marker},
        {"listMarker", style.listMarker},
        {"taskBox", style.taskBox},
        {"quoteMarker", style.quoteMarker},
        {"tablePipe", style.tablePipe},
        {"html", style.html},
        {"math", style.math},
        {"frontMatter", style.frontMatter},
        {"plain", QTextCharFormat()}};
    for (const auto &[name, format] : roles) {
        if (role == QLatin1String(name))
            return format;
    }
    qFatal("unknown role");
}

// Whether some pixel of the image is drawn in about this colour.
bool showsColour(const QImage &image, const QColor &colour)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor pixel = image.pixelColor(x, y);
            if (std::abs(pixel.red() - colour.red()) + std::abs(pixel.green() - colour.green()) +
                    std::abs(pixel.blue() - colour.blue()) <
                12)
                return true;
        }
    }
    return false;
}

} // namespace

// text, line, position in the line, role expected there
using ColourRow = std::tuple<QString, int, int, QString>;

class SourceColoursTest : public QObject
{
    Q_OBJECT

private slots:
    void formatsAtPositions_data()
    {
        QTest::addColumn<ColourRow>("row");
        const QString fenced = "```js\ncode *x*\n```\nafter *x*";
        const QString frontMatter = "---\ntitle: x\n---\n# H";
        const QString emphasis = "**bold** and *it* and ~~gone~~";
        // clang-format off
        QTest::newRow("heading text") << ColourRow{"## Title", 0, 4, "heading"};
        QTest::newRow("heading marker") << ColourRow{"## Title", 0, 0, "marker"};
        QTest::newRow("not a heading without the space") << ColourRow{"#Title", 0, 3, "plain"};
        QTest::newRow("link text") << ColourRow{"see [text](http://a.b \"t\")", 0, 6, "linkText"};
        QTest::newRow("link address") << ColourRow{"see [text](http://a.b \"t\")", 0, 13, "linkAddress"};
        QTest::newRow("link bracket") << ColourRow{"see [text](http://a.b \"t\")", 0, 4, "marker"};
        QTest::newRow("image alt") << ColourRow{"![alt](img.png)", 0, 3, "linkText"};
        QTest::newRow("image address") << ColourRow{"![alt](img.png)", 0, 8, "linkAddress"};
        QTest::newRow("reference label") << ColourRow{"[text][ref]", 0, 8, "linkAddress"};
        QTest::newRow("link definition") << ColourRow{"[ref]: https://x.org", 0, 9, "linkAddress"};
        QTest::newRow("autolink") << ColourRow{"go <https://x.org> now", 0, 6, "linkAddress"};
        QTest::newRow("mail autolink") << ColourRow{"mail <me@x.org> now", 0, 7, "linkAddress"};
        QTest::newRow("fence line") << ColourRow{fenced, 0, 1, "fence"};
        QTest::newRow("fence carried to the next line") << ColourRow{fenced, 1, 6, "codeBlock"};
        QTest::newRow("no emphasis inside a fence") << ColourRow{fenced, 1, 7, "codeBlock"};
        QTest::newRow("after the closing fence") << ColourRow{fenced, 3, 7, "emphasis"};
        QTest::newRow("backticks do not close a tilde fence") << ColourRow{"~~~\n```\nstill", 2, 1, "codeBlock"};
        QTest::newRow("front matter") << ColourRow{frontMatter, 1, 2, "frontMatter"};
        QTest::newRow("after front matter") << ColourRow{frontMatter, 3, 2, "heading"};
        QTest::newRow("front matter only at the top") << ColourRow{"para\n---\nkey: v\n---", 2, 1, "plain"};
        QTest::newRow("strong") << ColourRow{emphasis, 0, 3, "strong"};
        QTest::newRow("emphasis") << ColourRow{emphasis, 0, 14, "emphasis"};
        QTest::newRow("strikethrough") << ColourRow{emphasis, 0, 25, "strikethrough"};
        QTest::newRow("snake_case is not emphasis") << ColourRow{"a snake_case_name", 0, 9, "plain"};
        QTest::newRow("inline code") << ColourRow{"a `*x*` b", 0, 4, "code"};
        QTest::newRow("list marker") << ColourRow{"- [x] done", 0, 0, "listMarker"};
        QTest::newRow("task box") << ColourRow{"- [x] done", 0, 3, "taskBox"};
        QTest::newRow("ordered list marker") << ColourRow{"12. item", 0, 1, "listMarker"};
        QTest::newRow("quote marker") << ColourRow{"> > quoted", 0, 2, "quoteMarker"};
        QTest::newRow("table pipe") << ColourRow{"| a | b |", 0, 4, "tablePipe"};
        QTest::newRow("delimiter row pipe") << ColourRow{"a | b\n--|--", 1, 2, "tablePipe"};
        QTest::newRow("pipe in code is no cell") << ColourRow{"| `a|b` |", 0, 4, "code"};
        QTest::newRow("HTML tag") << ColourRow{"text <span class=x>y</span>", 0, 7, "html"};
        QTest::newRow("HTML block carried") << ColourRow{"<div>\nhtml *x*\n</div>", 1, 6, "html"};
        QTest::newRow("HTML block ends at a blank line") << ColourRow{"<div>\nx\n\n*y*", 3, 1, "emphasis"};
        QTest::newRow("inline math") << ColourRow{"area $x^2$ here", 0, 7, "math"};
        QTest::newRow("display math carried") << ColourRow{"$$\nx^2\n$$\nafter", 1, 1, "math"};
        QTest::newRow("after display math") << ColourRow{"$$\nx^2\n$$\nafter", 3, 1, "plain"};
        QTest::newRow("thematic break") << ColourRow{"a\n\n* * *", 2, 2, "marker"};
        // clang-format on
    }
    void formatsAtPositions()
    {
        QFETCH(ColourRow, row);
        const auto &[text, line, position, role] = row;
        QPlainTextEdit edit;
        auto *highlighter = new MarkdownHighlighter(&edit);
        edit.setPlainText(text);
        QTRY_VERIFY(highlighter->isUpToDate());
        const QTextCharFormat actual = formatAt(edit.document()->findBlockByNumber(line), position);
        QVERIFY2(carries(actual, roleFormat(highlighter->style(), role)),
                 qPrintable(QStringLiteral("properties there: %1").arg(actual.propertyCount())));
        // Code is literal: nothing inside it is emphasis.
        if (role.startsWith(u"code"))
            QVERIFY(!actual.fontItalic());
    }

    // Each theme has its own colours, switching colours the text again, and the colours
    // reach the screen.
    void themes()
    {
        QPlainTextEdit edit;
        edit.resize(400, 200);
        edit.setPlainText("# Heading\n[a](b)");
        const QColor blue =
            markdownSourceStyle(TarnTheme::businessBlue).heading.foreground().color();
        QVERIFY(!showsColour(edit.viewport()->grab().toImage(), blue));
        auto *highlighter = new MarkdownHighlighter(&edit);
        QSet<QRgb> headingColours;
        for (TarnTheme theme : TarnThemes::allCases) {
            highlighter->setTheme(theme);
            const QColor expected = markdownSourceStyle(theme).heading.foreground().color();
            QTRY_COMPARE(formatAt(edit.document()->firstBlock(), 3).foreground().color(), expected);
            headingColours.insert(expected.rgba());
            QVERIFY(showsColour(edit.viewport()->grab().toImage(), expected));
        }
        QCOMPARE(headingColours.size(), 4);
    }

    // Fenced blocks and front matter sit on the quiet background across the whole width.
    void quietBackgroundSpansTheWidth()
    {
        TarnDocument document(QUrl::fromLocalFile("/tmp/fenced.md"),
                              "---\nkey: v\n---\ntext\n```\ncode\n```\nafter");
        EditorPane pane;
        pane.resize(500, 400);
        pane.setDocument(&document);
        pane.show();
        QVERIFY(QTest::qWaitForWindowExposed(&pane));
        TarnEditorTextView *view = pane.textView();
        QTRY_VERIFY(pane.highlighter()->isUpToDate());
        const QImage image = view->viewport()->grab().toImage();
        const auto rightEdgeOf = [&](int line) {
            QTextCursor cursor(view->document()->findBlockByNumber(line));
            return image.pixelColor(image.width() - 4, view->cursorRect(cursor).center().y());
        };
        const QColor plain = rightEdgeOf(3);
        QCOMPARE(rightEdgeOf(7), plain);
        for (int line : {0, 1, 2, 4, 5, 6})
            QVERIFY2(rightEdgeOf(line) != plain, qPrintable(QString::number(line)));
    }

    // Colouring, recolouring and a theme switch leave the text, the undo steps and the saved
    // state as they were.
    void undoStackUntouched()
    {
        QPlainTextEdit edit;
        edit.setPlainText("start\n");
        edit.moveCursor(QTextCursor::End);
        edit.insertPlainText("# Heading\n");
        edit.insertPlainText("```\ncode\n```\n**strong** [a](b)");
        QTextDocument *doc = edit.document();
        doc->setModified(false);
        const int undoSteps = doc->availableUndoSteps();
        const QString text = doc->toPlainText();
        QVERIFY(undoSteps > 0);

        auto *highlighter = new MarkdownHighlighter(&edit);
        highlighter->setTheme(TarnTheme::dark);
        QTRY_VERIFY(highlighter->isUpToDate());
        QVERIFY(carries(formatAt(doc->findBlockByNumber(1), 3), highlighter->style().heading));
        QCOMPARE(doc->availableUndoSteps(), undoSteps);
        QCOMPARE(doc->toPlainText(), text);
        QVERIFY(!doc->isModified());
        QVERIFY(doc->isUndoAvailable());
        doc->undo();
        QCOMPARE(doc->toPlainText(), "start\n# Heading\n");
    }

    // A long document is coloured in slices: loading returns before the last line is done, the
    // screen is coloured at once wherever it is, and opening a fence at the top reaches the end.
    void largeDocumentsInSlices()
    {
        QPlainTextEdit edit;
        edit.resize(600, 400);
        auto *highlighter = new MarkdownHighlighter(&edit);
        edit.show();
        QVERIFY(QTest::qWaitForWindowExposed(&edit));
        QString text;
        for (int line = 0; line < 20000; ++line)
            text += QStringLiteral("line %1 with *emphasis* and `code`\n").arg(line);
        edit.setPlainText(text);
        QVERIFY(!highlighter->isUpToDate());
        QTextDocument *doc = edit.document();
        const QTextBlock last = doc->lastBlock().previous();
        const int inEmphasis = int(last.text().indexOf(u"emphasis"));
        QVERIFY(!carries(formatAt(last, inEmphasis), highlighter->style().emphasis));
        edit.moveCursor(QTextCursor::End);
        QVERIFY(carries(formatAt(last, inEmphasis), highlighter->style().emphasis));
        QTRY_VERIFY_WITH_TIMEOUT(highlighter->isUpToDate(), 20000);

        QTextCursor top(doc);
        top.insertText("```\n");
        QVERIFY(!highlighter->isUpToDate());
        QTRY_VERIFY_WITH_TIMEOUT(highlighter->isUpToDate(), 20000);
        QVERIFY(carries(formatAt(last, inEmphasis), highlighter->style().codeBlock));
        QVERIFY(!formatAt(last, inEmphasis).fontItalic());
    }

    // Edits that land while lines still wait for a new theme (lines pasted and removed above the
    // waiting ones, fences opened and closed) end in the same colours as colouring the final text
    // afresh.
    void editsWhileColouringAgreeWithAFreshStart()
    {
        QString text;
        for (int line = 0; line < 3000; ++line)
            text +=
                line % 50 == 10 ? QStringLiteral("```\n") : QStringLiteral("*a* %1\n").arg(line);
        QPlainTextEdit edit;
        auto *highlighter = new MarkdownHighlighter(&edit);
        edit.setPlainText(text);
        QTRY_VERIFY_WITH_TIMEOUT(highlighter->isUpToDate(), 20000);
        highlighter->setTheme(TarnTheme::dark);
        QTextCursor cursor(edit.document());
        cursor.insertText(QStringLiteral("pasted `x`\n").repeated(1000));
        cursor.movePosition(QTextCursor::Down, QTextCursor::KeepAnchor, 40);
        cursor.removeSelectedText();
        cursor.insertText("```\n");
        cursor.movePosition(QTextCursor::Down, QTextCursor::MoveAnchor, 1500);
        cursor.insertText("~~~\nx\n");
        cursor.movePosition(QTextCursor::Down, QTextCursor::KeepAnchor, 700);
        cursor.removeSelectedText();
        QTRY_VERIFY_WITH_TIMEOUT(highlighter->isUpToDate(), 20000);

        QPlainTextEdit fresh;
        auto *freshHighlighter = new MarkdownHighlighter(&fresh);
        freshHighlighter->setTheme(TarnTheme::dark);
        fresh.setPlainText(edit.toPlainText());
        QTRY_VERIFY_WITH_TIMEOUT(freshHighlighter->isUpToDate(), 20000);
        for (QTextBlock a = edit.document()->firstBlock(), b = fresh.document()->firstBlock();
             a.isValid(); a = a.next(), b = b.next()) {
            QCOMPARE(a.userState(), b.userState());
            QCOMPARE(a.layout()->formats(), b.layout()->formats());
        }
    }
};

EDITOR_TEST_RUNNER(SourceColoursTest, runSourceColoursTests)

#include "tst_source_colours.moc"
