// The reader script in a real page: search, reports to the host, links, diagrams, readiness.
#include "ReaderTestSupport.h"

#include "ReaderScripts.h"

#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

class ReaderScriptTest : public QObject
{
    Q_OBJECT

private:
    QVariantMap lastSearch() const
    {
        const auto reports = m_view->messagesOfType(QStringLiteral("search"));
        return reports.isEmpty() ? QVariantMap() : reports.last();
    }
    QStringList markTexts()
    {
        return m_view
            ->eval(QStringLiteral("Array.from(document.querySelectorAll('mark.tarn-search-hit'))"
                                  ".map((mark) => mark.textContent)"))
            .toStringList();
    }

    std::unique_ptr<ReaderTestView> m_view;

private slots:
    void init() { m_view = std::make_unique<ReaderTestView>(); }
    void cleanup() { m_view.reset(); }

    void searchCountsVisibleTextOnly_data()
    {
        // clang-format off
        QTest::addColumn<QString>("markdown");
        QTest::addColumn<QString>("query");
        QTest::addColumn<QStringList>("marks");

        QTest::newRow("case kept") << "aAa" << "A" << QStringList{"a", "A", "a"};
        QTest::newRow("not across bold") << "**ab**c ab" << "abc" << QStringList{};
        QTest::newRow("inline code skipped") << "foo `foo` foo" << "foo" << QStringList{"foo", "foo"};
        QTest::newRow("code block skipped") << "foo\n\n```\nfoo\n```" << "foo" << QStringList{"foo"};
        QTest::newRow("drawn diagram skipped") << "Alpha\n\n```mermaid\ngraph TD\n  Alpha --> Beta\n```" << "alpha" << QStringList{"Alpha"};
        QTest::newRow("letters that grow when lower-cased") << "İSTANBUL istanbul" << "stanbul" << QStringList{"STANBUL", "stanbul"};
        QTest::newRow("spaces clear") << "a b" << "   " << QStringList{};
        // clang-format on
    }

    void searchCountsVisibleTextOnly()
    {
        QFETCH(QString, markdown);
        QFETCH(QString, query);
        QFETCH(QStringList, marks);
        QVERIFY(m_view->loadPage(ReaderTestPages::render(markdown)));
        const QString body = QStringLiteral("document.body.innerHTML");
        const QString before = m_view->eval(body).toString();

        m_view->eval(QStringLiteral("window.tarnApplySearch(%1, {})")
                         .arg(ReaderScripts::stringLiteral(query)));
        QTRY_COMPARE(m_view->messagesOfType(QStringLiteral("search")).size(), 1);
        QCOMPARE(lastSearch().value(QStringLiteral("total")).toInt(), marks.size());
        QCOMPARE(lastSearch().value(QStringLiteral("current")).toInt(), marks.isEmpty() ? 0 : 1);
        QCOMPARE(markTexts(), marks);

        // Clearing takes the marks out and joins the text back as it was.
        m_view->eval(QStringLiteral("window.tarnApplySearch(null)"));
        QTRY_COMPARE(m_view->messagesOfType(QStringLiteral("search")).size(), 2);
        QCOMPARE(lastSearch().value(QStringLiteral("total")).toInt(), 0);
        QCOMPARE(m_view->eval(body).toString(), before);
        const QString splitText = QStringLiteral(
            "Array.from(document.querySelectorAll('main *')).some((element) =>"
            "  Array.from(element.childNodes).some((node) => node.nodeType === Node.TEXT_NODE &&"
            "    node.nextSibling && node.nextSibling.nodeType === Node.TEXT_NODE))");
        QCOMPARE(m_view->eval(splitText), QVariant(false));
    }

    void searchMovesWrapAround_data()
    {
        // clang-format off
        QTest::addColumn<QString>("markdown");
        QTest::addColumn<QStringList>("moves");
        QTest::addColumn<int>("current");
        QTest::addColumn<int>("total");

        const QString three = QStringLiteral("x\n\nx\n\nx");
        QTest::newRow("past the last") << three << QStringList{"next", "next", "next"} << 1 << 3;
        QTest::newRow("back from the first") << three << QStringList{"previous"} << 3 << 3;
        QTest::newRow("no hits") << QStringLiteral("y") << QStringList{"next", "previous"} << 0 << 0;
        // clang-format on
    }

