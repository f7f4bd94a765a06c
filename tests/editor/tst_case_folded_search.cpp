// Case-folded matching, and the incremental match list against a fresh scan after edits.
#include "EditorTestSupport.h"

#include <CaseFoldedSearch.h>
#include <MatchList.h>

#include <QRandomGenerator>
#include <QTextCursor>

using MatchRow = std::tuple<QString, QString, Ranges>; // text, query, matches
using EditRow = std::tuple<QString, QString, int>;     // alphabet, query, text length

class CaseFoldedSearchTest : public QObject
{
    Q_OBJECT

private slots:
    void findsMatches_data()
    {
        QTest::addColumn<MatchRow>("row");
        // clang-format off
        QTest::newRow("case-insensitive") << MatchRow{"AB ab aB", "ab", {{0, 2}, {3, 2}, {6, 2}}};
        QTest::newRow("non-overlapping") << MatchRow{"aaaa", "aa", {{0, 2}, {2, 2}}};
        QTest::newRow("empty query") << MatchRow{"abc", "", {}};
        QTest::newRow("sharp s finds double s") << MatchRow{"STRASSE", "Straße", {{0, 7}}};
        QTest::newRow("double s finds sharp s") << MatchRow{"die straße.", "STRASSE", {{4, 6}}};
        QTest::newRow("half of a folding is no match") << MatchRow{"ß", "s", {}};
        QTest::newRow("ligature folds to letters") << MatchRow{"ﬁne", "FI", {{0, 1}}};
        QTest::newRow("final sigma") << MatchRow{"ΟΔΟΣ οδος", "οδοσ", {{0, 4}, {5, 4}}};
        QTest::newRow("supplementary letters") << MatchRow{"x\U00010400y", "\U00010428", {{1, 2}}};
        QTest::newRow("dotted capital I needs its dot") << MatchRow{"İ i", "i", {{2, 1}}};
        QTest::newRow("lone surrogate stays searchable") << MatchRow{u"a\xD800z"_qs, u"\xD800"_qs, {{1, 1}}};
        // clang-format on
    }

    void findsMatches()
    {
        QFETCH(MatchRow, row);
        const auto &[text, query, expected] = row;
        QCOMPARE(CaseFoldedSearch(query).findAll(text), expected);
    }

    void matchListFollowsEdits_data()
    {
        QTest::addColumn<EditRow>("row");
        // Small alphabets make matches dense, so edits keep shifting how the runs pair up.
        QTest::newRow("pairs in runs") << EditRow{"aaab", "aa", 300};
        QTest::newRow("sharp s and double s") << EditRow{"sSßx", "ss", 300};
        QTest::newRow("longer query") << EditRow{"abAB \n", "abab", 2000};
        QTest::newRow("long document, short windows") << EditRow{"ab", "ab", 20000};
        QTest::newRow("matches further apart than a window")
            << EditRow{"abcdefghijklmnopqrstuvwxyz", "abc", 60000};
    }

    void matchListFollowsEdits()
    {
        QFETCH(EditRow, row);
        const QString alphabet = std::get<0>(row);
        QRandomGenerator random(20240611);
        auto randomText = [&](int size) {
            QString text;
            for (int i = 0; i < size; ++i)
                text += alphabet[random.bounded(int(alphabet.size()))];
            return text;
        };
        const CaseFoldedSearch search(std::get<1>(row));
        QString text = randomText(std::get<2>(row));
        MatchList list;
        for (int round = 0; round < 300; ++round) {
            QCOMPARE(list.matches(text, search), search.findAll(text));
            // Several edits between two reads, as when typing outruns the refresh.
            for (int edits = 1 + random.bounded(3); edits > 0; --edits) {
                const int position = random.bounded(int(text.size()) + 1);
                const int removed = random.bounded(std::min(6, int(text.size()) - position) + 1);
                const QString inserted = randomText(random.bounded(6));
                text.replace(position, removed, inserted);
                list.noteEdit(position, removed, int(inserted.size()));
            }
        }
    }

    // The same through the text view's change reports, which Qt phrases in its own way for edit
    // blocks, undo and whole-text replacement.
    void matchListFollowsTextViewEdits()
    {
        EditorHarness editor(QString("aab aa\nAA ab\n").repeated(40));
        editor.actions.setFindText("aa");
        QRandomGenerator random(7);
        const QStringList pieces{"a", "A", "aa", "\n", "b ", ""};
        for (int round = 0; round < 150; ++round) {
            const int length = int(editor.text().size());
            const int kind = random.bounded(5);
            if (kind < 2) {
                QTextCursor cursor(editor.edit.document());
                const int position = random.bounded(length + 1);
                cursor.setPosition(position);
                cursor.setPosition(std::min(length, position + random.bounded(4)),
                                   QTextCursor::KeepAnchor);
                cursor.insertText(pieces[random.bounded(int(pieces.size()))]);
            } else if (kind == 2) {
                editor.edit.undo();
            } else if (kind == 3) {
                editor.select({random.bounded(length + 1), 0});
                editor.actions.quote();
            } else if (round % 30 == 4) {
                editor.edit.setPlainText(editor.text().left(length / 2) + "aaaa");
            } else {
                editor.edit.redo();
            }
            QCOMPARE(editor.actions.matchRanges(), CaseFoldedSearch(u"aa").findAll(editor.text()));
        }
    }
};

EDITOR_TEST_RUNNER(CaseFoldedSearchTest, runCaseFoldedSearchTests)

#include "tst_case_folded_search.moc"
