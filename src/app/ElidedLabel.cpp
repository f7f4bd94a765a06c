// Elides at paint time, so the text always matches the width the label has now.
#include "ElidedLabel.h"

#include <QPainter>
#include <QStyle>

ElidedLabel::ElidedLabel(QWidget *parent, Qt::TextElideMode mode)
    : QLabel(parent)
    , m_mode(mode)
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

QString ElidedLabel::displayedText() const
{
    return fontMetrics().elidedText(text(), m_mode, contentsRect().width());
}

QSize ElidedLabel::minimumSizeHint() const
{
    return QSize(0, QLabel::minimumSizeHint().height());
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    style()->drawItemText(&painter, contentsRect(), int(alignment()) | Qt::TextSingleLine,
                          palette(), isEnabled(), displayedText(), foregroundRole());
}
