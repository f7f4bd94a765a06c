// Tab painting and clicks; the tab only calls the model, which decides what happens.
#include "TabItem.h"

#include "AppModel.h"
#include "ElidedLabel.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolButton>

namespace {

constexpr int kHorizontalPadding = 10;
constexpr int kSpacing = 6;
constexpr int kCloseSize = 16;
// Glyphs may overhang their advance by a pixel or two; without room for that the title elides.
constexpr int kTextSlack = 4;

class Dot : public QWidget
{
public:
    using QWidget::QWidget;
    QColor color;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(color);
        painter.drawEllipse(rect());
    }
};

} // namespace

TabItem::TabItem(AppModel &model, TarnDocument *document, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_document(document)
{
    setObjectName(QStringLiteral("tabItem"));
    setMaximumWidth(maximumWidth);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(kHorizontalPadding, 0, 6, 0);
    row->setSpacing(kSpacing);

    m_dot = new Dot(this);
    m_dot->setObjectName(QStringLiteral("dirtyDot"));
    m_dot->setFixedSize(dotSize, dotSize);
    row->addWidget(m_dot);

    // The tab decides its width; the title is elided to whatever room is left.
    m_title = new ElidedLabel(this);
    m_title->setObjectName(QStringLiteral("tabTitle"));
    m_title->setFont(WindowChrome::scaledFont(font(), 12, QFont::Medium));
    row->addWidget(m_title, 1);

    m_close = new QToolButton(this);
    m_close->setObjectName(QStringLiteral("closeTabButton"));
    m_close->setToolTip(QStringLiteral("关闭标签页"));
    m_close->setText(QStringLiteral("×"));
    m_close->setAutoRaise(true);
    m_close->setFocusPolicy(Qt::NoFocus);
    m_close->setFixedSize(kCloseSize, kCloseSize);
    m_close->setIconSize(QSize(10, 10));
    row->addWidget(m_close);
    connect(m_close, &QToolButton::clicked, this, [this] {
        if (m_document)
            m_model.closeTab(m_document);
    });

    if (m_document) {
        connect(m_document, &TarnDocument::isDirtyChanged, this, &TabItem::updateDirty);
        setToolTip(m_document->url().toLocalFile());
    }
    updateDirty();
    updateColors();
    updateTitle();
}

void TabItem::setSelected(bool selected)
{
    if (selected == m_selected)
        return;
    m_selected = selected;
    updateColors();
}

void TabItem::setTheme(TarnTheme theme)
{
    m_theme = theme;
    updateColors();
}

QColor TabItem::backgroundColor(TarnTheme theme, bool selected)
{
    if (selected)
        return WindowChrome::withAlpha(Qt::white, WindowChrome::isDark(theme) ? 0.16 : 0.84);
    QColor primary = WindowChrome::primaryText(theme);
    return WindowChrome::withAlpha(primary, 0.055);
}

QSize TabItem::sizeHint() const
{
    const QString title = m_document ? m_document->title() : QString();
    const int wanted = kHorizontalPadding + dotSize + kSpacing +
                       m_title->fontMetrics().horizontalAdvance(title) + kTextSlack + kSpacing +
                       kCloseSize + 6;
    return QSize(qMin(wanted, int(maximumWidth)), 26);
}

void TabItem::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()), 6, 6);
    painter.fillPath(path, backgroundColor());
}

void TabItem::mousePressEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && m_document)
        m_model.selectTab(m_document->id());
    else if (event->button() == Qt::MiddleButton && m_document)
        m_model.closeTab(m_document);
    event->accept();
}

void TabItem::updateTitle()
{
    m_title->setText(m_document ? m_document->title() : QString());
}

void TabItem::updateDirty()
{
    // The dot keeps its room when hidden so the title does not jump while typing.
    QSizePolicy policy = m_dot->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    m_dot->setSizePolicy(policy);
    m_dot->setVisible(m_document && m_document->isDirty());
}

void TabItem::updateColors()
{
    const QColor text =
        m_selected ? WindowChrome::primaryText(m_theme) : WindowChrome::secondaryText(m_theme);
    QPalette p = m_title->palette();
    p.setColor(QPalette::WindowText, text);
    m_title->setPalette(p);
    static_cast<Dot *>(m_dot)->color = WindowChrome::accent(m_theme);
    m_dot->update();
    m_close->setIcon(TarnIcons::icon(QStringLiteral("x"), WindowChrome::secondaryText(m_theme)));
    update();
}
