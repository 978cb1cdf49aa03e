// SPDX-License-Identifier: MIT
// A media application on the console: registers a stream and negotiates audio focus for it.
#include "AdaptorConnection.h"
#include "AudioManagerApp.h"
#include "LineReader.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceRegistrator.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QTextStream>
#include <QTimer>

#include <optional>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

class MediaConsole : public QObject
{
public:
    MediaConsole(const QString& name, bool isPermanent)
        : m_Out(stdout),
          m_Bus(QDBusConnection::systemBus()),
          m_Registrator(m_Bus, "com.quorvantel.audioclient." + name),
          m_Connection(m_Bus),
          m_App(m_Registrator, "/com/quorvantel/audioclient/" + name, name, m_Connection, QString(),
                isPermanent, QString(), m_Factory, true),
          m_Input([this](const QString& line) { Obey(line); }, [this] { Quit(); })
    {
        // Subscribe first, ask second.
        connect(&m_App, &KivBaseClient::SignalInitCompleted, this, &MediaConsole::OnInitialized);
        connect(&m_App, &AudioManagerApp::SignalResponseToAudioFocusRequest, this,
                [this](const QString& decision) { Print("decision: " + decision); });
        // A player stops on "lost", pauses on "temporarilyLost", resumes on "gained" if it was playing.
        connect(&m_App, &AudioManagerApp::SignalAudioFocusChanged, this,
                [this](const QString& focus) { Print("focus: " + focus); });
        connect(&m_App, &AudioManagerApp::SignalRequestAudioFocusCompleted, this, &MediaConsole::OnReply);
        connect(&m_App, &AudioManagerApp::SignalAudioActiveCompleted, this, &MediaConsole::OnReply);
        connect(&m_App, &AudioManagerApp::SignalAbandonAudioFocusCompleted, this, &MediaConsole::OnReply);
        OnInitialized(m_App.Initialize());
    }

private:
    void Print(const QString& line) { m_Out << line << Qt::endl; }
    void Tell(quint32 id, const char* fate) { Print(QStringLiteral("request %1 %2").arg(id).arg(fate)); }

    void OnInitialized(KivBaseClient::InitState state)
    {
        if (state == KivBaseClient::INIT_STATE_SUCCESS) {
            Print("stream registered");
        } else if (state == KivBaseClient::INIT_STATE_WAITING_FOR_KIV) {
            Print(m_Bus.isConnected() ? "waiting for the audio service" : "there is no bus");
        } else {
            Print("the audio service takes no stream");
            QCoreApplication::exit(1);
        }
    }

    void OnReply(quint32 id, bool ok) { Tell(id, ok ? "accepted" : "failed"); }

    void Obey(const QString& line)
    {
        if (line == "request" || line == "query") {
            Report(m_App.RequestAudioFocusAsync(line == "request"));
        } else if (line == "play" || line == "pause") {
            Report(m_App.AudioActiveAsync(line == "play"));
        } else if (line.startsWith("abandon ")) {
            Report(m_App.AbandonAudioFocusAsync(line.mid(8)));
        } else if (line == "quit") {
            Quit();
        } else {
            Print("commands: request, query, play, pause, abandon REASON, quit");
        }
    }

    void Report(quint32 id) { Tell(id, id != 0 ? "sent" : "not possible now"); }

    void Quit()
    {
        m_App.Powerdown();
        QCoreApplication::quit();
    }

    QTextStream m_Out;
    QDBusConnection m_Bus;
    ServiceRegistrator m_Registrator;
    AdaptorConnection m_Connection;
    ServiceProviderProxyAppFactory m_Factory;
    AudioManagerApp m_App; // last: it refers to all of the above
    LineReader m_Input;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const bool isTransient = arguments.value(2) == "--transient";
    const bool isNamed = QRegularExpression("^[A-Za-z_]\\w*$").match(arguments.value(1)).hasMatch();
    if (!isNamed || arguments.size() != (isTransient ? 3 : 2)) {
        QTextStream(stderr) << "usage: media-console NAME [--transient]" << Qt::endl;
        return 2;
    }
    std::optional<MediaConsole> console;
    // QT_LOGGING_RULES=default.debug=true shows the library's debug records.
    QLoggingCategory::setFilterRules("default.debug=false");
    QDBusConnection::systemBus(); // a turn of the loop before the client: else Qt does not notice a lost bus
    QTimer::singleShot(0, &application, [&] { console.emplace(arguments.at(1), !isTransient); });
    return QCoreApplication::exec();
}
