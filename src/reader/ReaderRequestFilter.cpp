// Blocks every request of a reader page but its shell, images, icons and fonts.
#include "ReaderRequestFilter.h"

bool ReaderRequestFilter::allows(QWebEngineUrlRequestInfo::ResourceType type)
{
    switch (type) {
    case QWebEngineUrlRequestInfo::ResourceTypeMainFrame:
    case QWebEngineUrlRequestInfo::ResourceTypeImage:
    case QWebEngineUrlRequestInfo::ResourceTypeFavicon:
    case QWebEngineUrlRequestInfo::ResourceTypeFontResource:
        return true;
    default:
        return false;
    }
}

void ReaderRequestFilter::interceptRequest(QWebEngineUrlRequestInfo &info)
{
    if (!allows(info.resourceType()))
        info.block(true);
}
