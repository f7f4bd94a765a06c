// Page loading and the tarn channel in a real web engine: big pages, base folders, message order.
#include "ReaderScripts.h"
#include "ReaderTestSupport.h"

#include <QDir>
#include <QFile>
#include <QImage>
#include <QSignalSpy>
#include <QTemporaryDir>

class ReaderLoaderTest : public QObject
{
    Q_OBJECT

private slots:
    void stringLiteralReadsBack_data()
    {
        // clang-format off
        QTest::addColumn<QString>("text");
        QTest::newRow("quotes and backslashes") << QStringLiteral("\"'\\ \\u0041 ${x} `t`");
        QTest::newRow("controls") << QString::fromUtf16(u"\0\x01\b\f\n\r\t\x1f", 8);
        QTest::newRow("line separators") << QString::fromUtf16(u"a\u2028b\u2029c");
        QTest::newRow("script end tag") << QStringLiteral("</script><!-- -->");
        QTest::newRow("astral and CJK") << QStringLiteral("😀 中文");
        QTest::newRow("lone surrogates") << QString::fromUtf16(u"\xd800x\xdc00", 3);
        // clang-format on
    }

    void stringLiteralReadsBack()
    {
        QFETCH(QString, text);
        ReaderTestView view;
        QVERIFY(view.loadPage(QStringLiteral("<!doctype html><p>x</p>")));
        // Compared as code units so that lone surrogates cannot be replaced on the way back.
        const QVariantList units =
            view.eval(QStringLiteral("(() => { const s = %1; const units = [];"
                                     "  for (let i = 0; i < s.length; i += 1)"
                                     "    units.push(s.charCodeAt(i));"
                                     "  return units; })()")
                          .arg(ReaderScripts::stringLiteral(text)))
                .toList();
        QString readBack;
        for (const QVariant &unit : units)
            readBack += QChar(char16_t(unit.toInt()));
        QCOMPARE(readBack.size(), text.size());
        QCOMPARE(readBack, text);
    }

    void messagesPostedBeforeTheChannelConnects()
    {
        ReaderTestView view;
        // Posted while the page is still being parsed, long before the channel's handshake ends;
        // what is not an object, or cannot be copied, is dropped.
        view.page()->setHtml(QStringLiteral(
            "<!doctype html><script>"
            "const tarn = window.webkit.messageHandlers.tarn;"
            "const message = { type: 'scroll', y: 812.5 };"
            "tarn.postMessage(message);"
            "message.y = 1;"
            "tarn.postMessage('text'); tarn.postMessage([1]); tarn.postMessage(undefined);"
            "const cycle = {}; cycle.self = cycle; tarn.postMessage(cycle);"
            "tarn.postMessage({ type: 'scroll', y: 812 });"
            "for (let i = 0; i < 200; i += 1) tarn.postMessage({ type: 'n', i });"
            "setTimeout(() => tarn.postMessage({ type: 'last', nested: { ok: true } }), 0);"
            "</script>"));
        QTRY_COMPARE(view.messages.size(), 203);
        QCOMPARE(view.messages[0].value("y").toDouble(), 812.5);
        QCOMPARE(view.messages[1].value("y").toDouble(), 812.0);
        for (int i = 0; i < 200; ++i)
            QCOMPARE(view.messages[2 + i].value("i").toInt(), i);
        QCOMPARE(view.messages[202].value("nested").toMap().value("ok"), QVariant(true));
        QCOMPARE(view.eval(QStringLiteral("typeof QWebChannel + typeof pending")).toString(),
                 QStringLiteral("undefinedundefined"));
    }

