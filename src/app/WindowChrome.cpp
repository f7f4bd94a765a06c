// Theme colours turned into Qt colours and palettes.
#include "WindowChrome.h"

#include <QApplication>
#include <QWidget>

namespace WindowChrome {

QColor separator(TarnTheme theme)
{
    return withAlpha(isDark(theme) ? Qt::white : Qt::black, isDark(theme) ? 0.14 : 0.10);
}

QColor over(const QColor &color, const QColor &base)
{
    return ThemeColors::blend(base, color, color.alphaF());
}

QPalette palette(TarnTheme theme)
{
    const QColor window = background(theme);
    const QColor text = over(primaryText(theme), window);
    const QColor muted = over(secondaryText(theme), window);
    const QColor base = isDark(theme) ? window.lighter(125) : QColor(Qt::white);
    const QColor button = isDark(theme) ? window.lighter(140) : window.darker(104);

    QPalette p;
    p.setColor(QPalette::Window, window);
    p.setColor(QPalette::WindowText, text);
    p.setColor(QPalette::Base, base);
    p.setColor(QPalette::AlternateBase, sidebar(theme));
    p.setColor(QPalette::Text, text);
    p.setColor(QPalette::PlaceholderText, muted);
    p.setColor(QPalette::Button, button);
    p.setColor(QPalette::ButtonText, text);
    p.setColor(QPalette::BrightText, Qt::white);
    p.setColor(QPalette::Highlight, accent(theme));
    p.setColor(QPalette::HighlightedText, Qt::white);
    p.setColor(QPalette::Link, accent(theme));
    p.setColor(QPalette::ToolTipBase, base);
    p.setColor(QPalette::ToolTipText, text);
    p.setColor(QPalette::Light, button.lighter(130));
    p.setColor(QPalette::Midlight, button.lighter(115));
    p.setColor(QPalette::Mid, button.darker(120));
    p.setColor(QPalette::Dark, button.darker(150));
    p.setColor(QPalette::Shadow, Qt::black);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        p.setColor(QPalette::Disabled, role, muted);
    return p;
}

void apply(QWidget *window, TarnTheme theme)
{
    // Application-wide, so menus, dialogs and the contact window follow the theme too.
    if (qApp)
        QApplication::setPalette(palette(theme));
    window->setPalette(palette(theme));
}

void fillBackground(QWidget *widget, const QColor &color)
{
    QPalette p = widget->palette();
    p.setColor(QPalette::Window, color);
    widget->setPalette(p);
    widget->setAutoFillBackground(true);
}

QFont scaledFont(const QFont &base, int pixelSize, QFont::Weight weight)
{
    QFont font = base;
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    return font;
}

} // namespace WindowChrome
