// Recolours the line icons, which are drawn in "currentColor", and renders them at any size so
// they stay sharp on high-density screens.
#include "TarnIcons.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace {

constexpr double kDefaultDisabledOpacity = 0.35;

class TintedSvgEngine : public QIconEngine
{
public:
    TintedSvgEngine(const QByteArray &svg, double opacity, double disabledOpacity)
        : m_svg(svg)
        , m_opacity(opacity)
        , m_disabledOpacity(disabledOpacity)
    {}

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        QSvgRenderer renderer(m_svg);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setOpacity(painter->opacity() * m_opacity *
                            (mode == QIcon::Disabled ? m_disabledOpacity : 1.0));
        renderer.render(painter, QRectF(rect));
        painter->restore();
    }

    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap result(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return result;
    }

    QIconEngine *clone() const override
    {
        return new TintedSvgEngine(m_svg, m_opacity, m_disabledOpacity);
    }

    QString key() const override { return QStringLiteral("TintedSvgEngine"); }

private:
    QByteArray m_svg;
    double m_opacity;
    double m_disabledOpacity;
};

QByteArray readResource(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

QIcon makeIcon(const QString &name, const QColor &color, bool filled, double disabledOpacity)
{
    QByteArray svg = readResource(QStringLiteral(":/tarn-icons/") + name + QStringLiteral(".svg"));
    if (svg.isEmpty())
        return {};
    const QByteArray rgb = color.name(QColor::HexRgb).toLatin1();
    svg.replace("currentColor", rgb);
    if (filled)
        svg.replace("fill=\"none\"", "fill=\"" + rgb + "\"");
    if (!QSvgRenderer(svg).isValid())
        return {};
    return QIcon(new TintedSvgEngine(svg, color.alphaF(), disabledOpacity));
}

} // namespace

namespace TarnIcons {

QIcon icon(const QString &lucideName, const QColor &color)
{
    return makeIcon(lucideName, color, false, kDefaultDisabledOpacity);
}

QIcon filledIcon(const QString &lucideName, const QColor &color)
{
    return makeIcon(lucideName, color, true, kDefaultDisabledOpacity);
}

QIcon icon(const QString &lucideName, const QColor &color, double disabledOpacity)
{
    return makeIcon(lucideName, color, false, disabledOpacity);
}

QIcon applicationIcon()
{
    const QByteArray svg = readResource(QStringLiteral(":/tarn-app/io.github.tarnapp.Tarn.svg"));
    if (svg.isEmpty() || !QSvgRenderer(svg).isValid())
        return {};
    return QIcon(new TintedSvgEngine(svg, 1.0, 1.0));
}

} // namespace TarnIcons
