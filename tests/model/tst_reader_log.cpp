// Operations the reader and the menus call (links, the editing place, HTML and PDF export) and
// the usage log they write: line format, rotation at the size limit, revealing, many threads.
#include "ModelTestSupport.h"

#include "DocumentExporter.h"
#include "MarkdownRenderer.h"

#include <QDir>
#include <QSignalSpy>

#include <thread>
#include <vector>

using Link = std::tuple<QString, QString, QString>;
using LineRow = std::tuple<QString, QMap<QString, QString>, QByteArray>;
using EnvRow = std::tuple<QString, QString, QString, QString>;
// first block on screen (-1: none reported), heading read, editor's top line then, line the
// editor is left at, heading read after
using PlaceRow = std::tuple<int, QString, int, int, QString>;

class TestReaderLog : public QObject
{
    Q_OBJECT

private slots:
    // Switching between reading and editing keeps the place: the editor opens with the first
    // line of the first block on screen at its top (the current heading's line when the reader
    // has not told which block that is), and reading comes back at the last heading at or above the
    // editor's top line. A "#" line inside a code block is no heading.
    void editingKeepsThePlace_data()
    {
        QTest::addColumn<PlaceRow>("row");
        // clang-format off
        QTest::newRow("second section") << PlaceRow{-1, "第二节", 4, 4, "第二节"};
        QTest::newRow("left inside a code block") << PlaceRow{-1, "第二节", 4, 8, "第二节"};
        QTest::newRow("scrolled down to the third") << PlaceRow{-1, "第一节", 2, 11, "third"};
        QTest::newRow("scrolled back above every heading") << PlaceRow{-1, "third", 11, 0, ""};
        QTest::newRow("no heading read") << PlaceRow{-1, "", 0, 3, "第一节"};
        QTest::newRow("heading no longer there") << PlaceRow{-1, "gone", 0, 2, "第一节"};
        QTest::newRow("first block on screen: the code") << PlaceRow{4, "第二节", 7, 7, "第二节"};
        QTest::newRow("first block on screen: the last") << PlaceRow{6, "third", 12, 12, "third"};
        QTest::newRow("first block on screen: past the end") << PlaceRow{9, "third", 0, 0, ""};
        // clang-format on
    }
    void editingKeepsThePlace()
    {
        QFETCH(PlaceRow, row);
        const auto &[block, read, topLine, leftAt, readAfter] = row;
        ModelHarness h;
        h.model->openURLs({h.file("a.md", "Intro\n\n# 第一节\n\n## 第二节\ntext\n\n```\n# not a "
                                          "heading\n```\n\n### Third\nend\n")},
                          false);
        h.model->setCurrentHeadingID(read);
        h.model->rememberReadingBlock(h.model->selectedDocument(), block);
        h.model->toggleEditing();
        QVERIFY(h.model->isEditing());
        QCOMPARE(h.model->editorTopLine(), topLine);
        h.model->setEditorTopLine(leftAt);
        h.model->toggleEditing();
        QVERIFY(!h.model->isEditing());
        QCOMPARE(h.model->scrollTargetID().value_or(QString()), readAfter);
    }

