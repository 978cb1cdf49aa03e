// SPDX-License-Identifier: MIT
#include "AudioService.h"
#include "ControlObject.h"
#include "EventLog.h"
#include "Options.h"
#include "ScenarioPlayer.h"
#include "StandardStreams.h"
#include "TerminationSignal.h"
#include "launch/Supervisor.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

using namespace Simulator;

namespace {

int Fail(ExitCode code, const QString& text)
{
    std::fprintf(stderr, "kiv-audio-simulator: %s\n", qPrintable(text));
    return code;
}

// Without Qt's orderly end, in which its D-Bus thread was seen to get stuck, and to leave messages; the bus notices all
// the same.
[[noreturn]] void End(int code)
{
    std::fflush(nullptr);
    std::_Exit(code);
}

[[noreturn]] void RunUntilEnd(const Options& options, const QDBusConnection& connection, EventLog& log)
{
    std::signal(SIGPIPE, SIG_IGN); // who reads the log may leave; the service stays
    const Tools::TerminationSignal termination;
    AudioService service(options.address, options.seed, log);
    ScenarioPlayer player(service, log);
    ControlObject control(connection, player, service, log);
    QObject::connect(&termination, &Tools::TerminationSignal::Received, &service,
                     [] { QCoreApplication::quit(); });
    QObject::connect(&control, &ControlObject::Disconnected, &service,
                     [] { QCoreApplication::exit(Fail(ExitNoBus, QStringLiteral("the bus has gone"))); });
    if (!control.Start()) {
        End(Fail(ExitNameTaken, QStringLiteral("the simulator's bus name is taken, or not allowed")));
    }
    if (!player.Play(options.scenario)) {
        End(Fail(ExitNameTaken, QStringLiteral("the service's bus name is taken, or not allowed")));
    }
    std::puts("ready");
    std::fflush(stdout);
    End(QCoreApplication::exec());
}

int Serve(const Options& options)
{
    EventLog log(options.logFormat);
    const QString complaint = options.logFile.isEmpty() ? QString() : log.OpenFile(options.logFile);
    if (!complaint.isEmpty()) {
        return Fail(ExitUsage, QStringLiteral("%1: %2").arg(options.logFile, complaint));
    }
    const QDBusConnection connection =
        QDBusConnection::connectToBus(options.address, QStringLiteral("simulator-control"));
    if (!connection.isConnected()) {
        return Fail(
            ExitNoBus,
            QStringLiteral("no bus at \"%1\": %2").arg(options.address, connection.lastError().message()));
    }
    RunUntilEnd(options, connection, log);
}

// Cuts off "--exec" and what is behind it, before Qt reads the arguments; nothing without "--exec".
std::optional<Command> TakeCommand(int& argc, char** argv)
{
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--exec") == 0) {
            const Command command(argv + i + 1, argv + argc);
            argc = i;
            argv[i] = nullptr;
            return command;
        }
    }
    return std::nullopt;
}

int Launch(const Command& command)
{
    if (command.empty()) {
        return Fail(ExitUsage,
                    QStringLiteral("--exec: no command; it is started with DBUS_SYSTEM_BUS_ADDRESS set "
                                   "to a bus of its own"));
    }
    return RunUnderSupervision(QCoreApplication::arguments().mid(1), command);
}

} // namespace

int main(int argc, char** argv)
{
    Tools::OccupyStandardStreams();
    Tools::TerminationSignal::Block();
    const std::optional<Command> command = TakeCommand(argc, argv);
    const QCoreApplication application(argc, argv);
    const Options options =
        ParseOptions(QCoreApplication::arguments(), qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS"),
                     command ? BusKind::Own : BusKind::Named);
    switch (options.action) {
    case Options::Action::Refuse:
        return Fail(ExitUsage, options.text);
    case Options::Action::PrintText:
        std::fputs(qPrintable(options.text), stdout);
        return ExitSuccess;
    case Options::Action::Run:
        break;
    }
    return command ? Launch(*command) : Serve(options);
}
