// The reader search control follows the model's query and hit count; its buttons only call the
// model, which passes the request on to the page.
#include "ReaderSearchControl.h"

#include "AppModel.h"
#include "SearchStatus.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QToolButton>

SearchTextField::SearchTextField(AppModel &model, QWidget *parent)
    : QLineEdit(parent)
    , m_model(model)
{}

void SearchTextField::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        m_model.navigateSearch(event->modifiers() & Qt::ShiftModifier
                                   ? SearchNavigationDirection::previous
                                   : SearchNavigationDirection::next);
        event->accept();
        return;
    }
    if (event->key() == Qt::Key_Escape) {
        if (text().isEmpty() && m_model.searchQuery().isEmpty()) {
            event->ignore(); // let the window have it
            return;
        }
        clear();
        m_model.setSearchQuery(QString());
        event->accept();
        return;
    }
    QLineEdit::keyPressEvent(event);
}

ReaderSearchControl::ReaderSearchControl(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("readerSearchControl"));
    setFixedHeight(28);
    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(9, 0, 6, 0);
    row->setSpacing(4);

    m_symbol = new QLabel(this);
    m_symbol->setFixedSize(14, 14);
    row->addWidget(m_symbol);

    m_field = new SearchTextField(model, this);
    m_field->setObjectName(QStringLiteral("readerSearchField"));
    m_field->setPlaceholderText(QStringLiteral("搜索正文"));
    m_field->setFixedSize(170, 20);
    m_field->setFrame(false);
    m_field->setAttribute(Qt::WA_MacShowFocusRect, false);
    row->addWidget(m_field);

    m_result = new QLabel(this);
    m_result->setObjectName(QStringLiteral("searchResultLabel"));
    m_result->setFixedWidth(46);
    m_result->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    m_result->setFont(WindowChrome::scaledFont(font(), 11));
    row->addWidget(m_result);

    auto makeButton = [this, row](const char *name, const QString &help, const QString &text) {
        auto *button = new QToolButton(this);
        button->setObjectName(QLatin1String(name));
        button->setToolTip(help);
        button->setText(text);
        button->setFixedSize(18, 18);
        button->setIconSize(QSize(12, 12));
        button->setAutoRaise(true);
        button->setFocusPolicy(Qt::NoFocus);
        row->addWidget(button);
        return button;
    };
    m_previous =
        makeButton("searchPreviousButton", QStringLiteral("上一个结果"), QStringLiteral("↑"));
    m_next = makeButton("searchNextButton", QStringLiteral("下一个结果"), QStringLiteral("↓"));
    m_clear = makeButton("searchClearButton", QStringLiteral("清除搜索"), QStringLiteral("×"));
    row->addStretch(1);

    connect(m_field, &QLineEdit::textEdited, &m_model, &AppModel::setSearchQuery);
    connect(m_previous, &QToolButton::clicked, &m_model,
            [this] { m_model.navigateSearch(SearchNavigationDirection::previous); });
    connect(m_next, &QToolButton::clicked, &m_model,
            [this] { m_model.navigateSearch(SearchNavigationDirection::next); });
    connect(m_clear, &QToolButton::clicked, &m_model, &AppModel::clearSearch);
    for (auto signal :
         {&AppModel::searchResultCountChanged, &AppModel::currentSearchResultIndexChanged})
        connect(&m_model, signal, this, &ReaderSearchControl::updateFromModel);
    connect(&m_model, &AppModel::searchQueryChanged, this, &ReaderSearchControl::awaitReport);
    connect(&m_model, &AppModel::selectedDocumentChanged, this, &ReaderSearchControl::awaitReport);
    connect(&m_model, &AppModel::searchResultsReported, this, [this] {
        m_awaitingReport = false;
        updateFromModel();
    });
    connect(&m_model, &AppModel::themeChanged, this, &ReaderSearchControl::updateTheme);
    updateTheme();
}

QString ReaderSearchControl::resultText(const QString &query, int current, int count)
{
    return query.trimmed().isEmpty() ? QString() : searchStatusText(current, count);
}

void ReaderSearchControl::awaitReport()
{
    m_awaitingReport = m_model.selectedDocument() && !m_model.searchQuery().trimmed().isEmpty();
    updateFromModel();
}

void ReaderSearchControl::updateFromModel()
{
    const QString query = m_model.searchQuery();
    if (m_field->text() != query)
        m_field->setText(query);
    const bool active = !query.trimmed().isEmpty();
    const int count = m_model.searchResultCount();
    m_result->setText(m_awaitingReport
                          ? QString()
                          : resultText(query, m_model.currentSearchResultIndex(), count));
    QPalette p = m_result->palette();
    p.setColor(QPalette::WindowText, count > 0 ? WindowChrome::primaryText(m_model.theme())
                                               : WindowChrome::secondaryText(m_model.theme()));
    m_result->setPalette(p);
    for (QWidget *widget : {static_cast<QWidget *>(m_result), static_cast<QWidget *>(m_previous),
                            static_cast<QWidget *>(m_next), static_cast<QWidget *>(m_clear)})
        widget->setVisible(active);
    m_previous->setEnabled(count > 0);
    m_next->setEnabled(count > 0);
    setFixedWidth(active ? wideWidth : narrowWidth);
}

void ReaderSearchControl::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    const QColor primary = WindowChrome::primaryText(theme);
    const QColor secondary = WindowChrome::secondaryText(theme);
    m_symbol->setPixmap(TarnIcons::icon(QStringLiteral("search"), secondary).pixmap(QSize(14, 14)));
    // The step buttons fade to 60% while there is nothing to step through.
    m_previous->setIcon(TarnIcons::icon(QStringLiteral("chevron-up"), primary, 0.6));
    m_next->setIcon(TarnIcons::icon(QStringLiteral("chevron-down"), primary, 0.6));
    m_clear->setIcon(TarnIcons::icon(QStringLiteral("circle-x"), secondary));
    QPalette p = m_field->palette();
    p.setColor(QPalette::Base, Qt::transparent);
    m_field->setPalette(p);
    updateFromModel();
    update();
}

void ReaderSearchControl::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()), 7, 7);
    painter.fillPath(path,
                     WindowChrome::withAlpha(WindowChrome::primaryText(m_model.theme()), 0.07));
}
