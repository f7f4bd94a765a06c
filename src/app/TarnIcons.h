// The window's symbols: line icons from the pinned lucide set, drawn in any colour and size.
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace TarnIcons {

// The lucide icon `lucideName` ("folder-open", "search", ...) with its strokes in `color`
// (alpha included). A null icon when the name is not among the icons built into the program.
QIcon icon(const QString &lucideName, const QColor &color);
// The same shape filled as well as stroked ("star" for a favourite).
QIcon filledIcon(const QString &lucideName, const QColor &color);
// Disabled buttons draw their icon at this opacity of `color`; the default suits toolbars.
QIcon icon(const QString &lucideName, const QColor &color, double disabledOpacity);

// The application's own icon.
QIcon applicationIcon();

} // namespace TarnIcons
