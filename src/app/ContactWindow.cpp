// The contact window: a short introduction and one row per way to reach the author, from the
// data file built into the program.
#include "ContactWindow.h"

#include "TarnIcons.h"
#include "WindowChrome.h"

#include <QDesktopServices>
#include <QEvent>
#include <QFile>
#include <QGridLayout>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

std::optional<ContactDetails> ContactWindow::parse(const QByteArray &json, QString *error)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(json, &parseError);
    if (parseError.error != QJsonParseError::NoError || !document.isObject()) {
        *error = QStringLiteral("联系方式数据无法读取：%1").arg(parseError.errorString());
        return std::nullopt;
    }
    const QJsonObject root = document.object();
    ContactDetails details;
    details.intro = root.value(QLatin1String("intro")).toString();
    const QJsonValue entries = root.value(QLatin1String("entries"));
    if (!entries.isArray() || entries.toArray().isEmpty()) {
        *error = QStringLiteral("联系方式数据中没有条目");
        return std::nullopt;
    }
    for (const QJsonValue &value : entries.toArray()) {
        const QJsonObject object = value.toObject();
        ContactEntry entry{object.value(QLatin1String("kind")).toString(),
                           object.value(QLatin1String("label")).toString(),
                           object.value(QLatin1String("text")).toString(),
                           QUrl(object.value(QLatin1String("url")).toString(), QUrl::StrictMode)};
        if (entry.label.isEmpty() || entry.text.isEmpty() || !entry.url.isValid() ||
            entry.url.scheme().isEmpty()) {
            *error = QStringLiteral("联系方式数据中有不完整的条目");
            return std::nullopt;
        }
        details.entries << entry;
    }
    return details;
}

std::optional<ContactDetails> ContactWindow::shippedDetails(QString *error)
{
    QFile file(QStringLiteral(":/tarn-app/contact.json"));
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("联系方式数据缺失");
        return std::nullopt;
    }
    return parse(file.readAll(), error);
}

ContactWindow::ContactWindow(QWidget *parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("contactWindow"));
    setWindowTitle(QStringLiteral("联系作者"));
    setWindowIcon(TarnIcons::applicationIcon());
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(24, 22, 24, 18);
    column->setSpacing(14);

    auto *header = new QHBoxLayout;
    header->setSpacing(12);
    auto *icon = new QLabel(this);
    icon->setPixmap(TarnIcons::applicationIcon().pixmap(QSize(48, 48), devicePixelRatioF()));
    header->addWidget(icon);
    auto *title = new QLabel(QStringLiteral("联系作者"), this);
    title->setFont(WindowChrome::scaledFont(font(), 18, QFont::DemiBold));
    header->addWidget(title, 1);
    column->addLayout(header);

    QString error;
    const std::optional<ContactDetails> details = shippedDetails(&error);
    if (!details) {
        auto *message = new QLabel(error, this);
        message->setObjectName(QStringLiteral("contactError"));
        message->setWordWrap(true);
        column->addWidget(message);
    } else {
        if (!details->intro.isEmpty()) {
            auto *intro = new QLabel(details->intro, this);
            intro->setObjectName(QStringLiteral("contactIntro"));
            intro->setWordWrap(true);
            column->addWidget(intro);
        }
        auto *grid = new QGridLayout;
        grid->setHorizontalSpacing(10);
        grid->setVerticalSpacing(8);
        for (qsizetype i = 0; i < details->entries.size(); ++i) {
            const ContactEntry &entry = details->entries[i];
            const int row = int(i);
            auto *symbol = new QLabel(this);
            const QString iconName = entry.kind == QLatin1String("email") ? QStringLiteral("mail")
                                     : entry.kind == QLatin1String("web") ? QStringLiteral("globe")
                                                                          : QString();
            if (!iconName.isEmpty())
                m_symbols.append({symbol, iconName});
            grid->addWidget(symbol, row, 0);
            grid->addWidget(new QLabel(entry.label, this), row, 1);
            auto *link = new QPushButton(entry.text, this);
            link->setObjectName(QStringLiteral("contactLink"));
            link->setFlat(true);
            link->setCursor(Qt::PointingHandCursor);
            link->setToolTip(entry.url.toString());
            m_links.append(link);
            connect(link, &QPushButton::clicked, this,
                    [url = entry.url] { QDesktopServices::openUrl(url); });
            grid->addWidget(link, row, 2);
        }
        grid->setColumnStretch(2, 1);
        column->addLayout(grid);
    }
    column->addStretch(1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    auto *close = new QPushButton(QStringLiteral("关闭"), this);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    buttons->addWidget(close);
    column->addLayout(buttons);
    // As large as the entries need, and no larger.
    column->setSizeConstraint(QLayout::SetFixedSize);
    setMinimumWidth(400);
    recolour();
}

void ContactWindow::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange)
        recolour();
    QWidget::changeEvent(event);
}

void ContactWindow::recolour()
{
    const QColor accent = palette().color(QPalette::Highlight);
    for (const auto &[symbol, iconName] : std::as_const(m_symbols))
        symbol->setPixmap(TarnIcons::icon(iconName, accent).pixmap(QSize(16, 16)));
    for (QPushButton *link : std::as_const(m_links))
        link->setStyleSheet(QStringLiteral("text-align: left; color: %1;").arg(accent.name()));
}
