// The text that reports a search's hits, shared by the reader's search field and the editor's
// find panel.
#pragma once

#include <QString>

// "无结果" without hits, "12 处" while no hit is current, otherwise "3/12" (`current` counts
// from 1). Callers decide when nothing is being searched and show no text then.
inline QString searchStatusText(int current, int count)
{
    if (count < 1)
        return QStringLiteral("无结果");
    if (current < 1)
        return QString::number(count) + QStringLiteral(" 处");
    return QString::number(current) + u'/' + QString::number(count);
}
