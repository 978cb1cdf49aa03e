// SPDX-License-Identifier: MIT
#include "ClientScript.h"

#include "ClientModel.h"
#include "FuzzTarget.h"
#include "TestClients.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QStringList>

#include <functional>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

using namespace Audio::Utils::Kiv::QtDbus;

namespace KivFuzz {

namespace {

constexpr int maximumLines = 24;

struct NamedVerb
{
    std::string_view name;
    Verb verb;
};

constexpr NamedVerb verbs[] = {{"reply", Verb::Reply},
                               {"events", Verb::Events},
                               {"slot", Verb::Slot},
                               {"delete", Verb::Delete},
                               {"call", Verb::Call},
                               {"notify", Verb::Notify},
                               {"Powerdown", Verb::Powerdown},
                               {"OpenSession", Verb::OpenSession},
                               {"CloseSession", Verb::CloseSession},
                               {"OpenSessionAsync", Verb::OpenSessionAsync},
                               {"CloseSessionAsync", Verb::CloseSessionAsync},
                               {"SetMode", Verb::SetMode},
                               {"GetModeList", Verb::GetModeList},
                               {"GetMode", Verb::GetMode},
                               {"SetModeAsync", Verb::SetModeAsync},
                               {"GetModeListAsync", Verb::GetModeListAsync},
                               {"GetModeAsync", Verb::GetModeAsync},
                               {"RegisterAudioStream", Verb::RegisterAudioStream},
                               {"RequestAudioFocus", Verb::RequestAudioFocus},
                               {"AudioActive", Verb::AudioActive},
                               {"AbandonAudioFocus", Verb::AbandonAudioFocus},
                               {"RegisterAudioStreamAsync", Verb::RegisterAudioStreamAsync},
                               {"RequestAudioFocusAsync", Verb::RequestAudioFocusAsync},
                               {"AudioActiveAsync", Verb::AudioActiveAsync},
                               {"AbandonAudioFocusAsync", Verb::AbandonAudioFocusAsync}};

QString FirstWordOf(const QString& line)
{
    return line.left(line.indexOf(' '));
}

QString RestOf(const QString& line)
{
    const int end = int(line.indexOf(' '));
    return end < 0 ? QString() : line.mid(end + 1);
}

// The functions that every client has, and its model. What they return goes to the transcript.
template <typename Client, typename Say>
void Do(Client& client, const Step& step, const Say& say)
{
    switch (step.verb) {
    case Verb::Call:
        return say(client.Request(FirstWordOf(step.argument), RestOf(step.argument)));
    case Verb::Notify:
        return client.Notification(FirstWordOf(step.argument), RestOf(step.argument));
    case Verb::Powerdown:
        return client.Powerdown();
    case Verb::OpenSession:
        return say(client.OpenSession());
    case Verb::CloseSession:
        return client.CloseSession();
    case Verb::OpenSessionAsync:
        return say(client.OpenSessionAsync());
    case Verb::CloseSessionAsync:
        return say(client.CloseSessionAsync());
    default:
        return;
    }
}

template <typename Client, typename Say>
void DoAsHmi(Client& hmi, const Step& step, const Say& say)
{
    switch (step.verb) {
    case Verb::SetMode:
        return say(hmi.SetMode(step.argument));
    case Verb::GetModeList:
        return say(hmi.GetModeList(step.argument));
    case Verb::GetMode:
        return say(hmi.GetMode(step.argument));
    case Verb::SetModeAsync:
        return say(hmi.SetModeAsync(step.argument));
    case Verb::GetModeListAsync:
        return say(hmi.GetModeListAsync(step.argument));
    case Verb::GetModeAsync:
        return say(hmi.GetModeAsync(step.argument));
    default:
        return Do(hmi, step, say);
    }
}

template <typename Client, typename Say>
void DoAsApp(Client& app, const Step& step, const Say& say)
{
    switch (step.verb) {
    case Verb::RegisterAudioStream:
        return say(app.RegisterAudioStream());
    case Verb::RequestAudioFocus:
        return say(app.RequestAudioFocus(step.argument != "query"));
    case Verb::AudioActive:
        return say(app.AudioActive(step.argument != "false"));
    case Verb::AbandonAudioFocus:
        return say(app.AbandonAudioFocus(step.argument));
    case Verb::RegisterAudioStreamAsync:
        return say(app.RegisterAudioStreamAsync());
    case Verb::RequestAudioFocusAsync:
        return say(app.RequestAudioFocusAsync(step.argument != "query"));
    case Verb::AudioActiveAsync:
        return say(app.AudioActiveAsync(step.argument != "false"));
    case Verb::AbandonAudioFocusAsync:
        return say(app.AbandonAudioFocusAsync(step.argument));
    default:
        return Do(app, step, say);
    }
}

// What all clients share, one after the other: none of them is exported.
struct Surroundings
{
    KivTest::FakeServiceRegistrator registrator{KivTest::kClientName};
    KivTest::FakeAdaptorConnection connection;
};

Surroundings& SharedSurroundings()
{
    static Surroundings surroundings;
    return surroundings;
}

// What an HMI client is for the script.
struct Hmi
{
    using Client = KivTest::OpenedHmi;
    using Model = HmiModel;

