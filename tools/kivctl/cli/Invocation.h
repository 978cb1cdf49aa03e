// SPDX-License-Identifier: MIT
#ifndef KIVCTL_CLI_INVOCATION_H
#define KIVCTL_CLI_INVOCATION_H

#include "Output.h"
#include "cli/TimeLimit.h"

#include <QHash>
#include <QString>
#include <QStringList>

namespace Kivctl {

/** A command line that was understood: what a command needs to run. */
struct Invocation
{
    QStringList arguments;          ///< what follows the command's name, without options
    QHash<QString, QString> values; ///< the options that were given, global ones included; flags have no text
    TimeLimit limit;
    QString address; ///< the address of the bus
    Output::Format format = Output::Format::Text;

    bool IsSet(const QString& option) const { return values.contains(option); }
    QString Value(const QString& option) const { return values.value(option); }
};

} // namespace Kivctl

#endif // KIVCTL_CLI_INVOCATION_H
