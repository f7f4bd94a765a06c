// TerminationSignals: a handler may only write to a pipe; the main loop reads it.
#include "TerminationSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

int signalPipe[2] = {-1, -1};
constexpr int handled[] = {SIGTERM, SIGHUP};

void onSignal(int signalNumber)
{
    const int savedErrno = errno;
    const char byte = char(signalNumber);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = savedErrno;
}

} // namespace

TerminationSignals::TerminationSignals(QObject *parent)
    : QObject(parent)
{
    if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        qWarning("tarn: no pipe for signals; SIGTERM ends Tarn without writing drafts");
        return;
    }
    m_notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &TerminationSignals::readSignal);
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    for (const int signalNumber : handled)
        ::sigaction(signalNumber, &action, nullptr);
}

TerminationSignals::~TerminationSignals()
{
    if (!m_notifier)
        return;
    for (const int signalNumber : handled)
        std::signal(signalNumber, SIG_DFL);
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
    signalPipe[0] = signalPipe[1] = -1;
}

void TerminationSignals::readSignal()
{
    char byte = 0;
    while (::read(signalPipe[0], &byte, 1) == 1)
        emit received(byte);
}