    void openLink_data()
    {
        QTest::addColumn<Link>("row"); // link; event; "tab:<name>", "handler" or "alert"
        QTest::newRow("sibling file") << Link{"../other.md", "link.open.local", "tab:other.md"};
        QTest::newRow("text file") << Link{"notes.TXT", "link.open.local", "tab:notes.TXT"};
        QTest::newRow("PDF") << Link{"paper.pdf", "link.open.local", "handler"};
        QTest::newRow("missing file") << Link{"../missing.md", "link.open.local_missing", "alert"};
        QTest::newRow("web") << Link{"https://e.com/a?b=c%20d", "link.open.external", "handler"};
    }
    void openLink()
    {
        QFETCH(Link, row);
        const auto &[link, event, outcome] = row;
        ModelHarness h;
        QDir(h.dir.path()).mkdir("docs");
        for (const char *name : {"other.md", "docs/notes.TXT", "docs/paper.pdf"})
            h.file(name, "text");
        h.model->openURLs({h.file("docs/index.md", "index")}, false);
        TarnDocument *source = h.model->selectedDocument();
        const bool external = link.contains(':');
        const QUrl url = external ? QUrl(link) : source->baseURL().resolved(QUrl(link));
        const QString resolved = QDir::cleanPath(h.path("docs/" + link));

        h.model->openLink(url, source);
        const LogLine line = h.lastLine("link.");
        QCOMPARE(line.event, event);
        QCOMPARE(line.metadata.value("source"), QStringLiteral("index.md"));
        QCOMPARE(line.metadata.value(external ? "url" : "path"), external ? link : resolved);
        if (outcome.startsWith("tab:")) {
            QCOMPARE(h.model->selectedDocument()->fileName(), outcome.mid(4));
            QCOMPARE(h.model->tabs().size(), 2);
        } else if (outcome == "handler") {
            QCOMPARE(h.platform.openedWithDefaultHandler.size(), 1);
            QCOMPARE(h.model->tabs().size(), 1);
        } else {
            QCOMPARE(h.model->alert()->title, QStringLiteral("链接不可用"));
            QCOMPARE(h.model->alert()->message,
                     "这个本地文件不存在，或者 Tarn 暂时无法访问：\n" + resolved);
        }
    }

