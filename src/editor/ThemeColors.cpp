// Label colours follow the desktop's usual light and dark label colours.
#include "ThemeColors.h"

namespace ThemeColors {

QColor toColor(TarnRGB rgb)
{
    return QColor::fromRgbF(float(rgb.red), float(rgb.green), float(rgb.blue));
}

QColor withAlpha(QColor color, double alpha)
{
    color.setAlphaF(float(alpha));
    return color;
}

bool isDark(TarnTheme theme)
{
    return TarnThemes::colorScheme(theme) == TarnColorScheme::dark;
}

QColor blend(const QColor &base, const QColor &target, double amount)
{
    return QColor::fromRgbF(float(base.redF() + (target.redF() - base.redF()) * amount),
                            float(base.greenF() + (target.greenF() - base.greenF()) * amount),
                            float(base.blueF() + (target.blueF() - base.blueF()) * amount));
}

QColor background(TarnTheme theme)
{
    return toColor(TarnThemes::backgroundColor(theme));
}

QColor sidebar(TarnTheme theme)
{
    return toColor(TarnThemes::sidebarColor(theme));
}

QColor accent(TarnTheme theme)
{
    return toColor(TarnThemes::accentColor(theme));
}

QColor primaryText(TarnTheme theme)
{
    return isDark(theme) ? QColor(255, 255, 255, 230) : QColor(0, 0, 0, 217);
}

QColor secondaryText(TarnTheme theme)
{
    return isDark(theme) ? QColor(235, 235, 245, 153) : QColor(60, 60, 67, 153);
}

} // namespace ThemeColors
