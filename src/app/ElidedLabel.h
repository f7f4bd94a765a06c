// A one-line label that shortens its text with "…" to whatever width the layout gives it.
#pragma once

#include <QLabel>

class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent = nullptr, Qt::TextElideMode mode = Qt::ElideMiddle);

    // The text as drawn at the label's current width.
    QString displayedText() const;

    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    Qt::TextElideMode m_mode;
};
