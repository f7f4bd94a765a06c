// A shown web view with the tarn channel and page loader, and synchronous helpers for tests.
#pragma once

#include "ReaderPageLoader.h"
#include "TarnMessageChannel.h"
#include "WebEngineProcess.h"

#include <QApplication>
#include <QList>
#include <QString>
#include <QTest>
#include <QUrl>
#include <QVariant>
#include <QVariantMap>
#include <QWebEngineView>

class ReaderTestView : public QWebEngineView
{
    Q_OBJECT

public:
    explicit ReaderTestView(QWidget *parent = nullptr);

    // Loads the page and waits until it is written and its script reports ready.
    bool loadPage(const QString &html, const QUrl &baseURL = {}, int timeoutMs = 30000);
    // Evaluates a script and waits for its value.
    QVariant eval(const QString &script);
    QList<QVariantMap> messagesOfType(const QString &type) const;

    ReaderPageLoader loader;
    TarnMessageChannel channel;
    QList<QVariantMap> messages;
};

namespace ReaderTestPages {

// The reader page of `markdown`, made by the real renderer.
QString render(const QString &markdown, const QString &title = QStringLiteral("Tarn"));
// The same page without its diagram library.
QString withoutDiagramLibrary(const QString &html);

} // namespace ReaderTestPages

// Web tests start the engine the way the program does (no sandbox for root).
#define TARN_WEB_TEST_MAIN(TestClass)                                                              \
    int main(int argc, char *argv[])                                                               \
    {                                                                                              \
        configureWebEngineForProcess();                                                            \
        QApplication app(argc, argv);                                                              \
        TestClass test;                                                                            \
        QTEST_SET_MAIN_SOURCE_PATH                                                                 \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
