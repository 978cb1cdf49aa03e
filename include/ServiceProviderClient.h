// SPDX-License-Identifier: MIT
#ifndef SERVICEPROVIDERCLIENT_H
#define SERVICEPROVIDERCLIENT_H

#include "KivBaseClient.h"
#include "KivQtDbusExport.h"

#include <QDBusPendingReply>
#include <QMap>
#include <QString>
#include <QVariant>

namespace Audio::Utils::Kiv::QtDbus {

class IAdaptorConnection;
class IServiceRegistrator;

/**
 * A client with a session: it is reachable on the bus itself, and the service knows it by a session
 * identifier.
 *
 * Programs use AudioManagerHmi or AudioManagerApp; derive from this class to write another kind of session
 * client.
 *
 * **Initialisation** exports the client under its path, opens the session with a blocking request, and then
 * calls HandleInitialize(). It fails when any of the three does, and is not tried again.
 *
 * **Sessions.** The session identifier is 0 while no session is open. When the service leaves the bus, the
 * session is lost, but the client is not told: it keeps its identifier. To begin anew when the service is back,
 * watch the service's bus name, forget the old session with `HandleCloseSessionReply(false, {})`, which sends
 * nothing, and call OpenSessionAsync(). While no session is open, a call of the service without an identifier is
 * accepted, since a missing one counts as 0; who may call a client at all is for the policy of the bus to say.
 *
 * **Threads.** See KivBaseClient. The blocking operations wait up to about 25 s and handle no events
 * meanwhile.
 *
 * **Ownership.** Registrator, adaptor connection and factory stay the user's and must outlive the client. The
 * object stays exported until the adaptor connection or the client is destroyed.
 */
class KIV_QTDBUS_EXPORT ServiceProviderClient : public KivBaseClient
{
    Q_OBJECT

public:
    /**
     * @param registrator stands for the client's own bus name, which is read here.
     * @param serviceName the bus name of the service.
     * @param objPath the client is exported under this path followed by "/ServiceProviderClient"; may be
     *        empty.
     * @param connection exports the client.
     * @param destination what the session is about (a zone, say); may be empty.
     * @param factory makes the proxy.
     * @param parent the Qt parent.
     */
    ServiceProviderClient(const IServiceRegistrator& registrator, const QString& serviceName,
                          const QString& objPath, IAdaptorConnection& connection, const QString& destination,
                          IServiceProviderProxyFactory& factory, QObject* parent = nullptr);

    /** Does not close the session: that is what Powerdown() is for. */
    ~ServiceProviderClient() override;

    /** See KivBaseClient::Initialize(). @return the state reached. */
    InitState Initialize() override;

    /**
     * Exports the client, opens the session and calls HandleInitialize(); blocks.
     *
     * @return the state reached.
     */
    InitState HandleInitializeProxy() override;

    /** Closes the session, blocking; does nothing when none is open. */
    void HandlePowerdown() override;

    /**
     * Receives every call that the service makes on this client's object, and passes it to HandleRequest().
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     * @return the answer to the service: always "{}", whatever became of the call.
     */
    virtual QString Request(const QString& methodName, const QString& arguments);

    /**
     * Handles a call of the service.
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     */
    virtual void HandleRequest(const QString& methodName, const QString& arguments) = 0;

    /**
     * Does the derived client's first work, when the session is open. May use blocking requests.
     *
     * @return false to make initialisation fail.
     */
    virtual bool HandleInitialize() = 0;

    /** @return the session identifier, 0 when no session is open. */
    quint32 SessionId() const;

    /** @return whether a session is open, as far as the client knows. */
    bool IsSessionOpen() const;

    /**
     * Opens a session, blocking.
     *
     * @return true when there is a session now that was not there before; false also when one was open
     *        already.
     */
    bool OpenSession();

    /** Closes the session, blocking. The client forgets it even when the service refuses. */
    void CloseSession();

    /**
     * Sends "openSession" without waiting. OpenSessionAsync() also watches the reply.
     *
     * @return the reply to come; one that has already failed when a session is open.
     */
    QDBusPendingReply<QString> StartOpenSessionRequest();

    /**
     * Sends "closeSession" without waiting. CloseSessionAsync() also watches the reply.
     *
     * @return the reply to come; one that has already failed when no session is open.
     */
    QDBusPendingReply<QString> StartCloseSessionRequest();

    /**
     * Takes the session identifier from a reply.
     *
     * @param aError whether the request failed; nothing changes then.
     * @param aParameters the reply's members.
     * @return whether it held one, other than 0.
     */
    bool HandleOpenSessionReply(bool aError, QMap<QString, QVariant> aParameters);

    /**
     * Forgets the session unless the request failed.
     *
     * @param aError whether the request failed.
     * @param aParameters the reply's members; not looked at.
     * @return not @p aError.
     */
    bool HandleCloseSessionReply(bool aError, QMap<QString, QVariant> aParameters);

Q_SIGNALS:
    /**
     * Answers OpenSessionAsync().
     *
     * @param aRequestId what OpenSessionAsync() returned.
     * @param aResult whether this request has opened a session.
     */
    void SignalOpenSessionCompleted(quint32 aRequestId, bool aResult);

    /**
     * Answers CloseSessionAsync().
     *
     * @param aRequestId what CloseSessionAsync() returned.
     * @param aResult whether the service accepted; the session counts as open otherwise.
     */
    void SignalCloseSessionCompleted(quint32 aRequestId, bool aResult);

public:
    /**
     * Opens a session without waiting; may be called from any thread.
     *
     * @return the request identifier that SignalOpenSessionCompleted() will carry; 0 when nothing was sent (a
     *         session is open, or there is no proxy), and then no signal follows.
     */
    Q_INVOKABLE quint32 OpenSessionAsync();

    /**
     * Closes the session without waiting; may be called from any thread.
     *
     * @return the request identifier that SignalCloseSessionCompleted() will carry; 0 when nothing was sent
     *        (no session is open, or there is no proxy), and then no signal follows.
     */
    Q_INVOKABLE quint32 CloseSessionAsync();

protected:
    const IServiceRegistrator& m_ServiceRegistrator; ///< Not owned.
    IAdaptorConnection& m_AdaptorConnection;         ///< Not owned.
    QString m_DbusName;                              ///< The client's own bus name.
    QString m_ObjPath;                               ///< Where the client is exported.
    QString m_Destination;                           ///< What the session is about; may be empty.
    quint32 m_SessionId;                             ///< 0 while no session is open.

private:
    Q_DISABLE_COPY(ServiceProviderClient)
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // SERVICEPROVIDERCLIENT_H