    static Client* Make(Surroundings& surroundings, ScriptedService& service)
    {
        auto* client = new Client(surroundings.registrator, KivTest::kClientPath, surroundings.connection,
                                  QString(), service, false);
        client->m_ModeList = Model().ModeList();
        return client;
    }

    template <typename Connect>
    static void ConnectSignals(const Connect& connect)
    {
        connect(&AudioManagerHmi::SignalSetModeCompleted, "SignalSetModeCompleted");
        connect(&AudioManagerHmi::SignalGetModeListCompleted, "SignalGetModeListCompleted");
        connect(&AudioManagerHmi::SignalGetModeCompleted, "SignalGetModeCompleted");
        connect(&AudioManagerHmi::SignalModeChanged, "SignalModeChanged");
        connect(&AudioManagerHmi::SignalModeListChanged, "SignalModeListChanged");
        connect(&AudioManagerHmi::SignalAudioFocusChange, "SignalAudioFocusChange");
    }

    template <typename AnyClient, typename Say>
    static void Do(AnyClient& client, const Step& step, const Say& say)
    {
        DoAsHmi(client, step, say);
    }

    static bool IsSameState(const Client& client, const Model& model)
    {
        return client.SessionId() == model.SessionId() && client.ModeList() == model.ModeList() &&
               client.CurrentMode() == model.CurrentMode() && client.PendingMode() == model.PendingMode() &&
               client.PendingSetModeRequestId() == model.PendingSetModeRequestId();
    }

    template <typename AnyClient>
    static QString DescribeState(const AnyClient& client)
    {
        return Line("state", client.SessionId(), client.ModeList(), client.CurrentMode(),
                    client.PendingMode(), client.PendingSetModeRequestId());
    }
};

// What an application client is for the script.
struct App
{
    using Client = KivTest::OpenedApp;
    using Model = AppModel;

    static Client* Make(Surroundings& surroundings, ScriptedService& service)
    {
        return new Client(surroundings.registrator, KivTest::kClientPath, "player", surroundings.connection,
                          QString(), true, QString(), service, false);
    }

    template <typename Connect>
    static void ConnectSignals(const Connect& connect)
    {
        connect(&AudioManagerApp::SignalRegisterAudioStreamCompleted, "SignalRegisterAudioStreamCompleted");
        connect(&AudioManagerApp::SignalRequestAudioFocusCompleted, "SignalRequestAudioFocusCompleted");
        connect(&AudioManagerApp::SignalAudioActiveCompleted, "SignalAudioActiveCompleted");
        connect(&AudioManagerApp::SignalAbandonAudioFocusCompleted, "SignalAbandonAudioFocusCompleted");
        connect(&AudioManagerApp::SignalAudioFocusChanged, "SignalAudioFocusChanged");
        connect(&AudioManagerApp::SignalResponseToAudioFocusRequest, "SignalResponseToAudioFocusRequest");
    }

    template <typename AnyClient, typename Say>
    static void Do(AnyClient& client, const Step& step, const Say& say)
    {
        DoAsApp(client, step, say);
    }

    static bool IsSameState(const Client& client, const Model& model)
    {
        return client.SessionId() == model.SessionId() && client.LastFocus() == model.LastFocus();
    }

    template <typename AnyClient>
    static QString DescribeState(const AnyClient& client)
    {
        return Line("state", client.SessionId(), client.LastFocus());
    }
};

// A client and its model, which do the same.
template <typename Kind>
class Pair
{
public:
    Pair()
        : m_Service(m_Said),
          m_Client(Kind::Make(SharedSurroundings(), m_Service))
    {
        m_Client->Open(firstSession);
        const auto connect = [this](auto signal, const char* name) {
            QObject::connect(m_Client.get(), signal, &m_Context,
                             [this, name](const auto&... values) { Hear(Line(name, values...)); });
        };
        connect(&ServiceProviderClient::SignalOpenSessionCompleted, "SignalOpenSessionCompleted");
        connect(&ServiceProviderClient::SignalCloseSessionCompleted, "SignalCloseSessionCompleted");
        Kind::ConnectSignals(connect);
    }

