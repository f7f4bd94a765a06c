// The matches of the find text, kept current across edits by rescanning only around them.
#pragma once

#include "CaseFoldedSearch.h"
#include "EditorRange.h"

#include <QList>
#include <QStringView>

// Holds the result of a full leftmost, non-overlapping scan of the text and brings it up to date
// after edits. After every edit the result equals a fresh full scan; only the work differs: the
// scan restarts shortly before the edit and stops as soon as it meets a match the old scan also
// found past the edit, since from there on both scans agree.
class MatchList
{
public:
    // Tells the list that text[position, position + removed) was replaced by `added` units.
    void noteEdit(int position, int removed, int added);
    // Forgets everything: the next call of matches() scans the whole text.
    void invalidate();

    const QList<EditorRange> &matches(QStringView text, const CaseFoldedSearch &search);

private:
    void rescanAroundEdit(QStringView text, const CaseFoldedSearch &search);

    QList<EditorRange> m_matches;
    bool m_valid = false;
    // Length the text has now if every edit since the last scan was reported.
    int m_currentLength = 0;
    // The edited stretch since the last scan: [m_editStart, m_oldEditEnd) in the old text became
    // [m_editStart, m_newEditEnd) in the current one.
    bool m_edited = false;
    int m_editStart = 0;
    int m_oldEditEnd = 0;
    int m_newEditEnd = 0;
};
