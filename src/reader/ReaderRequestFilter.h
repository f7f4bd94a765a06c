// What a reader page may load: its shell and the document's images, nothing else.
#pragma once

#include <QWebEngineUrlRequestInterceptor>

// Documents are untrusted. The page's own script and the diagram library are inline, so a page
// never needs to fetch a file, open a frame or load a script or stylesheet; refusing those
// keeps a script that slipped into a page from reading other local files. Images (and fonts a
// diagram may name) still load, relative to the document's folder.
class ReaderRequestFilter : public QWebEngineUrlRequestInterceptor
{
    Q_OBJECT

public:
    using QWebEngineUrlRequestInterceptor::QWebEngineUrlRequestInterceptor;

    static bool allows(QWebEngineUrlRequestInfo::ResourceType type);
    void interceptRequest(QWebEngineUrlRequestInfo &info) override;
};
