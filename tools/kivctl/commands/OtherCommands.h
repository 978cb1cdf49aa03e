// SPDX-License-Identifier: MIT
#ifndef KIVCTL_COMMANDS_OTHERCOMMANDS_H
#define KIVCTL_COMMANDS_OTHERCOMMANDS_H

namespace Kivctl {

struct Invocation;

/** The commands that are no client of the service. Each returns the exit code, and may throw UsageError. */
int RunStatusCommand(const Invocation& invocation);
int RunTraceCommand(const Invocation& invocation);
int RunHelp(const Invocation& invocation);

} // namespace Kivctl

#endif // KIVCTL_COMMANDS_OTHERCOMMANDS_H
