// SPDX-License-Identifier: MIT
#include "Supervisor.h"

#include "CommandSignals.h"
#include "Options.h"
#include "PrivateBusDaemon.h"
#include "ServiceProcess.h"

#include <QCoreApplication>
#include <QTimer>

#include <csignal>
#include <cstdio>

namespace Simulator {

namespace {

constexpr int graceTime = 5000; // ms
constexpr int exitSignalled = 128;
constexpr int exitNotRun = 126;

void Complain(const QString& text)
{
    std::fprintf(stderr, "kiv-audio-simulator: %s\n", qPrintable(text));
}

int Fail(int exitCode, const QString& text)
{
    Complain(text);
    return exitCode;
}

void SetCommandEnvironment(const QString& address)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", address.toLatin1());
    qunsetenv("DBUS_STARTER_ADDRESS");
    qunsetenv("DBUS_STARTER_BUS_TYPE");
}

class Supervisor : public QObject
{
public:
    explicit Supervisor(const Command& command);

    int Run(const QStringList& serviceArguments);

private:
    int RunCommand();
    void Watch(HelperProcess& helper, const QString& name);
    void Forward(int number, bool isTyped);

    // In the order in which they are started; they are stopped the other way round.
    CommandSignals m_Signals;
    PrivateBusDaemon m_Bus;
    ServiceProcess m_Service;
    CommandProcess m_Command;
    QTimer m_Grace;
};

Supervisor::Supervisor(const Command& command)
    : m_Command(command)
{
    m_Grace.setSingleShot(true);
    m_Grace.setInterval(graceTime);
    connect(&m_Grace, &QTimer::timeout, this, [this] { m_Command.Signal(SIGKILL); });
    connect(&m_Command, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [] { QCoreApplication::quit(); });
}

int Supervisor::Run(const QStringList& serviceArguments)
{
    if (!m_Bus.Start()) {
        return Fail(ExitNoBus, m_Bus.ErrorText());
    }
    if (!m_Service.Start(m_Bus.Address(), serviceArguments)) {
        return Fail(ExitNameTaken, QStringLiteral("the service did not get ready: it ") + m_Service.Fate());
    }
    const int number = m_Signals.Take();
    return number == 0 ? RunCommand() : exitSignalled + number;
}

int Supervisor::RunCommand()
{
    SetCommandEnvironment(m_Bus.Address());
    Watch(m_Bus.Process(), QStringLiteral("bus daemon"));
    Watch(m_Service, QStringLiteral("service"));
    connect(&m_Signals, &CommandSignals::Received, this, &Supervisor::Forward);
    if (!m_Command.Start()) {
        return Fail(exitNotRun, QStringLiteral("cannot run the command: ") + m_Command.errorString());
    }
    QCoreApplication::exec();
    return m_Command.ShellExitCode();
}

void Supervisor::Watch(HelperProcess& helper, const QString& name)
{
    connect(&helper, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, [&helper, name] {
        Complain(QStringLiteral("the %1 has ended before the command: it %2").arg(name, helper.Fate()));
    });
}

// A typed signal has reached the command already, which may well go on after it.
void Supervisor::Forward(int number, bool isTyped)
{
    if (isTyped) {
        return;
    }
    m_Command.Signal(number);
    if (!m_Grace.isActive()) {
        m_Grace.start();
    }
}

} // namespace

int RunUnderSupervision(const QStringList& serviceArguments, const Command& command)
{
    Supervisor supervisor(command);
    return supervisor.Run(serviceArguments);
}

} // namespace Simulator
