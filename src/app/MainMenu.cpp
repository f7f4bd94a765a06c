// The menu bar's items and their rules. Window commands act on the active window, editing
// commands on the focused widget; everything else calls the model. Shortcuts are spelled out
// rather than taken from the desktop's key bindings, which differ between desktops.
#include "MainMenu.h"

#include "AppModel.h"
#include "EditRouting.h"
#include "EditorNotifications.h"
#include "PlainTextEditView.h"
#include "Utf16Text.h"
#include "WorkspaceFolder.h"

#include <QApplication>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QWidget>

namespace {

// Kept in properties rather than QAction::data(), which items the desktop adds may use.
const char kCommandProperty[] = "tarnCommand";
const char kThemeProperty[] = "tarnTheme";

QString themeTitle(TarnTheme theme)
{
    const auto name = TarnThemes::displayName(theme);
    return toQString(name);
}

} // namespace

MainMenu::MainMenu(AppModel &model, QObject *parent)
    : QObject(parent)
    , m_model(model)
{
    for (auto signal : {&AppModel::selectedDocumentChanged, &AppModel::isEditingChanged,
                        &AppModel::canSaveSelectedDocumentChanged, &AppModel::showOutlineChanged,
                        &AppModel::themeChanged, &AppModel::markdownFlavorChanged,
                        &AppModel::tabsChanged, &AppModel::isSplitViewChanged})
        connect(&m_model, signal, this, &MainMenu::validateAll);
    connect(&m_model.workspaceFolder(), &WorkspaceFolder::pathChanged, this,
            &MainMenu::validateAll);
}

MainMenu::Command MainMenu::command(const QAction *action)
{
    const QVariant value = action ? action->property(kCommandProperty) : QVariant();
    return value.isValid() ? Command(value.toInt()) : Command::none;
}

QAction *MainMenu::addItem(QMenu *menu, const QString &title, Command command,
                           const QKeySequence &shortcut)
{
    QAction *action = menu->addAction(title);
    action->setProperty(kCommandProperty, int(command));
    action->setShortcut(shortcut);
    connect(action, &QAction::triggered, this,
            [this, command, action] { trigger(command, action); });
    m_actions << action;
    return action;
}

void MainMenu::install(QMenuBar *bar)
{
    QMenu *app = bar->addMenu(QStringLiteral("Tarn"));
    app->setObjectName(QStringLiteral("tarnMenu"));
    addItem(app, QStringLiteral("关于 Tarn"), Command::about);
    addItem(app, QStringLiteral("联系作者"), Command::contact);
    app->addSeparator();
    addItem(app, QStringLiteral("退出 Tarn"), Command::quit, QKeySequence(Qt::CTRL | Qt::Key_Q));

    QMenu *file = bar->addMenu(QStringLiteral("文件"));
    file->setObjectName(QStringLiteral("fileMenu"));
    addItem(file, QStringLiteral("打开..."), Command::open, QKeySequence(Qt::CTRL | Qt::Key_O));
    addItem(file, QStringLiteral("打开文件夹…"), Command::openFolder,
            QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O));
    addItem(file, QStringLiteral("在文件夹中搜索"), Command::findInFolder,
            QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F));
    addItem(file, QStringLiteral("关闭文件夹"), Command::closeFolder);
    file->addSeparator();
    addItem(file, QStringLiteral("保存"), Command::save, QKeySequence(Qt::CTRL | Qt::Key_S));
    file->addSeparator();
    addItem(file, QStringLiteral("导出 PDF..."), Command::exportPDF);
    addItem(file, QStringLiteral("导出 HTML..."), Command::exportHTML);
    file->addSeparator();
    addItem(file, QStringLiteral("关闭标签页"), Command::closeTab,
            QKeySequence(Qt::CTRL | Qt::Key_W));
    addItem(file, QStringLiteral("关闭窗口"), Command::closeWindow,
            QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_W));

    QMenu *edit = bar->addMenu(QStringLiteral("编辑"));
    edit->setObjectName(QStringLiteral("editMenu"));
    addItem(edit, QStringLiteral("撤销"), Command::undo, QKeySequence(Qt::CTRL | Qt::Key_Z));
    addItem(edit, QStringLiteral("重做"), Command::redo,
            QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z));
    edit->addSeparator();
    addItem(edit, QStringLiteral("剪切"), Command::cut, QKeySequence(Qt::CTRL | Qt::Key_X));
    addItem(edit, QStringLiteral("复制"), Command::copy, QKeySequence(Qt::CTRL | Qt::Key_C));
    addItem(edit, QStringLiteral("粘贴"), Command::paste, QKeySequence(Qt::CTRL | Qt::Key_V));
    addItem(edit, QStringLiteral("删除"), Command::deleteSelection);
    addItem(edit, QStringLiteral("全选"), Command::selectAll, QKeySequence(Qt::CTRL | Qt::Key_A));
    edit->addSeparator();
    addItem(edit, QStringLiteral("查找"), Command::find, QKeySequence(Qt::CTRL | Qt::Key_F));

    QMenu *view = bar->addMenu(QStringLiteral("视图"));
    view->setObjectName(QStringLiteral("viewMenu"));
    addItem(view, QStringLiteral("编辑 Markdown"), Command::toggleEditing,
            QKeySequence(Qt::CTRL | Qt::Key_E));
    QAction *split = addItem(view, QStringLiteral("分栏预览"), Command::toggleSplitView,
                             QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_E));
    split->setObjectName(QStringLiteral("splitViewItem"));
    split->setCheckable(true);
    addItem(view, QStringLiteral("显示目录"), Command::toggleOutline);
    QAction *flavor = addItem(view, QStringLiteral("标准 Markdown（GitHub 风格）"),
                              Command::toggleMarkdownFlavor);
    flavor->setObjectName(QStringLiteral("markdownFlavorItem"));
    flavor->setCheckable(true);
    view->addSeparator();
    addItem(view, QStringLiteral("进入全屏"), Command::toggleFullScreen, QKeySequence(Qt::Key_F11));

    bar->addMenu(makeThemeMenu(bar));

    QMenu *window = bar->addMenu(QStringLiteral("窗口"));
    window->setObjectName(QStringLiteral("windowMenu"));
    addItem(window, QStringLiteral("最小化"), Command::minimize,
            QKeySequence(Qt::CTRL | Qt::Key_M));
    addItem(window, QStringLiteral("缩放"), Command::zoom);
    window->addSeparator();
    addItem(window, QStringLiteral("全部前置"), Command::bringAllToFront);

    QMenu *help = bar->addMenu(QStringLiteral("帮助"));
    help->setObjectName(QStringLiteral("helpMenu"));
    addItem(help, QStringLiteral("联系作者"), Command::contact);
    help->addSeparator();
    addItem(help, QStringLiteral("打开使用日志"), Command::revealUsageLog);

    for (QAction *action : bar->actions())
        watch(action->menu());
    validateAll();
}

