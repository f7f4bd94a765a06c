// Helpers shared by the app tests.
#include "AppTestSupport.h"

#include <QFile>
#include <QRegularExpression>
#include <QTest>

QUrl AppHarness::file(const QString &name, const QString &text) const
{
    QFile out(path(name));
    if (!out.open(QIODevice::WriteOnly))
        qFatal("cannot write the test file %s", qPrintable(name));
    out.write(text.toUtf8());
    return QUrl::fromLocalFile(path(name));
}

QList<TarnDocument *> AppHarness::open(const QStringList &names)
{
    QList<QUrl> urls;
    for (const QString &name : names)
        urls << file(name, QStringLiteral("# %1\n\ntext\n").arg(name));
    model->openURLs(urls, true);
    return model->tabs();
}

QStringList AppHarness::events()
{
    logger->flush();
    QFile log(logger->logFilePath());
    QStringList names;
    if (!log.open(QIODevice::ReadOnly))
        return names;
    static const QRegularExpression event(QStringLiteral("^\\S+ (\\S+)"));
    for (const QByteArray &line : log.readAll().split('\n')) {
        const auto match = event.match(QString::fromUtf8(line));
        if (match.hasMatch())
            names << match.captured(1);
    }
    return names;
}

void makeSelectedDirty(AppModel &model, const QString &text)
{
    TarnDocument *document = model.selectedDocument();
    QVERIFY(document);
    document->updateDraft(text);
    QVERIFY(document->isDirty());
}
