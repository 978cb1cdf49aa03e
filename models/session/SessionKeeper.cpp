// SPDX-License-Identifier: MIT
#include "SessionKeeper.h"

#include <algorithm>

namespace Audio::Utils::Kiv::Models {

using QtDbus::KivBaseClient;
using QtDbus::ServiceProviderClient;

namespace {

const QString kServiceName = QStringLiteral("com.quorvantel.service.AudioManagement");
constexpr int kFirstRetry = 100; // ms
constexpr int kLastRetry = 5000; // ms

} // namespace

SessionKeeper::SessionKeeper(ServiceProviderClient& client, const QDBusConnection& bus, QObject* parent)
    : QObject(parent),
      m_Client(client),
      m_Watcher(kServiceName, bus, QDBusServiceWatcher::WatchForOwnerChange),
      m_RetryDelay(kFirstRetry)
{
    m_Retry.setSingleShot(true);
    connect(&m_Retry, &QTimer::timeout, this, &SessionKeeper::Open);
    connect(&m_Watcher, &QDBusServiceWatcher::serviceOwnerChanged, this, &SessionKeeper::OnOwnerChanged);
    connect(&m_Client, &KivBaseClient::SignalInitCompleted, this, &SessionKeeper::OnInitialised);
    connect(&m_Client, &ServiceProviderClient::SignalOpenSessionCompleted, this,
            &SessionKeeper::OnOpenCompleted);
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
    return m_IsOpen;
}

// A client whose initialisation has failed is on the bus all the same, and can open a session later.
void SessionKeeper::OnInitialised(KivBaseClient::InitState state)
{
    if (state == KivBaseClient::INIT_STATE_SUCCESS) {
        TellOpened();
    } else {
        TryAgainLater();
    }
}

// A service that has gone knows nothing of the session any more, and the client is not told.
void SessionKeeper::OnOwnerChanged(const QString& /*service*/, const QString& oldOwner,
                                   const QString& newOwner)
{
    m_Retry.stop();
    m_RetryDelay = kFirstRetry;
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

void SessionKeeper::OnOpenCompleted(quint32 request, bool isOpen)
{
    if (request != m_Request) { // an answer of an owner that has passed the name on
        if (isOpen) {
            Forget();
            Open();
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

void SessionKeeper::Forget()
{
    m_Client.HandleCloseSessionReply(false, {}); // sends nothing
    if (m_IsOpen) {
        m_IsOpen = false;
        Q_EMIT Closed();
    }
}

void SessionKeeper::Open()
{
    m_Request = m_Client.OpenSessionAsync();
    if (m_Request == 0) {
        TryAgainLater();
    }
}

void SessionKeeper::TellOpened()
{
    m_RetryDelay = kFirstRetry;
    m_IsRefused = false;
    m_IsOpen = true;
    Q_EMIT Opened();
}

void SessionKeeper::TryAgainLater()
{
    m_Retry.start(m_RetryDelay);
    m_RetryDelay = std::min(2 * m_RetryDelay, kLastRetry);
    if (!m_IsRefused) {
        m_IsRefused = true;
        Q_EMIT Refused();
    }
}

} // namespace Audio::Utils::Kiv::Models
