// Rebuilds the rows whenever the filtered library changes, and highlights the open document.
#include "FileSidebar.h"

#include "AppModel.h"
#include "FolderPane.h"
#include "StoredFileRow.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QAction>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
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

    m_folderPane = new FolderPane(model, this);
    column->addWidget(m_folderPane, 2);

    m_scroll = new QScrollArea(this);
    // Rows are clicked, not focused: Tab goes from the filter field on to the content.
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->setObjectName(QStringLiteral("storedFileList"));
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setWidgetResizable(true);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_list = new QWidget(m_scroll);
    m_list->setAutoFillBackground(false);
    auto *rows = new QVBoxLayout(m_list);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(2);
    rows->addStretch(1);
    m_scroll->setWidget(m_list);
    column->addWidget(m_scroll, 1);

    connect(&m_model, &AppModel::filteredStoredFilesChanged, this, &FileSidebar::rebuildRows);
    connect(&m_model, &AppModel::selectedDocumentChanged, this, &FileSidebar::updateSelection);
    connect(&m_model, &AppModel::themeChanged, this, &FileSidebar::updateTheme);
    updateTheme();
    rebuildRows();
}

void FileSidebar::rebuildRows()
{
    auto *layout = static_cast<QVBoxLayout *>(m_list->layout());
    // Rows go later, not at once: a row's own menu or click may be what changed the library.
    for (StoredFileRow *row : std::as_const(m_rows)) {
        layout->removeWidget(row);
        row->hide();
        row->deleteLater();
    }
    m_rows.clear();
    const QList<StoredFile> files = m_model.filteredStoredFiles();
    for (const StoredFile &file : files) {
        auto *row = new StoredFileRow(m_model, file, m_list);
        row->setTheme(m_model.theme());
        layout->insertWidget(layout->count() - 1, row);
        m_rows << row;
    }
    updateSelection();
}

void FileSidebar::updateSelection()
{
    const TarnDocument *document = m_model.selectedDocument();
    const QString path = document ? document->url().toLocalFile() : QString();
    for (StoredFileRow *row : std::as_const(m_rows))
        row->setSelected(!path.isEmpty() && row->file().path == path);
}

void FileSidebar::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::sidebar(theme));
    m_symbol->setPixmap(TarnIcons::icon(QStringLiteral("file-text"), WindowChrome::accent(theme))
                            .pixmap(QSize(20, 20), devicePixelRatioF()));
    m_filterSymbol->setIcon(
        TarnIcons::icon(QStringLiteral("search"), WindowChrome::secondaryText(theme)));
    for (StoredFileRow *row : std::as_const(m_rows))
        row->setTheme(theme);
}
