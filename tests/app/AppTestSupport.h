// The app tests (window, menu and desktop services, one source file each) and what they share:
// a model over real files and settings, the window and its menu.
#pragma once

#include "AppModel.h"
#include "ContentView.h"
#include "MainMenu.h"
#include "MainWindow.h"
#include "ModelFixture.h"
#include "TopToolbar.h"

#include <QMenu>
#include <QMenuBar>

class AppHarness : public ModelFixture
{
public:
    using ModelFixture::ModelFixture;

    // Writes `text` (UTF-8) to `name` in the folder and returns its URL.
    QUrl file(const QString &name, const QString &text = QStringLiteral("# Title\n")) const;
    // Creates the files and opens them as tabs, the last one selected.
    void open(const QStringList &names);
};

using C = MainMenu::Command;

// The bar's item for `command` (the first, where two menus have it).
QAction *menuItem(const QMenuBar *bar, MainMenu::Command command);

// The main window with its menu bar over a fresh harness, shown at its initial size.
struct WindowFixture : AppHarness
{
    MainWindow window{*model};
    MainMenu menu{*model};
    ContentView &view = *window.contentView();
    TopToolbar &toolbar = *view.toolbar();

    explicit WindowFixture(const QByteArray &iniText = {});
    QMenu *topMenu(const QString &objectName) const;
    QAction *item(MainMenu::Command command) const { return menuItem(window.menuBar(), command); }
    // Opens and closes the menu, which validates it.
    void openMenu(const QString &objectName) const;
};

class TarnWebView;
// Whether the heading `id` comes to rest at the top of the view, where an outline jump puts it.
bool headingAtTop(TarnWebView *view, const QString &id);

// Gives the selected document an unsaved edit.
void makeSelectedDirty(AppModel &model, const QString &text = QStringLiteral("changed\n"));

class AppTest : public QObject
{
    Q_OBJECT

private slots: // tst_window.cpp, tst_menu.cpp and tst_desktop_services.cpp, and as marked
    void contentArea();
    void editingKeepsThePlace();
    void enableRules_data();
    void enableRules();
    void themes();
    void chineseTextWeight();
    void searchControl();
    void alerts();
    void drops();
    void tabStrip(); // tst_tabs_sidebar.cpp
    void manyTabs();
    void sidebar();
    void flavorMenuAndHint(); // tst_flavor.cpp
    void splitView_data();    // tst_split_view.cpp
    void splitView();

    void commandsReachTheModel();
    void editCommandsReachTheEditor();
    void launchedProgram();
    void windowFitsTheScreen();

    void recentDocuments_data();
    void recentDocuments();
    void contactDetails_data();
    void contactDetails();
    void singleInstanceKey_data();
    void singleInstanceKey();
    void singleInstanceSocket_data();
    void singleInstanceSocket();
    void qtPlatformReachesTheDesktop();
    void filePanels_data();
    void filePanels();
    void alertKeys_data();
    void alertKeys();
};
