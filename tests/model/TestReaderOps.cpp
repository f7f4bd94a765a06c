// Operations the reader and the menus call: links, the search state, HTML and PDF export.
#include "ModelTestSupport.h"

#include "MarkdownRenderer.h"

#include <QDir>
#include <QSignalSpy>
#include <QTest>

class TestReaderOps : public QObject
{
    Q_OBJECT

private slots:
    void searchResultsClamp_data()
    {
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("total");
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("index");
        QTest::newRow("no current yet") << 0 << 5 << 5 << 1;
        QTest::newRow("past the end") << 9 << 5 << 5 << 5;
        QTest::newRow("negative total") << 3 << -2 << 0 << 0;
    }
    void searchResultsClamp()
    {
        QFETCH(int, current);
        QFETCH(int, total);
        QFETCH(int, count);
        QFETCH(int, index);
        ModelHarness h;
        h.model->updateSearchResults(current, total);
        QCOMPARE(h.model->searchResultCount(), count);
        QCOMPARE(h.model->currentSearchResultIndex(), index);
        // The same report again wakes nobody.
        QSignalSpy countSpy(h.model.get(), &AppModel::searchResultCountChanged);
        QSignalSpy indexSpy(h.model.get(), &AppModel::currentSearchResultIndexChanged);
        h.model->updateSearchResults(current, total);
        QCOMPARE(countSpy.count() + indexSpy.count(), 0);
    }

    void navigateSearch_data()
    {
        QTest::addColumn<bool>("withDocument");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("hits");
        QTest::addColumn<bool>("issued");
        QTest::newRow("issues a request") << true << "tarn" << 3 << true;
        QTest::newRow("blank query") << true << " \n\t" << 3 << false;
        QTest::newRow("no hits") << true << "tarn" << 0 << false;
        QTest::newRow("no document") << false << "tarn" << 3 << false;
    }
    void navigateSearch()
    {
        QFETCH(bool, withDocument);
        QFETCH(QString, query);
        QFETCH(int, hits);
        QFETCH(bool, issued);
        ModelHarness h;
        if (withDocument)
            h.model->openURLs({h.file("a.md", "tarn")}, false);
        h.model->setSearchQuery(query);
        h.model->updateSearchResults(1, hits);
        h.model->navigateSearch(SearchNavigationDirection::next);
        QCOMPARE(h.model->searchNavigationRequest().has_value(), issued);
        if (!issued)
            return;
        const SearchNavigationRequest first = *h.model->searchNavigationRequest();
        h.model->navigateSearch(SearchNavigationDirection::next);
        QVERIFY(*h.model->searchNavigationRequest() != first); // same direction, new request
        QCOMPARE(h.model->searchNavigationRequest()->direction, SearchNavigationDirection::next);
    }

    void searchQueryResetsOnlyWhenChanged()
    {
        ModelHarness h;
        h.model->setSearchQuery("tarn");
        h.model->updateSearchResults(2, 4);
        h.model->setSearchQuery("tarn");
        QCOMPARE(h.model->searchResultCount(), 4);
        h.model->setSearchQuery("tar");
        QCOMPARE(h.model->searchResultCount(), 0);
        h.model->updateSearchResults(1, 1);
        h.model->clearSearch();
        QCOMPARE(h.model->searchQuery(), QString());
        QCOMPARE(h.model->searchResultCount(), 0);
    }

