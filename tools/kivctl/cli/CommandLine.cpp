// SPDX-License-Identifier: MIT
#include "cli/CommandLine.h"

#include "UsageError.h"
#include "cli/BusAddress.h"
#include "cli/CommandTable.h"
#include "cli/Help.h"
#include "cli/Number.h"

#include <QCommandLineParser>

namespace Kivctl {

namespace {

void AddOptions(QCommandLineParser& parser, const QVector<Option>& options)
{
    for (const Option& option : options) {
        parser.addOption({option.name, option.summary, option.valueName});
    }
}

void Parse(QCommandLineParser& parser, const QStringList& arguments)
{
    if (!parser.parse(arguments)) {
        throw Tools::UsageError(parser.errorText());
    }
}

void CollectValues(const QCommandLineParser& parser, const QVector<Option>& options, Invocation& invocation)
{
    for (const Option& option : options) {
        if (parser.isSet(option.name)) {
            invocation.values.insert(option.name,
                                     option.valueName.isEmpty() ? QString() : parser.value(option.name));
        }
    }
}

void CheckArguments(const Command& command, const QStringList& given)
{
    const QStringList& wanted = command.arguments;
    if (given.size() > wanted.size()) {
        throw Tools::UsageError(
            QStringLiteral("%1: unexpected argument \"%2\"").arg(command.name, given.at(wanted.size())));
    }
    const QString missing = wanted.value(given.size());
    if (!missing.isEmpty() && !missing.startsWith(QLatin1Char('['))) {
        throw Tools::UsageError(QStringLiteral("%1: missing argument %2").arg(command.name, missing));
    }
}

/** The command's name, whose options are not known before it is. */
QString ReadCommandName(const QStringList& arguments, QCommandLineParser& parser)
{
    AddOptions(parser, GlobalOptions());
    parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
    Parse(parser, arguments);
    return parser.positionalArguments().value(0);
}

const Command& RequireCommand(const QString& name)
{
    if (name.isEmpty()) {
        throw Tools::UsageError(QStringLiteral("no command given"));
    }
    const Command* command = FindCommand(name);
    if (command == nullptr) {
        throw Tools::UsageError(QStringLiteral("unknown command \"%1\"").arg(name));
    }
    return *command;
}

Invocation ReadInvocation(const Command& command, const QCommandLineParser& parser)
{
    Invocation invocation;
    invocation.arguments = parser.positionalArguments().mid(1);
    CheckArguments(command, invocation.arguments);
    CollectValues(parser, GlobalOptions(), invocation);
    CollectValues(parser, command.options, invocation);
    if (invocation.IsSet(QStringLiteral("timeout"))) {
        const QString name = QStringLiteral("timeout");
        invocation.limit = {ReadSeconds(name, invocation.Value(name)), true};
    }
    invocation.format =
        invocation.IsSet(QStringLiteral("json")) ? Output::Format::Json : Output::Format::Text;
    invocation.address = ChooseBusAddress(invocation);
    return invocation;
}

} // namespace

Request ReadCommandLine(const QStringList& arguments)
{
    QCommandLineParser globalParser;
    const QString name = ReadCommandName(arguments, globalParser);
    if (globalParser.isSet(QStringLiteral("version"))) {
        return {nullptr, QStringLiteral("kivctl " KIVCTL_VERSION "\n"), {}};
    }
    if (name.isEmpty() && globalParser.isSet(QStringLiteral("help"))) {
        return {nullptr, ProgramHelp(), {}};
    }
    const Command& command = RequireCommand(name);
    QCommandLineParser parser;
    AddOptions(parser, GlobalOptions() + command.options);
    Parse(parser, arguments);
    if (parser.isSet(QStringLiteral("help"))) {
        return {nullptr, CommandHelp(command), {}};
    }
    return {&command, QString(), ReadInvocation(command, parser)};
}

} // namespace Kivctl
