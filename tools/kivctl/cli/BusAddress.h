// SPDX-License-Identifier: MIT
#ifndef KIVCTL_CLI_BUSADDRESS_H
#define KIVCTL_CLI_BUSADDRESS_H

#include <QString>

namespace Kivctl {

struct Invocation;

/** The address of the bus that the options name. Throws UsageError when they contradict each other. */
QString ChooseBusAddress(const Invocation& invocation);

/**
 * Makes the library's system bus the one with an address.
 *
 * Call it before the first use of the bus: the address is read once in the life of the process.
 */
void UseBus(const QString& address);

} // namespace Kivctl

#endif // KIVCTL_CLI_BUSADDRESS_H
