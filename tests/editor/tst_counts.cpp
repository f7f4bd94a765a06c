// Word, character and line counts of known texts, and the status line under the editor.
#include "EditorTestSupport.h"

#include <EditorCounter.h>
#include <EditorPane.h>
#include <TarnDocument.h>
#include <TarnEditorTextView.h>
#include <TextCounts.h>

#include <QLabel>

// text, words, characters, lines
using CountRow = std::tuple<QString, qsizetype, qsizetype, qsizetype>;

class CountsTest : public QObject
{
    Q_OBJECT

private slots:
    void knownTexts_data()
    {
        QTest::addColumn<CountRow>("row");
        // clang-format off
        QTest::newRow("empty") << CountRow{"", 0, 0, 0};
        QTest::newRow("Chinese: one word per ideograph") << CountRow{"我爱北京天安门。", 7, 8, 1};
        QTest::newRow("Chinese over lines") << CountRow{"你好\n世界\n", 4, 4, 3};
        QTest::newRow("hiragana and katakana") << CountRow{"ひらがなとカタカナ", 9, 9, 1};
        QTest::newRow("prolonged sound mark") << CountRow{"コーヒー", 4, 4, 1};
        QTest::newRow("Korean syllables") << CountRow{"안녕하세요 세계", 7, 7, 1};
        QTest::newRow("English apostrophes and numbers") << CountRow{"Don't stop: 3.14 is pi, isn't it?", 7, 27, 1};
        QTest::newRow("joiners and hyphens") << CountRow{"hello_world foo-bar", 3, 18, 1};
        QTest::newRow("mixed") << CountRow{"Tarn 编辑器 v2 支持 Markdown", 8, 19, 1};
        QTest::newRow("combining mark") << CountRow{"cafe\u0301 e\u0301", 2, 5, 1};
        QTest::newRow("emoji are characters, not words") << CountRow{"👍🏽 🇨🇳 👨‍👩‍👧", 0, 3, 1};
        QTest::newRow("whitespace only") << CountRow{" \t\n\u3000\n", 0, 0, 3};
        QTest::newRow("Markdown punctuation") << CountRow{"# 标题\n- **bold** item", 4, 16, 2};
        // clang-format on
    }
    void knownTexts()
    {
        QFETCH(CountRow, row);
        const auto &[text, words, characters, lines] = row;
        QCOMPARE(TextCounting::count(text), (TextCounts{words, characters, lines}));
    }

    // The pane shows the counts under the text, and the selection's words once there is one.
    void statusLine()
    {
        TarnDocument document(QUrl::fromLocalFile("/tmp/counts.md"), "你好 world\n第二行");
        EditorPane pane;
        pane.resize(600, 400);
        pane.setDocument(&document);
        pane.show();
        QVERIFY(pane.statusLine()->isVisible());
        QTRY_COMPARE(pane.statusLine()->text(), "6 字 · 10 字符 · 2 行");
        pane.textViewAdapter()->setSelection({0, 2});
        QTRY_COMPARE(pane.statusLine()->text(), "6 字 · 10 字符 · 2 行 · 已选 2 字");
        pane.textViewAdapter()->setSelection({3, 9});
        QTRY_COMPARE(pane.statusLine()->text(), "6 字 · 10 字符 · 2 行 · 已选 4 字");
        pane.textViewAdapter()->setSelection({0, 0});
        QTRY_COMPARE(pane.statusLine()->text(), "6 字 · 10 字符 · 2 行");
        pane.textViewAdapter()->insertText("再见", {0, 0});
        QTRY_COMPARE(pane.statusLine()->text(), "8 字 · 12 字符 · 2 行");
    }
};

EDITOR_TEST_RUNNER(CountsTest, runCountsTests)

#include "tst_counts.moc"
