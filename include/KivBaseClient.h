// SPDX-License-Identifier: MIT
#ifndef KIVBASECLIENT_H
#define KIVBASECLIENT_H

#include "KivQtDbusExport.h"

#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QMap>
#include <QMetaType>
#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>

namespace Audio::Utils::Kiv::QtDbus {

class IServiceProviderProxy;
class IServiceProviderProxyFactory;

/**
 * What all clients of the audio management service share: waiting for the service, sending requests to it.
 *
 * Programs use AudioManagerHmi or AudioManagerApp; derive from this class to write a client of another kind.
 *
 * **Life.** Construct, Initialize(), use, Powerdown(), destroy, each once and in this order. The service need
 * not run yet: Initialize() then returns #INIT_STATE_WAITING_FOR_KIV, initialisation is carried out when the
 * service appears on the system bus, and SignalInitCompleted() tells how it ended. A service that leaves and
 * comes back later changes nothing: the client keeps its state, its proxy and its session identifier.
 *
 * **Threads.** A client belongs to one thread, which must run a Qt event loop; replies, reply handlers,
 * inbound calls, notifications and signals are handled there. Of the operations, only those whose names end
 * in Async may be called from other threads. Construct a client on its thread: when it is moved to another one
 * before Initialize(), the watcher for the service stays behind, and the constructing thread has to run an event
 * loop too.
 *
 * **Failures.** Nothing is thrown. Operations report failure by their result, and by a record in Qt's default
 * logging category: debug for the normal flow, warning for misuse, critical for failures. An …Async operation
 * returns 0 when it could not send its request, and then no completion signal follows; a request that was sent
 * completes exactly once while its client lives (stored mode requests can share an identifier, see
 * AudioManagerHmi). A system bus that nobody has configured lets 128 requests of one connection wait for their
 * answers and refuses each further one at once: its …Async operation completes once, with false, and nothing else
 * suffers.
 *
 * **Ownership.** The client owns its proxy; it keeps a reference to the factory, which must outlive it.
 *
 * **Deleting and powering down inside a slot.** A slot connected to a completion signal or an event signal of
 * a client may call Powerdown() or delete the client. The following can still hurt:
 * - Deleting the client inside SignalInitCompleted(): the watcher that reported the service is a member of
 *   the client and still at work. Call `deleteLater()` instead.
 * - Powerdown() of a client that still waits for the service does not end the waiting: it initialises when
 *   the service appears. Delete the client instead.
 * - Destroying the parent of a proxy that you made through a factory yourself: delete the proxy first, see
 *   ConcreteServiceProviderProxy. A proxy that a client made is not concerned.
 * - An …Async operation called from another thread while the client's thread runs no event loop, or waits for
 *   the caller: it blocks until the client's thread handles it, for ever if that never happens. Start the
 *   event loop before the callers, and end the callers before the event loop.
 * - A service that calls the client back, and waits for the answer, while a blocking request waits for the
 *   service: the client's thread handles no events then, so that one of the two calls has to time out. Use
 *   the …Async operations with such a service.
 * - A blocking operation on the main thread before the event loop has had a turn after the first use of the
 *   system bus: if the bus is lost meanwhile, the call never returns. Call `QDBusConnection::systemBus()` before
 *   `exec()`, and start clients from `QTimer::singleShot(0, …)`.
 * - Deleting the client inside an override of HandleInitializeProxy(), HandleInitialize() or HandlePowerdown():
 *   its members are used afterwards.
 * - Powerdown(), or any blocking operation, after the QCoreApplication is gone, in the destructor of a global for
 *   instance: the bus is no longer served then, and the call never returns. Power down before.
 *
 * A client that is destroyed without Powerdown() deletes its proxy, but cannot close its session any more.
 */
class KIV_QTDBUS_EXPORT KivBaseClient : public QObject
{
    Q_OBJECT

public:
    /** How far the initialisation of a client has come; known to Qt's meta-type system as "InitState". */
    enum InitState : int
    {
        INIT_STATE_NOT_CALLED = 0, ///< Initialize() has not been called, or there was no proxy to be had.
        INIT_STATE_WAITING_FOR_KIV = 1, ///< The service is not on the bus yet.
        INIT_STATE_FAILED = 2,          ///< Initialisation ended without success; there is no second try.
        INIT_STATE_SUCCESS = 3,         ///< The client is ready.
        INIT_STATE_MAX = 4              ///< Not a state of the library's own clients.
    };

    /**
     * Receives the reply of an asynchronous request, on the client's thread.
     *
     * Arguments: whether the request failed (a D-Bus error, or a reply with the key "errCode"), the reply's
     * parameters (empty after a D-Bus error), and the request identifier. Returns the request's final result.
     */
    using ReplyHandler = std::function<bool(bool, QMap<QString, QVariant>, unsigned int)>;

    /**
     * Connects nothing and asks the bus nothing yet.
     *
     * @param serviceName the bus name of the service.
     * @param factory makes the proxy; must outlive the client.
     * @param parent the Qt parent.
     */
    KivBaseClient(const QString& serviceName, IServiceProviderProxyFactory& factory,
                  QObject* parent = nullptr);

    /** Logs when Powerdown() was not called, and deletes the proxy then. Does not call HandlePowerdown(). */
    ~KivBaseClient() override;

    /**
     * Initialises the client, or begins to wait for the service. Blocks on queries of the bus, and on what
     * HandleInitializeProxy() does.
     *
     * Does not emit SignalInitCompleted(): the caller has the result.
     *
     * @return the state reached. A second call changes nothing and returns the state (with a warning in the
     *        log), except after a first call that found no proxy: that is tried again.
     */
    virtual InitState Initialize();

