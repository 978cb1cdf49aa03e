// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SUPERVISOR_H
#define SIMULATOR_SUPERVISOR_H

#include "CommandProcess.h"

#include <QStringList>

namespace Simulator {

/**
 * Runs a command with a bus and a service of its own, and stops both when it has ended.
 *
 * Needs a QCoreApplication, and that no thread was started.
 *
 * @param serviceArguments the simulator's options, checked, without --address.
 * @param command not empty.
 * @return with what this program ends: the command's exit code, 128 + n when signal n has killed it, 127 or
 *         126 when it cannot be run, ExitNoBus or ExitNameTaken when the bus or the service does not start.
 */
int RunUnderSupervision(const QStringList& serviceArguments, const Command& command);

} // namespace Simulator

#endif // SIMULATOR_SUPERVISOR_H