QMenu *MainMenu::makeThemeMenu(QWidget *parent)
{
    // Check marks, not radio buttons: validation keeps exactly one item checked.
    auto *menu = new QMenu(QStringLiteral("主题"), parent);
    menu->setObjectName(QStringLiteral("themeMenu"));
    for (const TarnTheme theme : TarnThemes::allCases) {
        QAction *action = addItem(menu, themeTitle(theme), Command::selectTheme);
        action->setProperty(kThemeProperty, int(theme));
        action->setCheckable(true);
    }
    watch(menu);
    validateMenu(menu);
    return menu;
}

void MainMenu::trigger(Command command, QAction *action)
{
    QWidget *active = QApplication::activeWindow();
    QWidget *focus = QApplication::focusWidget();
    switch (command) {
    case Command::none:
        break;
    case Command::about:
        emit aboutRequested();
        break;
    case Command::contact:
        emit contactRequested();
        break;
    case Command::quit:
        emit quitRequested();
        break;
    case Command::open:
        m_model.presentOpenPanel();
        break;
    case Command::openFolder:
        m_model.workspaceFolder().presentFolderPanel();
        break;
    case Command::closeFolder:
        m_model.workspaceFolder().close();
        break;
    case Command::findInFolder:
        emit folderFindRequested();
        break;
    case Command::save:
        m_model.saveSelectedDocument();
        break;
    case Command::exportPDF:
        m_model.exportSelectedDocumentAsPDF();
        break;
    case Command::exportHTML:
        m_model.exportSelectedDocumentAsHTML();
        break;
    case Command::closeTab:
        if (TarnDocument *document = m_model.selectedDocument())
            m_model.closeTab(document);
        break;
    case Command::closeWindow:
        if (active)
            active->close();
        break;
    case Command::undo:
        EditRouting::perform(EditRouting::Command::undo, focus);
        break;
    case Command::redo:
        EditRouting::perform(EditRouting::Command::redo, focus);
        break;
    case Command::cut:
        EditRouting::perform(EditRouting::Command::cut, focus);
        break;
    case Command::copy:
        EditRouting::perform(EditRouting::Command::copy, focus);
        break;
    case Command::paste:
        EditRouting::perform(EditRouting::Command::paste, focus);
        break;
    case Command::deleteSelection:
        EditRouting::perform(EditRouting::Command::deleteSelection, focus);
        break;
    case Command::selectAll:
        EditRouting::perform(EditRouting::Command::selectAll, focus);
        break;
    case Command::find:
        // The editor pane stays alive while reading, hidden; the notification is for an editor
        // on screen, and while reading the reader's search field takes the command.
        if (m_model.isEditing())
            emit EditorNotifications::instance()->showEditorFind();
        else
            emit readerFindRequested();
        break;
    case Command::toggleEditing:
        m_model.toggleEditing();
        break;
    case Command::toggleSplitView:
        m_model.toggleSplitView();
        validateAll(); // the check mark follows the model, not the click
        break;
    case Command::toggleOutline:
        m_model.toggleOutline();
        break;
    case Command::toggleMarkdownFlavor:
        m_model.setMarkdownFlavor(m_model.markdownFlavor() == MarkdownFlavor::gfm
                                      ? MarkdownFlavor::classic
                                      : MarkdownFlavor::gfm);
        validateAll(); // the check mark follows the model, not the click
        break;
    case Command::toggleFullScreen:
        if (active)
            active->setWindowState(active->windowState() ^ Qt::WindowFullScreen);
        break;
    case Command::selectTheme:
        m_model.setTheme(TarnTheme(action->property(kThemeProperty).toInt()));
        validateAll(); // choosing the current theme again must not clear its check mark
        break;
    case Command::minimize:
        if (active)
            active->showMinimized();
        break;
    case Command::zoom:
        if (active)
            active->setWindowState(active->windowState() ^ Qt::WindowMaximized);
        break;
    case Command::bringAllToFront:
        for (QWidget *window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && !window->isMinimized() &&
                qobject_cast<QMenu *>(window) == nullptr)
                window->raise();
        }
        if (active)
            active->activateWindow();
        break;
    case Command::revealUsageLog:
        m_model.revealUsageLog();
        break;
    }
}

