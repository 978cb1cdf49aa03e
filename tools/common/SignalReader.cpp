// SPDX-License-Identifier: MIT
#include "SignalReader.h"

#include <QSocketNotifier>

#include <unistd.h>

namespace Tools {

SignalReader::SignalReader(const sigset_t& signals)
    : m_Descriptor(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK)),
      m_Notifier(new QSocketNotifier(m_Descriptor, QSocketNotifier::Read, this))
{
    connect(m_Notifier, &QSocketNotifier::activated, this, &SignalReader::Tell);
}

SignalReader::~SignalReader()
{
    m_Notifier->setEnabled(false);
    ::close(m_Descriptor);
}

std::optional<signalfd_siginfo> SignalReader::Take()
{
    signalfd_siginfo info;
    if (::read(m_Descriptor, &info, sizeof(info)) != static_cast<ssize_t>(sizeof(info))) {
        return std::nullopt;
    }
    return info;
}

void SignalReader::Tell()
{
    if (const std::optional<signalfd_siginfo> info = Take()) {
        Q_EMIT Received(*info);
    }
}

} // namespace Tools
