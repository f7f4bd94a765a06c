// The usage log: line format, rotation at the size limit, revealing, and many writing threads.
#include "ModelTestSupport.h"

#include <QDir>
#include <QTest>
#include <QTimeZone>

#include <thread>
#include <vector>

using Metadata = QMap<QString, QString>;

class TestUsageLog : public QObject
{
    Q_OBJECT

private slots:
    void formatLine_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<Metadata>("metadata");
        QTest::addColumn<QByteArray>("expected");
        const QByteArray time = "2026-03-01T08:15:30.123Z ";

        QTest::newRow("no metadata") << "app.launch" << Metadata{} << time + "app.launch\n";
        QTest::newRow("keys sorted, quote and LF escaped")
            << "file.save.failure"
            << Metadata{{"path", "/a/\"b\".md"}, {"file", "a.md"}, {"error", "no\nspace"}}
            << time + "file.save.failure error=\"no\\nspace\" file=\"a.md\" "
                      "path=\"/a/\\\"b\\\".md\"\n";
        QTest::newRow("backslash n stays distinct from LF")
            << "e" << Metadata{{"v", "a\\nb"}} << time + "e v=\"a\\\\nb\"\n";
        QTest::newRow("CR escaped")
            << "e" << Metadata{{"v", "a\r\n"}} << time + "e v=\"a\\r\\n\"\n";
        QTest::newRow("keys in code-point order, not UTF-16 order")
            << "e" << Metadata{{QString::fromUtf8("\xf0\x9f\x98\x80"), "1"}, {"\uFF61", "2"}}
            << time + "e \xef\xbd\xa1=\"2\" \xf0\x9f\x98\x80=\"1\"\n";
        QTest::newRow("UTF-8 values") << "e" << Metadata{{"file", "笔记.md"}}
                                      << time + "e file=\"\xe7\xac\x94\xe8\xae\xb0.md\"\n";
    }
    void formatLine()
    {
        QFETCH(QString, event);
        QFETCH(Metadata, metadata);
        QFETCH(QByteArray, expected);
        // A local time is written in UTC.
        const QDateTime local =
            SteppingClock::start().toTimeZone(QTimeZone(QByteArrayLiteral("Asia/Shanghai")));
        QCOMPARE(TarnUsageLogger::formatLine(local, event, metadata), expected);
    }

    void rotation_data()
    {
        QTest::addColumn<qint64>("existingSize");
        QTest::addColumn<bool>("rotates");
        QTest::newRow("one byte below the limit") << TarnUsageLogger::maxLogSize - 1 << false;
        QTest::newRow("exactly at the limit") << TarnUsageLogger::maxLogSize << true;
        QTest::newRow("above the limit") << TarnUsageLogger::maxLogSize + 100 << true;
    }
    void rotation()
    {
        QFETCH(qint64, existingSize);
        QFETCH(bool, rotates);
        QTemporaryDir dir;
        SteppingClock clock;
        TarnUsageLogger logger(dir.path(), clock.clock());
        const QByteArray existing(existingSize, 'x');
        writeFile(logger.logFilePath(), existing);
        writeFile(logger.previousLogFilePath(), "older generation\n");

        logger.log("after", {{"k", "v"}});
        logger.flush();
        const QByteArray line = "2026-03-01T08:15:30.123Z after k=\"v\"\n";
        if (rotates) {
            QCOMPARE(readFile(logger.previousLogFilePath()), existing);
            QCOMPARE(readFile(logger.logFilePath()), line);
        } else {
            QCOMPARE(readFile(logger.previousLogFilePath()), QByteArray("older generation\n"));
            QCOMPARE(readFile(logger.logFilePath()), existing + line);
        }
    }

    void manyThreadsLoseAndMixNothing()
    {
        QTemporaryDir dir;
        TarnUsageLogger logger(dir.path());
        // About 3 MB in all: one rotation, and both generations still hold every line.
        const int threads = 6;
        const int perThread = 4000;
        const QString padding(60, QLatin1Char('p'));
        std::vector<std::thread> writers;
        for (int t = 0; t < threads; ++t) {
            writers.emplace_back([&logger, t, &padding] {
                for (int i = 0; i < perThread; ++i)
                    logger.log("stress.line", {{"thread", QString::number(t)},
                                               {"seq", QString::number(i)},
                                               {"pad", padding + "\"\n"}});
            });
        }
        for (std::thread &writer : writers)
            writer.join();
        logger.flush();

        const QByteArray previous = readFile(logger.previousLogFilePath());
        const QByteArray current = readFile(logger.logFilePath());
        const qsizetype lastLine = previous.size() - previous.lastIndexOf('\n', -2) - 1;
        QVERIFY(previous.size() >= TarnUsageLogger::maxLogSize);
        QVERIFY(previous.size() - lastLine < TarnUsageLogger::maxLogSize);

        bool ok = false;
        const QList<LogLine> lines = parseUsageLog(previous + current, &ok);
        QVERIFY(ok);
        QCOMPARE(lines.size(), threads * perThread);
        std::vector<int> next(threads, 0);
        for (const LogLine &line : lines) {
            const int t = line.metadata.value("thread").toInt();
            QCOMPARE(line.metadata.value("seq").toInt(), next[t]);
            QCOMPARE(line.metadata.value("pad"), padding + "\"\n");
            ++next[t];
        }
    }

    void revealCreatesTheLogAndWaitsForQueuedLines()
    {
        QTemporaryDir dir;
        SteppingClock clock;
        TarnUsageLogger logger(dir.filePath("Logs/Tarn"), clock.clock());
        ScriptedPlatform platform;
        logger.revealInFinder(platform);
        QCOMPARE(readFile(logger.logFilePath()),
                 QByteArray("2026-03-01T08:15:30.123Z usage_log.created\n"));
        QCOMPARE(platform.revealedPaths, QStringList{logger.logFilePath()});
        for (int i = 0; i < 500; ++i)
            logger.log("queued");
        logger.revealInFinder(platform);
        // Read without flushing: revealing must already have waited for the queue.
        QCOMPARE(readUsageLog(logger.logFilePath()).size(), 501);
    }

    // The log file's place is taken by a folder.
    void unusableFolderLosesLinesQuietly()
    {
        QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath("Tarn/tarn.log/"));
        TarnUsageLogger logger(dir.filePath("Tarn"));
        ScriptedPlatform platform;
        logger.log("lost", {{"k", "v"}});
        logger.flush();
        logger.revealInFinder(platform);
        QCOMPARE(platform.revealedPaths.size(), 1);
        QVERIFY(!QFileInfo(logger.logFilePath()).isFile());
    }

    void defaultFolder_data()
    {
        QTest::addColumn<QString>("override");
        QTest::addColumn<QString>("state");
        QTest::addColumn<QString>("home");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("override wins") << "/o" << "/s" << "/h" << "/o";
        QTest::newRow("XDG state home") << "" << "/s" << "/h" << "/s/Logs/Tarn";
        QTest::newRow("relative state home ignored") << "" << "rel" << "/h" << "/h/.local/state/Logs/Tarn";
        QTest::newRow("no home") << "" << "" << "" << QDir::tempPath() + "/TarnLogs";
        // clang-format on
    }
    void defaultFolder()
    {
        QFETCH(QString, override);
        QFETCH(QString, state);
        QFETCH(QString, home);
        QFETCH(QString, expected);
        const QByteArray names[] = {"TARN_LOG_DIR", "XDG_STATE_HOME", "HOME"};
        const QString values[] = {override, state, home};
        QByteArray saved[3];
        for (int i = 0; i < 3; ++i) {
            saved[i] = qgetenv(names[i]);
            qputenv(names[i], values[i].toUtf8());
        }
        const QString folder = TarnUsageLogger::defaultFolder();
        for (int i = 0; i < 3; ++i)
            qputenv(names[i], saved[i]);
        QCOMPARE(folder, expected);
    }
};

int runTestUsageLog(int argc, char **argv)
{
    TestUsageLog test;
    return QTest::qExec(&test, argc, argv);
}

#include "TestUsageLog.moc"
