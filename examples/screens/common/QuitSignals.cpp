// SPDX-License-Identifier: MIT
#include "QuitSignals.h"

#include <QCoreApplication>
#include <QSocketNotifier>

#include <csignal>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

sigset_t Both()
{
    sigset_t both;
    sigemptyset(&both);
    sigaddset(&both, SIGTERM);
    sigaddset(&both, SIGINT);
    return both;
}

} // namespace

void QuitSignals::Block()
{
    const sigset_t both = Both();
    pthread_sigmask(SIG_BLOCK, &both, nullptr);
}

QuitSignals::QuitSignals()
    : m_Descriptor([] {
          const sigset_t both = Both();
          return signalfd(-1, &both, SFD_CLOEXEC);
      }())
{
    auto* const notifier = new QSocketNotifier(m_Descriptor, QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [notifier] {
        notifier->setEnabled(false);
        QCoreApplication::quit();
    });
}

QuitSignals::~QuitSignals()
{
    close(m_Descriptor);
}
