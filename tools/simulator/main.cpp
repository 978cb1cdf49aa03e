// SPDX-License-Identifier: MIT
#include "AudioModel.h"
#include "MessageLog.h"
#include "Options.h"
#include "ServiceBus.h"
#include "TerminationSignal.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>

#include <cstdio>

using namespace Simulator;

namespace {

int Fail(ExitCode code, const QString& text)
{
    std::fprintf(stderr, "kiv-audio-simulator: %s\n", qPrintable(text));
    return code;
}

int Serve(const Options& options)
{
    const Tools::TerminationSignal termination;
    const QDBusConnection connection =
        QDBusConnection::connectToBus(options.address, QStringLiteral("kiv-audio-simulator"));
    if (!connection.isConnected()) {
        return Fail(
            ExitNoBus,
            QStringLiteral("no bus at \"%1\": %2").arg(options.address, connection.lastError().message()));
    }

    AudioModel model(options.settings);
    const MessageLog log(options.isLogging);
    ServiceBus service(connection, model, log);
    QObject::connect(&termination, &Tools::TerminationSignal::Received, &service, [] { QCoreApplication::quit(); });
    QObject::connect(&service, &ServiceBus::Disconnected, &service,
                     [] { QCoreApplication::exit(Fail(ExitNoBus, QStringLiteral("the bus has gone"))); });
    if (!service.Start()) {
        return Fail(ExitNameTaken, QStringLiteral("the service's bus name is taken"));
    }
    std::puts("ready");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

} // namespace

int main(int argc, char** argv)
{
    Tools::TerminationSignal::Block();
    const QCoreApplication application(argc, argv);
    const Options options =
        ParseOptions(QCoreApplication::arguments(), qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS"));
    switch (options.action) {
    case Options::Action::Refuse:
        return Fail(ExitUsage, options.text);
    case Options::Action::PrintText:
        std::fputs(qPrintable(options.text), stdout);
        return ExitSuccess;
    case Options::Action::Run:
        break;
    }
    return Serve(options);
}
