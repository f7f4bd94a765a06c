// "分栏预览": the editor on the left, the live preview of its draft on the right, the outline
// beside it; the two sides scroll together by source line.
#pragma once

#include <QPointer>
#include <QWidget>

class AppModel;
class EditorPane;
class LivePreview;
class OutlinePane;
class QSplitter;
class TarnDocument;

class SplitPreviewView : public QWidget
{
    Q_OBJECT

public:
    explicit SplitPreviewView(AppModel &model, QWidget *parent = nullptr);

    // Takes the editor into the left side (it is handed back by being added elsewhere).
    void takeEditor(EditorPane *editor);
    // Shows the selected document's draft in the model's flavour and theme.
    void refresh();

    QSplitter *splitter() const { return m_splitter; }
    LivePreview *preview() const { return m_preview; }
    OutlinePane *outline() const { return m_outline; }

private:
    // Gives the editor its share of the width; the share holds as the window is resized.
    void applyShare();
    void syncPreviewToEditor();
    void syncEditorToPreview(int line);
    void jumpToHeading();

    AppModel &m_model;
    QSplitter *m_splitter;
    LivePreview *m_preview;
    OutlinePane *m_outline;
    QPointer<EditorPane> m_editor;
    double m_share = 0.5;
    int m_lineFromPreview = -1; // the editor's top line the preview last set
};
