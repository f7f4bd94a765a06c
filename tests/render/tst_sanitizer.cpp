// The standard flavour's raw HTML: what the sanitizer keeps, and when it runs at all.
#include "MarkdownRenderer.h"
#include "TestSupport.h"
#include "gfm/HtmlSanitizer.h"

#include <QTest>

void RenderTest::sanitizer_data()
{
    QTest::addColumn<QString>("html");
    QTest::addColumn<QString>("kept");
    // clang-format off
    // What READMEs use stays as it was.
    QTest::newRow("centred logo") << R"h(<p align="center"><img src="logo.png" alt="Logo" width="120"></p>)h" << R"h(<p align="center"><img src="logo.png" alt="Logo" width="120"></p>)h";
    QTest::newRow("details") << "<details open><summary>More</summary>\n<p>Text</p></details>" << "<details open=\"\"><summary>More</summary>\n<p>Text</p></details>";
    QTest::newRow("kbd sub br") << "<kbd>Ctrl</kbd>+H<sub>2</sub>O<br>x<br/>" << "<kbd>Ctrl</kbd>+H<sub>2</sub>O<br>x<br>";
    QTest::newRow("picture") << R"h(<picture><source media="(prefers-color-scheme: dark)" srcset="dark.png 1x, dark@2.png 2x"><img src="light.png"></picture>)h" << R"h(<picture><source media="(prefers-color-scheme: dark)" srcset="dark.png 1x, dark@2.png 2x"><img src="light.png"></picture>)h";
    QTest::newRow("task checkbox") << R"h(<li class="task"><input type="checkbox" checked="" disabled="" /> done</li>)h" << R"h(<li class="task"><input type="checkbox" checked="" disabled=""> done</li>)h";
    QTest::newRow("footnote markup") << R"h(<sup class="footnote-ref"><a href="#fn-1" id="fnref-1" data-footnote-ref>1</a></sup>)h" << R"h(<sup class="footnote-ref"><a href="#fn-1" id="fnref-1" data-footnote-ref="">1</a></sup>)h";
    QTest::newRow("math and code classes") << R"h(<span class="math math-inline">a&lt;b</span><pre><code class="language-c">x &amp;&amp; y</code></pre>)h" << R"h(<span class="math math-inline">a&lt;b</span><pre><code class="language-c">x &amp;&amp; y</code></pre>)h";
    QTest::newRow("pre keeps a leading blank line") << "<pre>\n\nx</pre>" << "<pre>\n\nx</pre>";
    QTest::newRow("text escaped again") << "a &lt;script&gt; &amp;amp; \"q\"" << "a &lt;script&gt; &amp;amp; \"q\"";
    // Code and what loads or submits goes, with its content.
    QTest::newRow("script") << "<p>a<script>alert(1)</script>b</p>" << "<p>ab</p>";
    QTest::newRow("style with import") << "<style>@import url(http://x/a.css);</style>t" << "t";
    QTest::newRow("iframe") << R"h(<iframe src="http://x/"></iframe><iframe srcdoc="<script>x</script>">t</iframe>)h" << "";
    QTest::newRow("object and embed") << R"h(<object data="x.swf"><param name="a" value="b">fallback</object><embed src="x.swf">)h" << "";
    QTest::newRow("form") << R"h(<form action="http://x/"><input name="q" value="secret"><button formaction="http://y/">Go</button>t</form>)h" << "t";
    QTest::newRow("other inputs") << R"h(<input type="text" value="x"><input type="image" src="x.png"><input type="checkbox" onclick="x()">)h" << R"h(<input type="checkbox" disabled="">)h";
    QTest::newRow("meta refresh, base, link") << R"h(<meta http-equiv="refresh" content="0;url=http://x/"><base href="http://x/"><link rel="stylesheet" href="http://x/a.css">t)h" << "t";
    QTest::newRow("svg onload") << R"h(<svg onload="alert(1)"><a href="javascript:alert(1)"><text>t</text></a></svg>u)h" << "u";
    QTest::newRow("math element") << R"h(<math><mtext><table><mglyph><style><img src=x onerror=alert(1)>)h" << "";
    QTest::newRow("template and noscript") << "<template><img src=x onerror=alert(1)></template><noscript><p title=\"</noscript><img src=x onerror=alert(1)>\"></noscript>" << "";
    // Handlers, styles and unsafe addresses go; the element stays.
    QTest::newRow("img onerror") << R"h(<img src="x" onerror="alert(1)" style="position:fixed">)h" << R"h(<img src="x">)h";
    QTest::newRow("event handler case") << R"h(<div OnMouseOver="x()" title="t">d</div>)h" << R"h(<div title="t">d</div>)h";
    QTest::newRow("javascript href") << R"h(<a href="javascript:alert(1)">a</a>)h" << "<a>a</a>";
    QTest::newRow("javascript with tab") << "<a href=\"java\tscript:alert(1)\">a</a>" << "<a>a</a>";
    QTest::newRow("javascript with entities") << R"h(<a href="&#106;ava&#x09;script&colon;alert(1)">a</a>)h" << "<a>a</a>";
    QTest::newRow("javascript after controls") << R"h(<a href="&#1; JAVASCRIPT:alert(1)">a</a>)h" << "<a>a</a>";
    QTest::newRow("vbscript and data links") << R"h(<a href="vbscript:x">a</a><a href="data:text/html,<script>x</script>">b</a>)h" << "<a>a</a><a>b</a>";
    QTest::newRow("safe links") << R"h(<a href="https://x/">a</a><a href="mailto:a@b">b</a><a href="#top">c</a><a href="notes.md">d</a><a href="a/b:c">e</a>)h" << R"h(<a href="https://x/">a</a><a href="mailto:a@b">b</a><a href="#top">c</a><a href="notes.md">d</a><a href="a/b:c">e</a>)h";
    QTest::newRow("image addresses") << R"h(<img src="data:image/png;base64,AA"><img src="data:image/svg+xml,<svg onload=x()>"><img src="file:///etc/x.png"><img srcset="a.png, javascript:x 2x">)h" << R"h(<img src="data:image/png;base64,AA"><img><img><img>)h";
    QTest::newRow("no target or name") << R"h(<a href="a.md" target="_blank" name="x" rel="opener">a</a>)h" << R"h(<a href="a.md">a</a>)h";
    // Malformed markup is read as a browser reads it.
    QTest::newRow("unclosed tags") << "<div><p>a<b>b" << "<div><p>a<b>b</b></p></div>";
    QTest::newRow("attribute breaks out") << R"h(<img src="x" alt="a"onerror="x()"><a href=">"<script>x</script>">y</a>)h" << R"h(<img src="x" alt="a"><a href="&gt;">x"&gt;y</a>)h";
    QTest::newRow("stray end tags") << "</main></body><p>a</p></div>" << "<p>a</p>";
    QTest::newRow("unknown elements unwrap") << "<font color=red><blink>b</blink></font><x-y onclick=x()>c</x-y>" << "bc";
    QTest::newRow("comments") << "a<!-- <script>x</script> -->b<!--> c" << "ab c";
    // clang-format on
}

