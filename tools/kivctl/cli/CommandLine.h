// SPDX-License-Identifier: MIT
#ifndef KIVCTL_CLI_COMMANDLINE_H
#define KIVCTL_CLI_COMMANDLINE_H

#include "cli/Invocation.h"

#include <QString>
#include <QStringList>

namespace Kivctl {

struct Command;

/** What the command line asks for. */
struct Request
{
    const Command* command = nullptr; ///< what to run; `nullptr` to print the text instead
    QString text;
    Invocation invocation;
};

/**
 * Reads the command line. Throws UsageError.
 *
 * The options of a command follow its name; those of every command may stand anywhere.
 *
 * @param arguments with the program's name first.
 */
Request ReadCommandLine(const QStringList& arguments);

} // namespace Kivctl

#endif // KIVCTL_CLI_COMMANDLINE_H
