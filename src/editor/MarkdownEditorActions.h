// The editor's command object: Markdown formatting commands and find and replace.
#pragma once

#include "CaseFoldedSearch.h"
#include "EditorRange.h"
#include "EditorTextView.h"
#include "MatchList.h"

#include <AppModelTypes.h>

#include <QObject>
#include <QPointer>
#include <QString>

#include <functional>
#include <optional>

class MarkdownEditorActions : public QObject
{
    Q_OBJECT
    Q_PROPERTY(QString findText READ findText WRITE setFindText NOTIFY findTextChanged)
    Q_PROPERTY(QString replaceText READ replaceText WRITE setReplaceText NOTIFY replaceTextChanged)
    Q_PROPERTY(int matchCount READ matchCount NOTIFY matchCountChanged)
    Q_PROPERTY(int currentMatchIndex READ currentMatchIndex NOTIFY currentMatchIndexChanged)

public:
    explicit MarkdownEditorActions(QObject *parent = nullptr);

    // Held weakly; without a text view every command does nothing.
    EditorTextView *textView() const { return m_textView; }
    void setTextView(EditorTextView *textView);
    // Receives the whole text after each command's edit.
    std::function<void(const QString &)> onChange;

    void bold();
    void italic();
    void taskList();
    void quote();
    void link();
    void horizontalRule();

    QString findText() const { return m_findText; }
    void setFindText(const QString &text);
    QString replaceText() const { return m_replaceText; }
    void setReplaceText(const QString &text);
    int matchCount() const { return m_matchCount; }
    // 1-based; 0 when no match is current.
    int currentMatchIndex() const { return m_currentMatchIndex; }

    bool hasFindText() const { return !m_findText.isEmpty(); }
    bool canMoveSearch() const { return hasFindText() && m_matchCount > 0; }
    bool canReplace() const { return canMoveSearch(); }
    QString searchStatusText() const;

    void findNext() { moveSearch(SearchNavigationDirection::next); }
    void findPrevious() { moveSearch(SearchNavigationDirection::previous); }
    void moveSearch(SearchNavigationDirection direction);
    void replaceCurrent();
    void replaceAll();
    void clearFind();
    void refreshSearchState(bool selectFirst, bool focusEditor);

    // Every match of the find text in the current text, in ascending order.
    QList<EditorRange> matchRanges();

signals:
    void findTextChanged(const QString &text);
    void replaceTextChanged(const QString &text);
    void matchCountChanged(int count);
    void currentMatchIndexChanged(int index);

private:
    void wrapSelection(const QString &prefix, const QString &suffix, const QString &placeholder);
    void prefixSelectedLines(const QString &prefix);
    void afterEdit();

    void selectMatch(qsizetype index, const QList<EditorRange> &matches, bool focusEditor);
    void updateSearchState(const QList<EditorRange> &matches, std::optional<qsizetype> current);
    void updateSearchHighlights(const QList<EditorRange> &matches,
                                std::optional<EditorRange> currentRange);
    void clearSearchState();

    QPointer<EditorTextView> m_textView;
    QMetaObject::Connection m_editConnection;
    QString m_findText;
    QString m_replaceText;
    int m_matchCount = 0;
    int m_currentMatchIndex = 0;
    CaseFoldedSearch m_search;
    MatchList m_matches;
};
