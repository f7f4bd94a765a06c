// Case-folded matching, and the incremental match list against a fresh scan after edits.
#include "EditorTestSupport.h"

#include <CaseFoldedSearch.h>
#include <MatchList.h>

#include <QRandomGenerator>
#include <QTextCursor>

using Ranges = QList<EditorRange>;

class CaseFoldedSearchTest : public QObject
{
    Q_OBJECT

private slots:
    void findsMatches_data()
    {
        // clang-format off
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("query");
        QTest::addColumn<Ranges>("expected");

        QTest::newRow("case-insensitive") << "AB ab aB" << "ab" << Ranges{{0, 2}, {3, 2}, {6, 2}};
        QTest::newRow("non-overlapping") << "aaaa" << "aa" << Ranges{{0, 2}, {2, 2}};
        QTest::newRow("empty query") << "abc" << "" << Ranges{};
        QTest::newRow("sharp s finds double s") << "STRASSE" << "Straße" << Ranges{{0, 7}};
        QTest::newRow("double s finds sharp s") << "die straße." << "STRASSE" << Ranges{{4, 6}};
        QTest::newRow("half of a folding is no match") << "ß" << "s" << Ranges{};
        QTest::newRow("ligature folds to letters") << "ﬁne" << "FI" << Ranges{{0, 1}};
        QTest::newRow("final sigma") << "ΟΔΟΣ οδος" << "οδοσ" << Ranges{{0, 4}, {5, 4}};
        QTest::newRow("supplementary letters")
            << QString::fromUtf8("x\xF0\x90\x90\x80y") << QString::fromUtf8("\xF0\x90\x90\xA8")
            << Ranges{{1, 2}};
        QTest::newRow("dotted capital I needs its dot") << "İ i" << "i" << Ranges{{2, 1}};
        QTest::newRow("lone surrogate stays searchable")
            << QString("a") + QChar(0xD800) + QString("b") << QString(QChar(0xD800)) << Ranges{{1, 1}};
        // clang-format on
    }

    void findsMatches()
    {
        QFETCH(QString, text);
        QFETCH(QString, query);
        QFETCH(Ranges, expected);
        QCOMPARE(CaseFoldedSearch(query).findAll(text), expected);
    }

    void matchListFollowsEdits_data()
    {
        // clang-format off
        QTest::addColumn<QString>("alphabet");
        QTest::addColumn<QString>("query");
        QTest::addColumn<int>("length");

        // Small alphabets make matches dense, so edits keep shifting how the runs pair up.
        QTest::newRow("pairs in runs") << "aaab" << "aa" << 300;
        QTest::newRow("sharp s and double s") << "sSßx" << "ss" << 300;
        QTest::newRow("longer query") << "abAB \n" << "abab" << 2000;
        QTest::newRow("long document, short windows") << "ab" << "ab" << 20000;
        // clang-format on
    }

    void matchListFollowsEdits()
    {
        QFETCH(QString, alphabet);
        QFETCH(QString, query);
        QFETCH(int, length);

        QRandomGenerator random(20240611);
        auto randomText = [&](int size) {
            QString text;
            for (int i = 0; i < size; ++i)
                text += alphabet[random.bounded(int(alphabet.size()))];
            return text;
        };
        const CaseFoldedSearch search(query);
        QString text = randomText(length);
        MatchList list;
        QCOMPARE(list.matches(text, search), search.findAll(text));
        for (int round = 0; round < 300; ++round) {
            // Several edits between two reads, as when typing outruns the refresh.
            const int edits = 1 + random.bounded(3);
            for (int e = 0; e < edits; ++e) {
                const int position = random.bounded(int(text.size()) + 1);
                const int removed =
                    random.bounded(std::min<int>(6, int(text.size()) - position) + 1);
                const QString inserted = randomText(random.bounded(6));
                text.replace(position, removed, inserted);
                list.noteEdit(position, removed, int(inserted.size()));
            }
            QCOMPARE(list.matches(text, search), search.findAll(text));
        }
    }

    void matchListFollowsTextViewEdits()
    {
        // The same through the text view's change reports, which Qt phrases in its own way for
        // edit blocks, undo and whole-text replacement.
        EditorHarness editor(QString("aab aa\nAA ab\n").repeated(40));
        editor.actions.setFindText("aa");
        QRandomGenerator random(7);
        const QStringList pieces{"a", "A", "aa", "\n", "b ", ""};
        for (int round = 0; round < 150; ++round) {
            QTextCursor cursor(editor.edit.document());
            const int length = int(editor.text().size());
            switch (random.bounded(5)) {
            case 0:
            case 1: {
                const int position = random.bounded(length + 1);
                cursor.setPosition(position);
                cursor.setPosition(std::min(length, position + random.bounded(4)),
                                   QTextCursor::KeepAnchor);
                cursor.insertText(pieces[random.bounded(int(pieces.size()))]);
                break;
            }
            case 2:
                editor.edit.undo();
                break;
            case 3:
                editor.select({random.bounded(length + 1), 0});
                editor.actions.quote();
                break;
            case 4:
                if (round % 30 == 4)
                    editor.edit.setPlainText(editor.text().left(length / 2) + "aaaa");
                else
                    editor.edit.redo();
                break;
            }
            QCOMPARE(editor.actions.matchRanges(), CaseFoldedSearch(u"aa").findAll(editor.text()));
        }
    }
};

int runCaseFoldedSearchTests(int argc, char **argv)
{
    CaseFoldedSearchTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "CaseFoldedSearchTest.moc"
