// Theme-dependent colours of the editor pane.
#include "EditorPalette.h"

using ThemeColors::blend;
using ThemeColors::isDark;
using ThemeColors::withAlpha;

QColor EditorPalette::panelBackground(TarnTheme theme)
{
    const QColor base = ThemeColors::background(theme);
    const QColor tint = isDark(theme) ? Qt::white : Qt::black;
    return withAlpha(blend(base, tint, isDark(theme) ? 0.10 : 0.04), 0.97);
}

QColor EditorPalette::panelBorder(TarnTheme theme)
{
    return withAlpha(isDark(theme) ? Qt::white : Qt::black, 0.12);
}

QColor EditorPalette::unsaved(TarnTheme theme)
{
    return isDark(theme) ? QColor(255, 159, 10) : QColor(255, 149, 0);
}

QFont EditorPalette::captionFont(const QFont &base)
{
    QFont font = base;
    font.setPixelSize(11);
    return font;
}

QPalette EditorPalette::controlPalette(TarnTheme theme, QPalette base)
{
    const QColor background = ThemeColors::background(theme);
    const QColor tint = isDark(theme) ? Qt::white : Qt::black;
    const QColor text = ThemeColors::primaryText(theme);
    for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive}) {
        base.setColor(group, QPalette::Window, background);
        base.setColor(group, QPalette::WindowText, text);
        base.setColor(group, QPalette::Text, text);
        base.setColor(group, QPalette::ButtonText, text);
        base.setColor(group, QPalette::Base, blend(background, tint, isDark(theme) ? 0.08 : 0.0));
        base.setColor(group, QPalette::Button,
                      blend(background, tint, isDark(theme) ? 0.16 : 0.05));
        base.setColor(group, QPalette::PlaceholderText, ThemeColors::secondaryText(theme));
    }
    base.setColor(QPalette::Disabled, QPalette::Window, background);
    base.setColor(QPalette::Disabled, QPalette::Base, background);
    base.setColor(QPalette::Disabled, QPalette::Button, blend(background, tint, 0.04));
    base.setColor(QPalette::Disabled, QPalette::WindowText, ThemeColors::secondaryText(theme));
    base.setColor(QPalette::Disabled, QPalette::Text, ThemeColors::secondaryText(theme));
    base.setColor(QPalette::Disabled, QPalette::ButtonText, ThemeColors::secondaryText(theme));
    return base;
}
