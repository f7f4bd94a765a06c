// Case-insensitive search over UTF-16 text using full Unicode case folding ("ß" matches "SS"),
// or lower-casing as the reader page's search does ("ß" matches only "ß").
#pragma once

#include "EditorRange.h"

#include <QList>
#include <QStringView>

#include <string>
#include <vector>

// Text after full case folding, remembering for every folded unit where its code point starts
// in the original text. sources has one extra entry: the end of the folded stretch.
struct FoldedText
{
    std::u16string units;
    std::vector<int> sources;
};

enum class CaseMatching
{
    folding,
    lowerCase
};

// Folds (or lower-cases) text[from, to). Positions in the result refer to the whole text.
void foldText(QStringView text, int from, int to, FoldedText &out,
              CaseMatching matching = CaseMatching::folding);

class CaseFoldedSearch
{
public:
    explicit CaseFoldedSearch(QStringView query = {},
                              CaseMatching matching = CaseMatching::folding);

    bool isEmpty() const { return m_folded.empty(); }
    // The longest stretch of original text one match can cover: every code point folds to at
    // least one unit and takes at most two.
    int maxMatchLength() const { return int(m_folded.size()) * 2; }

    // Scans text[from, to) for leftmost, non-overlapping matches in ascending order and calls
    // visit(range) for each; visit returns false to stop. A match is only reported when it
    // starts before acceptBefore, so that a caller scanning a window of a longer text never
    // sees a match that an earlier one reaching past `to` would have hidden. Returns the
    // position from which a later scan has to continue.
    template<typename Visit>
    int scan(QStringView text, int from, int to, int acceptBefore, Visit &&visit) const;

    QList<EditorRange> findAll(QStringView text) const;

private:
    // Index in folded.units of the next candidate at or after index `at`, or -1.
    qsizetype nextCandidate(const FoldedText &folded, qsizetype at) const;

    std::u16string m_folded;
    CaseMatching m_matching;
};

template<typename Visit>
int CaseFoldedSearch::scan(QStringView text, int from, int to, int acceptBefore,
                           Visit &&visit) const
{
    if (isEmpty() || from >= to)
        return std::max(from, std::min(to, acceptBefore));
    FoldedText folded;
    foldText(text, from, to, folded, m_matching);
    const qsizetype queryLength = qsizetype(m_folded.size());
    int resume = from;
    qsizetype at = 0;
    for (;;) {
        const qsizetype hit = nextCandidate(folded, at);
        if (hit < 0)
            break;
        const int location = folded.sources[size_t(hit)];
        if (location >= acceptBefore)
            break;
        const int end = folded.sources[size_t(hit + queryLength)];
        resume = end;
        at = hit + queryLength;
        if (!visit(EditorRange{location, end - location}))
            return resume;
    }
    return std::max(resume, std::min(to, acceptBefore));
}
