// SPDX-License-Identifier: MIT
#ifndef KIVCTL_CLI_TIMELIMIT_H
#define KIVCTL_CLI_TIMELIMIT_H

namespace Kivctl {

/** How long a command may take. */
struct TimeLimit
{
    int milliseconds = 30000;

    /** Whether --timeout was given: it then bounds the whole command, also a wait that was asked for. */
    bool isExplicit = false;
};

} // namespace Kivctl

#endif // KIVCTL_CLI_TIMELIMIT_H
