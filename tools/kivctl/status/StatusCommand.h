// SPDX-License-Identifier: MIT
#ifndef KIVCTL_STATUS_STATUSCOMMAND_H
#define KIVCTL_STATUS_STATUSCOMMAND_H

#include "Output.h"

#include <QString>

namespace Kivctl {

/** What `kivctl status` is asked for. */
struct StatusOptions
{
    QString address;   ///< of the bus
    int timeoutMs = 0; ///< how long each question may take; 0 for five seconds
};

/**
 * Prints whether the bus and the service are there and answer, one finding after the other.
 *
 * Needs a QCoreApplication whose event loop does not run, and Tools::TerminationSignal::Block(). It changes
 * nothing and does not start the service.
 *
 * @return an ExitCode, that of the first finding that is not as it should be.
 */
int RunStatus(const StatusOptions& options, const Output& output);

} // namespace Kivctl

#endif // KIVCTL_STATUS_STATUSCOMMAND_H