void MainMenu::validate(QAction *action)
{
    const bool hasDocument = m_model.selectedDocument() != nullptr;
    switch (command(action)) {
    case Command::save:
        action->setEnabled(m_model.canSaveSelectedDocument());
        break;
    case Command::exportPDF:
    case Command::exportHTML:
    case Command::find:
    case Command::closeTab:
        action->setEnabled(hasDocument);
        break;
    case Command::toggleEditing:
        action->setEnabled(hasDocument);
        action->setText(m_model.isEditing() ? QStringLiteral("返回阅读")
                                            : QStringLiteral("编辑 Markdown"));
        break;
    case Command::toggleSplitView:
        action->setEnabled(hasDocument);
        action->setChecked(m_model.isSplitView());
        break;
    case Command::toggleOutline:
        action->setEnabled(hasDocument && !m_model.isEditing());
        action->setText(m_model.showOutline() ? QStringLiteral("隐藏目录")
                                              : QStringLiteral("显示目录"));
        break;
    case Command::closeFolder:
    case Command::findInFolder:
        action->setEnabled(!m_model.workspaceFolder().path().isEmpty());
        break;
    case Command::toggleMarkdownFlavor:
        action->setEnabled(true);
        action->setChecked(m_model.markdownFlavor() == MarkdownFlavor::gfm);
        break;
    case Command::selectTheme:
        action->setEnabled(true);
        action->setChecked(action->property(kThemeProperty).toInt() == int(m_model.theme()));
        break;
    case Command::undo: {
        // Named after the step it reverts, where the editor named it ("撤销全部替换").
        const auto *edit = qobject_cast<QPlainTextEdit *>(QApplication::focusWidget());
        const auto *view = edit ? edit->findChild<PlainTextEditView *>() : nullptr;
        action->setEnabled(true);
        action->setText(QStringLiteral("撤销") + (view ? view->undoActionName() : QString()));
        break;
    }
    case Command::toggleFullScreen: {
        const QWidget *active = QApplication::activeWindow();
        action->setEnabled(true);
        action->setText(active && active->isFullScreen() ? QStringLiteral("退出全屏")
                                                         : QStringLiteral("进入全屏"));
        break;
    }
    default:
        action->setEnabled(true);
        break;
    }
}

void MainMenu::validateMenu(QMenu *menu)
{
    if (!menu)
        return;
    for (QAction *action : menu->actions()) {
        if (action->isSeparator())
            continue;
        if (action->menu())
            continue; // validated when it opens
        validate(action);
    }
}

void MainMenu::validateAll()
{
    m_actions.removeAll(nullptr);
    for (const QPointer<QAction> &action : std::as_const(m_actions))
        validate(action);
}

void MainMenu::watch(QMenu *menu)
{
    if (menu)
        connect(menu, &QMenu::aboutToShow, this, [this, menu] { validateMenu(menu); });
}

QMenu *MainMenu::menu(const QMenuBar *bar, const QString &objectName)
{
    for (QAction *action : bar->actions()) {
        if (action->menu() && action->menu()->objectName() == objectName)
            return action->menu();
    }
    return nullptr;
}
