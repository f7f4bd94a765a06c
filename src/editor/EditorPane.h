// The editing view of one document: toolbar, text view and the floating find panel.
#pragma once

#include "DraftLineBreaks.h"

#include <TarnDocument.h>
#include <TarnTheme.h>

#include <QPointer>
#include <QWidget>

class EditorCounter;
class EditorFindPanel;
class EditorToolbar;
class MarkdownEditorActions;
class MarkdownHighlighter;
class PlainTextEditView;
class QFrame;
class QKeyEvent;
class QLabel;
class QParallelAnimationGroup;
class TarnEditorTextView;

class EditorPane : public QWidget
{
    Q_OBJECT

public:
    explicit EditorPane(QWidget *parent = nullptr);
    ~EditorPane() override;

    TarnDocument *document() const { return m_document; }
    // Shows the document's draft, replacing the text without an undo step. Every later edit
    // goes into the draft.
    void setDocument(TarnDocument *document);

    MarkdownEditorActions *actions() const { return m_actions; }
    TarnEditorTextView *textView() const { return m_textView; }
    PlainTextEditView *textViewAdapter() const { return m_adapter; }
    EditorToolbar *toolbar() const { return m_toolbar; }
    EditorFindPanel *findPanel() const { return m_findPanel; }
    MarkdownHighlighter *highlighter() const { return m_highlighter; }
    EditorCounter *counter() const { return m_counter; }
    // The counts under the text: "N 字 · N 字符 · N 行", and the selection's words.
    QLabel *statusLine() const { return m_statusLine; }

    bool showFindPanel() const { return m_showFindPanel; }
    bool showReplaceControls() const;
    int findFocusToken() const { return m_findFocusToken; }

    void setTheme(TarnTheme theme);

    // The 0-based line shown at the top of the text; showing a line puts the caret at its start.
    int topLine() const;
    void showLineAtTop(int line);

public slots:
    // Opening an open panel only focuses the find field again and selects its text.
    void openFindPanel();
    // Hides the panel and its replace row and clears the query; the replace text is kept.
    void closeFindPanel();

signals:
    // The save button was pressed; the application saves the document.
    void saveRequested(TarnDocument *document);
    void showFindPanelChanged(bool shown);
    void topLineChanged(int line);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void applyDocumentText(bool force);
    void pushDraft();
    void onTextChanged();
    void placeFindPanel();
    void animateFindPanel(bool opening);
    QPoint findPanelPosition() const;
    bool tabsBackToFindPanel(const QKeyEvent *event) const;

    QPointer<TarnDocument> m_document;
    MarkdownEditorActions *m_actions;
    EditorToolbar *m_toolbar;
    QFrame *m_divider;
    QWidget *m_textArea;
    TarnEditorTextView *m_textView;
    PlainTextEditView *m_adapter;
    EditorFindPanel *m_findPanel;
    MarkdownHighlighter *m_highlighter;
    EditorCounter *m_counter;
    QLabel *m_statusLine;
    QParallelAnimationGroup *m_panelAnimation = nullptr;

    TarnTheme m_theme = TarnTheme::businessBlue;
    DraftLineBreaks m_lineBreaks;
    QString m_loadedDraft; // the draft the view was last filled with
    bool m_showFindPanel = false;
    int m_findFocusToken = 0;
    bool m_applyingDocument = false;
    bool m_pushingDraft = false;
};
