// SPDX-License-Identifier: MIT
#include "SessionKeeper.h"

namespace Audio::Utils::Kiv::Models {

using QtDbus::KivBaseClient;
using QtDbus::ServiceProviderClient;

namespace {

const QString kServiceName = QStringLiteral("com.quorvantel.service.AudioManagement");

/** Knows where a client is exported, as every class that derives from it does. */
class ClientPath : public ServiceProviderClient
{
public:
    static QString Of(const ServiceProviderClient& client) { return client.*(&ClientPath::m_ObjPath); }
};

} // namespace

SessionKeeper::SessionKeeper(ServiceProviderClient& client, const QDBusConnection& bus, QObject* parent)
    : QObject(parent),
      m_Client(client),
      m_Bus(bus),
      m_Watcher(kServiceName, bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    connect(&m_Retry, &QTimer::timeout, this, &SessionKeeper::Open);
    connect(&m_Watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &SessionKeeper::OnOwnerChanged);
    connect(&m_Client, &KivBaseClient::SignalInitCompleted, this, &SessionKeeper::OnInitialised);
    connect(&m_Client, &ServiceProviderClient::SignalOpenSessionCompleted, this,
            &SessionKeeper::OnOpenCompleted);
    m_Bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                  QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                  SLOT(OnBusLost()));
}

void SessionKeeper::Start()
{
    if (m_IsStarted) {
        return;
    }
    m_IsStarted = true;
    const KivBaseClient::InitState state = m_Client.Initialize();
    if (state != KivBaseClient::INIT_STATE_WAITING_FOR_KIV) {
        OnInitialised(state);
    }
}

bool SessionKeeper::IsOpen() const
{
    return m_SessionId != 0;
}

QString SessionKeeper::Problem() const
{
    return IsExported()
               ? QStringLiteral("The audio service gives no session.")
               : QStringLiteral("The object path %1 is taken or not valid.").arg(ClientPath::Of(m_Client));
}

// A client whose initialisation has failed is on the bus all the same, and can open a session later.
void SessionKeeper::OnInitialised(KivBaseClient::InitState state)
{
    if (state == KivBaseClient::INIT_STATE_SUCCESS && m_Client.IsSessionOpen()) {
        TellOpened();
    } else {
        TryAgainLater();
    }
}

// A service that has gone knows nothing of the session any more, and the client is not told.
void SessionKeeper::OnOwnerChanged(const QString& /*service*/, const QString& oldOwner,
                                   const QString& newOwner)
{
    m_Retry.Reset();
    m_Request = 0;
    if (!oldOwner.isEmpty()) {
        Forget();
    }
    const bool isInitialised = m_Client.CurrentInitState() == KivBaseClient::INIT_STATE_SUCCESS ||
                               m_Client.CurrentInitState() == KivBaseClient::INIT_STATE_FAILED;
    if (!newOwner.isEmpty() && isInitialised && !m_Client.IsSessionOpen()) {
        Open();
    }
}

// For the rest of the process: Qt does not connect again.
void SessionKeeper::OnBusLost()
{
    m_Retry.Reset();
    m_Request = 0;
    Forget();
}

void SessionKeeper::OnOpenCompleted(quint32 request, bool isOpen)
{
    if (request != m_Request) { // an answer of an owner that has passed the name on
        if (isOpen) {
            RestoreSessionId();
        }
        return;
    }
    m_Request = 0;
    if (isOpen) {
        TellOpened();
    } else {
        TryAgainLater();
    }
}

bool SessionKeeper::IsExported() const
{
    return m_Bus.objectRegisteredAt(ClientPath::Of(m_Client)) == &m_Client;
}

void SessionKeeper::Forget()
{
    const bool wasOpen = IsOpen();
    m_SessionId = 0;
    RestoreSessionId();
    if (wasOpen) {
        Q_EMIT Closed();
    }
}

// Sends nothing.
void SessionKeeper::RestoreSessionId()
{
    if (m_SessionId == 0) {
        m_Client.HandleCloseSessionReply(false, {});
    } else {
        m_Client.HandleOpenSessionReply(false, {{QStringLiteral("sessionId"), m_SessionId}});
    }
}

void SessionKeeper::Open()
{
    const bool isExported = IsExported() || m_Bus.registerObject(ClientPath::Of(m_Client), &m_Client,
                                                                 QDBusConnection::ExportAdaptors);
    m_Request = isExported ? m_Client.OpenSessionAsync() : 0;
    if (m_Request == 0) {
        TryAgainLater();
    }
}

void SessionKeeper::TellOpened()
{
    m_Retry.Reset();
    m_IsRefused = false;
    m_SessionId = m_Client.SessionId();
    Q_EMIT Opened();
}

void SessionKeeper::TryAgainLater()
{
    m_Retry.Again();
    if (!m_IsRefused) {
        m_IsRefused = true;
        Q_EMIT Refused();
    }
}

} // namespace Audio::Utils::Kiv::Models
