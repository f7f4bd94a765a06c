// Shows the strip or the caption, and adds the browser-style keys for moving between tabs.
#include "TitleTabBar.h"

#include "AppModel.h"
#include "TopTabStrip.h"
#include "WindowChrome.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QShortcut>
#include <QStackedWidget>

TitleTabBar::TitleTabBar(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("titleTabBar"));
    setFixedHeight(barHeight);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(8, 0, 8, 0);
    m_stack = new QStackedWidget(this);
    layout->addWidget(m_stack);

    m_caption = new QLabel(QStringLiteral("未打开文件"), m_stack);
    m_caption->setObjectName(QStringLiteral("noFileCaption"));
    m_caption->setFont(WindowChrome::scaledFont(font(), 12));
    m_stack->addWidget(m_caption);
    m_strip = new TopTabStrip(model, m_stack);
    m_stack->addWidget(m_strip);

    // Anywhere in the window, the editor and the page included.
    const std::pair<QKeySequence, int> keys[] = {
        {QKeySequence(Qt::CTRL | Qt::Key_Tab), 1},
        {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab), -1},
        {QKeySequence(Qt::CTRL | Qt::Key_PageDown), 1},
        {QKeySequence(Qt::CTRL | Qt::Key_PageUp), -1},
    };
    for (const auto &[key, step] : keys) {
        auto *shortcut = new QShortcut(key, this);
        shortcut->setContext(Qt::WindowShortcut);
        connect(shortcut, &QShortcut::activated, this, [this, step] { selectNeighbour(step); });
    }

    connect(&m_model, &AppModel::tabsChanged, this, &TitleTabBar::updateContent);
    connect(&m_model, &AppModel::themeChanged, this, &TitleTabBar::updateTheme);
    updateContent();
    updateTheme();
}

void TitleTabBar::selectNeighbour(int step)
{
    const QList<TarnDocument *> tabs = m_model.tabs();
    const TarnDocument *selected = m_model.selectedDocument();
    if (tabs.size() < 2 || !selected)
        return;
    const qsizetype count = tabs.size();
    const qsizetype next = ((tabs.indexOf(selected) + step) % count + count) % count;
    m_model.selectTab(tabs.at(next)->id());
}

void TitleTabBar::updateContent()
{
    m_stack->setCurrentWidget(m_model.tabs().isEmpty() ? static_cast<QWidget *>(m_caption)
                                                       : m_strip);
}

void TitleTabBar::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::sidebar(theme));
    QPalette p = m_caption->palette();
    p.setColor(QPalette::WindowText, WindowChrome::secondaryText(theme));
    m_caption->setPalette(p);
}
