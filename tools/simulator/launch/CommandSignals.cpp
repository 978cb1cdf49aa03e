// SPDX-License-Identifier: MIT
#include "CommandSignals.h"

#include <csignal>
#include <initializer_list>

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

sigset_t Block(const sigset_t& set)
{
    ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
    return set;
}

} // namespace

CommandSignals::CommandSignals()
    : m_Reader(Block(Wanted()))
{
    connect(&m_Reader, &Tools::SignalReader::Received, this, [this](const signalfd_siginfo& info) {
        const int number = static_cast<int>(info.ssi_signo);
        Q_EMIT Received(number, info.ssi_code == SI_KERNEL && (number == SIGINT || number == SIGQUIT));
    });
}

void CommandSignals::Unblock()
{
    const sigset_t all = SetOf({SIGINT, SIGTERM, SIGHUP, SIGQUIT});
    ::pthread_sigmask(SIG_UNBLOCK, &all, nullptr);
}

int CommandSignals::Take()
{
    const auto info = m_Reader.Take();
    return info ? static_cast<int>(info->ssi_signo) : 0;
}

} // namespace Simulator
