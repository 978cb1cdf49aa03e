// SPDX-License-Identifier: MIT

// A client that scripts drive: it reads one command per line from its standard input, and writes one line per state,
// result and event to its standard output. It powers down and ends when its input does.

#include "AdaptorConnection.h"
#include "AudioManagerApp.h"
#include "AudioManagerHmi.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QSocketNotifier>
#include <QStringList>
#include <QTextStream>
#include <QTimer>

#include <functional>
#include <memory>

#include <unistd.h>

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kBusName = "com.quorvantel.audioclient.interop";
const QString kPath = "/com/quorvantel/audioclient/interop";

/** What a command does with the rest of its line. */
using Command = std::function<void(const QString& argument)>;

QString ToText(bool flag)
{
    return flag ? "true" : "false";
}

QString ToText(quint32 number)
{
    return QString::number(number);
}

QString ToText(const QString& text)
{
    return '[' + text + ']';
}

/** Writes one line of these items, with a blank between them. */
template <typename... Items>
void Say(const QString& what, const Items&... items)
{
    QTextStream out(stdout);
    out << (QStringList{what} << ... << ToText(items)).join(' ') << '\n';
}

/** Writes a line for every emission of a signal. */
template <typename Client, typename Emitter, typename... Arguments>
void Announce(Client& client, void (Emitter::*signal)(Arguments...), const QString& name)
{
    QObject::connect(&client, signal, &client,
                     [name](const Arguments&... arguments) { Say("event " + name, arguments...); });
}

/** What the commands and events of both kinds of clients share. */
class Session
{
public:
    virtual ~Session() = default;

    void Start()
    {
        ServiceProviderClient& client = Client();
        QObject::connect(
            &client, &KivBaseClient::SignalInitCompleted, &client,
            [](KivBaseClient::InitState state) { Say("late " + KivBaseClient::InitStateToString(state)); });
        Say("state " + KivBaseClient::InitStateToString(client.Initialize()));
    }

    void Stop()
    {
        Client().Powerdown();
        Say("stopped");
    }

    void Obey(const QString& line)
    {
        const QString name = line.section(' ', 0, 0);
        const Command command = m_Commands.value(name);
        if (command) {
            command(line.section(' ', 1));
        } else {
            Say("unknown command", name);
        }
    }

protected:
    virtual ServiceProviderClient& Client() = 0;

    QDBusConnection m_Bus = QDBusConnection::systemBus();
    ServiceRegistrator m_Registrator{m_Bus, kBusName};
    AdaptorConnection m_Connection{m_Bus};
    QHash<QString, Command> m_Commands;
};

class HmiSession : public Session
{
public:
    HmiSession()
    {
        Announce(m_Client, &AudioManagerHmi::SignalSetModeCompleted, "SetModeCompleted");
        Announce(m_Client, &AudioManagerHmi::SignalGetModeListCompleted, "GetModeListCompleted");
        Announce(m_Client, &AudioManagerHmi::SignalGetModeCompleted, "GetModeCompleted");
        Announce(m_Client, &AudioManagerHmi::SignalModeChanged, "ModeChanged");
        Announce(m_Client, &AudioManagerHmi::SignalModeListChanged, "ModeListChanged");
        Announce(m_Client, &AudioManagerHmi::SignalAudioFocusChange, "AudioFocusChange");
        m_Commands = {
            {"modes",
             [this](const QString&) { Say("modes", m_Client.ModeList().join(','), m_Client.CurrentMode()); }},
            {"getModeList", [this](const QString& to) { Say("request", m_Client.GetModeListAsync(to)); }},
            {"getMode", [this](const QString& to) { Say("request", m_Client.GetModeAsync(to)); }},
            {"setMode", [this](const QString& mode) { Say("request", m_Client.SetModeAsync(mode)); }},
        };
    }

private:
    ServiceProviderClient& Client() override { return m_Client; }

    ServiceProviderProxyHmiFactory m_Factory;
    AudioManagerHmi m_Client{m_Registrator, kPath, m_Connection, QString(), m_Factory, true};
};

class AppSession : public Session
{
public:
    AppSession()
    {
        Announce(m_Client, &AudioManagerApp::SignalRegisterAudioStreamCompleted,
                 "RegisterAudioStreamCompleted");
        Announce(m_Client, &AudioManagerApp::SignalRequestAudioFocusCompleted, "RequestAudioFocusCompleted");
        Announce(m_Client, &AudioManagerApp::SignalAudioActiveCompleted, "AudioActiveCompleted");
        Announce(m_Client, &AudioManagerApp::SignalAbandonAudioFocusCompleted, "AbandonAudioFocusCompleted");
        Announce(m_Client, &AudioManagerApp::SignalAudioFocusChanged, "AudioFocusChanged");
        Announce(m_Client, &AudioManagerApp::SignalResponseToAudioFocusRequest,
                 "ResponseToAudioFocusRequest");
        m_Commands = {
            {"focus", [this](const QString&) { Say("focus", m_Client.LastFocus()); }},
            {"register", [this](const QString&) { Say("request", m_Client.RegisterAudioStreamAsync()); }},
            {"query", [this](const QString&) { Say("request", m_Client.RequestAudioFocusAsync(false)); }},
            {"request", [this](const QString&) { Say("request", m_Client.RequestAudioFocusAsync(true)); }},
            {"active",
             [this](const QString& flag) { Say("request", m_Client.AudioActiveAsync(flag == "true")); }},
            {"abandon",
             [this](const QString& reason) { Say("request", m_Client.AbandonAudioFocusAsync(reason)); }},
        };
    }

private:
    ServiceProviderClient& Client() override { return m_Client; }

    ServiceProviderProxyAppFactory m_Factory;
    AudioManagerApp m_Client{m_Registrator, kPath,   "Interop Player", m_Connection, QString(),
                             true,          "front", m_Factory,        true};
};

/** Hands every line of the standard input to the session; quits at its end. */
class Input
{
public:
    explicit Input(Session& session)
        : m_Session(session)
    {
        QObject::connect(&m_Notifier, &QSocketNotifier::activated, &m_Notifier, [this] { Read(); });
    }

private:
    void Read()
    {
        char buffer[4096];
        const auto size = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (size <= 0) {
            m_Notifier.setEnabled(false);
            QCoreApplication::quit();
            return;
        }
        m_Pending.append(buffer, static_cast<int>(size));
        for (auto end = m_Pending.indexOf('\n'); end >= 0; end = m_Pending.indexOf('\n')) {
            m_Session.Obey(QString::fromUtf8(m_Pending.left(end)));
            m_Pending.remove(0, end + 1);
        }
    }

    Session& m_Session;
    QByteArray m_Pending;
    QSocketNotifier m_Notifier{STDIN_FILENO, QSocketNotifier::Read};
};

std::unique_ptr<Session> NewSession(const QString& role)
{
    if (role == "hmi") {
        return std::make_unique<HmiSession>();
    }
    if (role == "app") {
        return std::make_unique<AppSession>();
    }
    return nullptr;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const std::unique_ptr<Session> session = NewSession(application.arguments().value(1));
    if (session == nullptr) {
        QTextStream(stderr) << "usage: interop-client hmi|app\n";
        return 2;
    }
    const Input input(*session);
    QTimer::singleShot(0, &application, [&session] { session->Start(); });
    const int result = QCoreApplication::exec();
    session->Stop();
    return result;
}
