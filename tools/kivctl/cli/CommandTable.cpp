// SPDX-License-Identifier: MIT
#include "cli/CommandTable.h"

#include "commands/OtherCommands.h"
#include "commands/RoleCommands.h"

#include <algorithm>

namespace Kivctl {

namespace {

Option Flag(const char* name, const char* summary)
{
    return {QString::fromLatin1(name), QString(), QString::fromLatin1(summary)};
}

Option Value(const char* name, const char* valueName, const char* summary)
{
    return {QString::fromLatin1(name), QString::fromLatin1(valueName), QString::fromLatin1(summary)};
}

Command Row(const char* name, const QStringList& arguments, const char* summary,
            const QVector<Option>& options, int (*run)(const Invocation&))
{
    return {QString::fromLatin1(name), arguments, QString::fromLatin1(summary), options, run};
}

QVector<Command> MakeCommands()
{
    const Option destination =
        Value("destination", "DESTINATION", "What the session is about; all if not given.");
    return {
        Row("modes", {}, "Print the modes that the service offers.", {destination}, &RunModes),
        Row("mode", {}, "Print the current mode.", {destination}, &RunMode),
        Row("set-mode", {QStringLiteral("NAME")}, "Set the mode.",
            {destination, Flag("wait", "Wait for a mode that is not offered yet, and for the service.")},
            &RunSetMode),
        Row("monitor", {}, "Print mode and focus events until stopped.", {destination}, &RunMonitor),
        Row("stream", {}, "Register an audio stream and negotiate focus for it.",
            {Value("name", "NAME", "The name of the stream; required."),
             Value("mode-name", "MODE", "The mode that the stream offers; none if not given."),
             Value("type", "TYPE", "The type of the stream; Media if not given."), destination,
             Flag("transient", "Take the focus for a while, not for good."),
             Flag("query", "Ask whether the focus would be granted."), Flag("request", "Request the focus."),
             Flag("playing", "Say that the stream plays, once it is registered and has what it asked for."),
             Flag("hold", "Stay until stopped, or until the focus is lost for good."),
             Value("for", "SECONDS", "Stay that long at most."),
             Value("on-lost", "COMMAND", "Run by /bin/sh when the focus is lost, also temporarily.")},
            &RunStream),
        Row("status", {}, "Print whether bus and service can be reached.", {}, &RunStatusCommand),
        Row("call", {QStringLiteral("METHOD"), QStringLiteral("JSON")},
            "Send one request in a session, and print the answer.",
            {Flag("hmi", "Send it as an HMI; the default."), Flag("app", "Send it as a media application."),
             destination},
            &RunCall),
        Row("trace", {QStringLiteral("[FILE]")},
            "Print the messages of the protocol on the bus, or of a capture file.", {}, &RunTraceCommand),
        Row("help", {QStringLiteral("[COMMAND]")}, "Print help, on a command if one is given.", {}, &RunHelp),
    };
}

} // namespace

const QVector<Option>& GlobalOptions()
{
    static const QVector<Option> options{
        Value("address", "ADDRESS", "Use the bus at this address."),
        Flag("system", "Use the system bus; the default."),
        Flag("session", "Use the session bus."),
        Value("timeout", "SECONDS", "Give up after this time, 30 s if not given."),
        Flag("json", "Print one JSON object per line."),
        Flag("verbose", "Print the log of the library on standard error."),
        Flag("help", "Print help and end."),
        Flag("version", "Print the version and end."),
    };
    return options;
}

const QVector<Command>& Commands()
{
    static const QVector<Command> commands = MakeCommands();
    return commands;
}

const Command* FindCommand(const QString& name)
{
    const QVector<Command>& commands = Commands();
    const auto isNamed = [&name](const Command& command) { return command.name == name; };
    const auto found = std::find_if(commands.begin(), commands.end(), isNamed);
    return found == commands.end() ? nullptr : &*found;
}

} // namespace Kivctl
