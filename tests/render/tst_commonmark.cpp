// CommonMark conformance of the standard flavour, against the examples of the pinned
// commonmark-spec package (read from node_modules, where scripts/setup installs it).
#include "TestSupport.h"

#include "MarkdownRenderer.h"
#include "gfm/HtmlSanitizer.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace {

struct Example
{
    int number;
    QString markdown;
    QString html;
};

// The examples as the package's own index.js cuts them out of spec.txt; "→" stands for a tab.
QList<Example> readExamples(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QString text = QString::fromUtf8(file.readAll());
    text.truncate(text.indexOf(QLatin1String("\n<!-- END TESTS -->")));
    static const QRegularExpression example(
        QStringLiteral("^`{32} example\\n([\\s\\S]*?)^\\.\\n([\\s\\S]*?)^`{32}$"),
        QRegularExpression::MultilineOption);
    QList<Example> examples;
    for (auto it = example.globalMatch(text); it.hasNext();) {
        const auto match = it.next();
        examples.append({int(examples.size() + 1),
                         match.captured(1).replace(QStringLiteral("→"), QStringLiteral("\t")),
                         match.captured(2).replace(QStringLiteral("→"), QStringLiteral("\t"))});
    }
    return examples;
}

// Whitespace runs become one space and go between tags; heading ids, which CommonMark does
// not write, go. The empty state stands for an empty document.
QString normalized(QString html)
{
    static const QRegularExpression headingId(QStringLiteral("(<h[1-6]) id=\"[^\"]*\""));
    static const QRegularExpression space(QStringLiteral("\\s+"));
    static const QRegularExpression betweenTags(QStringLiteral(">\\s+<"));
    if (html.contains(QLatin1String("class=\"empty-state\"")))
        return {};
    html.replace(headingId, QStringLiteral("\\1"));
    html.replace(space, QStringLiteral(" "));
    html.replace(betweenTags, QStringLiteral("><"));
    return html.trimmed();
}

} // namespace

void RenderTest::commonMarkConformance()
{
    const QList<Example> examples = readExamples(QStringLiteral(TARN_COMMONMARK_SPEC));
    if (examples.isEmpty())
        QFAIL("no examples in " TARN_COMMONMARK_SPEC "; run ./scripts/setup");

    // Raw HTML goes through the sanitizer on purpose, so an example with raw HTML also counts as
    // equal when the expected HTML, sanitized the same way, is what Tarn wrote.
    QStringList bySanitizer, other;
    for (const Example &example : examples) {
        const QString html =
            qs(MarkdownRenderer::renderFragment(u16(example.markdown), MarkdownFlavor::gfm).html);
        if (normalized(html) == normalized(example.html))
            continue;
        const auto sanitized = TarnGfm::sanitizeHtml(example.html.toStdString());
        if (sanitized && normalized(html) == normalized(QString::fromStdString(*sanitized)))
            bySanitizer << QString::number(example.number);
        else
            other << QString::number(example.number);
    }
    const int total = int(examples.size());
    const double share = 100.0 * (total - int(other.size())) / total;
    qInfo("%lld of %d examples equal (%.1f %%), %lld of them after sanitizing the expected HTML",
          qlonglong(total - other.size()), total, share, qlonglong(bySanitizer.size()));
    qInfo("differ: %s", qPrintable(other.join(u' ')));
    QVERIFY2(share >= 97.0, qPrintable(QStringLiteral("%1 %").arg(share, 0, 'f', 1)));
}
