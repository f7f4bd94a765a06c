// Puts the folder's header, search and tree together and shows the results in the tree's place.
#include "FolderPane.h"

#include "AppModel.h"
#include "FolderSearchPanel.h"
#include "FolderTreeView.h"
#include "TarnIcons.h"
#include "WindowChrome.h"
#include "WorkspaceFolder.h"

#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

FolderPane::FolderPane(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("folderPane"));
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    auto *header = new QHBoxLayout;
    header->setContentsMargins(4, 0, 0, 0);
    m_title = new QLabel(this);
    m_title->setObjectName(QStringLiteral("folderTitle"));
    m_title->setFont(WindowChrome::scaledFont(font(), 12, QFont::DemiBold));
    header->addWidget(m_title, 1);
    m_close = new QToolButton(this);
    m_close->setObjectName(QStringLiteral("closeFolderButton"));
    m_close->setToolTip(QStringLiteral("关闭文件夹"));
    m_close->setAutoRaise(true);
    m_close->setFocusPolicy(Qt::NoFocus);
    header->addWidget(m_close);
    column->addLayout(header);
    m_search = new FolderSearchPanel(model, this);
    column->addWidget(m_search);
    m_tree = new FolderTreeView(model, this);
    column->addWidget(m_tree, 1);

    connect(m_close, &QToolButton::clicked, &m_model.workspaceFolder(), &WorkspaceFolder::close);
    connect(m_search, &FolderSearchPanel::activeChanged, this, [this, column](bool active) {
        m_tree->setVisible(!active);
        // The results need the room the tree had.
        column->setStretchFactor(m_search, active ? 1 : 0);
    });
    connect(&m_model.workspaceFolder(), &WorkspaceFolder::pathChanged, this,
            &FolderPane::updateFolder);
    connect(&m_model, &AppModel::themeChanged, this, &FolderPane::updateTheme);
    updateTheme();
    updateFolder();
}

void FolderPane::focusSearch()
{
    if (m_model.workspaceFolder().path().isEmpty())
        return;
    m_search->field()->setFocus(Qt::ShortcutFocusReason);
    m_search->field()->selectAll();
}

void FolderPane::updateFolder()
{
    const QString path = m_model.workspaceFolder().path();
    m_title->setText(QStringLiteral("文件夹 · ") + QFileInfo(path).fileName());
    m_title->setToolTip(path);
    setVisible(!path.isEmpty());
}

void FolderPane::updateTheme()
{
    m_close->setIcon(
        TarnIcons::icon(QStringLiteral("x"), WindowChrome::secondaryText(m_model.theme())));
}