    // A link into another file's heading opens the file with the reader sent to that heading,
    // named by its id or by its text, written raw or percent-encoded.
    void linkToAHeading_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("heading"); // empty: no jump
        // clang-format off
        QTest::newRow("raw") << "long.md#目标锚点" << "目标锚点";
        QTest::newRow("percent-encoded") << "long.md#%E7%9B%AE%E6%A0%87%E9%94%9A%E7%82%B9" << "目标锚点";
        QTest::newRow("second of the same name") << "long.md#目标锚点-2" << "目标锚点-2";
        QTest::newRow("heading text") << "long.md#Target%20Anchor" << "target-anchor";
        QTest::newRow("no such heading") << "long.md#nowhere" << "";
        QTest::newRow("no fragment") << "long.md" << "";
        // clang-format on
    }
    void linkToAHeading()
    {
        QFETCH(QString, link);
        QFETCH(QString, heading);
        ModelHarness h;
        h.file("long.md", "# 开头\n\n## 目标锚点\n\n## Target Anchor\n\n## 目标锚点\n");
        h.model->openURLs({h.file("index.md", "index")}, false);
        TarnDocument *source = h.model->selectedDocument();
        h.model->openLink(source->baseURL().resolved(QUrl(link)), source);
        QCOMPARE(h.model->selectedDocument()->fileName(), QStringLiteral("long.md"));
        QCOMPARE(h.model->scrollTargetID().value_or(QString()), heading);
    }

    // Both exports render the unsaved draft, as the reader shows it, in the theme and flavour.
    void exportsRenderTheDraft()
    {
        ModelHarness h;
        h.model->setTheme(TarnTheme::dark);
        // Underlined: a heading only in the standard flavour.
        h.editDraft("guide.md.md", "# Saved\n", "Unsaved draft\n=====\n");
        const auto page = [](MarkdownFlavor flavor) {
            return QString::fromStdU16String(MarkdownRenderer::render(u"Unsaved draft\n=====\n",
                                                                      TarnTheme::dark, u"guide",
                                                                      flavor)
                                                 .html);
        };
        QVERIFY(page(MarkdownFlavor::classic) != page(MarkdownFlavor::gfm));
        h.model->exportSelectedDocumentAsHTML();
        const SavePanelOptions panel = h.platform.savePanels.first();
        QCOMPARE(panel.suggestedName, QStringLiteral("guide.html"));
        QCOMPARE(panel.defaultSuffix, QStringLiteral("html"));
        QCOMPARE(h.log().last().event, QStringLiteral("export.html.cancelled"));

        // The PDF exporter may finish on another thread; the model reacts only on its own.
        for (const bool ok : {true, false}) {
            h.platform.savePanelAnswers = {h.url("guide")};
            h.model->exportSelectedDocumentAsPDF();
            const auto request = h.pdf.requests.last();
            QCOMPARE(request.html, page(MarkdownFlavor::classic));
            QCOMPARE(request.outputURL, h.url("guide.pdf"));
            std::thread([&] { request.completion({ok, ok ? QString() : "磁盘已满"}); }).join();
            QCOMPARE(h.events().last(), QStringLiteral("export.pdf.start"));
            QCOMPARE(h.model->exporter().pendingPdfExports(), 1);
            QTRY_COMPARE(h.events().last(), ok ? "export.pdf.success" : "export.pdf.failure");
            QCOMPARE(h.model->exporter().pendingPdfExports(), 0);
            QCOMPARE(h.model->alert().value_or(AppAlert()).message, ok ? "" : "磁盘已满");
        }
        h.platform.savePanelAnswers = {h.url("no/such/a.html")};
        h.model->exportSelectedDocumentAsHTML();
        const LogLine failure = h.log().last();
        QCOMPARE(failure.event, QStringLiteral("export.html.failure"));
        QCOMPARE(h.model->alert()->title, QStringLiteral("导出失败"));
        QCOMPARE(h.model->alert()->message, failure.metadata.value("error"));

        h.model->setMarkdownFlavor(MarkdownFlavor::gfm);
        h.platform.savePanelAnswers = {h.url("out")}; // typed without an extension
        h.model->exportSelectedDocumentAsHTML();
        QCOMPARE(readFile(h.path("out.html")), page(MarkdownFlavor::gfm).toUtf8());
        QCOMPARE(h.events().mid(h.events().size() - 2),
                 (QStringList{"export.html.start", "export.html.success"}));

        // A model closed before the exporter finishes hears nothing.
        h.platform.savePanelAnswers = {h.url("guide")};
        h.model->exportSelectedDocumentAsPDF();
        h.model.reset();
        h.pdf.requests.last().completion({true, QString()});
        QCoreApplication::processEvents();
        QCOMPARE(h.events().last(), QStringLiteral("export.pdf.start"));
    }

    void formatLine_data()
    {
        QTest::addColumn<LineRow>("row"); // event, metadata, the line after the time
        // clang-format off
        QTest::newRow("no metadata") << LineRow{"app.launch", {}, "app.launch\n"};
        QTest::newRow("keys sorted, quote and LF escaped") << LineRow{"file.save.failure", {{"path", "/a/\"b\".md"}, {"file", "a.md"}, {"error", "no\nspace"}},
                                                                      "file.save.failure error=\"no\\nspace\" file=\"a.md\" path=\"/a/\\\"b\\\".md\"\n"};
        QTest::newRow("backslash n stays distinct from LF") << LineRow{"e", {{"v", "a\\nb"}}, "e v=\"a\\\\nb\"\n"};
        QTest::newRow("CR escaped") << LineRow{"e", {{"v", "a\r\n"}}, "e v=\"a\\r\\n\"\n"};
        QTest::newRow("keys in code-point order, not UTF-16 order") << LineRow{"e", {{"\U0001F600", "1"}, {"\uFF61", "2"}}, "e \xef\xbd\xa1=\"2\" \xf0\x9f\x98\x80=\"1\"\n"};
        // clang-format on
    }
    void formatLine()
    {
        QFETCH(LineRow, row);
        const auto &[event, metadata, expected] = row;
        // A local time is written in UTC.
        const QDateTime local = testTime.toTimeZone(QTimeZone(QByteArrayLiteral("Asia/Shanghai")));
        QCOMPARE(TarnUsageLogger::formatLine(local, event, metadata), testStamp + expected);
    }

    void rotation_data()
    {
        QTest::addColumn<qint64>("existingSize");
        QTest::addColumn<bool>("rotates");
        QTest::newRow("one byte below the limit") << TarnUsageLogger::maxLogSize - 1 << false;
        QTest::newRow("exactly at the limit") << TarnUsageLogger::maxLogSize << true;
        QTest::newRow("above the limit") << TarnUsageLogger::maxLogSize + 100 << true;
    }
    void rotation()
    {
        QFETCH(qint64, existingSize);
        QFETCH(bool, rotates);
        QTemporaryDir dir;
        TarnUsageLogger logger(dir.path(), testClock);
        const QByteArray existing(existingSize, 'x');
        const QByteArray older = "older generation\n";
        writeFile(logger.logFilePath(), existing);
        writeFile(logger.previousLogFilePath(), older);
        logger.log("after", {{"k", "v"}});
        logger.flush();
        const QByteArray line = testStamp + "after k=\"v\"\n";
        QCOMPARE(readFile(logger.previousLogFilePath()), rotates ? existing : older);
        QCOMPARE(readFile(logger.logFilePath()), rotates ? line : existing + line);
    }

    void manyThreadsLoseAndMixNothing()
    {
        QTemporaryDir dir;
        TarnUsageLogger logger(dir.path());
        // About 3 MB from six threads: one rotation, and both generations still hold every line.
        const QString pad = QString(60, u'p') + "\"\n";
        std::vector<std::thread> writers;
        for (int t = 0; t < 6; ++t) {
            writers.emplace_back([&logger, t, &pad] {
                for (int i = 0; i < 4000; ++i)
                    logger.log(
                        "stress",
                        {{"t", QString::number(t)}, {"i", QString::number(i)}, {"pad", pad}});
            });
        }
        for (std::thread &writer : writers)
            writer.join();
        logger.flush();
        const QByteArray previous = readFile(logger.previousLogFilePath());
        const qsizetype lastLine = previous.size() - previous.lastIndexOf('\n', -2) - 1;
        QVERIFY(previous.size() >= TarnUsageLogger::maxLogSize);
        QVERIFY(previous.size() - lastLine < TarnUsageLogger::maxLogSize);
        bool ok = false;
        const QList<LogLine> lines = parseUsageLog(previous + readFile(logger.logFilePath()), &ok);
        QVERIFY(ok);
        QCOMPARE(lines.size(), 6 * 4000);
        std::vector<int> next(6, 0);
        for (const LogLine &line : lines) {
            QCOMPARE(line.metadata.value("i").toInt(), next[line.metadata.value("t").toInt()]++);
            QCOMPARE(line.metadata.value("pad"), pad);
        }
    }

    void revealUsageLog()
    {
        // A log that does not exist yet is made, so the file manager has a file to show.
        QTemporaryDir dir;
        TarnUsageLogger logger(dir.filePath("Logs/Tarn"), testClock);
        ScriptedPlatform platform;
        logger.revealInFinder(platform);
        QCOMPARE(readFile(logger.logFilePath()), testStamp + "usage_log.created\n");
        QCOMPARE(platform.revealedPaths, QStringList{logger.logFilePath()});
        // The menu's command logs first, and revealing waits for the lines still queued.
        ModelHarness h;
        for (int i = 0; i < 500; ++i)
            h.logger->log("queued");
        h.model->revealUsageLog();
        const QList<LogLine> lines = readUsageLog(h.logger->logFilePath());
        QCOMPARE(lines.size(), 501);
        QCOMPARE(lines.last().event, QStringLiteral("usage_log.reveal"));
        QCOMPARE(h.platform.revealedPaths, QStringList{h.logger->logFilePath()});
    }

    void defaultFolder_data()
    {
        QTest::addColumn<EnvRow>("row"); // TARN_LOG_DIR, XDG_STATE_HOME, HOME; the folder
        QTest::newRow("override wins") << EnvRow{"/o", "/s", "/h", "/o"};
        QTest::newRow("XDG state home") << EnvRow{"", "/s", "/h", "/s/Logs/Tarn"};
        QTest::newRow("relative XDG") << EnvRow{"", "rel", "/h", "/h/.local/state/Logs/Tarn"};
        QTest::newRow("no home") << EnvRow{"", "", "", QDir::tempPath() + "/TarnLogs"};
    }
    void defaultFolder()
    {
        QFETCH(EnvRow, row);
        const QByteArray names[] = {"TARN_LOG_DIR", "XDG_STATE_HOME", "HOME"};
        const QString values[] = {std::get<0>(row), std::get<1>(row), std::get<2>(row)};
        QByteArray saved[3];
        for (int i = 0; i < 3; ++i) {
            saved[i] = qgetenv(names[i]);
            qputenv(names[i], values[i].toUtf8());
        }
        const QString folder = TarnUsageLogger::defaultFolder();
        for (int i = 0; i < 3; ++i)
            qputenv(names[i], saved[i]);
        QCOMPARE(folder, std::get<3>(row));
    }
};

MODEL_TEST_RUNNER(TestReaderLog)

#include "tst_reader_log.moc"
