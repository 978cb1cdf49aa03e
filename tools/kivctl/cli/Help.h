// SPDX-License-Identifier: MIT
#ifndef KIVCTL_CLI_HELP_H
#define KIVCTL_CLI_HELP_H

#include <QString>

namespace Kivctl {

struct Command;

/** What `kivctl --help` prints, with a line end. */
QString ProgramHelp();

/** What `kivctl COMMAND --help` prints, with a line end. */
QString CommandHelp(const Command& command);

} // namespace Kivctl

#endif // KIVCTL_CLI_HELP_H
