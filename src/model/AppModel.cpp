// AppModel's state: loading at start-up, observable fields, tab selection and editing mode.
#include "AppModel.h"

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
    , m_pdfExporter(pdfExporter)
    , m_logger(logger)
    , m_clock(std::move(clock))
{
    m_theme = ModelSettings::readTheme(m_settings);
    m_showOutline = ModelSettings::readShowOutline(m_settings);
    // Written straight back: a value that could not be read is replaced by an empty list.
    m_storedFiles = ModelSettings::readStoredFiles(m_settings);
    ModelSettings::writeStoredFiles(m_settings, m_storedFiles);
    m_readPositions = ModelSettings::readReadPositions(m_settings);
    m_markdownFlavor = ModelSettings::readMarkdownFlavor(m_settings);
    m_flavorHintClosed = ModelSettings::readFlavorHintClosed(m_settings);
    connect(this, &AppModel::selectedDocumentChanged, this, &AppModel::updateFlavorHint);
    startWatchingFiles();
    m_workspaceFolder = new WorkspaceFolder(m_settings, m_platform, m_logger, this);
    connect(m_workspaceFolder, &WorkspaceFolder::openFailed, this,
            [this](const QString &problem) { showAlert(QStringLiteral("打开失败"), problem); });
}

AppModel::~AppModel() = default;

TarnDocument *AppModel::selectedDocument() const
{
    if (m_selectedTabID.isNull())
        return nullptr;
    const auto it = std::find_if(m_tabs.begin(), m_tabs.end(), [this](TarnDocument *document) {
        return document->id() == m_selectedTabID;
    });
    return it == m_tabs.end() ? nullptr : *it;
}

bool AppModel::canSaveSelectedDocument() const
{
    const TarnDocument *document = selectedDocument();
    return document && document->isDirty();
}

void AppModel::setSelectedTabID(const QUuid &id)
{
    if (m_selectedTabID == id)
        return;
    m_selectedTabID = id;
    emit selectedTabIDChanged();
    emit selectedDocumentChanged();
    emit canSaveSelectedDocumentChanged();
}

void AppModel::setEditing(bool editing)
{
    if (m_isEditing == editing)
        return;
    m_isEditing = editing;
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
    if (document && block >= 0)
        m_readingBlocks.insert(document->id(), block);
}

void AppModel::setFileFilter(const QString &filter)
{
    if (m_fileFilter == filter)
        return;
    m_fileFilter = filter;
    emit fileFilterChanged();
    emit filteredStoredFilesChanged();
}

void AppModel::setSearchQuery(const QString &query)
{
    if (m_searchQuery == query)
        return;
    m_searchQuery = query;
    emit searchQueryChanged();
    resetSearchResults();
}

void AppModel::setCurrentHeadingID(const QString &id)
{
    if (m_currentHeadingID == id)
        return;
    m_currentHeadingID = id;
    emit currentHeadingIDChanged();
}

void AppModel::setScrollTargetID(const std::optional<QString> &id)
{
    if (m_scrollTargetID == id)
        return;
    m_scrollTargetID = id;
    emit scrollTargetIDChanged();
}

void AppModel::setShowOutline(bool show)
{
    const bool changed = m_showOutline != show;
    m_showOutline = show;
    ModelSettings::writeShowOutline(m_settings, show);
    if (changed)
        emit showOutlineChanged();
}

void AppModel::setStoredFiles(const QList<StoredFile> &files)
{
    m_storedFiles = files;
    ModelSettings::writeStoredFiles(m_settings, m_storedFiles);
    emit storedFilesChanged();
    emit filteredStoredFilesChanged();
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
    ModelSettings::writeTheme(m_settings, theme);
    if (changed)
        emit themeChanged();
}

void AppModel::toggleOutline()
{
    setShowOutline(!m_showOutline);
}

void AppModel::selectTab(const QUuid &id)
{
    if (m_selectedTabID == id)
        return;
    if (TarnDocument *current = selectedDocument(); current && !confirmDirtyDocument(current))
        return;
    selectAndReset(id);
}

void AppModel::closeTab(TarnDocument *document)
{
    if (!document || !confirmDirtyDocument(document))
        return;
    const qsizetype position = m_tabs.indexOf(document);
    if (position < 0)
        return;
    const bool wasSelected = document->id() == m_selectedTabID;
    m_tabs.removeAt(position);
    m_readingBlocks.remove(document->id());
    emit tabsChanged();
    updateWatchedPaths();
    document->deleteLater(); // views may still hold it until they have seen tabsChanged
    if (!wasSelected)
        return;
    // The right-hand neighbour, or the new last tab when the closed one was last.
    const qsizetype next = std::min(position, m_tabs.size() - 1);
    selectAndReset(next >= 0 ? m_tabs.at(next)->id() : QUuid());
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
        const auto block = m_readingBlocks.constFind(document->id());
        setEditorTopLine(
            block != m_readingBlocks.cend()
                ? SourcePosition::lineOfBlock(document->content(), m_markdownFlavor, *block)
                : SourcePosition::lineOfHeading(document->draft(), m_markdownFlavor,
                                                m_currentHeadingID));
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
    const QList<TarnDocument *> tabs = m_tabs;
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
    m_readPositions.insert(document->url().toLocalFile(), y);
    ModelSettings::writeReadPositions(m_settings, m_readPositions);
}

void AppModel::appendTab(TarnDocument *document)
{
    document->setParent(this);
    connect(document, &TarnDocument::isDirtyChanged, this, [this, document] {
        if (document->id() == m_selectedTabID)
            emit canSaveSelectedDocumentChanged();
    });
    connect(document, &TarnDocument::contentChanged, this, [this, document] {
        if (document->id() == m_selectedTabID)
            updateFlavorHint();
    });
    m_tabs.append(document);
    emit tabsChanged();
    updateWatchedPaths();
}

TarnDocument *AppModel::documentWithPath(const QString &path) const
{
    for (TarnDocument *document : m_tabs) {
        if (document->url().toLocalFile() == path)
            return document;
    }
    return nullptr;
}

void AppModel::showAlert(const QString &title, const QString &message)
{
    setAlert(AppAlert::make(title, message));
}

void AppModel::log(const QString &event, const QMap<QString, QString> &metadata)
{
    m_logger.log(event, metadata);
}

void AppModel::revealUsageLog()
{
    log(QStringLiteral("usage_log.reveal"));
    m_logger.revealInFinder(m_platform);
}
