// The flavour hint: a message, the switch, and a close button that the model remembers per file.
#include "FlavorHintBar.h"

#include "AppModel.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>

FlavorHintBar::FlavorHintBar(AppModel &model, QWidget *parent)
    : QFrame(parent)
    , m_model(model)
    , m_message(new QLabel(
          QStringLiteral("这篇文档用到了标准 Markdown 的写法，经典格式下可能显示不全。"), this))
    , m_switch(new QPushButton(QStringLiteral("用标准 Markdown 显示"), this))
    , m_close(new QToolButton(this))
{
    setObjectName(QStringLiteral("flavorHintBar"));
    m_switch->setObjectName(QStringLiteral("flavorHintSwitch"));
    m_close->setObjectName(QStringLiteral("flavorHintClose"));
    m_close->setToolTip(QStringLiteral("关闭"));
    m_close->setAutoRaise(true);
    m_message->setMinimumWidth(0);
    m_message->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);

    auto *row = new QHBoxLayout(this);
    row->setContentsMargins(12, 4, 6, 4);
    row->setSpacing(10);
    row->addWidget(m_message, 1);
    row->addWidget(m_switch);
    row->addWidget(m_close);

    connect(m_switch, &QPushButton::clicked, &m_model,
            [this] { m_model.setMarkdownFlavor(MarkdownFlavor::gfm); });
    connect(m_close, &QToolButton::clicked, &m_model, &AppModel::closeFlavorHint);
    connect(&m_model, &AppModel::showsFlavorHintChanged, this,
            [this] { setVisible(m_model.showsFlavorHint()); });
    connect(&m_model, &AppModel::themeChanged, this, &FlavorHintBar::updateTheme);
    setVisible(m_model.showsFlavorHint());
    updateTheme();
}

void FlavorHintBar::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::sidebar(theme));
    QPalette p = m_message->palette();
    p.setColor(QPalette::WindowText, WindowChrome::secondaryText(theme));
    m_message->setPalette(p);
    m_close->setIcon(TarnIcons::icon(QStringLiteral("x"), WindowChrome::secondaryText(theme)));
}
