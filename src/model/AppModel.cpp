// AppModel's state: loading at start-up, observable fields, tab selection and editing mode.
#include "AppModel.h"

#include "DiskWatcher.h"
#include "DocumentExporter.h"
#include "ModelSettings.h"
#include "Platform.h"
#include "SourcePosition.h"
#include "TarnUsageLogger.h"
#include "WorkspaceFolder.h"

#include <QSettings>

#include <algorithm>

AppModel::AppModel(QSettings &settings, Platform &platform, PdfExportService &pdfExporter,
                   TarnUsageLogger &logger, TarnClock clock, QObject *parent)
    : QObject(parent)
    , m_settings(settings)
    , m_platform(platform)
    , m_logger(logger)
{
    m_theme = ModelSettings::readTheme(m_settings);
    m_showOutline = ModelSettings::readShowOutline(m_settings);
    m_documents = new DocumentTabs(this);
    m_library = new FileLibrary(m_settings, m_platform, std::move(clock), this);
    m_reader = new ReaderState(m_settings, this);
    m_diskWatcher = new DiskWatcher(
        *m_documents, [this] { return m_askingAboutDisk || m_platform.isShowingModalDialog(); },
        this);
    m_exporter = new DocumentExporter(pdfExporter, m_logger, this);
    m_markdownFlavor = ModelSettings::readMarkdownFlavor(m_settings);
    m_flavorHintClosed = ModelSettings::readFlavorHintClosed(m_settings);
    forwardPartSignals();
    connect(this, &AppModel::selectedDocumentChanged, this, &AppModel::updateFlavorHint);
    connect(m_documents, &DocumentTabs::selectedContentChanged, this, &AppModel::updateFlavorHint);
    connect(m_diskWatcher, &DiskWatcher::fileChanged, this, &AppModel::checkDocumentOnDisk);
    connect(m_exporter, &DocumentExporter::failed, this,
            [this](const QString &error) { showAlert(QStringLiteral("导出失败"), error); });
    // The parts wrote back what they read; a store that cannot be written shows here first.
    checkSettingsWritten(m_settings.status() == QSettings::NoError);
    const auto notWritten = [this] { checkSettingsWritten(false); };
    connect(m_library, &FileLibrary::settingsNotWritten, this, notWritten);
    connect(m_reader, &ReaderState::settingsNotWritten, this, notWritten);
    m_workspaceFolder = new WorkspaceFolder(m_settings, m_platform, m_logger, this);
    connect(m_workspaceFolder, &WorkspaceFolder::openFailed, this,
            [this](const QString &problem) { showAlert(QStringLiteral("打开失败"), problem); });
}

AppModel::~AppModel() = default;

void AppModel::forwardPartSignals()
{
    connect(m_documents, &DocumentTabs::tabsChanged, this, &AppModel::tabsChanged);
    connect(m_documents, &DocumentTabs::selectedTabIDChanged, this,
            &AppModel::selectedTabIDChanged);
    connect(m_documents, &DocumentTabs::selectedDocumentChanged, this,
            &AppModel::selectedDocumentChanged);
    connect(m_documents, &DocumentTabs::canSaveSelectedDocumentChanged, this,
            &AppModel::canSaveSelectedDocumentChanged);

    connect(m_library, &FileLibrary::storedFilesChanged, this, &AppModel::storedFilesChanged);
    connect(m_library, &FileLibrary::fileFilterChanged, this, &AppModel::fileFilterChanged);
    connect(m_library, &FileLibrary::filteredStoredFilesChanged, this,
            &AppModel::filteredStoredFilesChanged);

    connect(m_reader, &ReaderState::searchQueryChanged, this, &AppModel::searchQueryChanged);
    connect(m_reader, &ReaderState::searchResultCountChanged, this,
            &AppModel::searchResultCountChanged);
    connect(m_reader, &ReaderState::currentSearchResultIndexChanged, this,
            &AppModel::currentSearchResultIndexChanged);
    connect(m_reader, &ReaderState::searchResultsReported, this, &AppModel::searchResultsReported);
    connect(m_reader, &ReaderState::searchNavigationRequestChanged, this,
            &AppModel::searchNavigationRequestChanged);
    connect(m_reader, &ReaderState::currentHeadingIDChanged, this,
            &AppModel::currentHeadingIDChanged);
    connect(m_reader, &ReaderState::scrollTargetIDChanged, this, &AppModel::scrollTargetIDChanged);
}

void AppModel::setSelectedTabID(const QUuid &id)
{
    m_documents->setSelectedTabID(id);
}

void AppModel::setEditing(bool editing)
{
    if (m_isEditing == editing)
        return;
    m_isEditing = editing;
    if (!editing)
        setSplitView(false);
    emit isEditingChanged();
}

void AppModel::setEditorTopLine(int line)
{
    if (m_editorTopLine == line)
        return;
    m_editorTopLine = line;
    emit editorTopLineChanged();
}

void AppModel::rememberReadingBlock(TarnDocument *document, int block)
{
    if (document)
        m_reader->rememberReadingBlock(document->id(), block);
}

