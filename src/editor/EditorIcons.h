// Toolbar and find-panel symbols, drawn in a given colour.
#pragma once

#include <QColor>
#include <QIcon>
#include <QString>

namespace EditorIcons {

// The named symbol ("bold", "search", ...) in the colour; a null icon when the symbol set was not
// built in, in which case callers show a text label instead.
QIcon icon(const QString &name, const QColor &color);

} // namespace EditorIcons
