// The windowed program: single instance, translations, the model, the main window and menus,
// and the launch steps in their order.
#pragma once

#include "ContactWindow.h"
#include "MainWindow.h"

#include <QObject>
#include <QPointer>

#include <QStringList>
#include <QUrl>
#include <cstdio>

#include <memory>

class AppModel;
class DraftKeeper;
class DraftStore;
class QApplication;
class MainMenu;
class Platform;
class PdfExportService;
class QSettings;
class TarnUsageLogger;

class TarnApplication : public QObject
{
    Q_OBJECT

public:
    // Runs Tarn with its window, opening `files`; hands them to a running Tarn instead when
    // there is one. Returns the exit status.
    static int run(int &argc, char **argv, const QStringList &files);
    // Names, style, Qt's Chinese translations and text rendering; call once the application
    // object exists.
    static void configureApplication(QApplication &app);

    // Every collaborator must outlive this object. Needs a QApplication. With `drafts`, unsaved
    // edits are kept there for recovery after a crash, and the launch brings back what a
    // crashed Tarn left.
    TarnApplication(QSettings &settings, Platform &platform, PdfExportService &pdfExporter,
                    TarnUsageLogger &logger, DraftStore *drafts = nullptr,
                    QObject *parent = nullptr);
    ~TarnApplication() override;

    // The launch steps: log, icon, menu bar, window, files from the command line, recovered
    // drafts, menu localisation, and the window brought to the front.
    void launch(const QStringList &files);
    // Before the process ends on a signal or a logout: every unsaved draft on disk now.
    void writeDraftsNow();
    // Another launch asked to open `files` (absolute paths) and to be shown. While a dialog is
    // open the files wait, so that nothing changes underneath it.
    void openFromAnotherLaunch(const QStringList &files);

    AppModel &model() const { return *m_model; }
    MainMenu *menu() const { return m_menu; }
    MainWindow *mainWindow() const { return m_window; }
    ContactWindow *contactWindow() const { return m_contact; }

    // File URLs for command-line paths, made absolute against the current folder. Paths that
    // name no file, or a file Tarn does not open, are left out, reported on `errors` and added
    // to `refused`. A folder goes to `refused` unreported: the window opens it in the sidebar.
    static QList<QUrl> launchURLs(const QStringList &paths, FILE *errors = nullptr,
                                  QList<QUrl> *refused = nullptr);
    static QString version();

signals:
    // Dialogs the platform shows should be parented to this window.
    void mainWindowCreated(MainWindow *window);

private:
    MainWindow *ensureMainContentWindow();
    void showMainContentWindow(bool activate);
    void showContactWindow();
    void showAbout();
    void openHandedOverFiles();
    // Opens the documents among `paths` and alerts about the rest.
    void openGivenFiles(const QStringList &paths);

    Platform &m_platform;
    TarnUsageLogger &m_logger;
    std::unique_ptr<AppModel> m_model;
    std::unique_ptr<DraftKeeper> m_draftKeeper;
    MainMenu *m_menu = nullptr;
    QPointer<MainWindow> m_window;
    QPointer<ContactWindow> m_contact;
    QStringList m_handedOver;
    bool m_handOverScheduled = false;
};
