// A sidebar row calls the model with its entry; it never touches the library itself.
#include "StoredFileRow.h"

#include "AppModel.h"
#include "ElidedLabel.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QContextMenuEvent>
#include <QDir>
#include <QGridLayout>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QPainterPath>

StoredFileRow::StoredFileRow(AppModel &model, const StoredFile &file, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_file(file)
{
    setObjectName(QStringLiteral("storedFileRow"));
    setCursor(Qt::PointingHandCursor);
    setToolTip(file.path);
    auto *grid = new QGridLayout(this);
    grid->setContentsMargins(10, 6, 8, 6);
    grid->setHorizontalSpacing(6);
    grid->setVerticalSpacing(1);

    m_name = new ElidedLabel(this);
    m_name->setObjectName(QStringLiteral("fileName"));
    m_name->setFont(WindowChrome::scaledFont(font(), 13, QFont::DemiBold));
    m_name->setText(file.displayName);
    grid->addWidget(m_name, 0, 0);

    m_folder = new ElidedLabel(this);
    m_folder->setObjectName(QStringLiteral("fileFolder"));
    m_folder->setFont(WindowChrome::scaledFont(font(), 11));
    m_folder->setText(folderLine(file));
    grid->addWidget(m_folder, 1, 0);

    m_star = new QLabel(this);
    m_star->setObjectName(QStringLiteral("favoriteStar"));
    m_star->setFixedSize(14, 14);
    grid->addWidget(m_star, 0, 1, 2, 1, Qt::AlignVCenter);
    grid->setColumnStretch(0, 1);
    setTheme(m_theme);
}

QString StoredFileRow::folderLine(const StoredFile &file)
{
    const QString folder = file.subtitle();
    const QString home = QDir::homePath();
    if (home.size() > 1 && (folder == home || folder.startsWith(home + QLatin1Char('/'))))
        return QStringLiteral("~") + folder.mid(home.size());
    return folder;
}

void StoredFileRow::setSelected(bool selected)
{
    m_selected = selected;
    update();
}

void StoredFileRow::setTheme(TarnTheme theme)
{
    m_theme = theme;
    QPalette p = palette();
    p.setColor(QPalette::WindowText, WindowChrome::primaryText(theme));
    m_name->setPalette(p);
    p.setColor(QPalette::WindowText, WindowChrome::secondaryText(theme));
    m_folder->setPalette(p);
    const QIcon star =
        m_file.isFavorite
            ? TarnIcons::filledIcon(QStringLiteral("star"), WindowChrome::accent(theme))
            : TarnIcons::icon(QStringLiteral("star"), WindowChrome::secondaryText(theme));
    m_star->setPixmap(star.pixmap(QSize(14, 14), devicePixelRatioF()));
    m_star->setToolTip(m_file.isFavorite ? QStringLiteral("已收藏") : QString());
    update();
}

QColor StoredFileRow::backgroundColor() const
{
    if (m_selected)
        return WindowChrome::withAlpha(WindowChrome::accent(m_theme), 0.16);
    if (m_hovered)
        return WindowChrome::withAlpha(WindowChrome::primaryText(m_theme), 0.05);
    return Qt::transparent;
}

QMenu *StoredFileRow::makeContextMenu(QWidget *parent)
{
    auto *menu = new QMenu(parent);
    const StoredFile file = m_file;
    AppModel *model = &m_model;
    menu->addAction(file.isFavorite ? QStringLiteral("取消收藏") : QStringLiteral("收藏"), model,
                    [model, file] { model->toggleFavorite(file); });
    menu->addAction(QStringLiteral("在文件管理器中显示"), model,
                    [model, file] { model->showInFinder(file); });
    menu->addAction(QStringLiteral("从最近记录移除"), model,
                    [model, file] { model->removeRecent(file); });
    return menu;
}

void StoredFileRow::paintEvent(QPaintEvent *)
{
    const QColor color = backgroundColor();
    if (color.alpha() == 0)
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()), 6, 6);
    painter.fillPath(path, color);
}

void StoredFileRow::mouseReleaseEvent(QMouseEvent *event)
{
    QWidget::mouseReleaseEvent(event);
    const QPoint at = event->position().toPoint();
    if (event->button() != Qt::LeftButton || !rect().contains(at))
        return;
    // Both calls may rebuild the sidebar, which deletes this row: call the model last.
    AppModel &model = m_model;
    const StoredFile file = m_file;
    // The star is small: a click a few pixels off it still means the star.
    if (m_star->geometry().adjusted(-starSlop, -starSlop, starSlop, starSlop).contains(at))
        model.toggleFavorite(file);
    else
        model.openStoredFile(file);
}

void StoredFileRow::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu *menu = makeContextMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(event->globalPos());
}

void StoredFileRow::enterEvent(QEnterEvent *event)
{
    QWidget::enterEvent(event);
    m_hovered = true;
    update();
}

void StoredFileRow::leaveEvent(QEvent *event)
{
    QWidget::leaveEvent(event);
    m_hovered = false;
    update();
}
