// Shared pieces of the model tests: a fixed clock, file helpers and a model on real files.
#pragma once

#include "AppModel.h"
#include "ModelFixture.h"

#include <QFile>
#include <QTest>
#include <QTimeZone>

// Every test reads the same time, so log lines can be compared whole.
inline const QDateTime testTime(QDate(2026, 3, 1), QTime(8, 15, 30, 123), QTimeZone::utc());
inline const QByteArray testStamp = "2026-03-01T08:15:30.123Z ";
inline const TarnClock testClock = [] { return testTime; };

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline void writeFile(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot prepare test file %s", qPrintable(path));
}

// An alert as the user reads it: message, informative text, buttons.
inline QString alertText(const ModalAlert &alert)
{
    return alert.message + " | " + alert.informativeText + " | " + alert.buttons.join(" / ");
}

// A model over a fresh temporary folder: settings in "settings.ini", the log in "logs".
struct ModelHarness : ModelFixture
{
    explicit ModelHarness(const QByteArray &iniText = {})
        : ModelFixture(iniText, testClock)
    {}

    QUrl url(const QString &name) const { return QUrl::fromLocalFile(path(name)); }
    // Writes `bytes` to `name` in the folder and returns its URL.
    QUrl file(const QString &name, const QByteArray &bytes) const
    {
        writeFile(path(name), bytes);
        return url(name);
    }
    // Opens `name` holding `saved`, enters editing and types `draft`.
    TarnDocument *editDraft(const QString &name, const QByteArray &saved, const QString &draft)
    {
        model->openURLs({file(name, saved)}, false);
        model->toggleEditing();
        model->selectedDocument()->updateDraft(draft);
        return model->selectedDocument();
    }
    // The last usage-log line whose event starts with `prefix`.
    LogLine lastLine(const QString &prefix) const
    {
        const QList<LogLine> lines = log();
        auto it = std::find_if(lines.rbegin(), lines.rend(),
                               [&](const LogLine &line) { return line.event.startsWith(prefix); });
        return it == lines.rend() ? LogLine() : *it;
    }
};

// The runner main() calls for one test class.
#define MODEL_TEST_RUNNER(Class)                                                                   \
    int run##Class(int argc, char **argv)                                                          \
    {                                                                                              \
        Class test;                                                                                \
        return QTest::qExec(&test, argc, argv);                                                    \
    }
