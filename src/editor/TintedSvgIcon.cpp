// A small icon engine paints the SVG at each requested size instead of scaling one pixmap.
#include "TintedSvgIcon.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace {

class SvgEngine : public QIconEngine
{
public:
    SvgEngine(const QByteArray &svg, double opacity, double disabledOpacity)
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
        return new SvgEngine(m_svg, m_opacity, m_disabledOpacity);
    }

    QString key() const override { return QStringLiteral("TintedSvgIcon"); }

private:
    QByteArray m_svg;
    double m_opacity;
    double m_disabledOpacity;
};

} // namespace

namespace TintedSvgIcon {

QIcon tinted(QByteArray svg, const QColor &color, bool filled, double disabledOpacity)
{
    if (svg.isEmpty())
        return {};
    const QByteArray rgb = color.name(QColor::HexRgb).toLatin1();
    svg.replace("currentColor", rgb);
    if (filled)
        svg.replace("fill=\"none\"", "fill=\"" + rgb + "\"");
    if (!QSvgRenderer(svg).isValid())
        return {};
    return QIcon(new SvgEngine(svg, color.alphaF(), disabledOpacity));
}

QIcon plain(const QByteArray &svg)
{
    if (svg.isEmpty() || !QSvgRenderer(svg).isValid())
        return {};
    return QIcon(new SvgEngine(svg, 1.0, 1.0));
}

QByteArray read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return file.readAll();
}

} // namespace TintedSvgIcon
