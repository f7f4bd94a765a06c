// Window colours for each reading theme, and the palette and style the main window wears.
#pragma once

#include "TarnTheme.h"
#include "ThemeColors.h"

#include <QColor>
#include <QFont>
#include <QPalette>

class QWidget;

namespace WindowChrome {

// The theme's colours, shared with the editor.
using ThemeColors::accent;
using ThemeColors::background;
using ThemeColors::isDark;
using ThemeColors::primaryText;
using ThemeColors::secondaryText;
using ThemeColors::sidebar;
using ThemeColors::toColor;
using ThemeColors::withAlpha;
// Hairlines between the bars and panes.
QColor separator(TarnTheme theme);
// A translucent colour flattened onto an opaque one, for places Qt paints without blending.
QColor over(const QColor &color, const QColor &base);

// Window = the theme's background, text in the appearance's label colour, highlight = accent.
QPalette palette(TarnTheme theme);
// Gives `window`, everything in it and the application's other windows the theme's palette.
void apply(QWidget *window, TarnTheme theme);
// Paints `widget`'s own background in `color` (opaque colours only).
void fillBackground(QWidget *widget, const QColor &color);

QFont scaledFont(const QFont &base, int pixelSize, QFont::Weight weight = QFont::Normal);

} // namespace WindowChrome
