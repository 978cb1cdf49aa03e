// SPDX-License-Identifier: MIT
#include "TerminationSignal.h"

#include <csignal>

namespace Tools {

namespace {

sigset_t Signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

} // namespace

void TerminationSignal::Block()
{
    const sigset_t signals = Signals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

void TerminationSignal::Unblock()
{
    const sigset_t signals = Signals();
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

int TerminationSignal::Pending()
{
    sigset_t pending;
    ::sigpending(&pending);
    for (const int number : {SIGINT, SIGTERM}) {
        if (sigismember(&pending, number) == 1) {
            return number;
        }
    }
    return 0;
}

TerminationSignal::TerminationSignal()
    : m_Reader(Signals())
{
    connect(&m_Reader, &SignalReader::Received, this,
            [this](const signalfd_siginfo& info) { Q_EMIT Received(static_cast<int>(info.ssi_signo)); });
}

} // namespace Tools
