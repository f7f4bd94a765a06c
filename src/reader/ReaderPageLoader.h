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

    bool isLoading() const { return m_state != State::Idle; }

    // Lays out only the blocks near the screen until the reader scrolls or jumps past them, so a
    // long page shows at once; scroll positions stay those of the page laid out whole. The same
    // injected style lets long words break instead of widening the page. Printing needs the
    // whole page and has its own rules, so this is off unless asked for.
    void setLazyLayout(bool lazy) { m_lazyLayout = lazy; }

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
        Writing
    };

    void onShellLoadFinished(bool ok);
    void writePage();
    void fail(const QString &errorString);

    QPointer<QWebEnginePage> m_page;
    QString m_html;
    quint64 m_loadNumber = 0;
    State m_state = State::Idle;
    bool m_lazyLayout = false;
};
