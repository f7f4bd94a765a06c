// One wait per page load for the page to say it is ready, over the "tarn" channel, up to a
// deadline; the reader view and the PDF exporter both wait through it.
#pragma once

#include <QObject>
#include <QString>
#include <QTimer>
#include <QVariantMap>

#include <chrono>

class ReaderPageLoader;
class TarnMessageChannel;

class PageReadiness : public QObject
{
    Q_OBJECT

public:
    enum class Outcome
    {
        Ready,       // the page said so
        CheckFailed, // the page could not be asked; waiting longer would not help
        TimedOut,    // the deadline passed first
    };
    Q_ENUM(Outcome)

    // About what eighty looks at the page a tenth of a second apart used to come to.
    static constexpr std::chrono::milliseconds defaultDeadline{8000};

    // Starts a wait each time `loader` has written a page, and drops it when a new load starts
    // or the load fails. The page's answer arrives on `channel`, which must be the page's own.
    PageReadiness(ReaderPageLoader *loader, TarnMessageChannel *channel, QObject *parent = nullptr);

    std::chrono::milliseconds deadline() const { return m_deadline.intervalAsDuration(); }
    void setDeadline(std::chrono::milliseconds deadline) { m_deadline.setInterval(deadline); }

    bool isWaiting() const { return !m_token.isEmpty(); }

    // The script the host runs in a page just written: once the reader script has finished
    // starting up (diagrams, and in the standard flavour math and code colours) and the images
    // are in, it posts {type: "ready", token} once. Reading the page's readiness throws when the
    // page breaks it; that is reported at once instead of being waited for.
    static QString readinessScript(const QString &token);

signals:
    // Once per written page, unless a newer load starts first. `error` says why a check failed.
    void finished(PageReadiness::Outcome outcome, const QString &error);

private:
    void start();
    void cancel();
    void receive(const QVariantMap &body);
    void finish(Outcome outcome, const QString &error = {});

    ReaderPageLoader *m_loader;
    QTimer m_deadline;
    QString m_token; // of the page being waited for; empty when not waiting
};
