// The top-level blocks of a rendered fragment, found in its HTML without a full parse, so
// the preview hands the page only the blocks that changed.
#pragma once

#include <QList>

#include <QStringView>
#include <algorithm>

namespace FragmentBlocks {

// Each top-level element of `html` (well-formed, as the renderers and the sanitizer write it),
// in order, from its start tag to its end tag; text between elements is left out, as it is
// from a page's element children.
QList<QStringView> split(QStringView html);

// The stretch of blocks that differ between two lists: how many lead and trail unchanged.
struct Change
{
    qsizetype first = 0;   // blocks before the change, the same in both
    qsizetype removed = 0; // old blocks replaced
    qsizetype added = 0;   // new blocks in their place
};
template<typename Old, typename New> Change difference(const Old &before, const New &after)
{
    Change change;
    const qsizetype common = std::min(before.size(), after.size());
    while (change.first < common && before[change.first] == after[change.first])
        ++change.first;
    qsizetype last = 0;
    while (last < common - change.first &&
           before[before.size() - 1 - last] == after[after.size() - 1 - last])
        ++last;
    change.removed = before.size() - change.first - last;
    change.added = after.size() - change.first - last;
    return change;
}

} // namespace FragmentBlocks
