// What the web-engine benchmarks share: waiting in the event loop, and the entry point (a private
// usage log, the engine's process switches, an application, then the registered benchmarks).
#pragma once

#include "WebEngineProcess.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <benchmark/benchmark.h>

// Runs the event loop until `done` holds, looking every 2 ms; gives up after a minute.
template<typename Condition> bool spinUntil(Condition done)
{
    QElapsedTimer clock;
    clock.start();
    while (!done()) {
        if (clock.elapsed() > 60000)
            return false;
        QEventLoop loop;
        QTimer::singleShot(2, &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

inline int runWebEngineBenchmarks(int argc, char *argv[])
{
    // Opening and exporting files logs through the usage log; keep it out of the user's own.
    QTemporaryDir logFolder;
    if (qEnvironmentVariableIsEmpty("TARN_LOG_DIR"))
        qputenv("TARN_LOG_DIR", logFolder.path().toUtf8());
    configureWebEngineForProcess();
    QApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
