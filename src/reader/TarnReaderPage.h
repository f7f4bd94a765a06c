// The web page behind the reader view: it shows what the host writes into it and nothing else.
#pragma once

#include <QWebEnginePage>

class TarnReaderPage : public QWebEnginePage
{
    Q_OBJECT

public:
    explicit TarnReaderPage(QObject *parent = nullptr);

protected:
    // Only the host's own page loads pass. Link clicks reach the host as "openLink" messages
    // and in-page "#" jumps never come here, so anything else would leave the reader page.
    bool acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame) override;
};
