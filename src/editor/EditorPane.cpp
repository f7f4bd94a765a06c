// Editor pane: binds the text view to the document's draft and hosts toolbar and find panel.
#include "EditorPane.h"

#include "EditorCounter.h"
#include "EditorFindField.h"
#include "EditorFindPanel.h"
#include "EditorNotifications.h"
#include "EditorPalette.h"
#include "EditorToolbar.h"
#include "MarkdownEditorActions.h"
#include "MarkdownHighlighter.h"
#include "PlainTextEditView.h"
#include "TarnEditorTextView.h"

#include <TarnDocument.h>

#include <QApplication>
#include <QEasingCurve>
#include <QEvent>
#include <QFrame>
#include <QGraphicsOpacityEffect>
#include <QKeyEvent>
#include <QLabel>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QScopedValueRollback>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextDocument>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int panelInset = 14;
// How far the panel travels when it slides in from the top edge.
constexpr int panelTravel = 10;

} // namespace

EditorPane::EditorPane(QWidget *parent)
    : QWidget(parent)
    , m_actions(new MarkdownEditorActions(this))
{
    setObjectName(QStringLiteral("editorPane"));
    m_toolbar = new EditorToolbar(m_actions, this);
    m_divider = new QFrame(this);
    m_divider->setFrameShape(QFrame::HLine);
    m_divider->setFrameShadow(QFrame::Plain);
    m_divider->setFixedHeight(1);

    m_textArea = new QWidget(this);
    m_textView = new TarnEditorTextView(m_textArea);
    auto *areaLayout = new QVBoxLayout(m_textArea);
    areaLayout->setContentsMargins(0, 0, 0, 0);
    areaLayout->addWidget(m_textView);
    m_findPanel = new EditorFindPanel(m_actions, m_textArea);
    m_findPanel->hide();
    m_highlighter = new MarkdownHighlighter(m_textView);
    m_counter = new EditorCounter(m_textView, this);
    m_statusLine = new QLabel(m_counter->statusText(), this);
    m_statusLine->setObjectName(QStringLiteral("editorStatusLine"));
    m_statusLine->setContentsMargins(12, 3, 12, 4);
    connect(m_counter, &EditorCounter::statusTextChanged, m_statusLine, &QLabel::setText);

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(m_toolbar);
    column->addWidget(m_divider);
    column->addWidget(m_textArea, 1);
    column->addWidget(m_statusLine);

    m_adapter = new PlainTextEditView(m_textView);
    m_actions->setTextView(m_adapter);
    m_actions->refreshSearchState(false, false);
    // Commands report their text here after the change notification below already did; the
    // hop to the event loop keeps that second report from landing in the middle of an edit.
    m_actions->onChange = [this](const QString &text) {
        QTimer::singleShot(0, this, [this, text] {
            if (m_document && m_adapter->text() == text &&
                m_document->draft() != m_lineBreaks.update(text))
                pushDraft();
        });
    };

    connect(m_textView, &QPlainTextEdit::textChanged, this, &EditorPane::onTextChanged);
    // Undo reports reaching the loaded text only after its text change: take that text back
    // exactly then, line endings and all.
    connect(m_textView->document(), &QTextDocument::modificationChanged, this,
            [this](bool changed) {
                if (!changed && !m_applyingDocument)
                    pushDraft();
            });
    connect(m_toolbar, &EditorToolbar::findRequested, this, &EditorPane::openFindPanel);
    connect(m_textView, &TarnEditorTextView::formattingRequested, this,
            [this](TarnEditorTextView::Formatting command) {
                switch (command) {
                case TarnEditorTextView::Formatting::bold:
                    m_actions->bold();
                    break;
                case TarnEditorTextView::Formatting::italic:
                    m_actions->italic();
                    break;
                case TarnEditorTextView::Formatting::link:
                    m_actions->link();
                    break;
                }
            });
    connect(m_toolbar, &EditorToolbar::saveRequested, this, [this] {
        if (m_document)
            emit saveRequested(m_document);
    });
    connect(m_findPanel, &EditorFindPanel::closeRequested, this, &EditorPane::closeFindPanel);
    connect(EditorNotifications::instance(), &EditorNotifications::showEditorFind, this,
            &EditorPane::openFindPanel);
    connect(m_textView->verticalScrollBar(), &QScrollBar::valueChanged, this,
            [this] { emit topLineChanged(topLine()); });
    m_textArea->installEventFilter(this);
    m_findPanel->installEventFilter(this);
    m_textView->installEventFilter(this);
    m_textView->verticalScrollBar()->installEventFilter(this);

    setTheme(m_theme);
    setDocument(nullptr);
}

