// Start-up of the windowed program and the application-level commands.
#include "TarnApplication.h"

#include "AppModel.h"
#include "ContactWindow.h"
#include "ContentView.h"
#include "DraftKeeper.h"
#include "DraftStore.h"
#include "FileSidebar.h"
#include "FolderPane.h"
#include "MainMenu.h"
#include "MainWindow.h"
#include "QtPlatform.h"
#include "SingleInstance.h"
#include "TarnIcons.h"
#include "TarnPdfExportService.h"
#include "TarnUsageLogger.h"
#include "TerminationSignals.h"
#include "TextRendering.h"
#include "TopToolbar.h"
#include "WebEngineProcess.h"
#include "WindowChrome.h"
#include "WorkspaceFolder.h"

#include <QApplication>
#include <QFileInfo>
#include <QLibraryInfo>
#include <QLocale>
#include <QMenuBar>
#include <QMessageBox>
#include <QSessionManager>
#include <QSettings>
#include <QStyleFactory>
#include <QTimer>
#include <QTranslator>

namespace {

// Qt's own dialogs and context menus (file dialogs, line edit and web view menus) in Chinese.
void installQtTranslations(QApplication &app)
{
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    for (const char *catalogue : {"qtbase_zh_CN", "qtwebengine_zh_CN"}) {
        auto *translator = new QTranslator(&app);
        if (translator->load(QLatin1String(catalogue), folder))
            QCoreApplication::installTranslator(translator);
        else
            delete translator;
    }
}

} // namespace

TarnApplication::TarnApplication(QSettings &settings, Platform &platform,
                                 PdfExportService &pdfExporter, TarnUsageLogger &logger,
                                 DraftStore *drafts, QObject *parent)
    : QObject(parent)
    , m_platform(platform)
    , m_logger(logger)
    , m_model(std::make_unique<AppModel>(settings, platform, pdfExporter, logger))
{
    if (drafts && drafts->isAcquired())
        m_draftKeeper = std::make_unique<DraftKeeper>(*m_model, *drafts);
    m_menu = new MainMenu(*m_model, this);
    connect(m_menu, &MainMenu::aboutRequested, this, &TarnApplication::showAbout);
    connect(m_menu, &MainMenu::contactRequested, this, &TarnApplication::showContactWindow);
    connect(m_menu, &MainMenu::quitRequested, this, [this] {
        if (m_window)
            m_window->close();
        else
            QCoreApplication::quit();
    });
    // The contact window stays open across theme changes and takes each new palette.
    connect(m_model.get(), &AppModel::themeChanged, this, [this] {
        if (m_contact)
            m_contact->setPalette(WindowChrome::palette(m_model->theme()));
    });
}

TarnApplication::~TarnApplication()
{
    delete m_contact;
    delete m_window;
}

QString TarnApplication::version()
{
    return QStringLiteral(TARN_VERSION);
}

QList<QUrl> TarnApplication::launchURLs(const QStringList &paths, FILE *errors,
                                        QList<QUrl> *refused)
{
    QList<QUrl> urls;
    auto report = [errors, refused](const QString &path, const char *problem) {
        if (errors)
            std::fprintf(errors, "tarn: %s: %s\n", qUtf8Printable(path), problem);
        if (refused)
            *refused << QUrl::fromLocalFile(QFileInfo(path).absoluteFilePath());
    };
    for (const QString &path : paths) {
        if (path.isEmpty())
            continue;
        const QFileInfo info(path);
        if (!info.exists())
            report(path, "no such file");
        else if (info.isDir() && refused) // a folder, for the window's sidebar
            *refused << QUrl::fromLocalFile(info.absoluteFilePath());
        else if (info.isDir() || !AppModel::isDocumentFile(info.absoluteFilePath()))
            report(path, "not a Markdown or text file");
        else
            urls << QUrl::fromLocalFile(info.absoluteFilePath());
    }
    return urls;
}

void TarnApplication::launch(const QStringList &files)
{
    m_logger.log(QStringLiteral("app.launch"), {{QStringLiteral("version"), version()}});
    const QIcon icon = TarnIcons::applicationIcon();
    if (!icon.isNull())
        QApplication::setWindowIcon(icon);
    MainWindow *window = ensureMainContentWindow();
    m_menu->install(window->menuBar());
    window->placeInitially(); // the menu bar's height is known now
    if (window->isMinimized())
        window->showNormal();
    window->show();
    window->raise();
    openGivenFiles(files);
    // After the command line's files, so that opening them does not ask about a recovered draft.
    if (m_draftKeeper)
        m_draftKeeper->restore();
    showMainContentWindow(true);
}

void TarnApplication::writeDraftsNow()
{
    if (m_draftKeeper)
        m_draftKeeper->writeAllNow();
}

void TarnApplication::openFromAnotherLaunch(const QStringList &files)
{
    m_handedOver << files;
    showMainContentWindow(true);
    openHandedOverFiles();
}

void TarnApplication::openHandedOverFiles()
{
    if (QApplication::activeModalWidget()) {
        if (!m_handOverScheduled) {
            m_handOverScheduled = true;
            QTimer::singleShot(100, this, [this] {
                m_handOverScheduled = false;
                openHandedOverFiles();
            });
        }
        return;
    }
    openGivenFiles(std::exchange(m_handedOver, {}));
}

