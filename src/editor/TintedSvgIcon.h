// Icons from SVG line art drawn in "currentColor", recoloured, and rendered at whatever size is
// asked, so they stay sharp on high-density screens. The window and the editor both use them.
#pragma once

#include <QByteArray>
#include <QColor>
#include <QIcon>

namespace TintedSvgIcon {

// Disabled buttons draw their icon at this share of its opacity, unless told otherwise.
inline constexpr double defaultDisabledOpacity = 0.35;

// `svg` with its strokes in `color` (its alpha as opacity); `filled` also fills the shapes
// that are drawn unfilled. A null icon when `svg` is empty or not valid SVG.
QIcon tinted(QByteArray svg, const QColor &color, bool filled = false,
             double disabledOpacity = defaultDisabledOpacity);
// `svg` in its own colours.
QIcon plain(const QByteArray &svg);

// The contents of a resource or file; empty when it cannot be read.
QByteArray read(const QString &path);

} // namespace TintedSvgIcon
