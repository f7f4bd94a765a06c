// The freedesktop recent-files list and the shipped contact details.
#include "ContactWindow.h"
#include "RecentDocuments.h"

#include <QDomDocument>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

namespace {

QByteArray readAll(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

const QByteArray otherProgramsList =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<xbel version=\"1.0\" "
    "xmlns:bookmark=\"http://www.freedesktop.org/standards/desktop-bookmarks\""
    " xmlns:mime=\"http://www.freedesktop.org/standards/shared-mime-info\">\n"
    "  <bookmark href=\"file:///home/u/photo.png\" added=\"2025-01-01T00:00:00Z\""
    " modified=\"2025-01-01T00:00:00Z\" visited=\"2025-01-01T00:00:00Z\">\n"
    "    <info><metadata owner=\"http://freedesktop.org\"><mime:mime-type type=\"image/png\"/>"
    "<bookmark:applications><bookmark:application name=\"Viewer\" exec=\"'viewer %u'\""
    " modified=\"2025-01-01T00:00:00Z\" count=\"3\"/></bookmark:applications></metadata></info>\n"
    "  </bookmark>\n"
    "</xbel>\n";

} // namespace

class DesktopServicesTest : public QObject
{
    Q_OBJECT

private slots:
    void recentDocuments_data();
    void recentDocuments();
    void brokenRecentListIsLeftAlone_data();
    void brokenRecentListIsLeftAlone();
    void contactDetails_data();
    void contactDetails();
    void shippedContactDetails();
};

void DesktopServicesTest::recentDocuments_data()
{
    // clang-format off
    QTest::addColumn<QByteArray>("existing"); // empty: no file yet
    QTest::addColumn<int>("adds");
    QTest::addColumn<int>("bookmarks");
    QTest::addColumn<int>("tarnCount");

    QTest::newRow("created") << QByteArray() << 1 << 1 << 1;
    QTest::newRow("same file twice") << QByteArray() << 2 << 1 << 2;
    QTest::newRow("other programs' entries kept") << otherProgramsList << 1 << 2 << 1;
    // clang-format on
}

void DesktopServicesTest::recentDocuments()
{
    QFETCH(QByteArray, existing);
    QFETCH(int, adds);
    QTemporaryDir dir;
    const QString xbel = dir.filePath(QStringLiteral("share/recently-used.xbel"));
    if (!existing.isEmpty()) {
        QDir().mkpath(dir.filePath(QStringLiteral("share")));
        QFile file(xbel);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(existing);
    }
    const QUrl url = QUrl::fromLocalFile(QStringLiteral("/home/u/笔记 one.md"));
    const QDateTime when(QDate(2026, 3, 1), QTime(8, 0), QTimeZone::utc());
    for (int i = 0; i < adds; ++i)
        QVERIFY(RecentDocuments::add(xbel, url, QStringLiteral("text/markdown"), when.addSecs(i)));

    QDomDocument document;
    QVERIFY(document.setContent(readAll(xbel)));
    const QDomNodeList bookmarks = document.elementsByTagName(QStringLiteral("bookmark"));
    QTEST(int(bookmarks.size()), "bookmarks");
    QDomElement ours;
    for (int i = 0; i < bookmarks.size(); ++i) {
        const QDomElement element = bookmarks.at(i).toElement();
        if (element.attribute(QStringLiteral("href")) == QString::fromUtf8(url.toEncoded()))
            ours = element;
    }
    QVERIFY(!ours.isNull());
    QCOMPARE(ours.attribute(QStringLiteral("added")), QStringLiteral("2026-03-01T08:00:00.000Z"));
    QCOMPARE(ours.attribute(QStringLiteral("visited")),
             QStringLiteral("2026-03-01T08:00:0%1.000Z").arg(adds - 1));
    QCOMPARE(ours.elementsByTagName(QStringLiteral("mime:mime-type"))
                 .at(0)
                 .toElement()
                 .attribute(QStringLiteral("type")),
             QStringLiteral("text/markdown"));
    const QDomElement application =
        ours.elementsByTagName(QStringLiteral("bookmark:application")).at(0).toElement();
    QCOMPARE(application.attribute(QStringLiteral("name")), QStringLiteral("Tarn"));
    QTEST(application.attribute(QStringLiteral("count")).toInt(), "tarnCount");
    if (!existing.isEmpty())
        QVERIFY(readAll(xbel).contains("name=\"Viewer\""));
}

void DesktopServicesTest::brokenRecentListIsLeftAlone_data()
{
    // clang-format off
    QTest::addColumn<QByteArray>("existing");
    QTest::newRow("cut off") << otherProgramsList.left(otherProgramsList.size() / 2);
    QTest::newRow("another root") << QByteArray("<?xml version=\"1.0\"?><html/>");
    // clang-format on
}

void DesktopServicesTest::brokenRecentListIsLeftAlone()
{
    QFETCH(QByteArray, existing);
    QTemporaryDir dir;
    const QString xbel = dir.filePath(QStringLiteral("recently-used.xbel"));
    QFile file(xbel);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(existing);
    file.close();
    QVERIFY(!RecentDocuments::add(xbel, QUrl::fromLocalFile(QStringLiteral("/tmp/a.md")),
                                  QStringLiteral("text/markdown")));
    QCOMPARE(readAll(xbel), existing);
}

void DesktopServicesTest::contactDetails_data()
{
    // clang-format off
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<int>("entries"); // -1: an error
    QTest::newRow("two entries") << QByteArray(R"({"intro":"hi","entries":[{"kind":"email","label":"电子邮件","text":"a@example.org","url":"mailto:a@example.org"},)"
                                               R"({"kind":"web","label":"项目主页","text":"example.org","url":"https://example.org/"}]})") << 2;
    QTest::newRow("not JSON") << QByteArray("{entries: [") << -1;
    QTest::newRow("no entries") << QByteArray(R"({"entries":[]})") << -1;
    QTest::newRow("entry without label") << QByteArray(R"({"entries":[{"text":"a@example.org","url":"mailto:a@example.org"}]})") << -1;
    QTest::newRow("entry without address") << QByteArray(R"({"entries":[{"label":"电子邮件","text":"a@example.org"}]})") << -1;
    QTest::newRow("address without scheme") << QByteArray(R"({"entries":[{"label":"主页","text":"x","url":"example.org"}]})") << -1;
    // clang-format on
}

void DesktopServicesTest::contactDetails()
{
    QFETCH(QByteArray, json);
    QFETCH(int, entries);
    QString error;
    const std::optional<ContactDetails> details = ContactWindow::parse(json, &error);
    QCOMPARE(details.has_value(), entries >= 0);
    if (details)
        QCOMPARE(int(details->entries.size()), entries);
    else
        QVERIFY(!error.isEmpty());
}

void DesktopServicesTest::shippedContactDetails()
{
    QString error;
    const std::optional<ContactDetails> details = ContactWindow::shippedDetails(&error);
    QVERIFY2(details, qPrintable(error));
    QStringList schemes;
    for (const ContactEntry &entry : details->entries)
        schemes << entry.url.scheme();
    // Every shipped address must be one a desktop can open.
    QVERIFY(schemes.contains(QStringLiteral("mailto")));
    for (const QString &scheme : schemes)
        QVERIFY2(scheme == QLatin1String("mailto") || scheme == QLatin1String("https"),
                 qPrintable(scheme));

    ContactWindow window;
    QCOMPARE(window.windowTitle(), QStringLiteral("联系作者"));
    QCOMPARE(window.findChildren<QPushButton *>(QStringLiteral("contactLink")).size(),
             details->entries.size());
}

int runDesktopServicesTests(int argc, char **argv)
{
    DesktopServicesTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "DesktopServicesTest.moc"
