// Find and replace of MarkdownEditorActions: match list, current match, highlights, replacing.
#include "MarkdownEditorActions.h"

#include "SearchStatus.h"

#include <algorithm>

namespace {

// Index of the match equal to the range; matches are sorted and never overlap.
std::optional<qsizetype> indexOfMatch(const QList<EditorRange> &matches, EditorRange range)
{
    const auto it =
        std::partition_point(matches.cbegin(), matches.cend(),
                             [&](const EditorRange &m) { return m.location < range.location; });
    if (it != matches.cend() && *it == range)
        return qsizetype(it - matches.cbegin());
    return std::nullopt;
}

// Index of the first match starting at or after the position, or the number of matches.
qsizetype firstMatchFrom(const QList<EditorRange> &matches, int position)
{
    const auto it =
        std::partition_point(matches.cbegin(), matches.cend(),
                             [&](const EditorRange &m) { return m.location < position; });
    return qsizetype(it - matches.cbegin());
}

} // namespace

void MarkdownEditorActions::setFindText(const QString &text)
{
    if (text == m_findText)
        return;
    m_findText = text;
    m_search = CaseFoldedSearch(text);
    m_matches.invalidate();
    emit findTextChanged(m_findText);
    refreshSearchState(true, false);
}

void MarkdownEditorActions::setReplaceText(const QString &text)
{
    if (text == m_replaceText)
        return;
    m_replaceText = text;
    emit replaceTextChanged(m_replaceText);
}

QString MarkdownEditorActions::searchStatusText() const
{
    return m_findText.isEmpty() ? QString() : ::searchStatusText(m_currentMatchIndex, m_matchCount);
}

QList<EditorRange> MarkdownEditorActions::matchRanges()
{
    if (!m_textView || m_findText.isEmpty())
        return {};
    return m_matches.matches(m_textView->text(), m_search);
}

void MarkdownEditorActions::clearSearchState()
{
    updateSearchHighlights({}, std::nullopt);
    updateSearchState({}, std::nullopt);
}

void MarkdownEditorActions::refreshSearchState(bool selectFirst, bool focusEditor)
{
    const QList<EditorRange> matches = matchRanges();
    if (matches.isEmpty()) {
        clearSearchState();
        return;
    }
    std::optional<qsizetype> current;
    if (selectFirst) {
        // The first match, even when the selection already lies on a later one.
        selectMatch(0, matches, focusEditor);
        current = 0;
    } else if (const auto exact = indexOfMatch(matches, m_textView->selection())) {
        current = exact;
    } else if (m_currentMatchIndex >= 1) {
        current = std::min(matches.size() - 1, qsizetype(m_currentMatchIndex) - 1);
    }
    updateSearchState(matches, current);
}

void MarkdownEditorActions::moveSearch(SearchNavigationDirection direction)
{
    if (!m_textView || m_findText.isEmpty())
        return;
    const QList<EditorRange> matches = matchRanges();
    if (matches.isEmpty()) {
        clearSearchState();
        return;
    }
    const qsizetype count = matches.size();
    const bool forward = direction == SearchNavigationDirection::next;
    const EditorRange selected = m_textView->selection();
    qsizetype target = 0;
    if (const auto exact = indexOfMatch(matches, selected)) {
        target = forward ? (*exact + 1) % count : (*exact - 1 + count) % count;
    } else {
        const int anchor = std::min(int(m_textView->text().size()), selected.end());
        const qsizetype after = firstMatchFrom(matches, anchor);
        if (forward)
            target = after < count ? after : 0;
        else
            target = after > 0 ? after - 1 : count - 1;
    }
    selectMatch(target, matches, true);
    updateSearchState(matches, target);
}

void MarkdownEditorActions::replaceCurrent()
{
    EditorTextView *view = m_textView;
    if (!view || m_findText.isEmpty())
        return;
    const QList<EditorRange> matches = matchRanges();
    if (matches.isEmpty()) {
        clearSearchState();
        return;
    }
    const auto exact = indexOfMatch(matches, view->selection());
    if (!exact) {
        // The first press on a match that is not selected only selects it.
        moveSearch(SearchNavigationDirection::next);
        return;
    }
    const EditorRange replaced = matches[*exact];
    view->insertText(m_replaceText, replaced);
    if (onChange)
        onChange(view->text());
    // Continue after the inserted text, so a replacement containing the query is not found
    // again at the same place.
    const int anchor = replaced.location + int(m_replaceText.size());
    const QList<EditorRange> remaining = matchRanges();
    if (remaining.isEmpty()) {
        refreshSearchState(false, false);
        return;
    }
    const qsizetype after = firstMatchFrom(remaining, anchor);
    const qsizetype target = after < remaining.size() ? after : 0;
    selectMatch(target, remaining, true);
    updateSearchState(remaining, target);
}

