// Incremental upkeep of the match list.
#include "MatchList.h"

#include <algorithm>
#include <climits>

namespace {

// Moves a position off the trailing half of a surrogate pair, so that folding never splits one.
int alignToCodePoint(QStringView text, int position)
{
    if (position > 0 && position < text.size() && text[position].isLowSurrogate() &&
        text[position - 1].isHighSurrogate())
        return position - 1;
    return position;
}

} // namespace

void MatchList::noteEdit(int position, int removed, int added)
{
    if (!m_valid)
        return;
    if (position < 0 || removed < 0 || added < 0 || position + removed > m_currentLength) {
        invalidate();
        return;
    }
    const int editEnd = position + removed;
    if (!m_edited) {
        m_edited = true;
        m_editStart = position;
        m_oldEditEnd = editEnd;
        m_newEditEnd = position + added;
    } else {
        // Union with the earlier edits, in current coordinates first; the part reaching past
        // the earlier edited stretch maps back to the old text by the earlier shift.
        const int coveredEnd = std::max(m_newEditEnd, editEnd);
        m_oldEditEnd += coveredEnd - m_newEditEnd;
        m_newEditEnd = coveredEnd + added - removed;
        m_editStart = std::min(m_editStart, position);
    }
    m_currentLength += added - removed;
}

void MatchList::invalidate()
{
    m_valid = false;
    m_edited = false;
    m_matches.clear();
}

const QList<EditorRange> &MatchList::matches(QStringView text, const CaseFoldedSearch &search)
{
    const int length = int(text.size());
    if (search.isEmpty()) {
        invalidate();
        return m_matches;
    }
    if (m_valid && m_currentLength != length)
        invalidate();
    if (!m_valid) {
        m_matches = search.findAll(text);
        m_valid = true;
    } else if (m_edited) {
        rescanAroundEdit(text, search);
    }
    m_edited = false;
    m_currentLength = length;
    return m_matches;
}

void MatchList::rescanAroundEdit(QStringView text, const CaseFoldedSearch &search)
{
    const int length = int(text.size());
    const int maxLength = search.maxMatchLength();
    const int shift = m_newEditEnd - m_oldEditEnd;
    const QList<EditorRange> old = std::move(m_matches);
    m_matches.clear();

    // A match that is new or gone has to touch the edited stretch, so it starts after `cut`;
    // the old matches entirely before it stand as they are.
    const int cut = m_editStart - maxLength - 2;
    const auto kept = std::partition_point(old.begin(), old.end(),
                                           [cut](const EditorRange &r) { return r.end() <= cut; });
    m_matches.reserve(old.size() + 16);
    m_matches.append(old.begin(), kept);
    int from = m_matches.isEmpty() ? 0 : m_matches.last().end();

    const auto tailStart = std::partition_point(
        kept, old.end(), [this](const EditorRange &r) { return r.location < m_oldEditEnd; });
    bool converged = false;
    int window = std::max(4096, 4 * maxLength);
    int to = std::min(length, std::max(from, m_newEditEnd) + window);
    for (;;) {
        to = alignToCodePoint(text, to);
        const int acceptBefore = to >= length ? INT_MAX : to - maxLength;
        from = search.scan(text, from, to, acceptBefore, [&](EditorRange range) {
            if (range.location >= m_newEditEnd) {
                const int oldLocation = range.location - shift;
                const auto twin = std::lower_bound(
                    tailStart, old.end(), oldLocation,
                    [](const EditorRange &r, int location) { return r.location < location; });
                if (twin != old.end() && twin->location == oldLocation &&
                    twin->length == range.length) {
                    for (auto it = twin; it != old.end(); ++it)
                        m_matches.append(EditorRange{it->location + shift, it->length});
                    converged = true;
                    return false;
                }
            }
            m_matches.append(range);
            return true;
        });
        if (converged || to >= length)
            return;
        from = alignToCodePoint(text, from);
        window *= 2;
        to = std::min(length, from + window);
    }
}
