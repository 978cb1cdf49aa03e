// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SIMULATORPROCESS_H
#define KIV_TESTS_SIMULATORPROCESS_H

#include "AdaptorConnection.h"
#include "ForkedProcess.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"
#include "TestClients.h"

#include <QByteArray>
#include <QDBusConnection>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSignalSpy>
#include <QString>
#include <QStringList>
#include <QTest>

#include <csignal>

namespace KivTest {

/** How long a test waits for what has to happen, in milliseconds. */
const int kPatience = 30000;

/** The simulator as a process of its own; KIV_SIMULATOR_PROGRAM is its path. */
class SimulatorProcess
{
public:
    explicit SimulatorProcess(const QStringList& arguments, bool hasSystemBus = true)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (!hasSystemBus) {
            environment.remove("DBUS_SYSTEM_BUS_ADDRESS");
        }
        m_Process.setProcessEnvironment(environment);
        m_Process.start(KIV_SIMULATOR_PROGRAM, arguments, QIODevice::ReadOnly);
    }

    ~SimulatorProcess()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    bool WaitUntilReady()
    {
        return QTest::qWaitFor([this] { return Lines().value(0) == "ready"; }, kPatience);
    }

    /** The exit code; -1 when it has crashed or does not end. */
    int WaitForExit()
    {
        const bool hasEnded =
            m_Process.state() == QProcess::NotRunning || m_Process.waitForFinished(kPatience);
        return hasEnded && m_Process.exitStatus() == QProcess::NormalExit ? m_Process.exitCode() : -1;
    }

    void Signal(int number) { ::kill(static_cast<pid_t>(m_Process.processId()), number); }

    /** Whether the process has not ended. */
    bool IsRunning() const { return m_Process.state() == QProcess::Running; }

    /** Whether the process ends by this signal. */
    bool EndsBy(int number)
    {
        const bool hasEnded = !IsRunning() || m_Process.waitForFinished(kPatience);
        return hasEnded && m_Process.exitStatus() == QProcess::CrashExit && m_Process.exitCode() == number;
    }

    QString Output()
    {
        m_Output += m_Process.readAllStandardOutput();
        return QString::fromUtf8(m_Output);
    }

    QString Errors() { return QString::fromUtf8(m_Process.readAllStandardError()); }

    QStringList Lines() { return Output().split('\n', Qt::SkipEmptyParts); }

private:
    ForkedProcess m_Process;
    QByteArray m_Output;
};

/** An HMI client on the system bus of this process, as the simulator sees it. */
struct HmiClient
{
    explicit HmiClient(const QString& path, const QString& destination = QString())
        : hmi(registrator, path, connection, destination, factory, true)
    {
    }

    QDBusConnection bus = QDBusConnection::systemBus();
    Audio::Utils::Kiv::QtDbus::ServiceRegistrator registrator{bus, kClientName};
    Audio::Utils::Kiv::QtDbus::AdaptorConnection connection{bus};
    Audio::Utils::Kiv::QtDbus::ServiceProviderProxyHmiFactory factory;
    OpenedHmi hmi;
    QSignalSpy modeChanged{&hmi, &Audio::Utils::Kiv::QtDbus::AudioManagerHmi::SignalModeChanged};
    QSignalSpy modeListChanged{&hmi, &Audio::Utils::Kiv::QtDbus::AudioManagerHmi::SignalModeListChanged};
    QSignalSpy focusChange{&hmi, &Audio::Utils::Kiv::QtDbus::AudioManagerHmi::SignalAudioFocusChange};
    QSignalSpy setModeCompleted{&hmi, &Audio::Utils::Kiv::QtDbus::AudioManagerHmi::SignalSetModeCompleted};
};

/** An application client, likewise; it registers its stream when it initialises. */
struct AppClient
{
    AppClient(const QString& path, const QString& stream, bool isPermanent,
              const QString& busName = kClientName)
        : registrator(bus, busName),
          app(registrator, path, stream, connection, QString(), isPermanent, QString(), factory, true)
    {
    }

    /** What was told about the focus, in order. */
    void Listen()
    {
        using Audio::Utils::Kiv::QtDbus::AudioManagerApp;
        QObject::connect(&app, &AudioManagerApp::SignalAudioFocusChanged, &app,
                         [this](const QString& focus) { heard.append("changed " + focus); });
        QObject::connect(&app, &AudioManagerApp::SignalResponseToAudioFocusRequest, &app,
                         [this](const QString& result) { heard.append("result " + result); });
    }

    bool Initialize()
    {
        Listen();
        return app.Initialize() == Audio::Utils::Kiv::QtDbus::KivBaseClient::INIT_STATE_SUCCESS;
    }

    QDBusConnection bus = QDBusConnection::systemBus();
    Audio::Utils::Kiv::QtDbus::ServiceRegistrator registrator;
    Audio::Utils::Kiv::QtDbus::AdaptorConnection connection{bus};
    Audio::Utils::Kiv::QtDbus::ServiceProviderProxyAppFactory factory;
    OpenedApp app;
    QStringList heard;
};

} // namespace KivTest

#endif // KIV_TESTS_SIMULATORPROCESS_H
