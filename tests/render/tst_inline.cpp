// Inline passes, their interactions, escaping, and the hand-written scanners against ICU.
#include "RendererInternal.h"
#include "TestSupport.h"

#include <QTest>

#include <unicode/regex.h>

#include <random>

using TarnRender::Match;

void RenderTest::renderInline_data()
{
    // clang-format off
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("html");

    QTest::newRow("empty") << "" << "";
    QTest::newRow("escape") << "a < b & c" << "a &lt; b &amp; c";
    QTest::newRow("entities shown as typed") << "&copy;" << "&amp;copy;";
    QTest::newRow("quotes untouched") << "\"q\" 'a'" << "\"q\" 'a'";

    // Code spans
    QTest::newRow("no emphasis in code") << "use `a*b*c` here" << "use <code>a*b*c</code> here";
    QTest::newRow("two spans") << "`x` and `y`" << "<code>x</code> and <code>y</code>";
    QTest::newRow("tag in code") << "`<b>`" << "<code>&lt;b&gt;</code>";
    QTest::newRow("double backticks") << "``a``" << "`<code>a</code>`";
    QTest::newRow("unclosed backtick") << "a ` b" << "a ` b";
    QTest::newRow("literal placeholder takes the span") << "TARNCODEPLACEHOLDER0END `k`" << "<code>k</code> <code>k</code>";
    QTest::newRow("placeholder with leading zero stays")
        << "TARNCODEPLACEHOLDER00END `k`"
        << "TARNCODEPLACEHOLDER00END <code>k</code>";
    QTest::newRow("span content naming a later placeholder")
        << "`a` `TARNCODEPLACEHOLDER1END`"
        << "<code>a</code> <code><code>a</code></code>";
    QTest::newRow("span content naming its own placeholder")
        << "`TARNCODEPLACEHOLDER1END` `b`"
        << "<code>TARNCODEPLACEHOLDER1END</code> <code>b</code>";

    // Images and links
    QTest::newRow("image") << "![logo](img.png)" << "<img alt=\"logo\" src=\"img.png\">";
    QTest::newRow("image trims address") << "![](  a.png  )" << "<img alt=\"\" src=\"a.png\">";
    QTest::newRow("double escaped ampersand") << "[page](list.html?a=1&b=2)" << "<a href=\"list.html?a=1&amp;amp;b=2\">page</a>";
    QTest::newRow("javascript address") << "[x](JavaScript:alert(1))" << "<a href=\"#\">x</a>)";
    QTest::newRow("javascript after spaces") << "[x]( javascript:a)" << "<a href=\"#\">x</a>";
    QTest::newRow("scheme split by tab or CR") << "[a](java\tscript:x) [b](JAVA\rSCRIPT:y)" << "<a href=\"#\">a</a> <a href=\"#\">b</a>";
    QTest::newRow("leading tab kept, ignored by the check") << "[a](\tjavascript:x) [b](\tb.md)" << "<a href=\"#\">a</a> <a href=\"\tb.md\">b</a>";
    QTest::newRow("empty link text") << "[]()" << "[]()";
    QTest::newRow("empty address") << "[a]()" << "[a]()";
    QTest::newRow("image inside link") << "[![i](a.png)](b.html)" << "<a href=\"b.html\"><img alt=\"i\" src=\"a.png\"></a>";
    QTest::newRow("underscores in address") << "[d](docs/a_b_c.html)" << "<a href=\"docs/a<em>b</em>c.html\">d</a>";
    QTest::newRow("quote in address") << "[x](a\"b)" << "<a href=\"a&quot;b\">x</a>";
    QTest::newRow("alt text escaped twice") << "![a<b](x)" << "<img alt=\"a&amp;lt;b\" src=\"x\">";
    QTest::newRow("link may not split an image tag")
        << "![[b](c](d) e) ![i](x.png [l](y) z)"
        << "<img alt=\"[b\" src=\"c](d\"> e) <img alt=\"i\" src=\"x.png [l](y\"> z)";
    QTest::newRow("link brackets around an image address") << "[![](q](ba))" << "[<img alt=\"\" src=\"q](ba\">)";
    QTest::newRow("link around a whole image tag")
        << "[a](x ![i](y) )"
        << "<a href=\"x &lt;img alt=&quot;i&quot; src=&quot;y&quot;&gt;\">a</a>";
    QTest::newRow("quotes of a code span in an address")
        << "[x](`\" onmouseover=\"a`) `\"q\"`"
        << "<a href=\"<code>&quot; onmouseover=&quot;a</code>\">x</a> <code>\"q\"</code>";
    QTest::newRow("code span quotes in a src after emphasis in the alt")
        << "![a_b_c](`\"x`)"
        << "<img alt=\"a<em>b</em>c\" src=\"<code>&quot;x</code>\">";
    QTest::newRow("no autolinks") << "<http://a.b>" << "&lt;http://a.b&gt;";

    // Emphasis family
    QTest::newRow("all kinds")
        << "**bold** and *em* and __b2__ and _e2_ and ~~gone~~"
        << "<strong>bold</strong> and <em>em</em> and <strong>b2</strong> and <em>e2</em> and "
           "<del>gone</del>";
    QTest::newRow("triple stars mis-nest") << "***x***" << "<strong><em>x</strong></em>";
    QTest::newRow("no word boundary rule") << "snake_case_name" << "snake<em>case</em>name";
    QTest::newRow("arithmetic") << "2*3*4" << "2<em>3</em>4";
    QTest::newRow("lazy strong") << "**a** b **c**" << "<strong>a</strong> b <strong>c</strong>";
    QTest::newRow("strike needs content") << "~~~~" << "~~~~";
    QTest::newRow("strike with tilde content") << "~~~a~~" << "<del>~a</del>";
    QTest::newRow("lone star") << "a * b" << "a * b";
    QTest::newRow("backslash escapes nothing") << "\\*a\\*" << "\\<em>a\\</em>";
    // clang-format on
}

