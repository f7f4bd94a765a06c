// Adds the Chromium switches Tarn needs before the web engine starts.
#include "WebEngineProcess.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QLoggingCategory>

#include <unistd.h>

void configureWebEngineForProcess()
{
    // The web engine and the widgets share OpenGL contexts; Qt asks for this before the app.
    if (!QCoreApplication::instance())
        QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    // Qt 6.4 prints its whole graphics set-up at every start otherwise.
    QLoggingCategory::setFilterRules(QStringLiteral("qt.webenginecontext.info=false"));

    if (::geteuid() != 0)
        return;
    QByteArray flags = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
    if (flags.split(' ').contains("--no-sandbox"))
        return;
    if (!flags.isEmpty())
        flags += ' ';
    flags += "--no-sandbox";
    qputenv("QTWEBENGINE_CHROMIUM_FLAGS", flags);
}
