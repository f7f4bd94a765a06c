// The standard flavour's page: its policy allows exactly the scripts on the page, by hash.
#include "MarkdownRenderer.h"
#include "TestSupport.h"
#include "gfm/Digest.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QTest>

namespace {

QByteArray bytes(std::string_view text)
{
    return QByteArray(text.data(), qsizetype(text.size()));
}

// The policy's script sources and the hashes of the page's script elements, as the engine
// computes them over each element's text.
QStringList policyScripts(const QString &page)
{
    static const QRegularExpression policy(QStringLiteral("script-src([^;]*);"));
    return policy.match(page).captured(1).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

QStringList scriptHashes(const QString &page)
{
    static const QRegularExpression script(QStringLiteral("<script>(.*?)</script>"),
                                           QRegularExpression::DotMatchesEverythingOption);
    QStringList hashes;
    for (const auto &match : script.globalMatch(page)) {
        const QByteArray digest =
            QCryptographicHash::hash(match.captured(1).toUtf8(), QCryptographicHash::Sha256);
        hashes << QStringLiteral("'sha256-%1'").arg(QString::fromLatin1(digest.toBase64()));
    }
    return hashes;
}

} // namespace

void RenderTest::digests()
{
    // Every length around the padding's block boundaries, and one of many blocks.
    QByteArray text;
    for (int length = 0; length <= 200; ++length) {
        const auto digest = TarnGfm::sha256(std::string_view(text.constData(), text.size()));
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest.data()), 32),
                 QCryptographicHash::hash(text, QCryptographicHash::Sha256));
        QCOMPARE(bytes(TarnGfm::base64(std::string_view(text.constData(), text.size()))),
                 text.toBase64());
        text.append(char(length * 37 + 11));
    }
    const QByteArray large(1 << 20, '\xe9');
    const auto digest = TarnGfm::sha256(std::string_view(large.constData(), large.size()));
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(digest.data()), 32),
             QCryptographicHash::hash(large, QCryptographicHash::Sha256));
}

void RenderTest::standardPagePolicy_data()
{
    QTest::addColumn<bool>("mermaid");
    QTest::addColumn<bool>("math");
    QTest::addColumn<bool>("highlight");
    QTest::addColumn<int>("scripts");
    QTest::newRow("plain") << false << false << false << 3;
    QTest::newRow("math") << false << true << false << 4;
    QTest::newRow("code") << false << false << true << 4;
    QTest::newRow("everything") << true << true << true << 6;
}

void RenderTest::standardPagePolicy()
{
    QFETCH(bool, mermaid);
    QFETCH(bool, math);
    QFETCH(bool, highlight);
    QFETCH(int, scripts);
    MarkdownRenderer::Fragment fragment;
    fragment.html = u"<p>x</p>";
    fragment.hasMermaid = mermaid;
    fragment.hasMath = math;
    fragment.hasHighlight = highlight;
    const QString page = qs(MarkdownRenderer::standardPage(fragment));
    QVERIFY(page.startsWith(
        QStringLiteral("<!doctype html>\n<html>\n<head>\n<meta http-equiv=\"Content-Security-"
                       "Policy\" content=\"default-src 'none'; script-src 'sha256-")));
    QCOMPARE(scriptHashes(page).size(), scripts);
    QCOMPARE(policyScripts(page), scriptHashes(page));
    // The library text that would close its element early is escaped, and still allowed.
    QCOMPARE(page.count(QStringLiteral("</script>")), scripts);
    // KaTeX's fonts come inline; only the WOFF2 file of each face is kept.
    QCOMPARE(page.contains(QStringLiteral("src:url(data:font/woff2;base64,") +
                           QString::fromLatin1(QByteArray("wOF2 font").toBase64()) +
                           QStringLiteral(") format(\"woff2\")}")),
             math);
    QVERIFY(!page.contains(QStringLiteral("fonts/")));
    // The page must be readable by a browser that looks for its character set in the first
    // 1024 bytes.
    QVERIFY(page.toUtf8().indexOf("<meta charset=\"utf-8\">") < 1000);

    // The same Markdown read with the classic grammar has no policy.
    QVERIFY(!qs(MarkdownRenderer::render(u"x").html).contains(QStringLiteral("Content-Security")));
    QVERIFY(qs(MarkdownRenderer::render(u"x", TarnTheme::dark, u"T", MarkdownFlavor::gfm).html)
                .contains(QStringLiteral("Content-Security")));
}
