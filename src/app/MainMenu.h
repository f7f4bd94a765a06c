// The menu bar: building it with its Chinese titles, and enabling and retitling its items from
// the application's state.
#pragma once

#include "TarnTheme.h"

#include <QKeySequence>
#include <QList>
#include <QObject>
#include <QPointer>

class AppModel;
class QAction;
class QMenu;
class QMenuBar;
class QWidget;

class MainMenu : public QObject
{
    Q_OBJECT

public:
    // What an item does; validation goes by this, as it would by an item's action.
    enum class Command
    {
        none,
        about,
        contact,
        quit,
        open,
        save,
        exportPDF,
        exportHTML,
        closeTab,
        closeWindow,
        undo,
        redo,
        cut,
        copy,
        paste,
        deleteSelection,
        selectAll,
        find,
        toggleEditing,
        toggleSplitView,
        toggleOutline,
        toggleMarkdownFlavor,
        toggleFullScreen,
        selectTheme,
        minimize,
        zoom,
        bringAllToFront,
        revealUsageLog,
        openFolder,
        closeFolder,
        findInFolder
    };
    Q_ENUM(Command)

    explicit MainMenu(AppModel &model, QObject *parent = nullptr);

    // Fills an empty bar with every menu.
    void install(QMenuBar *bar);
    // "主题" with the four themes in their fixed order.
    QMenu *makeThemeMenu(QWidget *parent);

    // The bar's menu with this object name ("fileMenu", "themeMenu", ...): code finds menus by
    // name, since titles are for people.
    static QMenu *menu(const QMenuBar *bar, const QString &objectName);

    // Enables, retitles and checks one item from the model's state.
    void validate(QAction *action);
    void validateMenu(QMenu *menu);
    // Every item created here, so shortcuts follow the state without a menu being opened.
    void validateAll();

    static Command command(const QAction *action);

signals:
    void aboutRequested();
    void contactRequested();
    void quitRequested();
    // The Find command while reading: the window focuses its search field.
    void readerFindRequested();
    // "在文件夹中搜索": the sidebar focuses its folder search field.
    void folderFindRequested();

private:
    QAction *addItem(QMenu *menu, const QString &title, Command command,
                     const QKeySequence &shortcut = {});
    void trigger(Command command, QAction *action);
    // Validates `menu` each time it is about to open.
    void watch(QMenu *menu);

    AppModel &m_model;
    QList<QPointer<QAction>> m_actions;
};
