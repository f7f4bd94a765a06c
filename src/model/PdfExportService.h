// The model's way to turn a finished reader page into a PDF file; the reader layer provides it.
#pragma once

#include <QString>
#include <QUrl>

#include <functional>

struct PdfExportResult
{
    bool ok = false;
    QString errorString; // localised description when !ok
};

class PdfExportService
{
public:
    virtual ~PdfExportService() = default;
    // Returns at once. `completion` runs exactly once, on any thread; the model moves it to the
    // main thread itself.
    virtual void exportPdf(const QString &html, const QUrl &baseURL, const QUrl &outputURL,
                           std::function<void(const PdfExportResult &)> completion) = 0;
};
