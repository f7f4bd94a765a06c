// The one application model the window binds to: editing mode, preferences and every operation
// the views trigger. Each concern with state of its own lives in a part (see below).
#pragma once

#include "AppModelTypes.h"
#include "DocumentTabs.h"
#include "DraftStore.h"
#include "FileLibrary.h"
#include "MarkdownRenderer.h"
#include "ReaderState.h"
#include "StoredFile.h"
#include "TarnClock.h"
#include "TarnDocument.h"
#include "TarnTheme.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>
#include <QUrl>
#include <QUuid>

#include <optional>

class DiskWatcher;
class DocumentExporter;
class Platform;
class PdfExportService;
class QSettings;
class TarnUsageLogger;
class WorkspaceFolder;

// The parts are QObject children, each with its own properties and signals. AppModel keeps the
// names views and tests know: its properties read the parts, its change signals are the parts'
// signals passed on, and operations that span parts (opening a file makes a tab, dates it in
// the library and resets the search) are written here. A new part follows the same steps: a
// class of its own, a member made in the constructor, an accessor, and the forwarding of each
// property it shares with AppModel.
class AppModel : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QList<TarnDocument *> tabs READ tabs NOTIFY tabsChanged)
    // A null id means no tab is selected.
    Q_PROPERTY(
        QUuid selectedTabID READ selectedTabID WRITE setSelectedTabID NOTIFY selectedTabIDChanged)
    Q_PROPERTY(bool isEditing READ isEditing WRITE setEditing NOTIFY isEditingChanged)
    // Editing with a live preview of the draft beside the text; leaving editing ends it.
    Q_PROPERTY(bool isSplitView READ isSplitView WRITE setSplitView NOTIFY isSplitViewChanged)
    Q_PROPERTY(
        int editorTopLine READ editorTopLine WRITE setEditorTopLine NOTIFY editorTopLineChanged)
    Q_PROPERTY(QString fileFilter READ fileFilter WRITE setFileFilter NOTIFY fileFilterChanged)
    Q_PROPERTY(QString searchQuery READ searchQuery WRITE setSearchQuery NOTIFY searchQueryChanged)
    Q_PROPERTY(int searchResultCount READ searchResultCount NOTIFY searchResultCountChanged)
    Q_PROPERTY(int currentSearchResultIndex READ currentSearchResultIndex NOTIFY
                   currentSearchResultIndexChanged)
    Q_PROPERTY(
        std::optional<SearchNavigationRequest> searchNavigationRequest READ searchNavigationRequest
            WRITE setSearchNavigationRequest NOTIFY searchNavigationRequestChanged)
    Q_PROPERTY(QString currentHeadingID READ currentHeadingID WRITE setCurrentHeadingID NOTIFY
                   currentHeadingIDChanged)
    Q_PROPERTY(std::optional<QString> scrollTargetID READ scrollTargetID WRITE setScrollTargetID
                   NOTIFY scrollTargetIDChanged)
    Q_PROPERTY(bool showOutline READ showOutline WRITE setShowOutline NOTIFY showOutlineChanged)
    Q_PROPERTY(QList<StoredFile> storedFiles READ storedFiles WRITE setStoredFiles NOTIFY
                   storedFilesChanged)
    Q_PROPERTY(std::optional<AppAlert> alert READ alert WRITE setAlert NOTIFY alertChanged)
    Q_PROPERTY(TarnTheme theme READ theme WRITE setTheme NOTIFY themeChanged)
    Q_PROPERTY(MarkdownFlavor markdownFlavor READ markdownFlavor WRITE setMarkdownFlavor NOTIFY
                   markdownFlavorChanged)
    // Derived values.
    Q_PROPERTY(TarnDocument *selectedDocument READ selectedDocument NOTIFY selectedDocumentChanged)
    Q_PROPERTY(bool canSaveSelectedDocument READ canSaveSelectedDocument NOTIFY
                   canSaveSelectedDocumentChanged)
    Q_PROPERTY(QList<StoredFile> filteredStoredFiles READ filteredStoredFiles NOTIFY
                   filteredStoredFilesChanged)
    // The selected document, read in the classic flavour, looks written for the standard one
    // and its hint was not closed.
    Q_PROPERTY(bool showsFlavorHint READ showsFlavorHint NOTIFY showsFlavorHintChanged)

