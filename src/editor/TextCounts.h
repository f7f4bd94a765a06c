// Word, character and line counts of a text, CJK-aware, as the editor's status line shows them.
#pragma once

#include <QString>
#include <QStringView>

struct TextCounts
{
    qsizetype words = 0;
    qsizetype characters = 0;
    qsizetype lines = 0;
    friend bool operator==(const TextCounts &, const TextCounts &) = default;
};

namespace TextCounting {

// Every CJK ideograph, kana and hangul syllable is a word of its own; any other run of letters
// or digits is one word as ICU's word break rules delimit it ("don't", "3.14", "e-mail" halves).
qsizetype words(QStringView text);
// User-perceived characters (grapheme clusters), whitespace not counted.
qsizetype characters(QStringView text);
// The lines as the editor shows them; an empty text has none.
qsizetype lines(QStringView text);
TextCounts count(QStringView text);

// "N 字 · N 字符 · N 行", with " · 已选 N 字" when a selection is counted.
QString statusText(const TextCounts &counts, qsizetype selectedWords = -1);

} // namespace TextCounting
