// SPDX-License-Identifier: MIT
#include "StatusCommand.h"

#include "BusClient.h"
#include "ExitCode.h"
#include "ServiceCheck.h"
#include "TerminationSignal.h"

#include <csignal>

namespace Kivctl {

int RunStatus(const StatusOptions& options, const Output& output)
{
    BusClient bus;
    ServiceCheck check(bus, options.timeoutMs > 0 ? options.timeoutMs : 5000, output);
    int signal = 0;
    const Tools::TerminationSignal termination;
    QObject::connect(&termination, &Tools::TerminationSignal::Received, &bus, [&bus, &signal](int number) {
        signal = number;
        bus.Interrupt();
    });
    const int exitCode = check.Run(options.address);
    return signal == 0 ? exitCode : ExitInterrupted - SIGINT + signal;
}

} // namespace Kivctl
