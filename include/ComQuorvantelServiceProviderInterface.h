// SPDX-License-Identifier: MIT
#ifndef COMQUORVANTELSERVICEPROVIDERINTERFACE_H
#define COMQUORVANTELSERVICEPROVIDERINTERFACE_H

#include "KivQtDbusExport.h"

#include <QDBusAbstractInterface>
#include <QDBusConnection>
#include <QDBusPendingReply>
#include <QString>

/**
 * Proxy of a remote object's D-Bus interface "com.quorvantel.ServiceProvider".
 *
 * This is the bare wire: two texts go out, one comes back, nothing is checked, logged or converted. Programs
 * normally use it through Audio::Utils::Kiv::QtDbus::ConcreteServiceProviderProxy.
 *
 * Constructing it sends nothing. Use it on its own thread, which needs an event loop for Notify() and for the
 * watchers of asynchronous replies.
 */
class KIV_QTDBUS_EXPORT ComQuorvantelServiceProviderInterface : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    /** @return the name of the D-Bus interface, "com.quorvantel.ServiceProvider". */
    static const char* staticInterfaceName() { return "com.quorvantel.ServiceProvider"; }

    /**
     * @param service the bus name of the remote object's owner; it need not be on the bus.
     * @param path the object path.
     * @param connection the bus to use.
     * @param parent the Qt parent.
     */
    ComQuorvantelServiceProviderInterface(const QString& service, const QString& path,
                                          const QDBusConnection& connection, QObject* parent = nullptr);

    /** Requests that still wait for their reply go on. */
    ~ComQuorvantelServiceProviderInterface() override;

public Q_SLOTS:
    /**
     * Starts the remote call `Request(methodName, arguments)` and returns at once.
     *
     * @param methodName the first argument.
     * @param arguments the second one.
     * @return the reply to come: one text, or a D-Bus error (also when nobody owns the bus name).
     */
    QDBusPendingReply<QString> Request(const QString& methodName, const QString& arguments);

Q_SIGNALS:
    /**
     * The remote object has sent its signal "Notify".
     *
     * @param signalName the first argument.
     * @param payload the second one.
     */
    void Notify(const QString& signalName, const QString& payload);
};

#endif // COMQUORVANTELSERVICEPROVIDERINTERFACE_H