EditorPane::~EditorPane()
{
    // The adapter dies with the text view; commands must not reach it in between.
    m_actions->setTextView(nullptr);
    m_actions->onChange = nullptr;
}

void EditorPane::setDocument(TarnDocument *document)
{
    if (m_document)
        disconnect(m_document, nullptr, this, nullptr);
    m_document = document;
    if (document) {
        connect(document, &TarnDocument::draftChanged, this, [this] {
            if (!m_pushingDraft)
                applyDocumentText(false);
        });
        connect(document, &TarnDocument::isDirtyChanged, this, [this] {
            const bool dirty = m_document && m_document->isDirty();
            m_toolbar->setDirty(dirty);
            // Saved: undoing back to this point is clean again.
            if (m_document && !dirty) {
                m_loadedDraft = m_document->draft();
                m_textView->document()->setModified(false);
            }
        });
        connect(document, &QObject::destroyed, this, [this] { setDocument(nullptr); });
    }
    // Without a document there is nothing to format or save into.
    m_textView->setReadOnly(!document);
    m_toolbar->setEnabled(document);
    applyDocumentText(true);
    m_toolbar->setDirty(document && document->isDirty());
}

void EditorPane::applyDocumentText(bool force)
{
    const QString draft = m_document ? m_document->draft() : QString();
    // Typing does not come back through here: the draft only differs from the view after
    // switching documents, discarding the draft or reloading, and only then is it replaced.
    if (!force && draft == m_lineBreaks.update(m_adapter->text()))
        return;
    const QString viewText = m_lineBreaks.reset(draft);
    {
        const QScopedValueRollback applying(m_applyingDocument, true);
        m_adapter->setWholeText(viewText);
    }
    // Undoing back to here brings back exactly this text, line endings and all.
    m_loadedDraft = draft;
    m_textView->document()->setModified(false);
    m_actions->refreshSearchState(false, false);
}

void EditorPane::onTextChanged()
{
    if (m_applyingDocument)
        return;
    pushDraft();
    m_actions->refreshSearchState(false, false);
}

void EditorPane::pushDraft()
{
    if (!m_document)
        return;
    const QScopedValueRollback pushing(m_pushingDraft, true);
    if (!m_textView->document()->isModified()) {
        m_lineBreaks.reset(m_loadedDraft);
        m_document->updateDraft(m_loadedDraft);
        return;
    }
    m_document->updateDraft(m_lineBreaks.update(m_adapter->text()));
}

bool EditorPane::showReplaceControls() const
{
    return m_findPanel->showReplaceControls();
}

void EditorPane::setTheme(TarnTheme theme)
{
    m_theme = theme;
    // The text view keeps its transparent base; everything else takes the theme's colours.
    setPalette(EditorPalette::controlPalette(theme, QApplication::palette()));
    setAutoFillBackground(true);
    QPalette dividerColours = m_divider->palette();
    dividerColours.setColor(QPalette::WindowText, EditorPalette::panelBorder(theme));
    m_divider->setPalette(dividerColours);
    QPalette statusColours = m_statusLine->palette();
    statusColours.setColor(QPalette::WindowText, ThemeColors::secondaryText(theme));
    m_statusLine->setPalette(statusColours);
    m_statusLine->setFont(EditorPalette::captionFont(font()));
    m_highlighter->setTheme(theme);
    m_textView->setQuietBackground(m_highlighter->style().quietBackground);

    m_toolbar->setTheme(theme);
    m_findPanel->setTheme(theme);
    // Match colours follow the light or dark appearance.
    m_actions->refreshSearchState(false, false);
}

int EditorPane::topLine() const
{
    // The plain text edit scrolls by layout lines: its scroll value is the top one.
    const int value = m_textView->verticalScrollBar()->value();
    return m_textView->document()->findBlockByLineNumber(value).blockNumber();
}

void EditorPane::showLineAtTop(int line)
{
    const QTextBlock block = m_textView->document()->findBlockByNumber(std::max(line, 0));
    if (!block.isValid())
        return;
    m_textView->setTextCursor(QTextCursor(block));
    m_textView->verticalScrollBar()->setValue(block.firstLineNumber());
}

