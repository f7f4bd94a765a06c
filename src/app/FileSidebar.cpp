// The file list is a QListView over the library's item model, filtered and ordered by a proxy;
// a click on a row's star toggles the favourite, anywhere else on the row it opens the file.
#include "FileSidebar.h"

#include "AppModel.h"
#include "FolderPane.h"
#include "StoredFileListModel.h"
#include "StoredFileRow.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMouseEvent>
#include <QVBoxLayout>

FileSidebar::FileSidebar(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("fileSidebar"));
    setFixedWidth(sidebarWidth);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(10, 14, 10, 8);
    column->setSpacing(10);

    auto *header = new QHBoxLayout;
    header->setContentsMargins(4, 0, 0, 0);
    header->setSpacing(7);
    m_symbol = new QLabel(this);
    m_symbol->setFixedSize(20, 20);
    header->addWidget(m_symbol);
    m_title = new QLabel(QStringLiteral("Tarn"), this);
    m_title->setObjectName(QStringLiteral("sidebarTitle"));
    m_title->setFont(WindowChrome::scaledFont(font(), 20, QFont::Bold));
    header->addWidget(m_title, 1);
    column->addLayout(header);

    m_filter = new QLineEdit(this);
    m_filter->setObjectName(QStringLiteral("fileFilterField"));
    m_filter->setPlaceholderText(QStringLiteral("搜索文件"));
    m_filter->setClearButtonEnabled(true);
    m_filter->setFixedHeight(28);
    m_filterSymbol = m_filter->addAction(QIcon(), QLineEdit::LeadingPosition);
    column->addWidget(m_filter);
    connect(m_filter, &QLineEdit::textEdited, &m_model, &AppModel::setFileFilter);
    connect(&m_model, &AppModel::fileFilterChanged, this, [this] {
        if (m_filter->text() != m_model.fileFilter())
            m_filter->setText(m_model.fileFilter());
    });

    m_sections = new QVBoxLayout;
    m_sections->setContentsMargins(0, 0, 0, 0);
    m_sections->setSpacing(10);
    column->addLayout(m_sections, 1);

    m_folderPane = new FolderPane(model, this);
    m_sections->addWidget(m_folderPane, 2);

    m_files = new StoredFileListModel(this);
    m_shown = new StoredFileFilterModel(this);
    m_shown->setSourceModel(m_files);
    m_rows = new StoredFileRow(this);
    m_list = new QListView(this);
    m_list->setObjectName(QStringLiteral("storedFileList"));
    m_list->setModel(m_shown);
    m_list->setItemDelegate(m_rows);
    // Rows are clicked, not focused: Tab goes from the filter field on to the content.
    m_list->setFocusPolicy(Qt::NoFocus);
    m_list->setFrameShape(QFrame::NoFrame);
    m_list->setSelectionMode(QAbstractItemView::NoSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setUniformItemSizes(true);
    m_list->setMouseTracking(true);
    m_list->setCursor(Qt::PointingHandCursor);
    m_list->viewport()->setAttribute(Qt::WA_Hover);
    m_list->viewport()->setAutoFillBackground(false);
    m_list->viewport()->installEventFilter(this);
    m_list->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(m_list, &QListView::customContextMenuRequested, this, &FileSidebar::showContextMenu);
    m_sections->addWidget(m_list, 1);

    connect(&m_model, &AppModel::filteredStoredFilesChanged, this, &FileSidebar::updateFiles);
    connect(&m_model, &AppModel::selectedDocumentChanged, this, &FileSidebar::updateSelection);
    connect(&m_model, &AppModel::themeChanged, this, &FileSidebar::updateTheme);
    updateTheme();
    updateFiles();
    updateSelection();
}

bool FileSidebar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched != m_list->viewport() || event->type() != QEvent::MouseButtonRelease)
        return QWidget::eventFilter(watched, event);
    const auto *mouse = static_cast<QMouseEvent *>(event);
    const QPoint at = mouse->position().toPoint();
    const QModelIndex index = m_list->indexAt(at);
    if (mouse->button() != Qt::LeftButton || !index.isValid())
        return QWidget::eventFilter(watched, event);
    const StoredFile file = m_shown->file(index.row());
    const int slop = StoredFileRow::starSlop;
    if (StoredFileRow::starRect(m_list->visualRect(index))
            .adjusted(-slop, -slop, slop, slop)
            .contains(at))
        m_model.toggleFavorite(file);
    else
        m_model.openStoredFile(file);
    return true;
}

void FileSidebar::showContextMenu(const QPoint &at)
{
    const QModelIndex index = m_list->indexAt(at);
    if (!index.isValid())
        return;
    QMenu *menu = StoredFileRow::makeContextMenu(m_model, m_shown->file(index.row()), this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->popup(m_list->viewport()->mapToGlobal(at));
}

void FileSidebar::updateFiles()
{
    if (m_files->files() != m_model.storedFiles())
        m_files->setFiles(m_model.storedFiles());
    m_shown->setFilterText(m_model.fileFilter());
}

void FileSidebar::updateSelection()
{
    const TarnDocument *document = m_model.selectedDocument();
    m_rows->setSelectedPath(document ? document->url().toLocalFile() : QString());
    m_list->viewport()->update();
}

void FileSidebar::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::sidebar(theme));
    m_symbol->setPixmap(TarnIcons::icon(QStringLiteral("file-text"), WindowChrome::accent(theme))
                            .pixmap(QSize(20, 20), devicePixelRatioF()));
    m_filterSymbol->setIcon(
        TarnIcons::icon(QStringLiteral("search"), WindowChrome::secondaryText(theme)));
    m_rows->setTheme(theme);
    m_list->viewport()->update();
}