    // A big page finds its images next to the document; a script that got into it may not read
    // the document's neighbours or open windows.
    void bigPageWithRelativeImages()
    {
        QTemporaryDir folder;
        QFile secret(folder.filePath("secret.txt"));
        QVERIFY(secret.open(QIODevice::WriteOnly) && secret.write("secret") == 6);
        secret.close();
        QVERIFY(QDir(folder.path()).mkdir(QStringLiteral("img")));
        QImage image(4, 3, QImage::Format_RGB32);
        image.fill(Qt::red);
        QVERIFY(image.save(folder.filePath(QStringLiteral("img/dot.png"))));

        // The diagram library alone is about 2.5 MB; the text brings the page to about 3.5 MB.
        const QString markdown =
            QStringLiteral("# Big\n\n```mermaid\ngraph TD\n  A --> B\n```\n\n") +
            QStringLiteral("Some text that fills the page, 中文 too.\n\n").repeated(22000) +
            QStringLiteral("Odd text: \"q\" \\ </script> \u2028 😀\n\n"
                           "![dot](img/dot.png)\n\n[notes](notes.md)\n");
        const QString page = ReaderTestPages::render(markdown);
        QVERIFY2(page.toUtf8().size() > 3'500'000, QByteArray::number(page.toUtf8().size()));

        ReaderTestView view;
        QVERIFY(view.loadPage(page, QUrl::fromLocalFile(folder.path())));
        const QString folderURL = QUrl::fromLocalFile(folder.path()).toString();
        QCOMPARE(view.eval(QStringLiteral("document.baseURI")).toString(), folderURL + u'/');
        QCOMPARE(view.eval(QStringLiteral("document.querySelector('main a').href")).toString(),
                 folderURL + QStringLiteral("/notes.md"));
        QTRY_COMPARE(
            view.eval(QStringLiteral("document.querySelector('main img').naturalWidth")).toInt(),
            4);
        QCOMPARE(view.eval(QStringLiteral("document.querySelectorAll('.is-rendered svg').length"))
                     .toInt(),
                 1);
        QCOMPARE(view.eval(QStringLiteral("document.querySelectorAll('main > p').length")).toInt(),
                 22003);
        QCOMPARE(
            view.eval(QStringLiteral("document.querySelectorAll('main > p')[22000].textContent"))
                .toString(),
            QStringLiteral("Odd text: \"q\" \\ </script> \u2028 😀"));

        view.eval("window.__reads = [];"
                  "fetch('secret.txt').then((r) => r.text()).then((t) => __reads.push('fetch:' + "
                  "t), () => __reads.push('fetch refused'));"
                  "const x = new XMLHttpRequest(); x.open('GET', 'secret.txt');"
                  "x.onload = () => __reads.push('xhr:' + x.responseText); x.onerror = () => "
                  "__reads.push('xhr refused'); x.send();"
                  "const f = document.createElement('iframe'); f.src = 'secret.txt'; "
                  "document.body.append(f);"
                  "__reads.push(window.open('secret.txt') ? 'window opened' : 'no window'); true;");
        QTRY_COMPARE(view.eval("__reads.slice().sort().join(',')").toString(),
                     QStringLiteral("fetch refused,no window,xhr refused"));
        QVERIFY(!view.eval("String(document.querySelector('iframe').contentDocument?.body?."
                           "textContent || '')")
                     .toString()
                     .contains("secret"));
    }

    void onlyTheLastLoadReports()
    {
        ReaderTestView view;
        QSignalSpy loaded(&view.loader, &ReaderPageLoader::pageLoaded);
        QSignalSpy failed(&view.loader, &ReaderPageLoader::pageLoadFailed);
        view.loader.load(ReaderTestPages::render(QStringLiteral("# First")), {});
        view.loader.load(ReaderTestPages::render(QStringLiteral("# Second")), {});
        QTRY_COMPARE(loaded.size(), 1);
        QCOMPARE(view.eval(QStringLiteral("document.querySelector('h1').textContent")).toString(),
                 QStringLiteral("Second"));

        QCOMPARE(failed.size(), 0);
    }
};

TARN_WEB_TEST_MAIN(ReaderLoaderTest)
#include "tst_reader_loader.moc"
