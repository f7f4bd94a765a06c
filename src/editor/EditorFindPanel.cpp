// Find panel layout, its bindings to MarkdownEditorActions and its enable rules.
#include "EditorFindPanel.h"

#include "EditorFindField.h"
#include "EditorIcons.h"
#include "EditorPalette.h"
#include "MarkdownEditorActions.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QToolButton *makeSymbolButton(const QString &objectName, const QString &help, QWidget *parent)
{
    auto *button = new QToolButton(parent);
    button->setObjectName(objectName);
    button->setToolTip(help);
    button->setAutoRaise(true);
    button->setFixedSize(20, 20);
    button->setIconSize(QSize(14, 14));
    return button;
}

void setSymbol(QToolButton *button, const QString &symbol, const QString &fallback,
               const QColor &color)
{
    const QIcon icon = EditorIcons::icon(symbol, color);
    button->setIcon(icon);
    button->setText(icon.isNull() ? fallback : QString());
}

} // namespace

EditorFindPanel::EditorFindPanel(MarkdownEditorActions *actions, QWidget *parent)
    : QFrame(parent)
    , m_actions(actions)
{
    setObjectName(QStringLiteral("findPanel"));
    setAttribute(Qt::WA_TranslucentBackground);

    m_searchSymbol = new QLabel(this);
    m_searchSymbol->setFixedSize(16, 16);

    m_replaceToggle = makeSymbolButton(QStringLiteral("replaceToggle"), QString(), this);
    m_findField = new EditorFindField(this);
    m_findField->setMinimumWidth(180);

    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("findStatus"));
    m_status->setFixedWidth(58);
    m_status->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_status->setFont(EditorPalette::captionFont(font()));

    m_previous = makeSymbolButton(QStringLiteral("findPrevious"), QStringLiteral("上一个"), this);
    m_next = makeSymbolButton(QStringLiteral("findNext"), QStringLiteral("下一个"), this);
    m_close = makeSymbolButton(QStringLiteral("closeFind"), QStringLiteral("关闭查找"), this);

    auto *findRow = new QHBoxLayout;
    findRow->setSpacing(6);
    findRow->addWidget(m_searchSymbol);
    findRow->addWidget(m_replaceToggle);
    findRow->addWidget(m_findField, 1);
    findRow->addWidget(m_status);
    findRow->addWidget(m_previous);
    findRow->addWidget(m_next);
    findRow->addWidget(m_close);

    m_replaceRow = new QWidget(this);
    m_replaceField = new QLineEdit(m_replaceRow);
    m_replaceField->setObjectName(QStringLiteral("replaceField"));
    m_replaceField->setPlaceholderText(QStringLiteral("替换为"));
    m_replace = new QPushButton(QStringLiteral("替换"), m_replaceRow);
    m_replace->setObjectName(QStringLiteral("replaceButton"));
    m_replace->setToolTip(QStringLiteral("替换当前项"));
    m_replaceAll = new QPushButton(QStringLiteral("全部替换"), m_replaceRow);
    m_replaceAll->setObjectName(QStringLiteral("replaceAllButton"));
    m_replaceAll->setToolTip(QStringLiteral("全部替换"));
    for (QPushButton *button : {m_replace, m_replaceAll}) {
        button->setAutoDefault(false);
        button->setFocusPolicy(Qt::TabFocus);
    }
    auto *replaceRow = new QHBoxLayout(m_replaceRow);
    replaceRow->setContentsMargins(0, 0, 0, 0);
    replaceRow->setSpacing(6);
    replaceRow->addWidget(m_replaceField, 1);
    replaceRow->addWidget(m_replace);
    replaceRow->addWidget(m_replaceAll);
    m_replaceRow->hide();

    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(10, 7, 8, 7);
    column->setSpacing(6);
    column->addLayout(findRow);
    column->addWidget(m_replaceRow);
    column->setSizeConstraint(QLayout::SetFixedSize);

    connect(m_replaceToggle, &QToolButton::clicked, this,
            [this] { setShowReplaceControls(!m_showReplaceControls); });
    connect(m_findField, &QLineEdit::textEdited, m_actions, &MarkdownEditorActions::setFindText);
    connect(m_findField, &EditorFindField::submitted, this,
            [this](SearchNavigationDirection direction) { m_actions->moveSearch(direction); });
    connect(m_findField, &EditorFindField::cancelled, this, [this] {
        emit closeRequested();
        if (!m_actions->findText().isEmpty())
            m_findField->clear();
    });
    connect(m_replaceField, &QLineEdit::textEdited, m_actions,
            &MarkdownEditorActions::setReplaceText);
    connect(m_previous, &QToolButton::clicked, m_actions, &MarkdownEditorActions::findPrevious);
    connect(m_next, &QToolButton::clicked, m_actions, &MarkdownEditorActions::findNext);
    connect(m_close, &QToolButton::clicked, this, &EditorFindPanel::closeRequested);
    connect(m_replace, &QPushButton::clicked, m_actions, &MarkdownEditorActions::replaceCurrent);
    connect(m_replaceAll, &QPushButton::clicked, m_actions, &MarkdownEditorActions::replaceAll);

    connect(m_actions, &MarkdownEditorActions::findTextChanged, this,
            &EditorFindPanel::updateFromActions);
    connect(m_actions, &MarkdownEditorActions::replaceTextChanged, this,
            &EditorFindPanel::updateFromActions);
    connect(m_actions, &MarkdownEditorActions::matchCountChanged, this,
            &EditorFindPanel::updateFromActions);
    connect(m_actions, &MarkdownEditorActions::currentMatchIndexChanged, this,
            &EditorFindPanel::updateFromActions);

    updateToggle();
    updateIcons();
    updateFromActions();
}

