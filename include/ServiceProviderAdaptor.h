// SPDX-License-Identifier: MIT
#ifndef SERVICEPROVIDERADAPTOR_H
#define SERVICEPROVIDERADAPTOR_H

#include "KivQtDbusExport.h"

#include <QDBusAbstractAdaptor>
#include <QString>

namespace Audio::Utils::Kiv::QtDbus {
class ServiceProviderClient;
}

/**
 * Exports the D-Bus interface "com.quorvantel.ServiceProvider" on a client's object, so that the service can
 * call the client.
 *
 * A client creates its adaptor itself while it initialises; programs need not touch this class. The adaptor is
 * a Qt child of the client and goes with it. Calls arrive on the client's thread.
 */
class KIV_QTDBUS_EXPORT ServiceProviderAdaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorvantel.ServiceProvider")
    // clang-format off
    Q_CLASSINFO("D-Bus Introspection", ""
        "  <interface name=\"com.quorvantel.ServiceProvider\">\n"
        "    <method name=\"Request\">\n"
        "      <arg direction=\"in\" type=\"s\" name=\"methodName\"/>\n"
        "      <arg direction=\"in\" type=\"s\" name=\"arguments\"/>\n"
        "      <arg direction=\"out\" type=\"s\" name=\"result\"/>\n"
        "    </method>\n"
        "    <signal name=\"Notify\">\n"
        "      <arg direction=\"out\" type=\"s\" name=\"signalName\"/>\n"
        "      <arg direction=\"out\" type=\"s\" name=\"payload\"/>\n"
        "    </signal>\n"
        "  </interface>\n"
        "")
    // clang-format on

public:
    /** @param client the client to serve; it becomes the Qt parent and owns the adaptor. */
    explicit ServiceProviderAdaptor(Audio::Utils::Kiv::QtDbus::ServiceProviderClient* client);

    /** Ends the export: the client is no longer reachable on the bus. */
    ~ServiceProviderAdaptor() override;

public Q_SLOTS:
    /**
     * Hands an inbound call to ServiceProviderClient::Request(). The call may delete the client, and the
     * adaptor with it.
     *
     * @param methodName the method's name, as it came.
     * @param arguments its JSON argument text, as it came.
     * @return the client's answer, unchanged.
     */
    QString Request(const QString& methodName, const QString& arguments);

Q_SIGNALS:
    /**
     * Belongs to the interface; a client never sends it, unless a subclass declares a signal of this
     * signature.
     *
     * @param signalName the first argument.
     * @param payload the second one.
     */
    void Notify(const QString& signalName, const QString& payload);
};

#endif // SERVICEPROVIDERADAPTOR_H
