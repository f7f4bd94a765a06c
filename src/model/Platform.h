// Everything the model asks of the desktop: panels, alerts, default handlers, the file manager.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <optional>

struct OpenPanelOptions
{
    QString title;
    bool allowsMultipleSelection = false;
    bool canChooseFiles = true;
    bool canChooseDirectories = false;
    QStringList nameFilters; // "Label (*.a *.b)" each; the first is preselected; empty: any file
    QString directory;       // the folder shown first; empty: the platform's choice
};

struct SavePanelOptions
{
    QString title;
    QString suggestedName; // preset in the name field
    QStringList nameFilters;
    QString defaultSuffix; // added to a typed name that has no extension
    QString directory;     // the folder shown first; empty: the platform's choice
};

enum class AlertStyle
{
    warning,
    critical
};

struct ModalAlert
{
    AlertStyle style = AlertStyle::warning;
    QString message;         // the bold first line
    QString informativeText; // the smaller text below it
    QStringList buttons;     // in display order; the first is the default
};

struct ResolvedBookmark
{
    QUrl url;
    bool isStale = false;
};

class Platform
{
public:
    virtual ~Platform() = default;

    // The chosen files, or an empty list when the user cancelled.
    virtual QList<QUrl> runOpenPanel(const OpenPanelOptions &options) = 0;
    // The chosen file, or nothing when the user cancelled.
    virtual std::optional<QUrl> runSavePanel(const SavePanelOptions &options) = 0;
    // Blocks until answered; returns the index into alert.buttons of the button pressed, or -1
    // when the alert was closed some other way.
    virtual int runModalAlert(const ModalAlert &alert) = 0;
    // Browser, mail program or the application registered for a file.
    virtual void openWithDefaultHandler(const QUrl &url) = 0;
    // Shows the file selected in a file manager window; need not check that it exists.
    virtual void revealInFileManager(const QString &path) = 0;
    virtual void noteRecentDocument(const QUrl &url) = 0;
    // True while a modal dialog waits for the user; questions of the model's own wait for it.
    virtual bool isShowingModalDialog() const { return false; }

    // Persistent access grants for files outside a sandbox. Linux has none, so the defaults
    // report "no bookmark" and callers fall back to plain paths.
    virtual std::optional<QByteArray> createBookmark(const QUrl &url)
    {
        Q_UNUSED(url);
        return std::nullopt;
    }
    virtual std::optional<ResolvedBookmark> resolveBookmark(const QByteArray &bookmark)
    {
        Q_UNUSED(bookmark);
        return std::nullopt;
    }
};
