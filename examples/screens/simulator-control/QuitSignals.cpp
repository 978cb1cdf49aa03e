// SPDX-License-Identifier: MIT
#include "QuitSignals.h"

#include <QCoreApplication>

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

QuitSignals::QuitSignals()
{
    sigset_t both;
    sigemptyset(&both);
    sigaddset(&both, SIGINT);
    sigaddset(&both, SIGTERM);
    ::pthread_sigmask(SIG_BLOCK, &both, nullptr);
    m_Descriptor = ::signalfd(-1, &both, SFD_CLOEXEC | SFD_NONBLOCK);
}

QuitSignals::~QuitSignals()
{
    m_Notifier.reset();
    ::close(m_Descriptor);
}

void QuitSignals::Listen()
{
    m_Notifier = std::make_unique<QSocketNotifier>(m_Descriptor, QSocketNotifier::Read);
    QObject::connect(m_Notifier.get(), &QSocketNotifier::activated, [this] {
        m_Notifier->setEnabled(false);
        QCoreApplication::quit();
    });
}
