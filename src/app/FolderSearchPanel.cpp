// Each keystroke restarts the search (the last one is cancelled); files arrive in batches and
// are kept in path order.
#include "FolderSearchPanel.h"

#include "AppModel.h"
#include "WindowChrome.h"

#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

// Paints a hit's line with its match on a highlight.
class HitDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        const QVariant start = index.data(FolderSearchPanel::MatchStartRole);
        if (!start.isValid()) {
            QStyledItemDelegate::paint(painter, option, index);
            return;
        }
        QStyleOptionViewItem item = option;
        initStyleOption(&item, index);
        const QString text = item.text;
        item.text.clear();
        item.widget->style()->drawControl(QStyle::CE_ItemViewItem, &item, painter, item.widget);
        const QRect area = item.rect.adjusted(4, 0, -2, 0);
        const QFontMetrics metrics(item.font);
        const int from = start.toInt();
        const int length = index.data(FolderSearchPanel::MatchLengthRole).toInt();
        const QString before = text.left(from);
        const QString match = text.mid(from, length);
        const int x = area.left() + metrics.horizontalAdvance(before);
        painter->save();
        QColor mark = item.palette.color(QPalette::Highlight);
        mark.setAlphaF(0.35f);
        painter->fillRect(
            QRect(x, area.top() + 2, metrics.horizontalAdvance(match), area.height() - 4), mark);
        painter->setPen(item.palette.color(QPalette::Text));
        painter->drawText(area, Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine,
                          metrics.elidedText(text, Qt::ElideRight, area.width()));
        painter->restore();
    }
};

} // namespace

FolderSearchPanel::FolderSearchPanel(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_search(model.workspaceFolder())
{
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    m_field = new QLineEdit(this);
    m_field->setObjectName(QStringLiteral("folderSearchField"));
    m_field->setPlaceholderText(QStringLiteral("在文件夹中搜索"));
    m_field->setClearButtonEnabled(true);
    m_field->setFixedHeight(28);
    column->addWidget(m_field);
    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("folderSearchCount"));
    m_count->setFont(WindowChrome::scaledFont(font(), 11));
    column->addWidget(m_count);
    m_results = new QTreeWidget(this);
    m_results->setObjectName(QStringLiteral("folderSearchResults"));
    m_results->setHeaderHidden(true);
    m_results->setFrameShape(QFrame::NoFrame);
    m_results->setIndentation(8);
    m_results->setFocusPolicy(Qt::NoFocus);
    m_results->setUniformRowHeights(true);
    m_results->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_results->setItemDelegate(new HitDelegate(m_results));
    m_results->viewport()->setAutoFillBackground(false);
    column->addWidget(m_results, 1);
    m_count->hide();
    m_results->hide();

    connect(m_field, &QLineEdit::textChanged, this, &FolderSearchPanel::restart);
    connect(&m_search, &FolderSearch::filesFound, this, &FolderSearchPanel::addFiles);
    connect(m_results, &QTreeWidget::itemClicked, this, &FolderSearchPanel::activate);
    connect(&m_model.workspaceFolder(), &WorkspaceFolder::pathChanged, this, [this] {
        m_field->clear();
        restart();
    });
}

bool FolderSearchPanel::isActive() const
{
    return !m_field->text().trimmed().isEmpty();
}

void FolderSearchPanel::restart()
{
    const bool wasShown = m_results->isVisible();
    m_results->clear();
    m_hits.clear();
    m_fileCount = 0;
    m_hitCount = 0;
    m_query = m_field->text().trimmed();
    m_search.start(m_model.workspaceFolder().path(), m_query);
    const bool active = isActive();
    m_count->setVisible(active);
    m_results->setVisible(active);
    updateCount();
    if (active != wasShown)
        emit activeChanged(active);
}

void FolderSearchPanel::addFiles(const QList<FolderSearchFile> &files)
{
    const QDir root(m_model.workspaceFolder().path());
    m_results->setUpdatesEnabled(false);
    for (const FolderSearchFile &file : files) {
        m_hits.insert(file.path, file.hits);
        ++m_fileCount;
        m_hitCount += file.hitCount;
        auto *row = new QTreeWidgetItem;
        row->setText(0, root.relativeFilePath(file.path));
        row->setToolTip(0, file.path);
        row->setData(0, PathRole, file.path);
        row->setData(0, HitRole, -1);
        QFont bold = row->font(0);
        bold.setWeight(QFont::DemiBold);
        row->setFont(0, bold);
        for (int i = 0; i < file.hits.size(); ++i) {
            const FolderSearchHit &hit = file.hits[i];
            auto *line = new QTreeWidgetItem(row);
            line->setText(0, hit.lineText);
            line->setToolTip(0, QStringLiteral("第 %1 行").arg(hit.line + 1));
            line->setData(0, PathRole, file.path);
            line->setData(0, HitRole, i);
            line->setData(0, MatchStartRole, hit.lineMatch);
            line->setData(0, MatchLengthRole, hit.length);
        }
        // In path order, whichever worker found the file first.
        int at = 0;
        while (at < m_results->topLevelItemCount() &&
               m_results->topLevelItem(at)->data(0, PathRole).toString() < file.path)
            ++at;
        m_results->insertTopLevelItem(at, row);
        row->setExpanded(true);
    }
    m_results->setUpdatesEnabled(true);
    updateCount();
}

void FolderSearchPanel::updateCount()
{
    m_count->setText(QStringLiteral("%1 个文件中 %2 处").arg(m_fileCount).arg(m_hitCount));
}

void FolderSearchPanel::activate(QTreeWidgetItem *item)
{
    const QString path = item->data(0, PathRole).toString();
    const int index = item->data(0, HitRole).toInt();
    const QList<FolderSearchHit> hits = m_hits.value(path);
    if (hits.isEmpty())
        return;
    const int ordinal = std::max(index, 0);
    emit hitActivated(path, hits[ordinal], ordinal, m_query);
}
