// Paints the sidebar's rows; the row only draws, the sidebar turns clicks into model calls.
#include "StoredFileRow.h"

#include "AppModel.h"
#include "StoredFileListModel.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QDir>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>

namespace {

constexpr int kLeft = 10;
constexpr int kRight = 8;
constexpr int kVertical = 6;
constexpr int kGap = 1;   // between a row and the next
constexpr int kStar = 14; // the star's side
constexpr int kSpacing = 6;

QFont nameFont(const QFont &base)
{
    return WindowChrome::scaledFont(base, 13, QFont::DemiBold);
}

QFont folderFont(const QFont &base)
{
    return WindowChrome::scaledFont(base, 11);
}

} // namespace

StoredFileRow::StoredFileRow(QObject *parent)
    : QStyledItemDelegate(parent)
{
    setTheme(m_theme);
}

void StoredFileRow::setTheme(TarnTheme theme)
{
    m_theme = theme;
    m_star = TarnIcons::icon(QStringLiteral("star"), WindowChrome::secondaryText(theme));
    m_filledStar = TarnIcons::filledIcon(QStringLiteral("star"), WindowChrome::accent(theme));
}

QRect StoredFileRow::starRect(const QRect &row)
{
    return QRect(row.right() - kRight - kStar + 1, row.center().y() - kStar / 2 + 1, kStar, kStar);
}

QString StoredFileRow::folderLine(const QString &folder)
{
    const QString home = QDir::homePath();
    if (home.size() > 1 && (folder == home || folder.startsWith(home + QLatin1Char('/'))))
        return QStringLiteral("~") + folder.mid(home.size());
    return folder;
}

QMenu *StoredFileRow::makeContextMenu(AppModel &model, const StoredFile &file, QWidget *parent)
{
    auto *menu = new QMenu(parent);
    AppModel *target = &model;
    menu->addAction(file.isFavorite ? QStringLiteral("取消收藏") : QStringLiteral("收藏"), target,
                    [target, file] { target->toggleFavorite(file); });
    menu->addAction(QStringLiteral("在文件管理器中显示"), target,
                    [target, file] { target->showInFinder(file); });
    menu->addAction(QStringLiteral("从最近记录移除"), target,
                    [target, file] { target->removeRecent(file); });
    return menu;
}

void StoredFileRow::paint(QPainter *painter, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const
{
    const QRect row = option.rect.adjusted(0, kGap, 0, -kGap);
    const bool selected = !m_selectedPath.isEmpty() &&
                          index.data(StoredFileListModel::PathRole).toString() == m_selectedPath;
    QColor background = Qt::transparent;
    if (selected)
        background = WindowChrome::withAlpha(WindowChrome::accent(m_theme), 0.16);
    else if (option.state & QStyle::State_MouseOver)
        background = WindowChrome::withAlpha(WindowChrome::primaryText(m_theme), 0.05);

    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    if (background.alpha() > 0) {
        QPainterPath path;
        path.addRoundedRect(QRectF(row), 6, 6);
        painter->fillPath(path, background);
    }

    const QRect star = starRect(option.rect);
    const bool favorite = index.data(StoredFileListModel::FavoriteRole).toBool();
    (favorite ? m_filledStar : m_star).paint(painter, star);

    const QRect text(row.left() + kLeft, row.top() + kVertical,
                     star.left() - kSpacing - row.left() - kLeft, row.height() - 2 * kVertical);
    const QFont name = nameFont(option.font);
    const QFont folder = folderFont(option.font);
    const QFontMetrics nameMetrics(name);
    const QFontMetrics folderMetrics(folder);
    painter->setFont(name);
    painter->setPen(WindowChrome::primaryText(m_theme));
    painter->drawText(QRect(text.left(), text.top(), text.width(), nameMetrics.height()),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      nameMetrics.elidedText(index.data(Qt::DisplayRole).toString(),
                                             Qt::ElideMiddle, text.width()));
    const QString line = folderLine(index.data(StoredFileListModel::FolderRole).toString());
    painter->setFont(folder);
    painter->setPen(WindowChrome::secondaryText(m_theme));
    painter->drawText(QRect(text.left(), text.top() + nameMetrics.height() + 1, text.width(),
                            folderMetrics.height()),
                      Qt::AlignLeft | Qt::AlignVCenter,
                      folderMetrics.elidedText(line, Qt::ElideMiddle, text.width()));
    painter->restore();
}

QSize StoredFileRow::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    const int height = QFontMetrics(nameFont(option.font)).height() + 1 +
                       QFontMetrics(folderFont(option.font)).height() + 2 * kVertical + 2 * kGap;
    return QSize(option.rect.width(), height);
}
