// The main window's root view: tab bar, toolbar, sidebar and the content area, alerts and drops.
#pragma once

#include <QMessageBox>
#include <QPointer>
#include <QSize>
#include <QUuid>
#include <QWidget>

class AppModel;
class EditorPane;
class EmptyTarnState;
class FileSidebar;

class QStackedWidget;
class ReaderPane;
class SplitPreviewView;
class TarnDocument;
class TitleTabBar;
class TopToolbar;
class WindowFileDrop;

class ContentView : public QWidget
{
    Q_OBJECT

public:
    static constexpr QSize minimumContentSize{980, 700};
    static constexpr QSize initialContentSize{1180, 760};

    explicit ContentView(AppModel &model, QWidget *parent = nullptr);

    TitleTabBar *tabBar() const { return m_tabBar; }
    TopToolbar *toolbar() const { return m_toolbar; }
    FileSidebar *sidebar() const { return m_sidebar; }
    EmptyTarnState *emptyState() const { return m_emptyState; }
    EditorPane *editorPane() const { return m_editor; }
    ReaderPane *readerPane() const { return m_reader; }
    SplitPreviewView *splitView() const { return m_split; }
    // The view the content area shows now.
    QWidget *currentContent() const;
    // The alert on screen for the model's current alert, if any.
    QMessageBox *alertBox() const { return m_alertBox; }

    // Starts taking file drops over the whole window this view is in.
    void acceptDropsOnWindow();

private:
    void updateContent();
    void updateTheme();
    void presentAlert();

    AppModel &m_model;
    TitleTabBar *m_tabBar;
    TopToolbar *m_toolbar;
    FileSidebar *m_sidebar;
    QStackedWidget *m_content;
    EmptyTarnState *m_emptyState;
    EditorPane *m_editor;
    ReaderPane *m_reader;
    SplitPreviewView *m_split;
    QWidget *m_divider;
    QWidget *m_sidebarDivider;
    WindowFileDrop *m_drop = nullptr;
    QPointer<QMessageBox> m_alertBox;
    QUuid m_alertID;
    QPointer<TarnDocument> m_readingDocument; // the document last shown for reading
};