    void searchMovesWrapAround()
    {
        QFETCH(QString, markdown);
        QFETCH(QStringList, moves);
        QFETCH(int, current);
        QFETCH(int, total);
        QVERIFY(m_view->loadPage(ReaderTestPages::render(markdown)));

        m_view->eval(QStringLiteral("window.tarnApplySearch('x', { scrollToFirst: true })"));
        for (const QString &move : moves)
            m_view->eval(QStringLiteral("window.tarnMoveSearch('%1')").arg(move));
        QTRY_COMPARE(m_view->messagesOfType(QStringLiteral("search")).size(), moves.size() + 1);
        QCOMPARE(lastSearch().value(QStringLiteral("current")).toInt(), current);
        QCOMPARE(lastSearch().value(QStringLiteral("total")).toInt(), total);
        const QVariant currentMarks = m_view->eval(
            QStringLiteral("document.querySelectorAll('mark.tarn-search-current').length"));
        QCOMPARE(currentMarks.toInt(), current > 0 ? 1 : 0);
    }

    void headingInReadingBandIsReported()
    {
        const QString filler = QStringLiteral("Filler paragraph.\n\n").repeated(40);
        QVERIFY(m_view->loadPage(ReaderTestPages::render(QStringLiteral("# One\n\n") + filler +
                                                         QStringLiteral("## Two\n\n") + filler +
                                                         QStringLiteral("## Three\n\n") + filler)));
        m_view->messages.clear();

        // Puts the heading at 20% of the view's height, inside the reading band.
        const QStringList visits{"two", "three", "two"};
        for (const QString &id : visits) {
            m_view->eval(QStringLiteral("window.scrollTo(0, document.getElementById('%1')"
                                        ".getBoundingClientRect().top + window.scrollY"
                                        " - window.innerHeight * 0.2)")
                             .arg(id));
            QTRY_VERIFY(!m_view->messagesOfType(QStringLiteral("heading")).isEmpty() &&
                        m_view->messagesOfType(QStringLiteral("heading")).last().value("id") == id);
        }
        QStringList reported;
        for (const QVariantMap &message : m_view->messagesOfType(QStringLiteral("heading")))
            reported << message.value(QStringLiteral("id")).toString();
        QCOMPARE(reported, visits);
    }

    void scrollIsReportedOnceAtRest()
    {
        QVERIFY(m_view->loadPage(
            ReaderTestPages::render(QStringLiteral("Paragraph.\n\n").repeated(300))));
        m_view->messages.clear();

        // Two seconds of scrolling, a step every 100 ms: never 500 ms of quiet.
        int steps = 0;
        QTimer ticker;
        connect(&ticker, &QTimer::timeout, this, [&] {
            m_view->page()->runJavaScript(QStringLiteral("window.scrollBy(0, 40)"));
            if (++steps == 20)
                ticker.stop();
        });
        ticker.start(100);
        QTRY_COMPARE(steps, 20);
        QCOMPARE(m_view->messagesOfType(QStringLiteral("scroll")).size(), 0);

        QTRY_COMPARE(m_view->messagesOfType(QStringLiteral("scroll")).size(), 1);
        const double y = m_view->eval(QStringLiteral("window.scrollY")).toDouble();
        QCOMPARE(y, 800.0);
        QCOMPARE(m_view->messagesOfType(QStringLiteral("scroll")).first().value("y").toDouble(), y);
    }

    void linkClicks_data()
    {
        // clang-format off
        QTest::addColumn<QString>("href");
        QTest::addColumn<bool>("svg");         // a link drawn in a diagram, with xlink:href
        QTest::addColumn<QString>("reported"); // relative to the page's folder; empty: not reported
        // Every click but an in-page jump stays in the page; only four schemes reach the host.
        QTest::newRow("in-page anchor") << "#section" << false << "";
        QTest::newRow("relative with space") << "sub/my notes.md" << false << "sub/my%20notes.md";
        QTest::newRow("https") << "https://example.com/a?b=1" << false << "https://example.com/a?b=1";
        QTest::newRow("mailto") << "mailto:someone@example.com" << false << "mailto:someone@example.com";
        QTest::newRow("file") << "file:///etc/hosts" << false << "file:///etc/hosts";
        QTest::newRow("javascript") << "javascript:void(0)" << false << "";
        QTest::newRow("javascript split by a tab") << "java\tscript:void(0)" << false << "";
        QTest::newRow("custom scheme") << "tarn-test:abc" << false << "";
        QTest::newRow("empty") << "" << false << "";
        QTest::newRow("diagram link") << "https://example.com/d" << true << "https://example.com/d";
        QTest::newRow("diagram script link") << "javascript:void(1)" << true << "";
        // clang-format on
    }

