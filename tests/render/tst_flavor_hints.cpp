// Rows for the hint that a document was written for the standard flavour.
#include "TestSupport.h"
#include "gfm/FlavorHints.h"

#include <QTest>

void RenderTest::flavorHints_data()
{
    QTest::addColumn<QString>("markdown");
    QTest::addColumn<QString>("construct"); // "" when the classic grammar shows it as meant
    // clang-format off
    QTest::newRow("plain classic document") << lines({"# Title", "", "Text over", "two lines.", "", "- a", "- b", "", "> quote", "", "| a | b |", "|---|---|", "| 1 | 2 |", "", "***"}) << "";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("rule after a blank line") << lines({"Text", "", "---"}) << "";
    QTest::newRow("fenced code hides everything") << lines({"```md", "Title", "=====", "    code", "[x]: y", "<div>", "```"}) << "";
    QTest::newRow("tilde fence hides too") << lines({"~~~", "- a", "  - b", "~~~"}) << "";
    QTest::newRow("html in a code span") << "Write `<kbd>` for keys." << "";
    QTest::newRow("generic type in prose") << "A List<String> of names." << "";
    QTest::newRow("autolink") << "<https://example.org>" << "";
    QTest::newRow("comparison") << "if a < b and c > d" << "";
    QTest::newRow("link with brackets") << "See [the guide](guide.md): it helps." << "";
    QTest::newRow("front matter") << lines({"---", "title: Notes", "tags: [a]", "---", "# Notes"}) << "frontMatter";
    QTest::newRow("front matter closed by dots") << lines({"---", "title: x", "..."}) << "frontMatter";
    QTest::newRow("rule then text then rule is not front matter") << lines({"---", "just text", "---"}) << "underlinedHeading";
    QTest::newRow("equals underline") << lines({"Title", "====="}) << "underlinedHeading";
    QTest::newRow("dash underline") << lines({"Intro", "", "Section", "-------"}) << "underlinedHeading";
    QTest::newRow("nested bullet") << lines({"- top", "  - nested"}) << "nestedList";
    QTest::newRow("nested under ordered") << lines({"1. top", "   1. nested"}) << "nestedList";
    QTest::newRow("same indent is flat") << lines({"  - a", "  - b"}) << "";
    QTest::newRow("lazy continuation") << lines({"- an item that", "goes on here"}) << "continuedListItem";
    QTest::newRow("indented continuation") << lines({"1. step", "   more of the step"}) << "continuedListItem";
    QTest::newRow("second paragraph in an item") << lines({"- item", "", "  its second paragraph"}) << "continuedListItem";
    QTest::newRow("heading after an item") << lines({"- item", "# Next"}) << "";
    QTest::newRow("link reference definition") << lines({"See [docs][1].", "", "[1]: https://example.org/docs"}) << "linkReferenceDefinition";
    QTest::newRow("definition cannot interrupt a paragraph") << lines({"text", "[1]: x"}) << "";
    QTest::newRow("footnote") << lines({"Claim.[^1]", "", "[^1]: Source."}) << "footnote";
    QTest::newRow("html block") << lines({"<p align=\"center\">", "  <img src=\"logo.png\">", "</p>"}) << "rawHtml";
    QTest::newRow("html comment") << "<!-- generated -->" << "rawHtml";
    QTest::newRow("inline tag") << "Press <kbd>Ctrl</kbd> now." << "rawHtml";
    QTest::newRow("details") << lines({"<details>", "<summary>More</summary>", "</details>"}) << "rawHtml";
    QTest::newRow("indented code") << lines({"Run:", "", "    make install"}) << "indentedCode";
    QTest::newRow("indented code with a tab") << lines({"Run:", "", "\tmake"}) << "indentedCode";
    QTest::newRow("indented line continuing a paragraph") << lines({"Run:", "    make"}) << "";
    QTest::newRow("first construct wins") << lines({"<br>", "Title", "==="}) << "rawHtml";
    QTest::newRow("windows line ends") << "Title\r\n===\r\n" << "underlinedHeading";
    // clang-format on
}

void RenderTest::flavorHints()
{
    QFETCH(QString, markdown);
    static const char *const names[] = {"frontMatter",
                                        "underlinedHeading",
                                        "nestedList",
                                        "continuedListItem",
                                        "linkReferenceDefinition",
                                        "footnote",
                                        "rawHtml",
                                        "indentedCode"};
    const auto found = FlavorHints::firstStandardConstruct(u16(markdown));
    QTEST(QString(found ? names[int(*found)] : ""), "construct");
}
