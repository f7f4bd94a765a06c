// Shows a complete reader page of any size in a web engine page, with a folder as its base.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <QWebEnginePage>

// The page text is written into a tiny document loaded with the base URL, because pages given to
// the engine directly travel as a data: URL, which fails silently past about 2 MB. Relative
// images and links then resolve against the base, and the page text stays exactly as given.
class ReaderPageLoader : public QObject
{
    Q_OBJECT

public:
    explicit ReaderPageLoader(QWebEnginePage *page, QObject *parent = nullptr);

    QWebEnginePage *page() const { return m_page; }

    // Replaces whatever the page shows. A load still running is abandoned: only the last
    // load ever reports. An empty base URL leaves relative references unresolved.
    void load(const QString &html, const QUrl &baseURL);

    // Starts loading the shell for a page that is still being made, so that the engine's part
    // of the load overlaps the making. The load() that follows, with the same base URL, writes
    // into it. Does nothing while a load runs.
    void prepare(const QUrl &baseURL);

    bool isLoading() const { return m_state != State::Idle; }

    // Lays out only the blocks near the screen until the reader scrolls or jumps past them, so a
    // long page shows at once; scroll positions stay those of the page laid out whole. The same
    // injected style lets long words break instead of widening the page. Printing needs the
    // whole page and has its own rules, so this is off unless asked for.
    void setLazyLayout(bool lazy) { m_lazyLayout = lazy; }

    // Writes the rest of a long page only once the engine has drawn its first screen, which the
    // page announces with a "firstScreen" message carrying the load's number; whoever receives
    // the page's messages passes it on to firstScreenDrawn. Without the message, the rest
    // follows after firstScreenWait.
    void setPaced(bool paced) { m_paced = paced; }
    void firstScreenDrawn(quint64 loadNumber);
    static constexpr int firstScreenWait = 300; // ms

    // A local folder URL with the trailing slash that makes it the base of relative references.
    static QUrl folderBaseURL(const QUrl &url);

signals:
    // A new load began: whatever the last one was waiting for is moot.
    void loadStarted();
    // The page has been written and its inline scripts have run; images may still be loading.
    void pageLoaded();
    void pageLoadFailed(const QString &errorString);

private:
    enum class State
    {
        Idle,
        LoadingShell,
        ShellReady, // prepared, and the page is still to come
        Writing
    };
    // Where a long page's writing stands with its first screen.
    enum class FirstScreen
    {
        Waiting,     // the first piece is on its way
        Drawn,       // drawn before the first piece's answer came back
        Written,     // written; the rest waits for the frame
        RestWritten, // the rest is on its way
    };

    void onShellLoadFinished(bool ok);
    void writePage();
    void writePiece(qsizetype index);
    void writeRestAfterFirstScreen();
    void writeRest(quint64 loadNumber);
    void fail(const QString &errorString);

    QPointer<QWebEnginePage> m_page;
    QString m_html;
    QList<QStringView> m_pieces; // of m_html, while it is written
    FirstScreen m_firstScreen = FirstScreen::Waiting;
    bool m_paced = false;
    bool m_waitingForPage = false; // prepared; load() has not come yet
    QUrl m_preparedBase;
    quint64 m_loadNumber = 0;
    State m_state = State::Idle;
    bool m_lazyLayout = false;
};
