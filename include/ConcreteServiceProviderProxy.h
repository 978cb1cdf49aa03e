// SPDX-License-Identifier: MIT
#ifndef CONCRETESERVICEPROVIDERPROXY_H
#define CONCRETESERVICEPROVIDERPROXY_H

#include "ComQuorvantelServiceProviderInterface.h"
#include "IServiceProviderProxy.h"
#include "KivQtDbusExport.h"

#include <QObject>
#include <QString>

namespace Audio::Utils::Kiv::QtDbus {

/**
 * The real way to the service: its object on the system bus.
 *
 * **Thread.** Use it on the thread on which it was made; Notify() is emitted there.
 *
 * **Limit.** Both texts of a request may take 32 MiB less 64 KiB together, as UTF-8. A longer request is not sent: it
 * fails at once with QDBusError::LimitsExceeded and a critical record. A bus would end the whole connection of its
 * sender, for good: 32 MiB is the longest message of a system bus that nobody has configured.
 *
 * **Ownership.** The proxy itself has no Qt parent: whoever made it deletes it. The D-Bus interface object
 * inside it, however, is a Qt child of @p parent of the constructor. Delete the proxy *before* that parent: a
 * parent that is destroyed first would delete the inner object a second time. A client does so in its
 * Powerdown() or destructor; mind it when you make a proxy through a factory yourself.
 */
class KIV_QTDBUS_EXPORT ConcreteServiceProviderProxy : public QObject, public IServiceProviderProxy
{
    Q_OBJECT

public:
    /**
     * @param serviceName the service's bus name; it need not be on the bus.
     * @param objectPath the path of the service's object.
     * @param parent the Qt parent of the inner D-Bus interface object, see above.
     */
    ConcreteServiceProviderProxy(const QString& serviceName, const QString& objectPath,
                                 QObject* parent = nullptr);

    /** Deletes the inner object too. Requests that still wait for their reply go on. */
    ~ConcreteServiceProviderProxy() override;

    /**
     * Starts the D-Bus call and returns at once.
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     * @return the reply to come; every failure shows in it.
     */
    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override;

    /**
     * Sends the D-Bus call and blocks the calling thread until the answer is there or the bus library's
     * default time-out (about 25 s) has passed. No event is handled meanwhile.
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     * @return the service's answer as it came, also when it contains "errCode" (then with a critical record);
     *         `{ "errCode" : 0 }` when the call failed on the bus (with a critical record).
     */
    QString Request(const QString& methodName, const QString& arguments) override;

Q_SIGNALS:
    /**
     * The service has sent a notification.
     *
     * @param a_SignalName its name, as it came.
     * @param a_Payload its JSON text, as it came.
     */
    void Notify(const QString& a_SignalName, const QString& a_Payload);

public Q_SLOTS:
    /**
     * Emits Notify(); connected to the D-Bus signal.
     *
     * @param a_SignalName passed on.
     * @param a_Payload passed on.
     */
    void Notification(const QString& a_SignalName, const QString& a_Payload);

protected:
    ComQuorvantelServiceProviderInterface m_Interface; ///< The wire; a Qt child of the constructor's parent.
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // CONCRETESERVICEPROVIDERPROXY_H
