// The small window that lists how to reach the program's author.
#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>
#include <QUrl>
#include <QWidget>

#include <optional>

struct ContactEntry
{
    QString kind; // "email", "web" or anything else (shown without a symbol)
    QString label;
    QString text;
    QUrl url;
};

struct ContactDetails
{
    QString intro;
    QList<ContactEntry> entries;
};

class QLabel;
class QPushButton;

class ContactWindow : public QWidget
{
    Q_OBJECT

public:
    explicit ContactWindow(QWidget *parent = nullptr);

    // The details shipped with the program, or nothing with `error` set when the data file is
    // missing or malformed.
    static std::optional<ContactDetails> shippedDetails(QString *error);
    // Reads the data file's JSON. An entry without a label, text or valid URL is an error.
    static std::optional<ContactDetails> parse(const QByteArray &json, QString *error);

protected:
    void changeEvent(QEvent *event) override;

private:
    // Symbols and links are drawn in the theme's accent; a theme change redraws them.
    void recolour();

    QList<QPair<QLabel *, QString>> m_symbols; // label and icon name
    QList<QPushButton *> m_links;
};