void RenderTest::sanitizer()
{
    QFETCH(QString, html);
    QFETCH(QString, kept);
    QCOMPARE(QString::fromStdString(TarnGfm::sanitizeHtml(html.toStdString()).value_or("?")), kept);
}

// The sanitizer runs only for documents with raw HTML; the writer's safe output covers the rest.
void RenderTest::rawHtmlOnlyThroughSanitizer_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("html");
    // clang-format off
    QTest::newRow("plain") << "[a](javascript:x) <b" << "<p><a href=\"\">a</a> &lt;b</p>";
    QTest::newRow("kept") << "<div align=\"center\">\n\n**b**\n\n</div>" << "<div align=\"center\">\n<p><strong>b</strong></p>\n</div>";
    QTest::newRow("tagfilter and sanitizer") << "x <script>alert(1)</script> [a](javascript:x) <img src=x onerror=y()>" << "<p>x &lt;script&gt;alert(1)&lt;/script&gt; <a href=\"\">a</a> <img src=\"x\"></p>";
    // Nested deeper than a browser nests, the raw HTML is left out rather than parsed slowly.
    QTest::newRow("too deep") << QString("<div>").repeated(513) + "\n\nx <b>y</b>" << "<!-- raw HTML omitted -->\n<p>x <!-- raw HTML omitted -->y<!-- raw HTML omitted --></p>";
    QTest::newRow("deep enough") << QString("<div>").repeated(511) + "\n\nx" << QString("<div>").repeated(511) + "\n<p>x</p>\n" + QString("</div>").repeated(511);
    QTest::newRow("html block") << "<iframe src=\"http://x/\"></iframe>\n\n<object data=x></object>\n" << "&lt;iframe src=\"http://x/\"&gt;&lt;/iframe&gt;\n<p></p>";
    // clang-format on
}

void RenderTest::rawHtmlOnlyThroughSanitizer()
{
    QFETCH(QString, markdown);
    QFETCH(QString, html);
    QCOMPARE(qs(MarkdownRenderer::renderFragment(u16(markdown), MarkdownFlavor::gfm).html), html);
}
