// The toolbar: open, save, export, the reader search, outline, edit/read, split view and theme
// controls.
#pragma once

#include <QWidget>

class AppModel;
class QMenu;
class QToolButton;
class ReaderSearchControl;

class TopToolbar : public QWidget
{
    Q_OBJECT

public:
    explicit TopToolbar(AppModel &model, QWidget *parent = nullptr);

    QToolButton *openButton() const { return m_open; }
    QToolButton *saveButton() const { return m_save; }
    QToolButton *exportButton() const { return m_export; }
    QToolButton *outlineButton() const { return m_outline; }
    QToolButton *editButton() const { return m_edit; }
    QToolButton *splitButton() const { return m_split; }
    QToolButton *themeButton() const { return m_theme; }
    QMenu *exportMenu() const { return m_exportMenu; }
    QMenu *themeMenu() const { return m_themeMenu; }
    ReaderSearchControl *searchControl() const { return m_search; }

    // Gives keyboard focus to the reader search field, when it is shown.
    void focusSearch();

private:
    void updateState();
    void updateTheme();

    AppModel &m_model;
    QToolButton *m_open;
    QToolButton *m_save;
    QToolButton *m_export;
    QToolButton *m_outline;
    QToolButton *m_edit;
    QToolButton *m_split;
    QToolButton *m_theme;
    QMenu *m_exportMenu;
    QMenu *m_themeMenu;
    ReaderSearchControl *m_search;
};
