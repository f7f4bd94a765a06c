// The background worker behind the usage log and the recovery drafts.
#include "ModelTestSupport.h"

#include "SerialWorker.h"

#include <atomic>
#include <thread>
#include <vector>

class TestSerialWorker : public QObject
{
    Q_OBJECT

private slots:
    // Four threads post at once: every task runs once, each thread's in the order it posted.
    void orderKeptUnderLoad()
    {
        constexpr int threads = 4;
        constexpr int perThread = 20'000;
        std::vector<std::vector<int>> seen(threads); // written on the worker thread only
        {
            SerialWorker worker;
            std::vector<std::thread> posters;
            for (int t = 0; t < threads; ++t)
                posters.emplace_back([&worker, &seen, t] {
                    for (int i = 0; i < perThread; ++i)
                        worker.post([&seen, t, i] { seen[t].push_back(i); });
                });
            for (std::thread &poster : posters)
                poster.join();
        }
        for (const std::vector<int> &one : seen) {
            QCOMPARE(int(one.size()), perThread);
            QVERIFY(std::is_sorted(one.begin(), one.end()));
        }
    }

    // flush() returns after what was posted before it; stopping runs what is still queued and
    // ends with the idle hook, on the worker thread.
    void flushAndStop()
    {
        std::atomic<int> done = 0;
        std::atomic<int> idleAfter = -1;
        std::thread::id idleThread;
        {
            SerialWorker worker([&] {
                idleAfter = done.load();
                idleThread = std::this_thread::get_id();
            });
            for (int round = 1; round <= 2; ++round) {
                for (int i = 0; i < 1000; ++i)
                    worker.post([&done] { ++done; });
                if (round == 1) {
                    worker.flush();
                    QCOMPARE(done.load(), 1000);
                }
            }
        }
        QCOMPARE(done.load(), 2000);
        QCOMPARE(idleAfter.load(), 2000);
        QVERIFY(idleThread != std::this_thread::get_id());
    }
};

MODEL_TEST_RUNNER(TestSerialWorker)

#include "tst_serial_worker.moc"
