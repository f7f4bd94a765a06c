// Colours and fonts of the editor's chrome, derived from the reading theme (its base colours
// are ThemeColors).
#pragma once

#include "ThemeColors.h"

#include <TarnTheme.h>

#include <QColor>
#include <QFont>
#include <QPalette>

namespace EditorPalette {

// The find panel: the theme's background with a wash of the primary colour over it.
QColor panelBackground(TarnTheme theme);
QColor panelBorder(TarnTheme theme);
// "未保存" is shown in this colour.
QColor unsaved(TarnTheme theme);
QFont captionFont(const QFont &base);
// Text, field and button colours for controls drawn on the theme's background.
QPalette controlPalette(TarnTheme theme, QPalette base);

} // namespace EditorPalette
