// Refuses every navigation except the page loader's own.
#include "TarnReaderPage.h"

TarnReaderPage::TarnReaderPage(QObject *parent)
    : QWebEnginePage(parent)
{}

bool TarnReaderPage::acceptNavigationRequest(const QUrl &url, NavigationType type, bool isMainFrame)
{
    // The loader hands the engine a small data: document (typed navigation); the real page
    // is written into that document afterwards and needs no navigation of its own.
    return isMainFrame && type == NavigationTypeTyped &&
           url.scheme().compare(QLatin1String("data"), Qt::CaseInsensitive) == 0;
}
