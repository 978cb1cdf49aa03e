// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_SESSIONKEEPER_H
#define KIV_MODELS_SESSIONKEEPER_H

#include <ServiceProviderClient.h>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QTimer>

namespace Audio::Utils::Kiv::Models {

/**
 * Keeps a client in a session with the service, whatever becomes of the service: it may start late, restart, be busy
 * when it is asked, or pass its name on.
 *
 * Lives on the client's thread, which runs an event loop. Only Start() blocks, as the client's Initialize() does; every
 * later session is opened without waiting. While the service is there and gives no session, it is asked again, after
 * 100 ms first and at last every 5 s.
 */
class SessionKeeper : public QObject
{
    Q_OBJECT

public:
    /**
     * @param client has not been initialised; asks nothing of the service by itself during initialisation. Must outlive
     *        the keeper.
     * @param bus where the service is.
     */
    SessionKeeper(QtDbus::ServiceProviderClient& client, const QDBusConnection& bus,
                  QObject* parent = nullptr);

    /** Initialises the client, once. Blocks while the service, if it is there, opens a session. */
    void Start();

    /** Whether there is a session. */
    bool IsOpen() const;

Q_SIGNALS:
    /** There is a session, which the service knows nothing of yet. Emitted inside Start() when the service is there. */
    void Opened();

    /** The session is gone, and with it all that the service knew. Requests that were sent still complete. */
    void Closed();

    /** The service is there and gives no session. It will be asked again. Not repeated until a session was open. */
    void Refused();

private:
    void OnInitialised(QtDbus::KivBaseClient::InitState state);
    void OnOwnerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);
    void OnOpenCompleted(quint32 request, bool isOpen);
    void Forget();
    void Open();
    void TellOpened();
    void TryAgainLater();

    QtDbus::ServiceProviderClient& m_Client;
    QDBusServiceWatcher m_Watcher;
    QTimer m_Retry;
    int m_RetryDelay;      ///< ms
    quint32 m_Request = 0; ///< The latest request for a session; 0 when none is on its way.
    bool m_IsStarted = false;
    bool m_IsOpen = false;
    bool m_IsRefused = false;
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_SESSIONKEEPER_H
