// Tab colours and the style sheet that draws them through QTabBar.
#include "TabItem.h"

#include "WindowChrome.h"

namespace {

QString cssColor(const QColor &color)
{
    return QStringLiteral("rgba(%1, %2, %3, %4)")
        .arg(color.red())
        .arg(color.green())
        .arg(color.blue())
        .arg(color.alpha());
}

} // namespace

QColor TabItem::backgroundColor(TarnTheme theme, bool selected)
{
    if (selected)
        return WindowChrome::withAlpha(Qt::white, WindowChrome::isDark(theme) ? 0.16 : 0.84);
    return WindowChrome::withAlpha(WindowChrome::primaryText(theme), 0.055);
}

QColor TabItem::textColor(TarnTheme theme, bool selected)
{
    return selected ? WindowChrome::primaryText(theme) : WindowChrome::secondaryText(theme);
}

QString TabItem::styleSheet(TarnTheme theme)
{
    // The text colour is not set here: QTabBar's own per-tab text colour follows the selection.
    return QStringLiteral(
               "QTabBar { background: transparent; }"
               "QTabBar::tab { background: %1; border: none; border-radius: 6px;"
               " margin: 4px 2px; padding: 0px 6px 0px 10px; height: %3px; }"
               "QTabBar::tab:selected { background: %2; }"
               "QTabBar::scroller { width: 40px; }"
               "QTabBar QToolButton#ScrollLeftButton, QTabBar QToolButton#ScrollRightButton"
               " { background: %4; border: none; }")
        .arg(cssColor(backgroundColor(theme, false)), cssColor(backgroundColor(theme, true)))
        .arg(height)
        .arg(WindowChrome::sidebar(theme).name());
}
