// The floating find panel: query row with status and navigation, optional replace row.
#pragma once

#include <TarnTheme.h>

#include <QFrame>

class EditorFindField;
class MarkdownEditorActions;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;

class EditorFindPanel : public QFrame
{
    Q_OBJECT

public:
    explicit EditorFindPanel(MarkdownEditorActions *actions, QWidget *parent = nullptr);

    bool showReplaceControls() const { return m_showReplaceControls; }
    void setShowReplaceControls(bool show);
    void setFocusToken(int token);
    void setTheme(TarnTheme theme);

    EditorFindField *findField() const { return m_findField; }
    QLineEdit *replaceField() const { return m_replaceField; }
    QLabel *statusLabel() const { return m_status; }
    QToolButton *replaceToggle() const { return m_replaceToggle; }
    QToolButton *previousButton() const { return m_previous; }
    QToolButton *nextButton() const { return m_next; }
    QToolButton *closeButton() const { return m_close; }
    QPushButton *replaceButton() const { return m_replace; }
    QPushButton *replaceAllButton() const { return m_replaceAll; }

    // Gives the focus to the bar's control after (or before) `from` in its own order, going
    // round: the bar keeps Tab to itself, so no Tab typed here lands in the text.
    void focusNeighbour(QWidget *from, bool next);

signals:
    void closeRequested();
    void showReplaceControlsChanged(bool show);

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    bool focusNextPrevChild(bool next) override;

private:
    void updateFromActions();
    void updateToggle();
    void updateIcons();

    MarkdownEditorActions *m_actions;
    TarnTheme m_theme = TarnTheme::businessBlue;
    bool m_showReplaceControls = false;

    QLabel *m_searchSymbol;
    QToolButton *m_replaceToggle;
    EditorFindField *m_findField;
    QLabel *m_status;
    QToolButton *m_previous;
    QToolButton *m_next;
    QToolButton *m_close;
    QWidget *m_replaceRow;
    QLineEdit *m_replaceField;
    QPushButton *m_replace;
    QPushButton *m_replaceAll;
};
