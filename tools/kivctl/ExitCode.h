// SPDX-License-Identifier: MIT
#ifndef KIVCTL_EXITCODE_H
#define KIVCTL_EXITCODE_H

namespace Kivctl {

/** With what the program ends: a contract with scripts. */
enum ExitCode
{
    ExitDone = 0,
    ExitRefused = 1,       ///< the service has refused, or does not offer what was asked for
    ExitUsage = 2,         ///< wrong usage, or standard output cannot be written
    ExitNoBus = 3,         ///< no bus at the address, no right to do this on it, or the bus has gone
    ExitServiceAbsent = 4, ///< nobody has the service's bus name
    ExitTimeout = 5,       ///< not done within --timeout
    ExitProtocol = 6,      ///< the service's answer does not follow the protocol
    ExitInterrupted = 130, ///< ended by SIGINT
    ExitTerminated = 143   ///< ended by SIGTERM
};

} // namespace Kivctl

#endif // KIVCTL_EXITCODE_H