void EditorPane::openFindPanel()
{
    if (!m_showFindPanel) {
        m_showFindPanel = true;
        animateFindPanel(true);
        emit showFindPanelChanged(true);
    }
    ++m_findFocusToken;
    m_findPanel->setFocusToken(m_findFocusToken);
}

void EditorPane::closeFindPanel()
{
    const bool wasShown = m_showFindPanel;
    const bool hadFocus = m_findPanel->isAncestorOf(QApplication::focusWidget());
    m_showFindPanel = false;
    m_findPanel->setShowReplaceControls(false);
    if (wasShown) {
        animateFindPanel(false);
        emit showFindPanelChanged(false);
    }
    m_actions->clearFind();
    if (hadFocus)
        m_textView->setFocus(Qt::OtherFocusReason);
}

QPoint EditorPane::findPanelPosition() const
{
    const QScrollBar *scrollBar = m_textView->verticalScrollBar();
    const int scrollBarWidth = scrollBar->isVisible() ? scrollBar->width() : 0;
    return QPoint(m_textArea->width() - m_findPanel->width() - panelInset - scrollBarWidth,
                  panelInset);
}

void EditorPane::placeFindPanel()
{
    if (!m_panelAnimation || m_panelAnimation->state() != QAbstractAnimation::Running)
        m_findPanel->move(findPanelPosition());
}

void EditorPane::animateFindPanel(bool opening)
{
    if (m_panelAnimation)
        m_panelAnimation->stop();
    delete m_panelAnimation;
    m_findPanel->adjustSize();

    auto *opacity = new QGraphicsOpacityEffect(m_findPanel);
    m_findPanel->setGraphicsEffect(opacity);
    m_panelAnimation = new QParallelAnimationGroup(this);
    const QPoint shown = findPanelPosition();
    const QPoint hidden = shown - QPoint(0, panelTravel);

    auto *fade = new QPropertyAnimation(opacity, "opacity", m_panelAnimation);
    auto *slide = new QPropertyAnimation(m_findPanel, "pos", m_panelAnimation);
    fade->setStartValue(opening ? 0.0 : 1.0);
    fade->setEndValue(opening ? 1.0 : 0.0);
    slide->setStartValue(opening ? hidden : shown);
    slide->setEndValue(opening ? shown : hidden);
    for (QPropertyAnimation *animation : {fade, slide}) {
        animation->setDuration(opening ? 160 : 140);
        animation->setEasingCurve(QEasingCurve::OutCubic);
    }
    connect(m_panelAnimation, &QAbstractAnimation::finished, this, [this] {
        // The effect would keep rendering the panel through an offscreen buffer.
        m_findPanel->setGraphicsEffect(nullptr);
        m_findPanel->setVisible(m_showFindPanel);
        placeFindPanel();
    });
    if (opening) {
        m_findPanel->move(hidden);
        m_findPanel->show();
        m_findPanel->raise();
    }
    m_panelAnimation->start();
}

bool EditorPane::tabsBackToFindPanel(const QKeyEvent *event) const
{
    if (!m_showFindPanel || (event->modifiers() & (Qt::ControlModifier | Qt::AltModifier)) ||
        (event->key() != Qt::Key_Tab && event->key() != Qt::Key_Backtab))
        return false;
    // Return in the find field selects the match in the text and gives the text the keys; a Tab
    // pressed then is meant for the find bar, and would otherwise type over the match.
    const EditorRange selected = m_adapter->selection();
    return selected.length > 0 && m_adapter->highlightedCurrent() == selected;
}

bool EditorPane::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (watched == m_textView && type == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (tabsBackToFindPanel(key)) {
            const bool next = key->key() == Qt::Key_Tab && !(key->modifiers() & Qt::ShiftModifier);
            m_findPanel->focusNeighbour(m_findPanel->findField(), next);
            return true;
        }
    }
    if ((watched == m_textArea && type == QEvent::Resize) ||
        (watched == m_findPanel && type == QEvent::Resize) ||
        (watched == m_textView->verticalScrollBar() &&
         (type == QEvent::Show || type == QEvent::Hide)))
        placeFindPanel();
    return QWidget::eventFilter(watched, event);
}
