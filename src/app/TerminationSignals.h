// SIGTERM and SIGHUP delivered as a Qt signal on the main thread, where unsaved drafts can be
// written before the process ends.
#pragma once

#include <QObject>

class QSocketNotifier;

class TerminationSignals : public QObject
{
    Q_OBJECT

public:
    // Installs the handlers; one object per process.
    explicit TerminationSignals(QObject *parent = nullptr);
    // Puts the default handlers back.
    ~TerminationSignals() override;

signals:
    void received(int signalNumber);

private:
    void readSignal();

    QSocketNotifier *m_notifier = nullptr;
};