public:
    // Reads the preferences, the library and the reading positions from `settings` at once.
    // Every collaborator must outlive the model.
    AppModel(QSettings &settings, Platform &platform, PdfExportService &pdfExporter,
             TarnUsageLogger &logger, TarnClock clock = tarnSystemClock(),
             QObject *parent = nullptr);
    ~AppModel() override;

    // The parts.
    DocumentTabs &documentTabs() const { return *m_documents; }
    FileLibrary &library() const { return *m_library; }
    ReaderState &reader() const { return *m_reader; }
    DiskWatcher &diskWatcher() const { return *m_diskWatcher; }
    DocumentExporter &exporter() const { return *m_exporter; }

    QList<TarnDocument *> tabs() const { return m_documents->tabs(); }
    QUuid selectedTabID() const { return m_documents->selectedTabID(); }
    bool isEditing() const { return m_isEditing; }
    bool isSplitView() const { return m_isSplitView; }
    void setSplitView(bool split);
    // Turns the split view on (entering editing first) or off (staying in the editor).
    void toggleSplitView();
    // The editor's share of the split view's width, from the settings; 0.5 when unset or bad.
    double splitViewEditorShare() const;
    void setSplitViewEditorShare(double share);
    // The 0-based source line at the top of the editor. Entering editing sets it from the
    // reader's current heading; the editor reports it while it scrolls; leaving editing turns
    // it back into the heading the reader shows.
    int editorTopLine() const { return m_editorTopLine; }
    void setEditorTopLine(int line);
    // The reader reports the first top-level block of the page on screen for each document.
    void rememberReadingBlock(TarnDocument *document, int block);
    // -1 until the reader has reported one.
    int readingBlock(const TarnDocument *document) const
    {
        return document ? m_reader->readingBlock(document->id()) : -1;
    }
    QString fileFilter() const { return m_library->fileFilter(); }
    QString searchQuery() const { return m_reader->searchQuery(); }
    int searchResultCount() const { return m_reader->searchResultCount(); }
    int currentSearchResultIndex() const { return m_reader->currentSearchResultIndex(); }
    std::optional<SearchNavigationRequest> searchNavigationRequest() const
    {
        return m_reader->searchNavigationRequest();
    }
    // The reader clears a request once it has carried it out.
    void setSearchNavigationRequest(const std::optional<SearchNavigationRequest> &request)
    {
        m_reader->setSearchNavigationRequest(request);
    }
    QString currentHeadingID() const { return m_reader->currentHeadingID(); }
    std::optional<QString> scrollTargetID() const { return m_reader->scrollTargetID(); }
    bool showOutline() const { return m_showOutline; }
    QList<StoredFile> storedFiles() const { return m_library->storedFiles(); }
    std::optional<AppAlert> alert() const { return m_alert; }
    TarnTheme theme() const { return m_theme; }
    MarkdownFlavor markdownFlavor() const { return m_markdownFlavor; }
    bool showsFlavorHint() const { return m_showsFlavorHint; }
    TarnUsageLogger &logger() const { return m_logger; }
    // The folder shown in the sidebar.
    WorkspaceFolder &workspaceFolder() const { return *m_workspaceFolder; }
    // File path to reader scroll offset, for the most recently read files.
    QHash<QString, double> readPositions() const { return m_reader->readPositions(); }

    TarnDocument *selectedDocument() const { return m_documents->selectedDocument(); }
    bool canSaveSelectedDocument() const { return m_documents->canSaveSelectedDocument(); }
    QList<StoredFile> filteredStoredFiles() const { return m_library->filteredStoredFiles(); }

    void setSelectedTabID(const QUuid &id);
    void setEditing(bool editing);
    void setFileFilter(const QString &filter) { m_library->setFileFilter(filter); }
    // Resets the search results when the text changes.
    void setSearchQuery(const QString &query) { m_reader->setSearchQuery(query); }
    void setCurrentHeadingID(const QString &id) { m_reader->setCurrentHeadingID(id); }
    void setScrollTargetID(const std::optional<QString> &id) { m_reader->setScrollTargetID(id); }
    // The preference setters and setStoredFiles write the settings store at once.
    void setShowOutline(bool show);
    void setStoredFiles(const QList<StoredFile> &files) { m_library->setStoredFiles(files); }
    // The view clears the alert when it is dismissed.
    void setAlert(const std::optional<AppAlert> &alert);
    void setTheme(TarnTheme theme);
    // Also asks the reader to come back at the heading being read, once the page is redrawn.
    void setMarkdownFlavor(MarkdownFlavor flavor);
    // Hides the selected document's hint, for good when it is a file.
    void closeFlavorHint();

    // Tabs and files.
    void presentOpenPanel();
    // Opens the Markdown and text files among `urls`, in order (a folder among them opens in
    // the sidebar instead); asks about the selected tab's
    // unsaved changes first unless the caller already did.
    void openURLs(const QList<QUrl> &urls, bool alreadyConfirmed);
    // One "打开失败" alert for files that cannot become tabs: a missing file or a folder says
    // so, any other is a kind of file Tarn does not open. Nothing when `urls` is empty.
    void alertUnopenableFiles(const QList<QUrl> &urls);
    void selectTab(const QUuid &id);
    void closeTab(TarnDocument *document);
    // Puts the tab at `from` at `to`, as dragging it in the tab strip does; the selection stays.
    void moveTab(int from, int to);
    void toggleEditing();
    void saveSelectedDocument();
    bool saveDocument(TarnDocument *document);
    // Writes the draft to a new file; the tab deliberately keeps pointing at its old file.
    bool saveDocumentAs(TarnDocument *document);
    // True when the caller may go on: the document is clean, was saved, or its edit discarded.
    bool confirmDirtyDocument(TarnDocument *document);
    bool confirmBeforeTerminating();
    // Opens the drafts that survived a crash as unsaved tabs, the last in the editor, and says
    // which files they are.
    void restoreDrafts(const QList<RecoveredDraft> &drafts);
    // Says once that unsaved edits are no longer kept safe on disk.
    void warnDraftsUnwritable(const QString &error);
    void rememberScroll(TarnDocument *document, double y);
    void toggleOutline();

    // The library.
    void rememberFile(const QUrl &url) { m_library->rememberFile(url); }
    void toggleFavorite(const StoredFile &file) { m_library->toggleFavorite(file); }
    void removeRecent(const StoredFile &file) { m_library->removeRecent(file); }
    void showInFinder(const StoredFile &file);
    void openStoredFile(const StoredFile &file);
    std::optional<QUrl> resolveStoredFile(const StoredFile &file)
    {
        return m_library->resolveStoredFile(file);
    }

    // Links, search and outline.
    void openLink(const QUrl &url, TarnDocument *fromDocument);
    void clearSearch() { m_reader->clearSearch(); }
    void resetSearchResults() { m_reader->resetSearchResults(); }
    void updateSearchResults(int current, int total)
    {
        m_reader->updateSearchResults(current, total);
    }
    // Only while a document is selected.
    void navigateSearch(SearchNavigationDirection direction);
    void scrollToHeading(const QString &id) { setScrollTargetID(id); }

    // Export and the usage log.
    void exportSelectedDocumentAsHTML();
    void exportSelectedDocumentAsPDF();
    void revealUsageLog();

    // What Tarn opens as a document: a file with one of documentExtensions() (any case), or one
    // the MIME database calls Markdown or plain text. The open and save panels offer the same.
    static bool isDocumentFile(const QString &path);
    static const QStringList &documentExtensions();
    static QString documentNameFilter();
    static QString pathExtension(const QString &path);
    // The chosen file with ".suffix" added when its name has no extension.
    static QUrl withDefaultSuffix(const QUrl &url, const QString &suffix);

