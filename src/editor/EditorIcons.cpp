// Loads the line-art symbols and recolours them, since they are drawn in "currentColor".
#include "EditorIcons.h"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

QIcon EditorIcons::icon(const QString &name, const QColor &color)
{
    QFile file(QStringLiteral(":/tarn-editor-icons/") + name + QStringLiteral(".svg"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QByteArray svg = file.readAll();
    svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
    QSvgRenderer renderer(svg);
    if (!renderer.isValid())
        return {};
    QIcon result;
    for (const int side : {16, 32, 48}) {
        QPixmap pixmap(side, side);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setOpacity(color.alphaF());
        renderer.render(&painter);
        painter.end();
        result.addPixmap(pixmap);
    }
    return result;
}
