// Expanding and collapsing tell the model which folders to watch; the model's reveal reads the
// levels down to the tab's file before the view selects it.
#include "FolderTreeView.h"

#include "AppModel.h"
#include "FolderTreeModel.h"
#include "TarnIcons.h"
#include "WindowChrome.h"
#include "WorkspaceFolder.h"

#include <QHeaderView>
#include <QSortFilterProxyModel>
#include <QTimer>

namespace {

// Names matching the file filter, their folders kept; symbols by kind.
class FolderFilter : public QSortFilterProxyModel
{
public:
    using QSortFilterProxyModel::QSortFilterProxyModel;

    QIcon folderIcon;
    QIcon fileIcon;

    QVariant data(const QModelIndex &index, int role) const override
    {
        if (role == Qt::DecorationRole)
            return index.data(FolderTreeModel::IsFolderRole).toBool() ? folderIcon : fileIcon;
        return QSortFilterProxyModel::data(index, role);
    }
};

} // namespace

FolderTreeView::FolderTreeView(AppModel &model, QWidget *parent)
    : QTreeView(parent)
    , m_model(model)
    , m_folder(new FolderTreeModel(this))
    , m_filter(new FolderFilter(this))
{
    setObjectName(QStringLiteral("folderTree"));
    setHeaderHidden(true);
    setFrameShape(QFrame::NoFrame);
    setUniformRowHeights(true);
    setIndentation(14);
    setFocusPolicy(Qt::NoFocus);
    setEditTriggers(NoEditTriggers);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTextElideMode(Qt::ElideMiddle);
    viewport()->setAutoFillBackground(false);
    m_filter->setRecursiveFilteringEnabled(true);
    m_filter->setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_filter->setSourceModel(m_folder);
    setModel(m_filter);

    connect(this, &QTreeView::expanded, this, [this](const QModelIndex &index) {
        if (!m_filtering)
            m_folder->setExpanded(m_filter->mapToSource(index), true);
    });
    connect(this, &QTreeView::collapsed, this, [this](const QModelIndex &index) {
        if (!m_filtering)
            m_folder->setExpanded(m_filter->mapToSource(index), false);
    });
    m_expandTimer = new QTimer(this);
    m_expandTimer->setSingleShot(true);
    m_expandTimer->setInterval(50);
    connect(m_expandTimer, &QTimer::timeout, this, [this] {
        if (m_filtering)
            expandAll();
    });
    // Levels keep arriving while the filter reads them all.
    connect(m_filter, &QAbstractItemModel::rowsInserted, this, [this] {
        if (m_filtering)
            m_expandTimer->start();
    });
    connect(this, &QTreeView::clicked, this, &FolderTreeView::openClicked);
    connect(m_folder, &FolderTreeModel::revealed, this, [this](const QModelIndex &index) {
        const QModelIndex shown = m_filter->mapFromSource(index);
        if (!shown.isValid())
            return;
        for (QModelIndex up = shown.parent(); up.isValid(); up = up.parent())
            expand(up);
        setCurrentIndex(shown);
        scrollTo(shown);
    });
    // A file of the folder opened elsewhere shows once its level has been read.
    connect(m_folder, &FolderTreeModel::levelLoaded, this, [this] {
        if (!currentIndex().isValid())
            revealSelectedDocument();
    });
    connect(&m_model.workspaceFolder(), &WorkspaceFolder::pathChanged, this,
            &FolderTreeView::showFolder);
    connect(&m_model, &AppModel::selectedDocumentChanged, this,
            &FolderTreeView::revealSelectedDocument);
    connect(&m_model, &AppModel::fileFilterChanged, this, &FolderTreeView::applyFilter);
    connect(&m_model, &AppModel::themeChanged, this, &FolderTreeView::updateTheme);
    updateTheme();
    showFolder();
}

QModelIndex FolderTreeView::viewIndex(const QString &path) const
{
    return m_filter->mapFromSource(m_folder->indexForPath(path));
}

void FolderTreeView::applyFilter()
{
    const QString filter = m_model.fileFilter().trimmed();
    const bool filtering = !filter.isEmpty();
    m_filter->setFilterFixedString(filter);
    if (filtering == m_filtering) {
        if (filtering)
            m_expandTimer->start();
        return;
    }
    if (!filtering) {
        // Back to what the user had opened.
        collapseAll();
        m_filtering = false;
        m_folder->setReadsEveryLevel(false);
        revealSelectedDocument();
        return;
    }
    m_filtering = true;
    m_folder->setReadsEveryLevel(true);
    m_expandTimer->start();
}

void FolderTreeView::showFolder()
{
    m_folder->setRootPath(m_model.workspaceFolder().path());
    revealSelectedDocument();
}

void FolderTreeView::revealSelectedDocument()
{
    const TarnDocument *document = m_model.selectedDocument();
    const QString path = document ? document->url().toLocalFile() : QString();
    if (path.isEmpty() || m_folder->rootPath().isEmpty() ||
        !path.startsWith(m_folder->rootPath() + u'/')) {
        setCurrentIndex({});
        return;
    }
    m_folder->reveal(path);
}

void FolderTreeView::openClicked(const QModelIndex &index)
{
    if (index.data(FolderTreeModel::IsFolderRole).toBool())
        return;
    const QString path = index.data(FolderTreeModel::PathRole).toString();
    m_model.openURLs({QUrl::fromLocalFile(path)}, false);
}

void FolderTreeView::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    auto *filter = static_cast<FolderFilter *>(m_filter);
    filter->folderIcon =
        TarnIcons::icon(QStringLiteral("folder-open"), WindowChrome::accent(theme));
    filter->fileIcon =
        TarnIcons::icon(QStringLiteral("file-text"), WindowChrome::secondaryText(theme));
    viewport()->update();
}