void MarkdownEditorActions::replaceAll()
{
    EditorTextView *view = m_textView;
    if (!view || m_findText.isEmpty())
        return;
    const QList<EditorRange> matches = matchRanges();
    if (matches.isEmpty()) {
        refreshSearchState(false, false);
        return;
    }
    const QString informative = QStringLiteral("将替换当前文档中的 ") +
                                QString::number(matches.size()) + QStringLiteral(" 处内容。");
    const int answer = view->confirm(QStringLiteral("全部替换？"), informative,
                                     {QStringLiteral("全部替换"), QStringLiteral("取消")});
    if (answer != 0 || !m_textView)
        return;
    // The dialog ran an event loop of its own, in which the text may have changed: replace
    // what matches now, not what matched when the question was asked.
    const QList<EditorRange> current = matchRanges();
    if (current.isEmpty()) {
        refreshSearchState(false, false);
        return;
    }

    // Built front to back, which gives the same text as replacing from the last match to the
    // first; ranges that no longer fit the text are skipped. The selection follows its text;
    // an end inside a match moves to that end of its replacement, so nothing is left selected
    // that was not there or replaced.
    const QString old = view->text();
    const EditorRange selected = view->selection();
    int selectionStart = selected.location;
    int selectionEnd = selected.end();
    QString result;
    result.reserve(std::max<qsizetype>(
        0, old.size() + current.size() * (m_replaceText.size() - current.first().length)));
    int copied = 0;
    int firstChanged = -1;
    int lastChangedEnd = 0;
    for (const EditorRange &match : current) {
        if (match.location < copied || match.end() > old.size())
            continue;
        result += QStringView(old).mid(copied, match.location - copied);
        const int newLocation = int(result.size());
        const int newEnd = newLocation + int(m_replaceText.size());
        auto follow = [&](int original, int &position, int snapped) {
            if (original >= match.end())
                position = original + newEnd - match.end();
            else if (original > match.location)
                position = snapped;
        };
        follow(selected.location, selectionStart, newLocation);
        follow(selected.end(), selectionEnd, newEnd);
        result += m_replaceText;
        copied = match.end();
        if (firstChanged < 0)
            firstChanged = match.location;
        lastChangedEnd = match.end();
    }
    if (firstChanged < 0) {
        refreshSearchState(false, false);
        return;
    }
    result += QStringView(old).mid(copied);

    // Only the stretch from the first to the last match differs; replacing just that keeps
    // the text before it, and the positions there, untouched.
    const int tail = int(old.size()) - lastChangedEnd;
    const EditorRange changed{firstChanged, lastChangedEnd - firstChanged};
    const QString replacement = result.mid(firstChanged, result.size() - tail - firstChanged);
    const EditorRange selectionAfter{selectionStart, selectionEnd - selectionStart};
    if (view->replaceUndoably(changed, replacement, selectionAfter)) {
        view->setUndoActionName(QStringLiteral("全部替换"));
    } else {
        view->setWholeText(result);
        if (onChange)
            onChange(result);
    }
    if (onChange)
        onChange(view->text());
    refreshSearchState(false, false);
}

void MarkdownEditorActions::clearFind()
{
    setFindText(QString());
    refreshSearchState(false, false);
}

void MarkdownEditorActions::selectMatch(qsizetype index, const QList<EditorRange> &matches,
                                        bool focusEditor)
{
    if (!m_textView || index < 0 || index >= matches.size())
        return;
    m_textView->setSelection(matches[index]);
    m_textView->scrollRangeToVisible(matches[index]);
    if (focusEditor)
        m_textView->focus();
}

void MarkdownEditorActions::updateSearchState(const QList<EditorRange> &matches,
                                              std::optional<qsizetype> current)
{
    const int newIndex = current ? int(*current) + 1 : 0;
    if (m_matchCount != matches.size()) {
        m_matchCount = int(matches.size());
        emit matchCountChanged(m_matchCount);
    }
    if (m_currentMatchIndex != newIndex) {
        m_currentMatchIndex = newIndex;
        emit currentMatchIndexChanged(m_currentMatchIndex);
    }
    std::optional<EditorRange> currentRange;
    if (current && *current < matches.size())
        currentRange = matches[*current];
    updateSearchHighlights(matches, currentRange);
}

void MarkdownEditorActions::updateSearchHighlights(const QList<EditorRange> &matches,
                                                   std::optional<EditorRange> currentRange)
{
    if (!m_textView)
        return;
    if (matches.isEmpty() || m_findText.isEmpty())
        m_textView->setSearchHighlights({}, std::nullopt);
    else
        m_textView->setSearchHighlights(matches, currentRange);
}
