// The window's symbols are built in under their own prefix; tinting is shared with the editor.
#include "TarnIcons.h"

#include "TintedSvgIcon.h"

namespace {

QIcon makeIcon(const QString &name, const QColor &color, bool filled, double disabledOpacity)
{
    return TintedSvgIcon::tinted(
        TintedSvgIcon::read(QStringLiteral(":/tarn-icons/") + name + QStringLiteral(".svg")), color,
        filled, disabledOpacity);
}

} // namespace

namespace TarnIcons {

QIcon icon(const QString &lucideName, const QColor &color)
{
    return makeIcon(lucideName, color, false, TintedSvgIcon::defaultDisabledOpacity);
}

QIcon filledIcon(const QString &lucideName, const QColor &color)
{
    return makeIcon(lucideName, color, true, TintedSvgIcon::defaultDisabledOpacity);
}

QIcon icon(const QString &lucideName, const QColor &color, double disabledOpacity)
{
    return makeIcon(lucideName, color, false, disabledOpacity);
}

QIcon applicationIcon()
{
    return TintedSvgIcon::plain(
        TintedSvgIcon::read(QStringLiteral(":/tarn-app/io.github.tarnapp.Tarn.svg")));
}

} // namespace TarnIcons