    void Run(const Script& script)
    {
        for (const Step& step : script) {
            Do(step);
            Compare();
        }
        HandleEvents();
        Compare();
    }

private:
    void Do(const Step& step)
    {
        switch (step.verb) {
        case Verb::Reply:
            m_Service.SetReply(ReplyOf(step.argument));
            return m_Model.SetReply(ReplyOf(step.argument));
        case Verb::Events:
            return HandleEvents();
        case Verb::Slot:
            return SetSlotAction(StepOf(step.argument));
        default:
            break;
        }
        if (++m_Requests > ScriptedService::limit / 2) { // the other half for those of slots
            HandleEvents();
        }
        DoWithClient(step);
        DoWithModel(step);
    }

    void DoWithClient(const Step& step)
    {
        if (step.verb == Verb::Delete) {
            m_Client.reset();
        } else if (m_Client) {
            Kind::Do(*m_Client, step, [this](const auto& result) { this->Say(result); });
        }
    }

    void DoWithModel(const Step& step)
    {
        if (step.verb == Verb::Delete) {
            m_IsModelDeleted = true;
            m_LastOfModel = int(m_Model.said.size());
        } else if (!m_IsModelDeleted) {
            Kind::Do(m_Model, step, [this](const auto& result) { m_Model.said.append(Line("=", result)); });
        }
    }

    // A client that was deleted meanwhile has no result.
    template <typename Result>
    void Say(const Result& result)
    {
        if (m_Client) {
            m_Said.append(Line("=", result));
        }
    }

    void SetSlotAction(const Step& step)
    {
        m_SlotAction = [this, step] { DoWithClient(step); };
        m_Model.SetSlotAction([this, step] { DoWithModel(step); });
    }

    void Hear(const QString& line)
    {
        m_Said.append(line);
        const auto action = std::exchange(m_SlotAction, {});
        if (action) {
            action();
        }
    }

    // A reply takes two events, the second posted by the first, and a slot can send the next request.
    void HandleEvents()
    {
        int alreadySaid = 0;
        do {
            alreadySaid = int(m_Said.size());
            QCoreApplication::sendPostedEvents(nullptr, 0);
            QCoreApplication::sendPostedEvents(nullptr, 0);
        } while (m_Said.size() != alreadySaid);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_Service.ForgetReplies();
        m_Requests = 0;
        if (!m_IsModelDeleted) {
            m_Model.HandleEvents();
        }
    }

    void Compare()
    {
        if (m_IsModelDeleted) { // what it went on saying, no client could
            m_Model.said = m_Model.said.mid(0, m_LastOfModel);
        }
        if (m_Said != m_Model.said || m_IsModelDeleted != (m_Client == nullptr)) {
            ReportFinding("asked or said something else", m_Said.join('\n'), m_Model.said.join('\n'));
        }
        if (m_Client && !Kind::IsSameState(*m_Client, m_Model)) {
            ReportFinding("is in another state", Kind::DescribeState(*m_Client),
                          Kind::DescribeState(m_Model));
        }
        m_Said.clear();
        m_Model.said.clear();
        m_LastOfModel = 0;
    }

    Transcript m_Said;
    ScriptedService m_Service;
    QObject m_Context;
    std::unique_ptr<typename Kind::Client> m_Client;
    typename Kind::Model m_Model;
    std::function<void()> m_SlotAction;
    int m_Requests = 0;
    int m_LastOfModel = 0;
    bool m_IsModelDeleted = false;
};

} // namespace

QStringList LinesOf(const char* data, int size)
{
    const QString text = QString::fromUtf8(data, size);
    return text.split('\n').mid(0, maximumLines);
}

Step StepOf(const QString& line)
{
    const QByteArray word = FirstWordOf(line).toUtf8();
    const std::string_view name(word.constData(), static_cast<std::size_t>(word.size()));
    for (const NamedVerb& known : verbs) {
        if (known.name == name) {
            return {known.verb, RestOf(line)};
        }
    }
    return {Verb::None, QString()};
}

bool IsOfApp(Verb verb)
{
    return verb >= Verb::RegisterAudioStream;
}

void RunHmi(const Script& script)
{
    Pair<Hmi>().Run(script);
}

void RunApp(const Script& script)
{
    Pair<App>().Run(script);
}

} // namespace KivFuzz