void TarnApplication::openGivenFiles(const QStringList &paths)
{
    // `tarn DIR`, here or in a later launch, opens the folder in the sidebar.
    QStringList files;
    for (const QString &path : paths) {
        if (!path.isEmpty() && QFileInfo(path).isDir())
            m_model->workspaceFolder().open(path);
        else
            files << path;
    }
    QList<QUrl> refused;
    const QList<QUrl> urls = launchURLs(files, nullptr, &refused);
    if (!urls.isEmpty())
        m_model->openURLs(urls, false);
    // Started from a file manager there is no terminal to read: the window says it too.
    m_model->alertUnopenableFiles(refused);
}

MainWindow *TarnApplication::ensureMainContentWindow()
{
    if (m_window)
        return m_window;
    m_window = new MainWindow(*m_model);
    connect(m_menu, &MainMenu::readerFindRequested, m_window->contentView()->toolbar(),
            &TopToolbar::focusSearch);
    connect(m_menu, &MainMenu::folderFindRequested,
            m_window->contentView()->sidebar()->folderPane(), &FolderPane::focusSearch);
    connect(m_window, &MainWindow::closeAccepted, this, [] {
        // Leave the close event first, then end the event loop.
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
    });
    emit mainWindowCreated(m_window);
    return m_window;
}

void TarnApplication::showMainContentWindow(bool activate)
{
    MainWindow *window = ensureMainContentWindow();
    if (window->isMinimized())
        window->showNormal();
    window->show();
    window->raise();
    if (activate)
        window->activateWindow();
}

void TarnApplication::showContactWindow()
{
    if (!m_contact) {
        m_contact = new ContactWindow;
        m_contact->setAttribute(Qt::WA_DeleteOnClose);
        m_contact->setPalette(WindowChrome::palette(m_model->theme()));
        if (m_window) {
            m_contact->adjustSize();
            QRect frame(QPoint(0, 0), m_contact->size());
            frame.moveCenter(m_window->geometry().center());
            m_contact->move(frame.topLeft());
        }
    }
    m_contact->show();
    m_contact->raise();
    m_contact->activateWindow();
}

void TarnApplication::showAbout()
{
    QMessageBox box(m_window);
    box.setWindowTitle(QStringLiteral("关于 Tarn"));
    box.setIconPixmap(TarnIcons::applicationIcon().pixmap(QSize(64, 64)));
    box.setText(QStringLiteral("<b>Tarn</b>"));
    box.setInformativeText(QStringLiteral("版本 %1\nMarkdown 阅读与轻量编辑").arg(version()));
    box.addButton(QStringLiteral("好"), QMessageBox::AcceptRole);
    box.exec();
}

void TarnApplication::configureApplication(QApplication &app)
{
    QApplication::setApplicationName(QStringLiteral("tarn"));
    QApplication::setApplicationDisplayName(QStringLiteral("Tarn"));
    QApplication::setApplicationVersion(version());
    // The desktop entry's name, which Wayland compositors match windows with.
    QApplication::setDesktopFileName(QStringLiteral("io.github.tarnapp.Tarn"));
    QApplication::setQuitOnLastWindowClosed(false);
    // The themes paint the whole window through its palette, which Fusion follows everywhere.
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("Fusion")));
    // Dates, sizes and file type names in Qt's dialogs follow the interface's language.
    QLocale::setDefault(QLocale(QLocale::Chinese, QLocale::China));
    installQtTranslations(app);
    TextRendering::drawCffFontsUndarkened();
}

int TarnApplication::run(int &argc, char **argv, const QStringList &files)
{
    // Files that cannot open travel on too, so the window that shows up can say why.
    QList<QUrl> refused;
    QList<QUrl> given = launchURLs(files, stderr, &refused);
    given << refused;
    QStringList absolute;
    for (const QUrl &url : std::as_const(given))
        absolute << url.toLocalFile();
    if (SingleInstance().handOver(absolute))
        return 0;

    configureWebEngineForProcess();
    QApplication app(argc, argv);
    configureApplication(app);

    SingleInstance instance;
    if (!instance.listen()) {
        // Another Tarn started at the same moment and won the socket: it takes the files.
        if (SingleInstance().handOver(absolute))
            return 0;
        qWarning("tarn: cannot listen for later launches; each launch opens its own window");
    }

    QSettings settings(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("tarn"),
                       QStringLiteral("tarn"));
    QtPlatform platform;
    TarnPdfExportService pdfExporter;
    DraftStore drafts(DraftStore::defaultFolder());
    if (!drafts.acquire())
        qWarning("tarn: %s is in use by another Tarn; unsaved edits of this window cannot be "
                 "recovered after a crash",
                 qUtf8Printable(drafts.folder()));
    TarnApplication tarn(settings, platform, pdfExporter, TarnUsageLogger::shared(), &drafts);
    TerminationSignals termination;
    connect(&termination, &TerminationSignals::received, &tarn, [&tarn] {
        tarn.writeDraftsNow();
        QCoreApplication::exit(0);
    });
    connect(&tarn, &TarnApplication::mainWindowCreated, &tarn,
            [&platform](MainWindow *window) { platform.setWindow(window); });
    connect(&instance, &SingleInstance::activationRequested, &tarn,
            &TarnApplication::openFromAnotherLaunch);
    // Logging out keeps the drafts, then asks about them like quitting does.
    connect(&app, &QGuiApplication::commitDataRequest, &tarn, [&tarn](QSessionManager &manager) {
        tarn.writeDraftsNow();
        if (manager.allowsInteraction() && !tarn.model().confirmBeforeTerminating())
            manager.cancel();
        manager.release();
    });
    tarn.launch(absolute);
    return app.exec();
}