void EditorFindPanel::setShowReplaceControls(bool show)
{
    if (show == m_showReplaceControls)
        return;
    m_showReplaceControls = show;
    m_replaceRow->setVisible(show);
    updateToggle();
    emit showReplaceControlsChanged(show);
}

void EditorFindPanel::setFocusToken(int token)
{
    m_findField->setFocusToken(token);
}

void EditorFindPanel::setTheme(TarnTheme theme)
{
    m_theme = theme;
    updateIcons();
    update();
}

void EditorFindPanel::updateFromActions()
{
    if (m_findField->text() != m_actions->findText())
        m_findField->setText(m_actions->findText());
    if (m_replaceField->text() != m_actions->replaceText())
        m_replaceField->setText(m_actions->replaceText());
    m_status->setText(m_actions->searchStatusText());
    m_previous->setEnabled(m_actions->canMoveSearch());
    m_next->setEnabled(m_actions->canMoveSearch());
    m_replace->setEnabled(m_actions->canReplace());
    m_replaceAll->setEnabled(m_actions->canReplace());
}

void EditorFindPanel::updateToggle()
{
    m_replaceToggle->setToolTip(m_showReplaceControls ? QStringLiteral("隐藏替换")
                                                      : QStringLiteral("显示替换"));
    const QColor color = ThemeColors::primaryText(m_theme);
    setSymbol(m_replaceToggle,
              m_showReplaceControls ? QStringLiteral("chevron-down")
                                    : QStringLiteral("chevron-right"),
              m_showReplaceControls ? QStringLiteral("▾") : QStringLiteral("▸"), color);
}

void EditorFindPanel::updateIcons()
{
    const QColor primary = ThemeColors::primaryText(m_theme);
    const QColor secondary = ThemeColors::secondaryText(m_theme);
    const QIcon search = EditorIcons::icon(QStringLiteral("search"), secondary);
    if (search.isNull())
        m_searchSymbol->setText(QStringLiteral("⌕"));
    else
        m_searchSymbol->setPixmap(search.pixmap(14, 14));
    setSymbol(m_previous, QStringLiteral("chevron-up"), QStringLiteral("↑"), primary);
    setSymbol(m_next, QStringLiteral("chevron-down"), QStringLiteral("↓"), primary);
    setSymbol(m_close, QStringLiteral("circle-x"), QStringLiteral("×"), secondary);
    updateToggle();

    setPalette(EditorPalette::controlPalette(m_theme, QApplication::palette()));
    QPalette statusColours = m_status->palette();
    statusColours.setColor(QPalette::WindowText, secondary);
    m_status->setPalette(statusColours);
}

void EditorFindPanel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath outline;
    outline.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 9, 9);
    painter.fillPath(outline, EditorPalette::panelBackground(m_theme));
    painter.setPen(QPen(EditorPalette::panelBorder(m_theme), 1));
    painter.drawPath(outline);
}

void EditorFindPanel::focusNeighbour(QWidget *from, bool next)
{
    // Row by row, as the controls are laid out.
    const QList<QWidget *> order{m_replaceToggle, m_findField,    m_previous, m_next,
                                 m_close,         m_replaceField, m_replace,  m_replaceAll};
    auto takesTab = [](const QWidget *widget) {
        return widget->isVisibleTo(widget->window()) && widget->isEnabled() &&
               (widget->focusPolicy() & Qt::TabFocus);
    };
    const qsizetype count = order.size();
    const qsizetype start = std::max<qsizetype>(0, order.indexOf(from));
    for (qsizetype step = 1; step <= count; ++step) {
        QWidget *candidate = order[(start + (next ? step : count - step)) % count];
        if (takesTab(candidate)) {
            candidate->setFocus(next ? Qt::TabFocusReason : Qt::BacktabFocusReason);
            return;
        }
    }
}

bool EditorFindPanel::focusNextPrevChild(bool next)
{
    QWidget *from = QApplication::focusWidget();
    while (from && from->parentWidget() != this && from->parentWidget() != m_replaceRow)
        from = from->parentWidget();
    focusNeighbour(from, next);
    return true;
}

void EditorFindPanel::keyPressEvent(QKeyEvent *event)
{
    // Escape on any control of the bar closes it, as it does in the find field.
    if (event->key() == Qt::Key_Escape && event->modifiers() == Qt::NoModifier) {
        emit closeRequested();
        event->accept();
        return;
    }
    QFrame::keyPressEvent(event);
}
