// SPDX-License-Identifier: MIT
#include "cli/Help.h"

#include "cli/CommandTable.h"

#include <QStringList>
#include <QTextStream>

namespace Kivctl {

namespace {

const char* const exitCodes =
    R"(Exit codes: 0 done, 1 refused by the service, 2 wrong usage, 3 no bus, 4 no service,
5 time is over, 6 an answer against the protocol, 130 or 143 ended by a signal.
)";

QString Left(const Option& option)
{
    return QStringLiteral("--") + option.name +
           (option.valueName.isEmpty() ? QString() : QLatin1Char(' ') + option.valueName);
}

void PrintOptions(QTextStream& stream, const QString& title, const QVector<Option>& options)
{
    if (options.isEmpty()) {
        return;
    }
    stream << '\n' << title << ":\n";
    for (const Option& option : options) {
        stream << "  " << Left(option).leftJustified(26) << option.summary << '\n';
    }
}

} // namespace

QString ProgramHelp()
{
    QString text;
    QTextStream stream(&text);
    stream << "Usage: kivctl [OPTION...] COMMAND [ARGUMENT...]\n"
           << "Speaks with the audio management service, as an HMI or as a media application.\n\nCommands:\n";
    for (const Command& command : Commands()) {
        const QString synopsis = (QStringList(command.name) + command.arguments).join(QLatin1Char(' '));
        stream << "  " << synopsis.leftJustified(26) << command.summary << '\n';
    }
    PrintOptions(stream, QStringLiteral("Options"), GlobalOptions());
    stream << "\nThe options of a command: kivctl help COMMAND\n" << exitCodes;
    return text;
}

QString CommandHelp(const Command& command)
{
    QString text;
    QTextStream stream(&text);
    const QString options = command.options.isEmpty() ? QString() : QStringLiteral("[OPTION...]");
    QStringList synopsis =
        QStringList{QStringLiteral("kivctl"), command.name} + command.arguments + QStringList(options);
    synopsis.removeAll(QString());
    stream << "Usage: " << synopsis.join(QLatin1Char(' ')) << '\n' << command.summary << '\n';
    PrintOptions(stream, QStringLiteral("Options"), command.options);
    PrintOptions(stream, QStringLiteral("Options of every command"), GlobalOptions());
    stream << '\n' << exitCodes;
    return text;
}

} // namespace Kivctl
