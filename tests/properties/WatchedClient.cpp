// SPDX-License-Identifier: MIT
#include "WatchedClient.h"

#include "AudioManagerApp.h"
#include "AudioManagerHmi.h"
#include "ForeignThread.h"

#include <QDBusPendingCallWatcher>

#include <utility>

namespace KivTest {

using Audio::Utils::Kiv::QtDbus::AudioManagerApp;
using Audio::Utils::Kiv::QtDbus::AudioManagerHmi;
using Audio::Utils::Kiv::QtDbus::KivBaseClient;
using Audio::Utils::Kiv::QtDbus::ServiceProviderClient;

namespace {

const QString kServiceName = "com.quorvantel.service.AudioManagement";
const QString kServiceOwner = ":1.1";

AudioManagerHmi& Hmi(ServiceProviderClient& client)
{
    return static_cast<AudioManagerHmi&>(client);
}

AudioManagerApp& App(ServiceProviderClient& client)
{
    return static_cast<AudioManagerApp&>(client);
}

quint32 Async(ServiceProviderClient& client, const Step& step)
{
    const QString mode = Modes()[step.mode];
    const bool flag = step.mode % 2 == 0;
    switch (step.operation) {
    case Operation::OpenSession:
        return client.OpenSessionAsync();
    case Operation::CloseSession:
        return client.CloseSessionAsync();
    case Operation::GetModeList:
        return Hmi(client).GetModeListAsync(QString());
    case Operation::GetMode:
        return Hmi(client).GetModeAsync(QString());
    case Operation::SetMode:
        return Hmi(client).SetModeAsync(mode);
    case Operation::RegisterAudioStream:
        return App(client).RegisterAudioStreamAsync();
    case Operation::RequestAudioFocus:
        return App(client).RequestAudioFocusAsync(flag);
    case Operation::AudioActive:
        return App(client).AudioActiveAsync(flag);
    case Operation::AbandonAudioFocus:
        return App(client).AbandonAudioFocusAsync(mode);
    }
    return 0;
}

bool Blocking(ServiceProviderClient& client, const Step& step)
{
    const QString mode = Modes()[step.mode];
    const bool flag = step.mode % 2 == 0;
    switch (step.operation) {
    case Operation::OpenSession:
        return client.OpenSession();
    case Operation::CloseSession:
        client.CloseSession();
        return true;
    case Operation::GetModeList:
        return Hmi(client).GetModeList(QString());
    case Operation::GetMode:
        return Hmi(client).GetMode(QString());
    case Operation::SetMode:
        return Hmi(client).SetMode(mode);
    case Operation::RegisterAudioStream:
        return App(client).RegisterAudioStream();
    case Operation::RequestAudioFocus:
        return App(client).RequestAudioFocus(flag);
    case Operation::AudioActive:
        return App(client).AudioActive(flag);
    case Operation::AbandonAudioFocus:
        return App(client).AbandonAudioFocus(mode);
    }
    return false;
}

} // namespace

WatchedClient::WatchedClient(int client, ScriptedService& service, Trace& trace)
    : m_Index(client),
      m_Service(service),
      m_Trace(trace),
      m_Factory(service, client)
{
}

WatchedClient::~WatchedClient()
{
    delete m_Client.data();
}

void WatchedClient::Create()
{
    if (Exists()) {
        return;
    }
    m_Complaints += std::exchange(m_Ledger, Ledger()).Complaints();
    const QString path = QStringLiteral("/%1").arg(m_Index);
    Wire& wire = m_Service.GetWire();
    if (Clients()[static_cast<size_t>(m_Index)].isHmi) {
        m_Client = new AudioManagerHmi(wire.Registrator(), path, wire.Adaptors(), QString(), m_Factory, true);
        WatchHmi();
    } else {
        m_Client = new AudioManagerApp(wire.Registrator(), path, QStringLiteral("Player"), wire.Adaptors(),
                                       QString(), true, QString(), m_Factory, true);
        WatchApp();
    }
    WatchCompletion(m_Client.data(), &ServiceProviderClient::SignalOpenSessionCompleted,
                    Operation::OpenSession);
    WatchCompletion(m_Client.data(), &ServiceProviderClient::SignalCloseSessionCompleted,
                    Operation::CloseSession);
    Initialise();
}

void WatchedClient::Initialise()
{
    const auto noteState = [this](KivBaseClient::InitState state) {
        m_Trace.Event(m_Index, QStringLiteral("initialised, state %1").arg(state));
    };
    QObject::connect(m_Client.data(), &KivBaseClient::SignalInitCompleted, noteState);
    const KivBaseClient::InitState state = m_Client->Initialize();
    if (state != KivBaseClient::INIT_STATE_WAITING_FOR_KIV) {
        noteState(state);
    }
}

void WatchedClient::WatchHmi()
{
    auto* hmi = &Hmi(*m_Client);
    WatchCompletion(hmi, &AudioManagerHmi::SignalSetModeCompleted, Operation::SetMode);
    WatchCompletion(hmi, &AudioManagerHmi::SignalGetModeListCompleted, Operation::GetModeList);
    WatchCompletion(hmi, &AudioManagerHmi::SignalGetModeCompleted, Operation::GetMode);
    QObject::connect(hmi, &AudioManagerHmi::SignalModeChanged, [this](const QString& mode) {
        m_Trace.Event(m_Index, QStringLiteral("SignalModeChanged \"%1\"").arg(mode));
    });
    QObject::connect(hmi, &AudioManagerHmi::SignalModeListChanged, [this](bool isAdded, const QString& mode) {
        m_Trace.Event(m_Index,
                      QStringLiteral("SignalModeListChanged %1 \"%2\"").arg(Trace::Text(isAdded), mode));
    });
}

void WatchedClient::WatchApp()
{
    auto* app = &App(*m_Client);
    WatchCompletion(app, &AudioManagerApp::SignalRegisterAudioStreamCompleted,
                    Operation::RegisterAudioStream);
    WatchCompletion(app, &AudioManagerApp::SignalRequestAudioFocusCompleted, Operation::RequestAudioFocus);
    WatchCompletion(app, &AudioManagerApp::SignalAudioActiveCompleted, Operation::AudioActive);
    WatchCompletion(app, &AudioManagerApp::SignalAbandonAudioFocusCompleted, Operation::AbandonAudioFocus);
}

template <typename Client, typename Signal>
void WatchedClient::WatchCompletion(Client* client, Signal signal, Operation operation)
{
    QObject::connect(client, signal, [this, operation](quint32 id, bool result) {
        OnCompleted(operation, id, result); // last: may delete the client, and with it this function
    });
}

void WatchedClient::OnCompleted(Operation operation, quint32 id, bool result)
{
    m_Trace.Completed(m_Index, operation, id, result);
    m_Ledger.Completed(operation, id);
    const std::function<void()> reaction = std::exchange(m_Reaction, nullptr);
    if (reaction) {
        reaction();
    }
}

void WatchedClient::Delete()
{
    m_Reaction = nullptr;
    delete m_Client.data();
}

void WatchedClient::PowerDown()
{
    m_Client->Powerdown();
}

bool WatchedClient::IsWaiting() const
{
    return m_Client->CurrentInitState() == KivBaseClient::INIT_STATE_WAITING_FOR_KIV;
}

void WatchedClient::ServiceAppears()
{
    if (!Exists()) {
        return;
    }
    if (m_Service.GetWire().TellsClients()) {
        SpinUntil([this] { return !IsWaiting(); });
    } else if (IsWaiting()) {
        m_Factory.ServiceAppears(*m_Client);
    } else {
        m_Client->OnOwnerChanged(kServiceName, QString(), kServiceOwner);
    }
}

void WatchedClient::ServiceLeaves()
{
    if (Exists() && !m_Service.GetWire().TellsClients()) {
        m_Client->OnOwnerChanged(kServiceName, kServiceOwner, QString());
    }
}

void WatchedClient::CallAsync(const Step& step)
{
    const int sentBefore = m_Service.SentCount();
    const quint32 id = Async(*m_Client, step);
    NoteReturned(step, id, m_Service.SentCount() != sentBefore);
}

void WatchedClient::CallElsewhere(const Step& step)
{
    const int sentBefore = m_Service.SentCount();
    ServiceProviderClient& client = *m_Client;
    const quint32 id = OnForeignThread([&client, &step] { return Async(client, step); });
    NoteReturned(step, id, m_Service.SentCount() != sentBefore);
}

void WatchedClient::NoteReturned(const Step& step, quint32 id, bool isSent)
{
    m_Trace.Returned(m_Index, step.operation, id);
    NoteStored();
    m_Ledger.Returned(step.operation, id, isSent);
}

void WatchedClient::CallBlocking(const Step& step)
{
    m_Trace.Returned(m_Index, step.operation, Blocking(*m_Client, step));
    NoteStored();
}

void WatchedClient::NoteStored()
{
    if (Exists() && Clients()[static_cast<size_t>(m_Index)].isHmi) {
        m_Ledger.Stored(Hmi(*m_Client).PendingSetModeRequestId());
    }
}

void WatchedClient::Receive(const QString& method, const QString& text, quint32 offset)
{
    if (IsWaiting()) {
        return; // it is not on the bus yet
    }
    m_Service.GetWire().CallClient(*m_Client, QStringLiteral("/%1/ServiceProviderClient").arg(m_Index),
                                   method, text.arg(m_Client->SessionId() + offset));
}

ClientState WatchedClient::State() const
{
    ClientState state;
    state.exists = Exists();
    if (!state.exists) {
        return state;
    }
    state.initState = m_Client->CurrentInitState();
    state.sessionId = m_Client->SessionId();
    state.watchers =
        int(m_Client->findChildren<QDBusPendingCallWatcher*>(QString(), Qt::FindDirectChildrenOnly).size());
    if (Clients()[static_cast<size_t>(m_Index)].isHmi) {
        const AudioManagerHmi& hmi = Hmi(*m_Client);
        state.modes = hmi.ModeList();
        state.storedId = hmi.PendingSetModeRequestId();
        state.storedMode = hmi.PendingMode();
    }
    return state;
}

void WatchedClient::CloseLedger()
{
    if (Exists()) {
        m_Ledger.Close();
    }
}

} // namespace KivTest
