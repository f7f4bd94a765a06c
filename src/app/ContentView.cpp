// Lays out the window's parts and switches the content area with the model's state.
#include "ContentView.h"

#include "AppModel.h"
#include "EditorPane.h"
#include "EmptyTarnState.h"
#include "FileSidebar.h"
#include "FolderHitOpener.h"
#include "FolderPane.h"
#include "FolderSearchPanel.h"
#include "ReaderPane.h"
#include "SplitPreviewView.h"
#include "TarnEditorTextView.h"
#include "TarnWebView.h"
#include "TitleTabBar.h"
#include "TopToolbar.h"
#include "WindowChrome.h"
#include "WindowFileDrop.h"

#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace {

QWidget *makeLine(QWidget *parent, bool vertical)
{
    auto *line = new QWidget(parent);
    if (vertical)
        line->setFixedWidth(1);
    else
        line->setFixedHeight(1);
    line->setAutoFillBackground(true);
    return line;
}

} // namespace

ContentView::ContentView(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("contentView"));
    setMinimumSize(minimumContentSize);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);

    m_tabBar = new TitleTabBar(model, this);
    column->addWidget(m_tabBar);
    m_divider = makeLine(this, false);
    column->addWidget(m_divider);
    m_toolbar = new TopToolbar(model, this);
    column->addWidget(m_toolbar);

    auto *row = new QHBoxLayout;
    row->setSpacing(0);
    m_sidebar = new FileSidebar(model, this);
    row->addWidget(m_sidebar);
    m_sidebarDivider = makeLine(this, true);
    row->addWidget(m_sidebarDivider);
    m_content = new QStackedWidget(this);
    m_content->setObjectName(QStringLiteral("contentArea"));
    row->addWidget(m_content, 1);
    column->addLayout(row, 1);

    m_emptyState = new EmptyTarnState(model, m_content);
    m_content->addWidget(m_emptyState);
    m_editor = new EditorPane(m_content);
    m_content->addWidget(m_editor);
    m_reader = new ReaderPane(model, m_content);
    m_content->addWidget(m_reader);
    m_split = new SplitPreviewView(model, m_content);
    m_content->addWidget(m_split);
    connect(m_sidebar->folderPane()->searchPanel(), &FolderSearchPanel::hitActivated,
            new FolderHitOpener(model, *m_editor, *m_reader, this), &FolderHitOpener::open);
    connect(m_editor, &EditorPane::topLineChanged, &m_model, [this](int line) {
        if (m_model.isEditing())
            m_model.setEditorTopLine(line);
    });
    connect(m_editor, &EditorPane::saveRequested, &m_model, [this](TarnDocument *document) {
        if (document)
            m_model.saveDocument(document);
    });

    for (auto signal : {&AppModel::selectedDocumentChanged, &AppModel::isEditingChanged,
                        &AppModel::tabsChanged, &AppModel::isSplitViewChanged})
        connect(&m_model, signal, this, &ContentView::updateContent);
    connect(&m_model, &AppModel::themeChanged, this, &ContentView::updateTheme);
    connect(&m_model, &AppModel::alertChanged, this, &ContentView::presentAlert);
    updateTheme();
    updateContent();
}

QWidget *ContentView::currentContent() const
{
    return m_content->currentWidget();
}

void ContentView::acceptDropsOnWindow()
{
    if (m_drop)
        return;
    m_drop = new WindowFileDrop(window(),
                                [this](const QList<QUrl> &urls) { m_model.openURLs(urls, false); });
}

void ContentView::updateContent()
{
    TarnDocument *document = m_model.selectedDocument();
    if (!document) {
        m_editor->setDocument(nullptr);
        m_content->setCurrentWidget(m_emptyState);
        return;
    }
    if (m_model.isEditing()) {
        // Read first: filling the editor scrolls it to the top, which it reports.
        const int topLine = m_model.editorTopLine();
        if (m_editor->document() != document)
            m_editor->setDocument(document);
        // The one editor moves between the content area and the split view's left side.
        QWidget *shown = m_model.isSplitView() ? static_cast<QWidget *>(m_split) : m_editor;
        const bool entering = m_content->currentWidget() != shown;
        // Between the editor alone and the split view the text stays where it is.
        const bool wasEditing =
            m_content->currentWidget() == m_editor || m_content->currentWidget() == m_split;
        if (m_model.isSplitView() && m_editor->parentWidget() == m_content) {
            m_content->removeWidget(m_editor);
            m_split->takeEditor(m_editor);
        } else if (!m_model.isSplitView() && m_editor->parentWidget() != m_content) {
            m_content->addWidget(m_editor);
        }
        m_content->setCurrentWidget(shown);
        if (m_model.isSplitView())
            m_split->refresh();
        // Typing goes to the text at once, as it would after clicking the edit button, and
        // the text opens at the place that was being read.
        if (entering)
            m_editor->textView()->setFocus(Qt::OtherFocusReason);
        if (entering && !wasEditing) {
            m_editor->showLineAtTop(topLine);
            m_model.setEditorTopLine(m_editor->topLine());
        }
        return;
    }
    m_editor->setDocument(nullptr);
    const bool entering = m_content->currentWidget() != m_reader;
    m_content->setCurrentWidget(m_reader);
    // A document opened, selected or done editing takes the keys: Space, Page Down, the arrows
    // and Home/End scroll it at once, without a click into the page first.
    if (entering || m_readingDocument != document) {
        m_readingDocument = document;
        if (TarnWebView *view = m_reader->currentView())
            view->setFocus(Qt::OtherFocusReason);
    }
}

void ContentView::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::background(theme));
    // The hairlines lie on the bars' colour.
    const QColor hairline =
        WindowChrome::over(WindowChrome::separator(theme), WindowChrome::sidebar(theme));
    for (QWidget *line : {m_divider, m_sidebarDivider})
        WindowChrome::fillBackground(line, hairline);
    m_editor->setTheme(theme);
}

void ContentView::presentAlert()
{
    const std::optional<AppAlert> alert = m_model.alert();
    if (!alert || alert->id == m_alertID)
        return;
    if (m_alertBox)
        m_alertBox->close();
    m_alertID = alert->id;
    auto *box = new QMessageBox(QMessageBox::Warning, QStringLiteral("Tarn"), alert->title,
                                QMessageBox::NoButton, window());
    box->setObjectName(QStringLiteral("appAlert"));
    box->setInformativeText(alert->message);
    box->setDefaultButton(box->addButton(QStringLiteral("好"), QMessageBox::AcceptRole));
    box->setAttribute(Qt::WA_DeleteOnClose);
    connect(box, &QMessageBox::finished, &m_model, [this, id = alert->id] {
        const std::optional<AppAlert> current = m_model.alert();
        if (current && current->id == id)
            m_model.setAlert(std::nullopt);
    });
    m_alertBox = box;
    // Window-modal and without a nested event loop: the model call that raised it returns.
    box->open();
}
