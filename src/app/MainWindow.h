// The one main window: the menu bar over ContentView. Closing it quits, after the model agrees.
#pragma once

#include <QMainWindow>
#include <QPointer>

class AppModel;
class ContentView;
class TarnDocument;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit MainWindow(AppModel &model, QWidget *parent = nullptr);

    ContentView *contentView() const { return m_content; }
    // Sizes the window for its initial content size, as far as its screen's available area
    // allows (the content's minimum gives way too), and centres it there.
    void placeInitially();
    // The same within `area`, a screen's available geometry.
    void placeIn(const QRect &area);
    // Room kept for the title bar while the window manager has not yet framed the window.
    static constexpr int titleBarAllowance = 40;

    // "Title — Tarn", or "Tarn" with no document selected.
    static QString titleFor(const TarnDocument *document);

signals:
    // The window was closed and the model agreed: the application should quit.
    void closeAccepted();

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void updateTitle();
    void updateTheme();

    AppModel &m_model;
    ContentView *m_content;
    QPointer<TarnDocument> m_titledDocument;
};