    void linkClicks()
    {
        QFETCH(QString, href);
        QFETCH(bool, svg);
        QFETCH(QString, reported);
        QTemporaryDir folder;
        const QUrl base = QUrl::fromLocalFile(folder.path());
        QVERIFY(m_view->loadPage(ReaderTestPages::render(QStringLiteral("# Section")), base));
        m_view->messages.clear();

        // A listener after the page's own records whether the click was cancelled, then cancels
        // it anyway so the view stays on the page.
        const QVariant cancelled = m_view->eval(
            QStringLiteral(
                "(() => {"
                "  let cancelled = null;"
                "  window.addEventListener('click', (e) => {"
                "    cancelled = e.defaultPrevented; e.preventDefault(); });"
                "  const svg = %2;"
                "  const ns = svg ? 'http://www.w3.org/2000/svg' : 'http://www.w3.org/1999/xhtml';"
                "  const a = document.createElementNS(ns, 'a');"
                "  if (svg) a.setAttributeNS('http://www.w3.org/1999/xlink', 'xlink:href', %1);"
                "  else a.setAttribute('href', %1);"
                "  const inner = document.createElementNS(ns, svg ? 'text' : 'span');"
                "  inner.textContent = 'link'; a.append(inner);"
                "  const holder = svg ? document.createElementNS(ns, 'svg') : a;"
                "  if (svg) holder.append(a);"
                "  document.querySelector('main').append(holder);"
                "  inner.dispatchEvent(new MouseEvent('click',"
                "    { bubbles: true, cancelable: true }));"
                "  return cancelled; })()")
                .arg(ReaderScripts::stringLiteral(href), svg ? "true" : "false"));
        QCOMPARE(cancelled.toBool(), !href.startsWith('#'));

        if (reported.isEmpty()) {
            // Posted messages arrive in order: once the marker is in, no link report came before
            // it.
            m_view->eval(QStringLiteral(
                "window.webkit.messageHandlers.tarn.postMessage({type: 'marker'}); true;"));
            QTRY_COMPARE(m_view->messagesOfType(QStringLiteral("marker")).size(), 1);
            QVERIFY(m_view->messagesOfType(QStringLiteral("openLink")).isEmpty());
            return;
        }
        const QString expected =
            reported.contains(u':')
                ? reported
                : QUrl::fromLocalFile(folder.path()).toString() + u'/' + reported;
        QTRY_COMPARE(m_view->messagesOfType(QStringLiteral("openLink")).size(), 1);
        QCOMPARE(
            m_view->messagesOfType(QStringLiteral("openLink")).first().value("href").toString(),
            expected);
    }

    // Each diagram is drawn in place of its source, under an id safe for the page, or shows why
    // it is not.
    void diagrams_data()
    {
        QTest::addColumn<bool>("withLibrary");
        QTest::addColumn<QStringList>("shown"); // per diagram: the drawing's id, or the label
        // clang-format off
        QTest::newRow("drawn, one broken") << true << QStringList{"tarn-mermaid-0", "a-b-c", "流程图渲染失败"};
        QTest::newRow("missing library") << false << QStringList{"流程图库加载失败", "流程图库加载失败", "流程图库加载失败"};
        // clang-format on
    }

    void diagrams()
    {
        QFETCH(bool, withLibrary);
        QString page = ReaderTestPages::render("```mermaid\ngraph TD\n  A --> B\n```\n\n```mmd\n"
                                               "sequenceDiagram\n  A->>B: hi\n```\n\n```mermaid\n"
                                               "graph TD\n  A -->\n```");
        page.replace("data-mermaid-id=\"tarn-mermaid-1\"", "data-mermaid-id=\"a b/c\"");
        if (!withLibrary)
            page = ReaderTestPages::withoutDiagramLibrary(page);
        QVERIFY(m_view->loadPage(page));

        const QVariant shown = m_view->eval(
            "Array.from(document.querySelectorAll('.mermaid-diagram')).map((d) => {"
            "  const source = getComputedStyle(d.querySelector('.mermaid-source')).display;"
            "  const svg = d.querySelector('.mermaid-output > svg');"
            "  if (d.classList.contains('is-rendered'))"
            "    return svg && source === 'none' ? svg.id : 'source still shown';"
            "  const error = d.querySelector('.mermaid-output > .mermaid-error');"
            "  const visible = getComputedStyle(d.querySelector('.mermaid-output')).display"
            "    === 'block' && source !== 'none';"
            "  return error && d.classList.contains('has-error') && visible ? error.textContent"
            "    : 'not shown';"
            "})");
        QTEST(shown.toStringList(), "shown");
        // A failed drawing leaves nothing behind at the end of the page.
        QCOMPARE(m_view->eval("document.querySelectorAll('body > div svg').length").toInt(), 0);
    }
};

TARN_WEB_TEST_MAIN(ReaderScriptTest)
#include "tst_reader_script.moc"
