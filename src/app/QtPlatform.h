// The desktop services the model asks for, done with Qt widgets, D-Bus and freedesktop files.
#pragma once

#include "Platform.h"

#include <QPointer>
#include <QWidget>

class QtPlatform : public Platform
{
public:
    // Dialogs are parented to `window` while it exists, so they stay on top of it.
    void setWindow(QWidget *window) { m_window = window; }

    QList<QUrl> runOpenPanel(const OpenPanelOptions &options) override;
    std::optional<QUrl> runSavePanel(const SavePanelOptions &options) override;
    int runModalAlert(const ModalAlert &alert) override;
    void openWithDefaultHandler(const QUrl &url) override;
    void revealInFileManager(const QString &path) override;
    void noteRecentDocument(const QUrl &url) override;
    bool isShowingModalDialog() const override;

private:
    QPointer<QWidget> m_window;
};
