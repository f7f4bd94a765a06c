// The empty state, centred on the theme's background.
#include "EmptyTarnState.h"

#include "AppModel.h"
#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QLabel>
#include <QVBoxLayout>

EmptyTarnState::EmptyTarnState(AppModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
{
    setObjectName(QStringLiteral("emptyTarnState"));
    auto *column = new QVBoxLayout(this);
    column->setSpacing(10);
    column->addStretch(1);

    m_symbol = new QLabel(this);
    m_symbol->setFixedSize(54, 54);
    column->addWidget(m_symbol, 0, Qt::AlignHCenter);

    m_title = new QLabel(QStringLiteral("Tarn"), this);
    m_title->setObjectName(QStringLiteral("emptyTitle"));
    m_title->setFont(WindowChrome::scaledFont(font(), 34, QFont::DemiBold));
    column->addWidget(m_title, 0, Qt::AlignHCenter);

    m_hint = new QLabel(QStringLiteral("打开或拖入 Markdown 文件"), this);
    m_hint->setObjectName(QStringLiteral("emptyHint"));
    m_hint->setFont(WindowChrome::scaledFont(font(), 14));
    column->addWidget(m_hint, 0, Qt::AlignHCenter);
    column->addStretch(1);

    connect(&m_model, &AppModel::themeChanged, this, &EmptyTarnState::updateTheme);
    updateTheme();
}

void EmptyTarnState::updateTheme()
{
    const TarnTheme theme = m_model.theme();
    WindowChrome::fillBackground(this, WindowChrome::background(theme));
    m_symbol->setPixmap(TarnIcons::icon(QStringLiteral("file-type"), WindowChrome::accent(theme))
                            .pixmap(QSize(54, 54), devicePixelRatioF()));
    QPalette p = m_hint->palette();
    p.setColor(QPalette::WindowText, WindowChrome::secondaryText(theme));
    m_hint->setPalette(p);
}