signals:
    void tabsChanged();
    void selectedTabIDChanged();
    void isEditingChanged();
    void isSplitViewChanged();
    void editorTopLineChanged();
    void fileFilterChanged();
    void searchQueryChanged();
    void searchResultCountChanged();
    void currentSearchResultIndexChanged();
    // The page reported its search state, whether or not it changed.
    void searchResultsReported();
    void searchNavigationRequestChanged();
    void currentHeadingIDChanged();
    void scrollTargetIDChanged();
    void showOutlineChanged();
    void storedFilesChanged();
    void alertChanged();
    void themeChanged();
    void markdownFlavorChanged();
    void showsFlavorHintChanged();
    void selectedDocumentChanged();
    void canSaveSelectedDocumentChanged();
    void filteredStoredFilesChanged();

private:
    void openURL(const QUrl &url);
    void showAlert(const QString &title, const QString &message);
    void log(const QString &event, const QMap<QString, QString> &metadata = {});
    // A settings write that did not reach the disk is logged; the value stays in memory.
    void checkSettingsWritten(bool written);
    // Selection changes that leave editing and forget the page's state.
    void selectAndReset(const QUuid &id);
    // Where a panel about `document` starts: its folder, or else the last folder a panel chose.
    QString panelFolder(const TarnDocument *document) const;
    void notePanelChoice(const QUrl &chosen);
    std::optional<QUrl> runExportPanel(TarnDocument *document, const QString &title,
                                       const QString &extension, const QString &nameFilter,
                                       const QString &cancelEvent);
    void updateFlavorHint();
    // Passes the parts' change signals on as AppModel's own.
    void forwardPartSignals();
    void checkDocumentOnDisk(const QString &path);
    void askAboutChangeOnDisk(TarnDocument *document, const QString &diskText);

    QSettings &m_settings;
    Platform &m_platform;
    TarnUsageLogger &m_logger;

    DocumentTabs *m_documents = nullptr;
    FileLibrary *m_library = nullptr;
    ReaderState *m_reader = nullptr;
    DiskWatcher *m_diskWatcher = nullptr;
    DocumentExporter *m_exporter = nullptr;

    bool m_isEditing = false;
    bool m_isSplitView = false;
    int m_editorTopLine = 0;
    bool m_showOutline = true;
    std::optional<AppAlert> m_alert;
    QString m_lastPanelFolder;
    TarnTheme m_theme = TarnTheme::businessBlue;
    MarkdownFlavor m_markdownFlavor = MarkdownFlavor::classic;
    bool m_showsFlavorHint = false;
    QSet<QString> m_flavorHintClosed;      // file paths, kept in the settings
    QSet<QUuid> m_flavorHintClosedUnsaved; // documents without a file, for this session
    bool m_askingAboutDisk = false;
    WorkspaceFolder *m_workspaceFolder = nullptr;
};
