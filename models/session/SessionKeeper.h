// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_SESSIONKEEPER_H
#define KIV_MODELS_SESSIONKEEPER_H

#include "RetryTimer.h"

#include <ServiceProviderClient.h>

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

namespace Audio::Utils::Kiv::Models {

/**
 * Keeps a client's session with the service, whatever becomes of the service: it may start late, restart, be busy
 * when it is asked, or pass its name on.
 *
 * Lives on the client's thread, which runs an event loop. Only the client's initialisation blocks: Start(), or the
 * moment when a late service appears; every later session is opened without waiting. While the service is there and
 * there is no session, it is asked again, after 100 ms first and at last every 5 s. A client whose object path is taken
 * opens no session, because the service could not call it; it is exported as soon as the path is free.
 *
 * Neither the keeper nor its client may be deleted in a slot of a signal of the keeper: use `deleteLater()`.
 */
class SessionKeeper : public QObject
{
    Q_OBJECT

public:
    /**
     * @param client has not been initialised; asks nothing of the service by itself during initialisation. Must outlive
     *        the keeper.
     * @param bus where the service is, and the client is exported.
     */
    SessionKeeper(QtDbus::ServiceProviderClient& client, const QDBusConnection& bus,
                  QObject* parent = nullptr);

    /** Initialises the client, once. Blocks while the service, if it is there, opens a session. */
    void Start();

    /** Whether there is a session. */
    bool IsOpen() const;

    /** What Refused() is about: a sentence. */
    QString Problem() const;

Q_SIGNALS:
    /** There is a session, which the service knows nothing of yet. Emitted inside Start() when the service is there. */
    void Opened();

    /** The session is gone, and with it all that the service knew. Requests that were sent still complete. */
    void Closed();

    /** There is no session, though the service is there. It will be tried again. Not repeated until one was open. */
    void Refused();

private Q_SLOTS:
    void OnBusLost();

private:
    void OnInitialised(QtDbus::KivBaseClient::InitState state);
    void OnOwnerChanged(const QString& service, const QString& oldOwner, const QString& newOwner);
    void OnOpenCompleted(quint32 request, bool isOpen);
    bool IsExported() const;
    void Forget();
    void RestoreSessionId();
    void Open();
    void TellOpened();
    void TryAgainLater();

    QtDbus::ServiceProviderClient& m_Client;
    QDBusConnection m_Bus;
    QDBusServiceWatcher m_Watcher;
    RetryTimer m_Retry{this};
    quint32 m_Request = 0;   ///< The request for a session that counts; 0 when none is on its way.
    quint32 m_SessionId = 0; ///< What the present owner of the service's name has given.
    bool m_IsStarted = false;
    bool m_IsRefused = false;
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_SESSIONKEEPER_H
