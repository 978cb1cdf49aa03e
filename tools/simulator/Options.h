// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_OPTIONS_H
#define SIMULATOR_OPTIONS_H

#include "EventLog.h"
#include "Scenario.h"

#include <QString>
#include <QStringList>

namespace Simulator {

/** With what the program ends. */
enum ExitCode
{
    ExitSuccess = 0,
    ExitUsage = 2,
    ExitNoBus = 3,
    ExitNameTaken = 4
};

/** Whose bus the service is to be on. */
enum class BusKind
{
    Named, ///< the one that --address or the environment names
    Own    ///< one of its own, for the command behind --exec
};

/** What the command line asks for. */
struct Options
{
    enum class Action
    {
        Run,
        PrintText, ///< print text on standard output and end
        Refuse     ///< print text on standard error and end with ExitUsage
    };

    Action action = Action::Run;
    QString text; ///< help, version or complaint
    QString address;
    LogFormat logFormat = LogFormat::Off;
    QString logFile; ///< empty: standard output
    quint32 seed = 1;
    Scenario scenario;
};

/**
 * Reads the command line, and the scenario file that it names.
 *
 * @param arguments with the program's name first; without --exec and what is behind it.
 * @param systemBusAddress the bus when the command line names none; empty for none.
 */
Options ParseOptions(const QStringList& arguments, const QString& systemBusAddress, BusKind kind);

} // namespace Simulator

#endif // SIMULATOR_OPTIONS_H
