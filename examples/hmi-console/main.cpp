// SPDX-License-Identifier: MIT
// An HMI on the console: prints the audio modes and every change, and sets modes.
#include "AdaptorConnection.h"
#include "AudioManagerHmi.h"
#include "LineReader.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QLoggingCategory>
#include <QTextStream>
#include <QTimer>

#include <optional>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

class HmiConsole : public QObject
{
public:
    HmiConsole()
        : m_Out(stdout),
          m_Bus(QDBusConnection::systemBus()),
          m_Registrator(m_Bus, "com.quorvantel.audioclient.hmi"),
          m_Connection(m_Bus),
          m_Hmi(m_Registrator, "/com/quorvantel/audioclient/hmi", m_Connection, QString(), m_Factory, true),
          m_Input([this](const QString& line) { Obey(line); }, [this] { Quit(); })
    {
        // Subscribe first, ask second.
        connect(&m_Hmi, &KivBaseClient::SignalInitCompleted, this, &HmiConsole::OnInitialized);
        connect(&m_Hmi, &AudioManagerHmi::SignalModeChanged, this,
                [this](const QString& mode) { Print("mode is now " + mode); });
        connect(&m_Hmi, &AudioManagerHmi::SignalModeListChanged, this,
                [this](bool isAdded, const QString& mode) {
                    Print((isAdded ? "mode added: " : "mode gone: ") + mode);
                });
        connect(&m_Hmi, &AudioManagerHmi::SignalSetModeCompleted, this,
                [this](quint32 id, bool ok) { Tell(id, ok ? "done" : "failed"); });
        connect(&m_Hmi, &AudioManagerHmi::SignalAudioFocusChange, this,
                [this](const QString& stream, const QString&, const QString&, const QString&, const QString&,
                       const QString& focus) { Print("focus of " + stream + ": " + focus); });
        OnInitialized(m_Hmi.Initialize());
    }

private:
    void Print(const QString& line) { m_Out << line << Qt::endl; }
    void Tell(quint32 id, const char* fate) { Print(QStringLiteral("request %1 %2").arg(id).arg(fate)); }

    void PrintModes()
    {
        Print("modes: " + m_Hmi.ModeList().join(", ") + "; current: " + m_Hmi.CurrentMode());
    }

    void OnInitialized(KivBaseClient::InitState state)
    {
        if (state == KivBaseClient::INIT_STATE_SUCCESS) {
            PrintModes();
        } else if (state == KivBaseClient::INIT_STATE_WAITING_FOR_KIV) {
            Print(m_Bus.isConnected() ? "waiting for the audio service" : "there is no bus");
        } else {
            Print("the audio service gives no session");
            QCoreApplication::exit(1);
        }
    }

    void Obey(const QString& line)
    {
        if (line.startsWith("set ")) {
            Report(m_Hmi.SetModeAsync(line.mid(4)));
        } else if (line == "modes") {
            PrintModes();
        } else if (line == "quit") {
            Quit();
        } else {
            Print("commands: set MODE, modes, quit");
        }
    }

    void Report(quint32 id)
    {
        const bool isStored =
            id == m_Hmi.PendingSetModeRequestId() && !m_Hmi.ModeList().contains(m_Hmi.PendingMode());
        Tell(id, id == 0 ? "not possible now" : isStored ? "waits for its mode" : "sent");
    }

    void Quit()
    {
        m_Hmi.Powerdown();
        QCoreApplication::quit();
    }

    QTextStream m_Out;
    QDBusConnection m_Bus;
    ServiceRegistrator m_Registrator;
    AdaptorConnection m_Connection;
    ServiceProviderProxyHmiFactory m_Factory;
    AudioManagerHmi m_Hmi; // last: it refers to all of the above
    LineReader m_Input;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc != 1) {
        QTextStream(stderr) << "usage: hmi-console" << Qt::endl;
        return 2;
    }
    std::optional<HmiConsole> console;
    // QT_LOGGING_RULES=default.debug=true shows the library's debug records.
    QLoggingCategory::setFilterRules("default.debug=false");
    QDBusConnection::systemBus(); // a turn of the loop before the client: else Qt does not notice a lost bus
    QTimer::singleShot(0, &application, [&console] { console.emplace(); });
    return QCoreApplication::exec();
}