    /**
     * Ends the client's work: HandlePowerdown(), then the proxy is deleted. Requests that still wait for
     * their reply complete all the same. The initialisation state stays as it is; the client cannot be
     * initialised again.
     */
    virtual void Powerdown();

    /**
     * Receives a notification of the service, both texts as they came.
     *
     * @param aSignalName the notification's name.
     * @param aPayload its JSON text.
     */
    virtual void HandleNotify(const QString& aSignalName, const QString& aPayload) = 0;

    /**
     * Does a derived client's share of initialisation. Called when the service is on the bus and the proxy
     * exists.
     *
     * @return how initialisation ended.
     */
    virtual InitState HandleInitializeProxy() = 0;

    /** Does a derived client's share of Powerdown(), while the proxy still exists. */
    virtual void HandlePowerdown() = 0;

    /** @return where initialisation stands. Does not ask the bus. */
    InitState CurrentInitState() const;

    /**
     * Asks the bus for the service. Blocks.
     *
     * @return whether the service's bus name has an owner; false also when there is no bus.
     */
    bool IsKivServiceRunning();

    /**
     * The part of Initialize() that is repeated when the service appears. Programs have no reason to call it.
     *
     * @return the state reached.
     */
    InitState InitializePrivate();

    /**
     * The name of a state, for logs. May be called from any thread.
     *
     * @param aState the state.
     * @return the enumerator's name; for any other value "Invalid value for InitState!", with a warning.
     */
    static QString InitStateToString(InitState aState);

    /**
     * Issues the next request identifier. To be called on the client's thread only.
     *
     * @return 1 for the first, then counting up (wrapping through 0).
     */
    quint32 GetNextRequestId();

    /**
     * Sends a request and blocks until it is answered or the bus library gives up (about 25 s).
     * Must be called on the client's thread, which handles no events meanwhile.
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     * @param result receives the answer; empty when there is no proxy.
     * @return false when there is no proxy, or when the answer contains "errCode" (also as part of a text).
     *        An error of the bus gives the answer `{ "errCode" : 0 }`.
     */
    bool ServiceRequest(const QString& methodName, const QString& arguments, QString& result);

    /**
     * Sends a request without waiting. To be called on the client's thread.
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     * @return the reply to come; without a proxy, one that has already failed.
     */
    QDBusPendingReply<QString> StartRequest(const QString& methodName, const QString& arguments);

    /**
     * Likewise, with the arguments encoded by AddParameters().
     *
     * @param methodName the method's name.
     * @param parameters its arguments.
     * @return the reply to come; without a proxy, one that has already failed.
     */
    QDBusPendingReply<QString> StartRequest(const QString& methodName,
                                            const QMap<QString, QVariant>& parameters);

    /**
     * Has a handler called once when a reply arrives. The handler runs on the client's thread, never from
     * within this call; it does not run when the client is destroyed first, and it may delete the client.
     *
     * @param reply the reply to wait for.
     * @param handler what to call; must not be empty (`std::bad_function_call`).
     * @param requestId the identifier to use; 0 has a new one issued.
     * @return the identifier, or 0 when the reply has already failed; the handler is not called then.
     */
    quint32 WatchReply(QDBusPendingReply<QString> reply, ReplyHandler handler, unsigned int requestId);

    /**
     * Waits for a reply, decodes it, decides whether the request failed, and calls the handler.
     *
     * A reply that is not JSON is no failure; its map is empty. Blocks unless the reply is there.
     *
     * @param reply the reply.
     * @param handler what to call, on this thread; must not be empty (`std::bad_function_call`).
     * @param requestId handed to the handler.
     * @return what the handler returned.
     */
    static bool HandleReply(QDBusPendingReply<QString> reply, const ReplyHandler& handler,
                            unsigned int requestId);

Q_SIGNALS:
    /**
     * An initialisation that had to wait for the service has ended, with the state given.
     *
     * Emitted at most once in a client's life, on its thread, and never for an Initialize() that did not have
     * to wait. Do not delete the client in a slot directly connected to it; use `deleteLater()`. Its one
     * parameter is the state, #INIT_STATE_SUCCESS or #INIT_STATE_FAILED, as from CurrentInitState().
     */
    void SignalInitCompleted(InitState);

public Q_SLOTS:
    /**
     * Hands a notification of the service to HandleNotify(); connected to the proxy.
     *
     * @param a_SignalName the notification's name.
     * @param a_Payload its JSON text.
     */
    void Notification(const QString& a_SignalName, const QString& a_Payload);

    /**
     * The owner of a bus name has changed. Continues an initialisation that waits for the service; connected
     * to the watcher of the service's name.
     *
     * @param a_ServiceName the bus name; any but the service's is ignored with a warning.
     * @param a_OldOwner who had it; empty for nobody.
     * @param a_NewOwner who has it now; empty for nobody.
     */
    void OnOwnerChanged(const QString& a_ServiceName, const QString& a_OldOwner, const QString& a_NewOwner);

protected:
    InitState m_InitState;                        ///< See CurrentInitState().
    QString m_ServiceName;                        ///< The bus name of the service.
    IServiceProviderProxyFactory& m_ProxyFactory; ///< Not owned.
    IServiceProviderProxy* m_ServiceProxy; ///< Owned; `nullptr` before the service is found, and at the end.
    QDBusServiceWatcher m_ServiceWatcher;  ///< Reports who owns the service's bus name.
    quint32 m_RequestId;                   ///< The identifier that was issued last.

private:
    Q_DISABLE_COPY(KivBaseClient)
};

} // namespace Audio::Utils::Kiv::QtDbus

Q_DECLARE_METATYPE(Audio::Utils::Kiv::QtDbus::KivBaseClient::InitState)

#endif // KIVBASECLIENT_H
