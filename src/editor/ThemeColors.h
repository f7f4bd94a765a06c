// The reading theme's colours as Qt colours, and the label colours of its light or dark
// appearance: one table for the window's chrome and the editor's.
#pragma once

#include "TarnTheme.h"

#include <QColor>

namespace ThemeColors {

QColor toColor(TarnRGB rgb);
QColor withAlpha(QColor color, double alpha);
bool isDark(TarnTheme theme);
// `base` moved `amount` (0 to 1) of the way towards `target`; opaque.
QColor blend(const QColor &base, const QColor &target, double amount);

QColor background(TarnTheme theme);
QColor sidebar(TarnTheme theme);
QColor accent(TarnTheme theme);
QColor primaryText(TarnTheme theme);
QColor secondaryText(TarnTheme theme);

} // namespace ThemeColors
