// Window title, theme palette, initial placement and the quit-on-close rule.
#include "MainWindow.h"

#include "AppModel.h"
#include "ContentView.h"
#include "WindowChrome.h"

#include <QCloseEvent>
#include <QMenuBar>
#include <QScreen>

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
    const QSize content = ContentView::initialContentSize;
    resize(content.width(), content.height() + menuBar()->sizeHint().height());
    if (const QScreen *screen = this->screen()) {
        QRect frame(QPoint(0, 0), size());
        frame.moveCenter(screen->availableGeometry().center());
        move(frame.topLeft());
    }
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
