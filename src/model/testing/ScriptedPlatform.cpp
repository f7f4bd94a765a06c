// The scripted platform's answers and records.
#include "ScriptedPlatform.h"

QList<QUrl> ScriptedPlatform::runOpenPanel(const OpenPanelOptions &options)
{
    openPanels.append(options);
    return openPanelAnswers.isEmpty() ? QList<QUrl>() : openPanelAnswers.takeFirst();
}

std::optional<QUrl> ScriptedPlatform::runSavePanel(const SavePanelOptions &options)
{
    savePanels.append(options);
    return savePanelAnswers.isEmpty() ? std::nullopt : savePanelAnswers.takeFirst();
}

int ScriptedPlatform::runModalAlert(const ModalAlert &alert)
{
    alerts.append(alert);
    if (alertHandler)
        return alertHandler(alert);
    return alertAnswers.isEmpty() ? -1 : alertAnswers.takeFirst();
}

void ScriptedPlatform::openWithDefaultHandler(const QUrl &url)
{
    openedWithDefaultHandler.append(url);
}

void ScriptedPlatform::revealInFileManager(const QString &path)
{
    revealedPaths.append(path);
}

void ScriptedPlatform::noteRecentDocument(const QUrl &url)
{
    recentDocuments.append(url);
}

std::optional<QByteArray> ScriptedPlatform::createBookmark(const QUrl &url)
{
    return bookmarkMaker ? bookmarkMaker(url) : std::nullopt;
}

std::optional<ResolvedBookmark> ScriptedPlatform::resolveBookmark(const QByteArray &bookmark)
{
    return bookmarkResolver ? bookmarkResolver(bookmark) : std::nullopt;
}
