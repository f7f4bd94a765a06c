// Keeps menu titles Chinese: English titles that Qt or the desktop insert are translated.
#pragma once

#include <QHash>
#include <QString>

#include <functional>

class QMenu;
class QMenuBar;

namespace MenuLocalizer {

// English title -> Chinese title, matched on the whole title, case-sensitively.
const QHash<QString, QString> &translations();

// Called with every submenu met on the way, so the caller can watch menus it did not create.
using MenuVisitor = std::function<void(QMenu *)>;

// Translates every item of `menu` whose title is in the table, and its submenus, recursively.
void localize(QMenu *menu, const MenuVisitor &visit = {});

// Localises the whole bar. `install` rebuilds an empty bar; `makeThemeMenu` supplies a new
// "主题" menu when the bar has lost it; it goes before "窗口", or before the last menu.
void localizeMenuBar(QMenuBar *bar, const std::function<void(QMenuBar *)> &install,
                     const std::function<QMenu *(QMenuBar *)> &makeThemeMenu,
                     const MenuVisitor &visit = {});

} // namespace MenuLocalizer
