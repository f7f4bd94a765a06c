// Line ranges over editor text.
#include "EditorTextView.h"

#include <algorithm>

namespace {

bool isLineEnd(QChar c)
{
    const char16_t u = c.unicode();
    return u == u'\n' || u == u'\r' || u == 0x0085 || u == 0x2028 || u == 0x2029;
}

} // namespace

EditorRange EditorTextView::lineRange(EditorRange range) const
{
    return lineRangeIn(text(), range);
}

EditorRange EditorTextView::lineRangeIn(QStringView text, EditorRange range)
{
    const int length = int(text.size());
    const int first = std::clamp(range.location, 0, length);
    const int last = std::clamp(range.end(), first, length);
    int start = first;
    while (start > 0 && !isLineEnd(text[start - 1]))
        --start;
    // The line holding the range's end: a range ending right after a terminator still ends on
    // the line before it, unless the range is empty there.
    int end = last;
    if (last > first && isLineEnd(text[last - 1])) {
        if (text[last - 1] == u'\r' && last < length && text[last] == u'\n')
            ++end;
        return EditorRange{start, end - start};
    }
    while (end < length && !isLineEnd(text[end]))
        ++end;
    if (end < length) {
        if (text[end] == u'\r' && end + 1 < length && text[end + 1] == u'\n')
            end += 2;
        else
            ++end;
    }
    return EditorRange{start, end - start};
}
