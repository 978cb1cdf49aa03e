// SPDX-License-Identifier: MIT
#include "CommandSignals.h"

#include <QSocketNotifier>

#include <csignal>
#include <initializer_list>
#include <optional>

#include <sys/signalfd.h>
#include <unistd.h>

namespace Simulator {

namespace {

sigset_t SetOf(std::initializer_list<int> numbers)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int number : numbers) {
        sigaddset(&set, number);
    }
    return set;
}

bool IsIgnored(int number)
{
    struct sigaction action = {};
    return ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

// Without what nohup, or a shell for a background job, has this program ignore.
sigset_t Wanted()
{
    sigset_t set = SetOf({SIGINT, SIGTERM});
    for (const int number : {SIGHUP, SIGQUIT}) {
        if (!IsIgnored(number)) {
            sigaddset(&set, number);
        }
    }
    return set;
}

int OpenDescriptor()
{
    const sigset_t wanted = Wanted();
    ::pthread_sigmask(SIG_BLOCK, &wanted, nullptr);
    return ::signalfd(-1, &wanted, SFD_CLOEXEC | SFD_NONBLOCK);
}

std::optional<signalfd_siginfo> ReadFrom(int descriptor)
{
    signalfd_siginfo info;
    if (::read(descriptor, &info, sizeof(info)) != static_cast<ssize_t>(sizeof(info))) {
        return std::nullopt;
    }
    return info;
}

} // namespace

CommandSignals::CommandSignals()
    : m_Descriptor(OpenDescriptor()),
      m_Notifier(new QSocketNotifier(m_Descriptor, QSocketNotifier::Read, this))
{
    connect(m_Notifier, &QSocketNotifier::activated, this, &CommandSignals::Read);
}

CommandSignals::~CommandSignals()
{
    m_Notifier->setEnabled(false);
    ::close(m_Descriptor);
}

void CommandSignals::Unblock()
{
    const sigset_t all = SetOf({SIGINT, SIGTERM, SIGHUP, SIGQUIT});
    ::pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
}

int CommandSignals::Take()
{
    const std::optional<signalfd_siginfo> info = ReadFrom(m_Descriptor);
    return info ? static_cast<int>(info->ssi_signo) : 0;
}

void CommandSignals::Read()
{
    const std::optional<signalfd_siginfo> info = ReadFrom(m_Descriptor);
    if (info) {
        const int number = static_cast<int>(info->ssi_signo);
        Q_EMIT Received(number, info->ssi_code == SI_KERNEL && (number == SIGINT || number == SIGQUIT));
    }
}

} // namespace Simulator