    void openLink_data()
    {
        QTest::addColumn<QString>("link"); // relative to the document's folder, or absolute URL
        QTest::addColumn<QString>("event");
        QTest::addColumn<QString>("outcome"); // "tab:<name>", "handler", "alert"
        // clang-format off
        QTest::newRow("sibling Markdown file") << "../other.md" << "link.open.local" << "tab:other.md";
        QTest::newRow("text file") << "notes.TXT" << "link.open.local" << "tab:notes.TXT";
        QTest::newRow("folder") << "assets" << "link.open.local" << "handler";
        QTest::newRow("PDF") << "paper.pdf" << "link.open.local" << "handler";
        QTest::newRow("missing Markdown file") << "../missing.md" << "link.open.local_missing" << "alert";
        QTest::newRow("web page") << "https://example.com/a?b=c%20d" << "link.open.external" << "handler";
        QTest::newRow("mail") << "mailto:someone@example.com" << "link.open.external" << "handler";
        // clang-format on
    }
    void openLink()
    {
        QFETCH(QString, link);
        QFETCH(QString, event);
        QFETCH(QString, outcome);
        ModelHarness h;
        QDir(h.dir.path()).mkpath("docs/assets");
        h.file("other.md", "other");
        h.file("docs/notes.TXT", "notes");
        h.file("docs/paper.pdf", "%PDF-1.4");
        h.model->openURLs({h.file("docs/index.md", "index")}, false);
        TarnDocument *source = h.model->selectedDocument();
        const bool external = link.contains(':');
        const QUrl url = external ? QUrl(link) : source->baseURL().resolved(QUrl(link));
        const QString resolved = QDir::cleanPath(h.path("docs/" + link));

        h.model->openLink(url, source);
        const LogLine line = h.lastLine("link.");
        QCOMPARE(line.event, event);
        QCOMPARE(line.metadata.value("source"), QStringLiteral("index.md"));
        if (external)
            QCOMPARE(line.metadata.value("url"), link);
        else
            QCOMPARE(line.metadata.value("path"), resolved);

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

    void exportHtmlWritesTheRenderedDraft()
    {
        ModelHarness h;
        h.model->setTheme(TarnTheme::dark);
        h.model->openURLs({h.file("guide.md.md", "# Saved\n")}, false);
        TarnDocument *document = h.model->selectedDocument();
        h.model->toggleEditing();
        document->updateDraft("# Unsaved draft\n");
        h.platform.savePanelAnswers = {h.url("out")}; // typed without an extension

        h.model->exportSelectedDocumentAsHTML();
        const SavePanelOptions panel = h.platform.savePanels.first();
        QCOMPARE(panel.title, QStringLiteral("导出 HTML"));
        QCOMPARE(panel.suggestedName, QStringLiteral("guide.html"));
        QCOMPARE(panel.defaultSuffix, QStringLiteral("html"));
        const std::u16string expected =
            MarkdownRenderer::render(u"# Unsaved draft\n", TarnTheme::dark, u"guide").html;
        QCOMPARE(readFile(h.path("out.html")), QString::fromStdU16String(expected).toUtf8());
        QVERIFY(document->isDirty());
        const QStringList events = h.events();
        QCOMPARE(events.mid(events.size() - 2),
                 (QStringList{"export.html.start", "export.html.success"}));
    }

    void exportHtmlFailureAndCancel_data()
    {
        QTest::addColumn<bool>("cancel");
        QTest::addColumn<QString>("event");
        QTest::newRow("cancelled") << true << "export.html.cancelled";
        QTest::newRow("target folder missing") << false << "export.html.failure";
    }
    void exportHtmlFailureAndCancel()
    {
        QFETCH(bool, cancel);
        QFETCH(QString, event);
        ModelHarness h;
        h.model->openURLs({h.file("a.md", "# A\n")}, false);
        if (!cancel)
            h.platform.savePanelAnswers = {h.url("no/such/folder/a.html")};
        h.model->exportSelectedDocumentAsHTML();
        const LogLine line = h.log().last();
        QCOMPARE(line.event, event);
        QCOMPARE(line.metadata.value("file"), QStringLiteral("a.md"));
        QCOMPARE(bool(h.model->alert()), !cancel);
        if (!cancel) {
            QCOMPARE(h.model->alert()->title, QStringLiteral("导出失败"));
            QCOMPARE(h.model->alert()->message, line.metadata.value("error"));
            QCOMPARE(line.metadata.value("output"), h.path("no/such/folder/a.html"));
        }
    }

    void exportPdfReportsOnTheMainThread_data()
    {
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("event");
        QTest::newRow("success") << true << "export.pdf.success";
        QTest::newRow("failure") << false << "export.pdf.failure";
    }
    void exportPdfReportsOnTheMainThread()
    {
        QFETCH(bool, ok);
        QFETCH(QString, event);
        ModelHarness h;
        h.model->openURLs({h.file("a.md", "# A\n")}, false);
        h.model->toggleEditing();
        h.model->selectedDocument()->updateDraft("# Unsaved draft\n");
        h.platform.savePanelAnswers = {h.url("a")};
        h.model->exportSelectedDocumentAsPDF();
        QCOMPARE(h.platform.savePanels.first().suggestedName, QStringLiteral("a.pdf"));
        QCOMPARE(h.pdf.requests.size(), 1);
        const auto request = h.pdf.requests.first();
        QCOMPARE(request.baseURL, QUrl::fromLocalFile(h.dir.path() + "/"));
        QCOMPARE(request.outputURL, h.url("a.pdf"));
        // The page of the unsaved draft, as HTML export writes it.
        QCOMPARE(request.html,
                 QString::fromStdU16String(
                     MarkdownRenderer::render(u"# Unsaved draft\n", TarnTheme::businessBlue, u"a")
                         .html));

        // Completed from another thread; the model must only react on its own.
        std::thread([&] { request.completion({ok, ok ? QString() : "磁盘已满"}); }).join();
        QVERIFY(h.events().last() == "export.pdf.start");
        QTRY_COMPARE(h.events().last(), event);
        QCOMPARE(bool(h.model->alert()), !ok);
        if (!ok)
            QCOMPARE(h.model->alert()->message, QStringLiteral("磁盘已满"));
    }

    void pdfCompletionAfterTheModelIsGone()
    {
        ModelHarness h;
        h.model->openURLs({h.file("a.md", "# A\n")}, false);
        h.platform.savePanelAnswers = {h.url("a.pdf")};
        h.model->exportSelectedDocumentAsPDF();
        h.model.reset();
        h.pdf.requests.first().completion({true, QString()});
        QCoreApplication::processEvents();
        QCOMPARE(h.events().last(), QStringLiteral("export.pdf.start"));
    }

    void revealUsageLogLogsFirst()
    {
        ModelHarness h;
        h.model->revealUsageLog();
        QCOMPARE(h.events(), QStringList{"usage_log.reveal"});
        QCOMPARE(h.platform.revealedPaths, QStringList{h.logger->logFilePath()});
    }
};

int runTestReaderOps(int argc, char **argv)
{
    TestReaderOps test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestReaderOps.moc"
