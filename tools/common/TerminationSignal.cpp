// SPDX-License-Identifier: MIT
#include "TerminationSignal.h"

#include <QSocketNotifier>

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

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

int OpenDescriptor()
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

void TerminationSignal::Unblock()
{
    const sigset_t signals = Signals();
    ::pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

TerminationSignal::TerminationSignal()
    : m_Descriptor(OpenDescriptor()),
      m_Notifier(new QSocketNotifier(m_Descriptor, QSocketNotifier::Read, this))
{
    connect(m_Notifier, &QSocketNotifier::activated, this, &TerminationSignal::Read);
}

TerminationSignal::~TerminationSignal()
{
    m_Notifier->setEnabled(false);
    ::close(m_Descriptor);
}

void TerminationSignal::Read()
{
    signalfd_siginfo info;
    if (::read(m_Descriptor, &info, sizeof(info)) == static_cast<ssize_t>(sizeof(info))) {
        Q_EMIT Received(static_cast<int>(info.ssi_signo));
    }
}

} // namespace Tools
