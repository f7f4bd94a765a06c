// The page numbers its hits in reading order, as the file does, so the n-th hit of the file is
// the page's n-th (text hidden in markup aside); the reader is stepped there one hit at a time,
// each step after the page has reported the last.
#include "FolderHitOpener.h"

#include "AppModel.h"
#include "EditorPane.h"
#include "TarnEditorTextView.h"

#include <QTextBlock>

FolderHitOpener::FolderHitOpener(AppModel &model, EditorPane &editor, QObject *parent)
    : QObject(parent)
    , m_model(model)
    , m_editor(editor)
{
    connect(&m_model, &AppModel::searchResultsReported, this, &FolderHitOpener::stepTowardsHit);
}

void FolderHitOpener::open(const QString &path, const FolderSearchHit &hit, int ordinal,
                           const QString &query)
{
    const bool editing = m_model.isEditing();
    m_model.openURLs({QUrl::fromLocalFile(path)}, false);
    const TarnDocument *document = m_model.selectedDocument();
    if (!document || document->url().toLocalFile() != path)
        return; // not opened, or the user kept the unsaved tab
    if (editing) {
        m_path.clear();
        m_model.setEditorTopLine(std::max(0, hit.line - 3));
        m_model.setEditing(true);
        TarnEditorTextView *text = m_editor.textView();
        const QTextBlock block = text->document()->findBlockByNumber(hit.line);
        if (!block.isValid())
            return;
        QTextCursor cursor(block);
        cursor.setPosition(block.position() + std::min(hit.column, block.length() - 1));
        cursor.setPosition(
            std::min(cursor.position() + hit.length, block.position() + block.length() - 1),
            QTextCursor::KeepAnchor);
        text->setTextCursor(cursor);
        text->ensureCursorVisible();
        return;
    }
    m_path = path;
    m_query = query;
    m_targetIndex = ordinal + 1;
    // The same query again starts the page's search afresh, at its first hit.
    m_model.setSearchQuery(QString());
    m_model.setSearchQuery(query);
}

void FolderHitOpener::stepTowardsHit()
{
    const TarnDocument *document = m_model.selectedDocument();
    if (m_path.isEmpty() || !document || document->url().toLocalFile() != m_path ||
        m_model.searchQuery() != m_query) {
        m_path.clear();
        return;
    }
    const int current = m_model.currentSearchResultIndex();
    if (current >= m_targetIndex || current >= m_model.searchResultCount() || current < 1) {
        if (current >= 1)
            m_path.clear();
        return;
    }
    m_model.navigateSearch(SearchNavigationDirection::next);
}
