// The editor's symbols are built in under their own prefix; tinting is shared with the window.
#include "EditorIcons.h"

#include "TintedSvgIcon.h"

QIcon EditorIcons::icon(const QString &name, const QColor &color)
{
    return TintedSvgIcon::tinted(
        TintedSvgIcon::read(QStringLiteral(":/tarn-editor-icons/") + name + QStringLiteral(".svg")),
        color);
}
