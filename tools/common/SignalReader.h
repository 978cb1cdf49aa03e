// SPDX-License-Identifier: MIT
#ifndef TOOLS_SIGNALREADER_H
#define TOOLS_SIGNALREADER_H

#include <QObject>

#include <csignal>
#include <optional>

#include <sys/signalfd.h>

class QSocketNotifier;

namespace Tools {

/** Reads signals of the operating system that are blocked, and so do nothing by themselves. */
class SignalReader : public QObject
{
    Q_OBJECT

public:
    /** @param signals must be blocked in every thread; also those that have arrived before are read. */
    explicit SignalReader(const sigset_t& signals);
    ~SignalReader() override;

    /** Takes one that has arrived and was not told yet; none when there is none. */
    std::optional<signalfd_siginfo> Take();

Q_SIGNALS:
    void Received(const signalfd_siginfo& info);

private:
    void Tell();

    const int m_Descriptor;
    QSocketNotifier* m_Notifier;
};

} // namespace Tools

#endif // TOOLS_SIGNALREADER_H
