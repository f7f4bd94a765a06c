// The page numbers its hits in reading order. Its top-level blocks are the renderer's, whose
// source lines are known, so the hits the page shows before the hit's block, plus the file's
// hits in that block before it, give the page's index; the reader is then stepped there one hit
// at a time, each step after the page has reported the last.
#include "FolderHitOpener.h"

#include "AppModel.h"
#include "CaseFoldedSearch.h"
#include "EditorPane.h"
#include "ReaderPane.h"
#include "ScriptEvaluation.h"
#include "SourcePosition.h"
#include "TarnEditorTextView.h"
#include "TarnWebView.h"

#include <QTextBlock>
#include <QTimer>

#include <algorithm>

namespace {

// Until the page has marked all %1 hits, -1; then [hits before block %2, hits in block %2].
constexpr QLatin1StringView kHitsAroundBlock(R"((() => {
  const main = document.querySelector("main.tarn-document");
  const all = document.querySelectorAll("mark.tarn-search-hit").length;
  if (!main || all < %1) return -1;
  const count = (block) => block ? block.querySelectorAll("mark.tarn-search-hit").length : 0;
  let before = 0;
  for (let i = 0; i < Math.min(%2, main.children.length); i += 1) before += count(main.children[i]);
  return [before, count(main.children[%2])];
})())");

qsizetype offsetOfLine(const QString &text, int line)
{
    qsizetype offset = 0;
    for (int i = 0; i < line && offset >= 0; ++i) {
        offset = text.indexOf(u'\n', offset);
        if (offset >= 0)
            ++offset;
    }
    return std::max<qsizetype>(0, offset);
}

} // namespace

FolderHitOpener::FolderHitOpener(AppModel &model, EditorPane &editor, ReaderPane &reader,
                                 QObject *parent)
    : QObject(parent)
    , m_model(model)
    , m_editor(editor)
    , m_reader(reader)
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
    // Until the page answers, the file's own numbering.
    m_targetIndex = ordinal + 1;
    m_found = false;
    m_asking = false;
    const QString text = document->content();
    const std::vector<std::size_t> lines =
        SourcePosition::fragmentOf(text, m_model.markdownFlavor()).blockLines;
    const auto after = std::upper_bound(lines.begin(), lines.end(), std::size_t(hit.line));
    m_block = int(std::max<std::ptrdiff_t>(0, after - lines.begin() - 1));
    const qsizetype blockStart = lines.empty() ? 0 : offsetOfLine(text, int(lines[m_block]));
    const CaseFoldedSearch search(query.trimmed(), CaseMatching::lowerCase);
    m_inBlock = int(search
                        .findAll(QStringView(text).sliced(
                            blockStart, std::max<qsizetype>(0, hit.location - blockStart)))
                        .size());
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
    // A report without hits may still be the search being cleared and started afresh.
    if (m_asking || m_model.searchResultCount() < 1)
        return;
    if (!m_found) {
        findTargetOnPage(100);
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

void FolderHitOpener::findTargetOnPage(int attemptsLeft)
{
    TarnWebView *view = m_reader.currentView();
    if (!view || attemptsLeft <= 0) {
        m_found = true; // the file's numbering, as good as it gets
        m_asking = false;
        stepTowardsHit();
        return;
    }
    m_asking = true;
    const QString script = QString(kHitsAroundBlock).arg(m_model.searchResultCount()).arg(m_block);
    evaluateScript(view->page(), script, this, [this, attemptsLeft](const ScriptOutcome &outcome) {
        const QVariantList counts = outcome.value.toList();
        if (counts.size() != 2) {
            // Still marking: the page marks the hits far from the screen in slices.
            QTimer::singleShot(50, this,
                               [this, attemptsLeft] { findTargetOnPage(attemptsLeft - 1); });
            return;
        }
        const int before = counts[0].toInt();
        const int inBlock = counts[1].toInt();
        m_targetIndex = before + std::clamp(m_inBlock, 0, std::max(0, inBlock - 1)) + 1;
        m_found = true;
        m_asking = false;
        stepTowardsHit();
    });
}
