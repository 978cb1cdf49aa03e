// SPDX-License-Identifier: MIT
#include "TerminationSignal.h"

#include <QSocketNotifier>

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

namespace {

sigset_t Signals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

int Descriptor()
{
    const sigset_t signals = Signals();
    return ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

} // namespace

void TerminationSignal::Block()
{
    const sigset_t signals = Signals();
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

TerminationSignal::TerminationSignal()
    : m_Descriptor(Descriptor())
{
    auto* const notifier = new QSocketNotifier(m_Descriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this, notifier] {
        notifier->setEnabled(false); // once is enough
        Q_EMIT Received();
    });
}

TerminationSignal::~TerminationSignal()
{
    ::close(m_Descriptor);
}
