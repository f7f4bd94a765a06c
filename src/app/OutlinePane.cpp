// Outline rows in a list view; a delegate indents each row by its heading level.
#include "OutlinePane.h"

#include "AppModel.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QString fromU16(const std::u16string &text)
{
    return QString::fromStdU16String(text);
}

class OutlineRowDelegate : public QStyledItemDelegate
{
public:
    static constexpr int rowPadding = 10;

    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        QStyleOptionViewItem indented(option);
        const int indent =
            OutlinePane::indentForLevel(index.data(OutlinePane::levelRole).toLongLong());
        indented.rect.adjust(rowPadding + indent, 0, -rowPadding, 0);
        // Rows show no selection or focus: the accent colour marks the current heading.
        indented.state &= ~(QStyle::State_Selected | QStyle::State_HasFocus);
        QStyledItemDelegate::paint(painter, indented, index);
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        QSize size = QStyledItemDelegate::sizeHint(option, index);
        size.setHeight(size.height() + 8);
        return size;
    }
};

} // namespace

OutlinePane::OutlinePane(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_headerIcon(new QLabel(this))
    , m_headerTitle(new QLabel(QStringLiteral("目录"), this))
    , m_emptyLabel(new QLabel(QStringLiteral("没有标题"), this))
    , m_rows(new QListWidget(this))
{
    setFixedWidth(paneWidth);

    QFont titleFont = m_headerTitle->font();
    titleFont.setWeight(QFont::DemiBold);
    m_headerTitle->setFont(titleFont);
    auto *header = new QHBoxLayout;
    header->setContentsMargins(14, 12, 14, 8);
    header->setSpacing(6);
    header->addWidget(m_headerIcon);
    header->addWidget(m_headerTitle, 1);

    m_emptyLabel->setContentsMargins(14, 4, 14, 4);
    m_emptyLabel->setAlignment(Qt::AlignLeft | Qt::AlignTop);

    m_rows->setFrameShape(QFrame::NoFrame);
    m_rows->setSelectionMode(QAbstractItemView::NoSelection);
    m_rows->setFocusPolicy(Qt::NoFocus);
    m_rows->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_rows->setTextElideMode(Qt::ElideRight);
    m_rows->setUniformItemSizes(true);
    m_rows->setMouseTracking(true);
    m_rows->viewport()->setCursor(Qt::PointingHandCursor);
    m_rows->viewport()->setAutoFillBackground(false);
    m_rows->setAutoFillBackground(false);
    m_rows->setItemDelegate(new OutlineRowDelegate(m_rows));
    connect(m_rows, &QListWidget::itemClicked, this, &OutlinePane::activate);

    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(header);
    layout->addWidget(m_emptyLabel);
    layout->addWidget(m_rows, 1);
    layout->addStretch(0);

    connect(&m_model, &AppModel::themeChanged, this, &OutlinePane::applyTheme);
    connect(&m_model, &AppModel::currentHeadingIDChanged, this, &OutlinePane::updateCurrentHeading);
    applyTheme();
    // No headings yet; setOutline({}) would return early with nothing changed.
    m_rows->setVisible(false);
}

int OutlinePane::indentForLevel(qint64 level)
{
    return int(indentPerLevel * std::clamp<qint64>(level - 1, 0, 5));
}

void OutlinePane::setOutline(const std::vector<TOCItem> &toc, bool known)
{
    if (toc == m_toc && m_rows->count() == int(toc.size()) && known == m_known)
        return;
    m_toc = toc;
    m_known = known;
    m_rows->clear();
    for (const TOCItem &heading : m_toc) {
        auto *row = new QListWidgetItem(fromU16(heading.title), m_rows);
        row->setData(headingIDRole, fromU16(heading.id));
        row->setData(levelRole, qlonglong(heading.level));
        row->setToolTip(fromU16(heading.title));
    }
    m_emptyLabel->setVisible(m_known && m_toc.empty());
    m_rows->setVisible(!m_toc.empty());
    updateCurrentHeading();
}

void OutlinePane::applyTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::sidebar(theme));
    const QColor secondary = WindowChrome::secondaryText(theme);
    m_headerIcon->setPixmap(TarnIcons::icon(QStringLiteral("list-tree"), secondary).pixmap(16, 16));
    QPalette labels = palette();
    labels.setColor(QPalette::WindowText, WindowChrome::primaryText(theme));
    m_headerTitle->setPalette(labels);
    QPalette list = m_rows->palette();
    list.setColor(QPalette::Base, Qt::transparent);
    m_rows->setPalette(list);
    labels.setColor(QPalette::WindowText, secondary);
    m_emptyLabel->setPalette(labels);
    updateCurrentHeading();
}

void OutlinePane::updateCurrentHeading()
{
    const TarnTheme theme = m_model.theme();
    const QString current = m_model.currentHeadingID();
    const QColor accent = WindowChrome::accent(theme);
    const QColor text = WindowChrome::primaryText(theme);
    for (int row = 0; row < m_rows->count(); ++row) {
        QListWidgetItem *item = m_rows->item(row);
        const bool isCurrent = !current.isEmpty() && item->data(headingIDRole) == current;
        const QColor wanted = isCurrent ? accent : text;
        if (item->foreground().color() != wanted)
            item->setForeground(wanted);
        if (isCurrent)
            m_rows->scrollToItem(item, QAbstractItemView::EnsureVisible);
    }
}

void OutlinePane::activate(QListWidgetItem *item)
{
    if (item)
        m_model.scrollToHeading(item->data(headingIDRole).toString());
}