void AppModel::setShowOutline(bool show)
{
    const bool changed = m_showOutline != show;
    m_showOutline = show;
    checkSettingsWritten(ModelSettings::writeShowOutline(m_settings, show));
    if (changed)
        emit showOutlineChanged();
}

void AppModel::setAlert(const std::optional<AppAlert> &alert)
{
    if (m_alert == alert)
        return;
    m_alert = alert;
    emit alertChanged();
}

void AppModel::setTheme(TarnTheme theme)
{
    const bool changed = m_theme != theme;
    m_theme = theme;
    checkSettingsWritten(ModelSettings::writeTheme(m_settings, theme));
    if (changed)
        emit themeChanged();
}

void AppModel::toggleOutline()
{
    setShowOutline(!m_showOutline);
}

void AppModel::selectTab(const QUuid &id)
{
    if (selectedTabID() == id)
        return;
    if (TarnDocument *current = selectedDocument(); current && !confirmDirtyDocument(current))
        return;
    selectAndReset(id);
}

void AppModel::closeTab(TarnDocument *document)
{
    if (!document || !confirmDirtyDocument(document))
        return;
    const QUuid id = document->id();
    const bool wasSelected = id == selectedTabID();
    const qsizetype position = m_documents->remove(document);
    if (position < 0)
        return;
    m_reader->forgetReadingBlock(id);
    if (!wasSelected)
        return;
    // The right-hand neighbour, or the new last tab when the closed one was last.
    const QList<TarnDocument *> tabs = m_documents->tabs();
    const qsizetype next = std::min(position, tabs.size() - 1);
    selectAndReset(next >= 0 ? tabs.at(next)->id() : QUuid());
}

void AppModel::moveTab(int from, int to)
{
    m_documents->move(from, to);
}

void AppModel::selectAndReset(const QUuid &id)
{
    setSelectedTabID(id);
    setEditing(false);
    setCurrentHeadingID(QString());
    resetSearchResults();
}

void AppModel::toggleEditing()
{
    TarnDocument *document = selectedDocument();
    if (!document)
        return;
    if (!m_isEditing) {
        // An unsaved draft (recovered after a crash, or kept over a change on disk) is the
        // user's text and stays; otherwise editing starts from the saved text.
        if (!document->isDirty())
            document->setDraft(document->content());
        // The editor opens where the reader was: at the first block on screen, or failing
        // that at the section being read.
        const int block = m_reader->readingBlock(document->id());
        setEditorTopLine(
            block >= 0 ? SourcePosition::lineOfBlock(document->content(), m_markdownFlavor, block)
                       : SourcePosition::lineOfHeading(document->draft(), m_markdownFlavor,
                                                       currentHeadingID()));
        setEditing(true);
        return;
    }
    if (!confirmDirtyDocument(document))
        return;
    // The reader comes back at the section the editor was showing.
    const QString heading =
        SourcePosition::headingAtOrAbove(document->content(), m_markdownFlavor, m_editorTopLine);
    setEditing(false);
    if (!heading.isEmpty())
        setScrollTargetID(heading);
}

bool AppModel::confirmDirtyDocument(TarnDocument *document)
{
    if (!document || !document->isDirty())
        return true;
    ModalAlert alert;
    alert.style = AlertStyle::warning;
    alert.message =
        QStringLiteral("要保存对 ") + document->fileName() + QStringLiteral(" 的修改吗？");
    alert.informativeText = QStringLiteral("你的编辑还没有保存。");
    alert.buttons = {QStringLiteral("保存"), QStringLiteral("放弃修改"), QStringLiteral("取消")};
    switch (m_platform.runModalAlert(alert)) {
    case 0:
        return saveDocument(document);
    case 1:
        document->discardDraft();
        return true;
    default:
        return false;
    }
}

bool AppModel::confirmBeforeTerminating()
{
    // A copy: saving or discarding never changes the tab list, but be safe against views.
    const QList<TarnDocument *> tabs = m_documents->tabs();
    for (TarnDocument *document : tabs) {
        if (!document->isDirty())
            continue;
        setSelectedTabID(document->id());
        setEditing(true);
        if (!confirmDirtyDocument(document))
            return false;
    }
    return true;
}

void AppModel::rememberScroll(TarnDocument *document, double y)
{
    if (!document)
        return;
    document->setScrollY(y);
    m_reader->rememberReadPosition(document->url().toLocalFile(), y);
}

void AppModel::showAlert(const QString &title, const QString &message)
{
    setAlert(AppAlert::make(title, message));
}

void AppModel::log(const QString &event, const QMap<QString, QString> &metadata)
{
    m_logger.log(event, metadata);
}

void AppModel::checkSettingsWritten(bool written)
{
    if (!written)
        log(QStringLiteral("settings.save.failure"),
            {{QStringLiteral("path"), m_settings.fileName()},
             {QStringLiteral("error"), ModelSettings::failureText(m_settings)}});
}

void AppModel::revealUsageLog()
{
    log(QStringLiteral("usage_log.reveal"));
    m_logger.revealInFinder(m_platform);
}
