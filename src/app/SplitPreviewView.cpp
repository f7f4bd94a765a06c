// The split view's layout and its scroll sync. Each side tells the other its top source line;
// a side moved by the other does not answer, so neither chases the other.
#include "SplitPreviewView.h"

#include "AppModel.h"
#include "EditorPane.h"
#include "LivePreview.h"
#include "OutlinePane.h"
#include "SourcePosition.h"
#include "TarnEditorTextView.h"
#include "TarnWebView.h"
#include "WindowChrome.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QScrollBar>
#include <QSplitter>
#include <QTextBlock>

#include <functional>

namespace {

// A splitter that keeps its sides' shares when it is resized, rather than giving the change
// to one side.
class SharedSplitter : public QSplitter
{
public:
    SharedSplitter(std::function<void()> afterResize, QWidget *parent)
        : QSplitter(Qt::Horizontal, parent)
        , m_afterResize(std::move(afterResize))
    {}

protected:
    void resizeEvent(QResizeEvent *event) override
    {
        QSplitter::resizeEvent(event);
        m_afterResize();
    }

private:
    std::function<void()> m_afterResize;
};

} // namespace

SplitPreviewView::SplitPreviewView(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_splitter(new SharedSplitter([this] { applyShare(); }, this))
{
    setObjectName(QStringLiteral("splitPreviewView"));
    m_splitter->setObjectName(QStringLiteral("splitPreviewSplitter"));
    m_splitter->setChildrenCollapsible(false);
    m_preview = new LivePreview(m_splitter);
    m_splitter->addWidget(m_preview->view());
    m_outline = new OutlinePane(model, this);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(m_splitter, 1);
    row->addWidget(m_outline);

    m_preview->onOpenLink = [this](const QUrl &url) {
        m_model.openLink(url, m_model.selectedDocument());
    };
    connect(m_preview, &LivePreview::outlineChanged, m_outline,
            [this](const std::vector<TOCItem> &toc) { m_outline->setOutline(toc); });
    connect(m_preview, &LivePreview::lineAtTopChanged, this,
            &SplitPreviewView::syncEditorToPreview);
    // A page loaded anew starts at its top: it is brought to the editor's place.
    connect(m_preview, &LivePreview::pageReady, this, &SplitPreviewView::syncPreviewToEditor);
    connect(m_splitter, &QSplitter::splitterMoved, this, [this] {
        const QList<int> sizes = m_splitter->sizes();
        const int total = sizes.value(0) + sizes.value(1);
        if (total <= 0)
            return;
        m_share = double(sizes.value(0)) / total;
        m_model.setSplitViewEditorShare(m_share);
    });
    connect(m_outline->rows(), &QListWidget::itemClicked, this, &SplitPreviewView::jumpToHeading);
    for (auto signal :
         {&AppModel::themeChanged, &AppModel::markdownFlavorChanged, &AppModel::showOutlineChanged})
        connect(&m_model, signal, this, [this] {
            if (isVisible())
                refresh();
        });
}

void SplitPreviewView::takeEditor(EditorPane *editor)
{
    m_editor = editor;
    m_splitter->insertWidget(0, editor);
    editor->show(); // the content area hid it when it was not the page shown
    m_share = m_model.splitViewEditorShare();
    applyShare();
    connect(editor, &EditorPane::topLineChanged, this, &SplitPreviewView::syncPreviewToEditor,
            Qt::UniqueConnection);
    connect(editor->textView(), &QPlainTextEdit::cursorPositionChanged, this,
            &SplitPreviewView::syncPreviewToEditor, Qt::UniqueConnection);
}

void SplitPreviewView::applyShare()
{
    const QList<int> sizes = m_splitter->sizes();
    const int total = sizes.value(0) + sizes.value(1);
    if (sizes.size() == 2 && total > 0)
        m_splitter->setSizes({int(total * m_share), total - int(total * m_share)});
}

void SplitPreviewView::refresh()
{
    m_preview->show(m_model.selectedDocument(), m_model.markdownFlavor(), m_model.theme());
    m_outline->setVisible(m_model.showOutline());
    WindowChrome::fillBackground(this, WindowChrome::background(m_model.theme()));
}

void SplitPreviewView::syncPreviewToEditor()
{
    if (!m_editor || m_editor->parentWidget() != m_splitter)
        return;
    const int line = m_editor->topLine();
    // The editor only followed the preview: the preview is already there.
    m_model.setCurrentHeadingID(m_preview->headingAtLine(line));
    if (line == std::exchange(m_lineFromPreview, -1))
        return;
    m_preview->showLine(line);
}

void SplitPreviewView::syncEditorToPreview(int line)
{
    if (!m_editor || m_editor->parentWidget() != m_splitter || line == m_editor->topLine())
        return;
    // Scrolled, not moved to: the caret stays where the user left it.
    QPlainTextEdit *text = m_editor->textView();
    const QTextBlock block = text->document()->findBlockByNumber(line);
    if (!block.isValid())
        return;
    m_lineFromPreview = block.blockNumber();
    text->verticalScrollBar()->setValue(block.firstLineNumber());
    m_model.setCurrentHeadingID(m_preview->headingAtLine(line));
}

void SplitPreviewView::jumpToHeading()
{
    const QListWidgetItem *item = m_outline->rows()->currentItem();
    TarnDocument *document = m_model.selectedDocument();
    if (!item || !document || !m_editor)
        return;
    const int line =
        SourcePosition::lineOfHeading(document->draft(), m_model.markdownFlavor(),
                                      item->data(OutlinePane::headingIDRole).toString());
    m_editor->showLineAtTop(line);
    m_preview->showLine(line);
}
