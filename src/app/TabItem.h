// How one tab of the title bar looks: its size limits and its colours in each theme.
#pragma once

#include "TarnTheme.h"

#include <QColor>
#include <QString>

class TabItem
{
public:
    static constexpr int maximumWidth = 220;
    static constexpr int height = 26;
    static constexpr int dotSize = 7;
    static constexpr int closeSize = 16;

    // What the tab is painted with in `theme`, selected or not.
    static QColor backgroundColor(TarnTheme theme, bool selected);
    static QColor textColor(TarnTheme theme, bool selected);
    // The tab strip's style sheet: rounded tabs in the colours above, on the bar's background.
    static QString styleSheet(TarnTheme theme);
};
