// SPDX-License-Identifier: MIT
#ifndef KIVCTL_COMMANDS_ROLECOMMANDS_H
#define KIVCTL_COMMANDS_ROLECOMMANDS_H

namespace Kivctl {

struct Invocation;

/** The commands that speak as a client of the service. Each returns the exit code, and may throw UsageError. */
int RunModes(const Invocation& invocation);
int RunMode(const Invocation& invocation);
int RunSetMode(const Invocation& invocation);
int RunMonitor(const Invocation& invocation);
int RunStream(const Invocation& invocation);
int RunCall(const Invocation& invocation);

} // namespace Kivctl

#endif // KIVCTL_COMMANDS_ROLECOMMANDS_H
