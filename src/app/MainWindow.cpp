// Window title, theme palette, initial placement and the quit-on-close rule.
#include "MainWindow.h"

#include "AppModel.h"
#include "ContentView.h"
#include "WindowChrome.h"

#include <QCloseEvent>
#include <QLayout>
#include <QMenuBar>
#include <QScreen>
#include <QWindow>

MainWindow::MainWindow(AppModel &model, QWidget *parent)
    : QMainWindow(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("mainWindow"));
    m_content = new ContentView(model, this);
    setCentralWidget(m_content);
    m_content->acceptDropsOnWindow();

    connect(&m_model, &AppModel::selectedDocumentChanged, this, &MainWindow::updateTitle);
    connect(&m_model, &AppModel::themeChanged, this, &MainWindow::updateTheme);
    updateTheme();
    updateTitle();
}

QString MainWindow::titleFor(const TarnDocument *document)
{
    if (!document)
        return QStringLiteral("Tarn");
    return QStringLiteral("%1[*] — Tarn").arg(document->title());
}

void MainWindow::placeInitially()
{
    if (const QScreen *screen = this->screen())
        placeIn(screen->availableGeometry());
    else
        resize(ContentView::initialContentSize.grownBy(
            QMargins(0, menuBar()->sizeHint().height(), 0, 0)));
}

void MainWindow::placeIn(const QRect &area)
{
    // Small screens (1366 × 768, 1280 × 720) must still hold the whole window, title bar and
    // menu bar included, so the minimum and the first size give way to the available area.
    const int menuHeight = menuBar()->sizeHint().height();
    const QMargins frame = isVisible() && windowHandle() ? windowHandle()->frameMargins()
                                                         : QMargins(0, titleBarAllowance, 0, 0);
    const QSize room = area.size().shrunkBy(frame);
    m_content->setMinimumSize(
        ContentView::minimumContentSize.boundedTo(room.shrunkBy(QMargins(0, menuHeight, 0, 0))));
    // The window's own minimum follows at once, or it would hold the first size up.
    if (layout())
        layout()->activate();
    const QSize size =
        ContentView::initialContentSize.grownBy(QMargins(0, menuHeight, 0, 0)).boundedTo(room);
    resize(size);
    QRect placed(QPoint(0, 0), size.grownBy(frame));
    placed.moveCenter(area.center());
    move(placed.topLeft());
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    // There is no dock to reopen a hidden window from, so closing the window is quitting.
    if (!m_model.confirmBeforeTerminating()) {
        event->ignore();
        return;
    }
    event->accept();
    emit closeAccepted();
}

void MainWindow::updateTitle()
{
    TarnDocument *document = m_model.selectedDocument();
    if (m_titledDocument != document) {
        if (m_titledDocument)
            disconnect(m_titledDocument, nullptr, this, nullptr);
        m_titledDocument = document;
        if (document) {
            connect(document, &TarnDocument::isDirtyChanged, this, [this] {
                if (m_titledDocument)
                    setWindowModified(m_titledDocument->isDirty());
            });
        }
    }
    setWindowTitle(titleFor(document));
    setWindowModified(document && document->isDirty());
}

void MainWindow::updateTheme()
{
    WindowChrome::apply(this, m_model.theme());
}
