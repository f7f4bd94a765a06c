// The row above the text: formatting buttons, find, save state and save.
#pragma once

#include <TarnTheme.h>

#include <QWidget>

class MarkdownEditorActions;
class QLabel;
class QToolButton;

class EditorToolbar : public QWidget
{
    Q_OBJECT

public:
    explicit EditorToolbar(MarkdownEditorActions *actions, QWidget *parent = nullptr);

    // Shows "未保存" (and enables saving) or "已保存".
    void setDirty(bool dirty);
    void setTheme(TarnTheme theme);

    QLabel *saveStateLabel() const { return m_saveState; }
    QToolButton *saveButton() const { return m_save; }
    // In order: bold, italic, task list, quote, link, rule, find.
    const QList<QToolButton *> &commandButtons() const { return m_commands; }

signals:
    void findRequested();
    void saveRequested();

private:
    struct Symbol
    {
        QToolButton *button;
        QString icon;
        QString fallback;
    };
    void updateIcons();
    void updateSaveState();

    TarnTheme m_theme = TarnTheme::businessBlue;
    bool m_dirty = false;
    QList<QToolButton *> m_commands;
    QList<Symbol> m_symbols;
    QLabel *m_saveState;
    QToolButton *m_save;
};
