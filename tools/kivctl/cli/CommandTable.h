// SPDX-License-Identifier: MIT
#ifndef KIVCTL_CLI_COMMANDTABLE_H
#define KIVCTL_CLI_COMMANDTABLE_H

#include <QString>
#include <QStringList>
#include <QVector>

namespace Kivctl {

struct Invocation;

/** An option, always with two dashes. */
struct Option
{
    QString name;
    QString valueName; ///< empty for a flag
    QString summary;
};

/** A command of the program. */
struct Command
{
    QString name;
    QStringList arguments; ///< the names of its arguments; one in brackets can be left out
    QString summary;
    QVector<Option> options;
    int (*run)(const Invocation&); ///< may throw UsageError; returns the exit code
};

/**
 * The options that go with every command.
 *
 * These two functions are the home of what the command line can say: the parser and the help are made from them,
 * the manual page and the completions are compared with them by a test.
 */
const QVector<Option>& GlobalOptions();

/** The commands, in the order in which the help lists them. */
const QVector<Command>& Commands();

/** The command with a name; `nullptr` when there is none. */
const Command* FindCommand(const QString& name);

} // namespace Kivctl

#endif // KIVCTL_CLI_COMMANDTABLE_H