void RenderTest::renderInline()
{
    QFETCH(QString, markdown);
    QFETCH(QString, html);
    QCOMPARE(qs(TarnRender::renderInline(u16(markdown))), html);
}

void RenderTest::escaping()
{
    QCOMPARE(qs(MarkdownRenderer::escapeHTML(u"<a href=\"x\">&amp;</a>")),
             QStringLiteral("&lt;a href=\"x\"&gt;&amp;amp;&lt;/a&gt;"));
    QCOMPARE(qs(MarkdownRenderer::escapeAttribute(u"<\"'&>")),
             QStringLiteral("&lt;&quot;&#39;&amp;&gt;"));
}

namespace {

std::vector<Match> icuMatches(std::u16string_view text, std::u16string_view pattern, int groups)
{
    UErrorCode status = U_ZERO_ERROR;
    icu::RegexMatcher matcher(icu::UnicodeString(pattern.data(), int32_t(pattern.size())),
                              icu::UnicodeString(text.data(), int32_t(text.size())), 0, status);
    std::vector<Match> matches;
    while (U_SUCCESS(status) && matcher.find(status)) {
        Match match;
        match.begin = std::size_t(matcher.start(status));
        match.end = std::size_t(matcher.end(status));
        match.g1Begin = std::size_t(matcher.start(1, status));
        match.g1End = std::size_t(matcher.end(1, status));
        if (groups > 1) {
            match.g2Begin = std::size_t(matcher.start(2, status));
            match.g2End = std::size_t(matcher.end(2, status));
        }
        matches.push_back(match);
    }
    return matches;
}

QString describe(const std::vector<Match> &matches)
{
    QStringList parts;
    for (const Match &m : matches)
        parts << QStringLiteral("[%1,%2) g1[%3,%4) g2[%5,%6)")
                     .arg(m.begin)
                     .arg(m.end)
                     .arg(m.g1Begin)
                     .arg(m.g1End)
                     .arg(m.g2Begin)
                     .arg(m.g2End);
    return parts.join(QLatin1Char(' '));
}

} // namespace

// Random strings over the characters the patterns care about, line terminators included;
// the hand-written scanners must find exactly what ICU finds.
void RenderTest::scannersAgreeWithIcu()
{
    struct Case
    {
        std::u16string_view pattern;
        int groups;
        std::vector<Match> (*scan)(std::u16string_view);
    };
    const Case cases[] = {
        {u"`([^`]+)`", 1, [](std::u16string_view s) { return TarnRender::findCodeSpans(s); }},
        {uR"(!\[([^\]]*)\]\(([^)]+)\))", 2,
         [](std::u16string_view s) { return TarnRender::findImages(s); }},
        {uR"(\[([^\]]+)\]\(([^)]+)\))", 2,
         [](std::u16string_view s) { return TarnRender::findLinks(s); }},
        {u"~~(.+?)~~", 1, [](std::u16string_view s) { return TarnRender::findPaired(s, u'~'); }},
        {uR"(\*\*(.+?)\*\*)", 1,
         [](std::u16string_view s) { return TarnRender::findPaired(s, u'*'); }},
        {u"__(.+?)__", 1, [](std::u16string_view s) { return TarnRender::findPaired(s, u'_'); }},
        {uR"((?<!\*)\*([^*]+)\*(?!\*))", 1,
         [](std::u16string_view s) { return TarnRender::findSingle(s, u'*'); }},
        {u"(?<!_)_([^_]+)_(?!_)", 1,
         [](std::u16string_view s) { return TarnRender::findSingle(s, u'_'); }},
    };
    const std::u16string alphabet = u"ab `![]()~*_\n\u2028\u00E9";
    std::mt19937 random(1234);
    for (int round = 0; round < 20000 * 8; ++round) {
        const Case &c = cases[round % 8];
        std::u16string text;
        const int length = int(random() % 24);
        for (int i = 0; i < length; ++i)
            text.push_back(alphabet[random() % alphabet.size()]);
        const auto expected = icuMatches(text, c.pattern, c.groups);
        const auto actual = c.scan(text);
        if (describe(actual) != describe(expected))
            QFAIL(qPrintable(
                QStringLiteral("\"%1\" /%2/: scanner %3, ICU %4")
                    .arg(qs(text), qs(c.pattern), describe(actual), describe(expected))));
    }
}
