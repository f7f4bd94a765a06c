// The entry point of the web-engine benchmarks: a private usage log, the engine's process
// switches, an application, then the registered benchmarks.
#pragma once

#include "WebEngineProcess.h"

#include <QApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

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
