// SPDX-License-Identifier: MIT
#ifndef ISERVICEPROVIDERPROXY_H
#define ISERVICEPROVIDERPROXY_H

#include "KivQtDbusExport.h"

#include <QDBusPendingReply>
#include <QString>

namespace Audio::Utils::Kiv::QtDbus {

/**
 * The way from a client to the service: a method name and a JSON text go out, a JSON text comes back.
 *
 * Clients send everything through this interface, so that a test can replace it (see
 * IServiceProviderProxyFactory). Notifications of the service are not part of it: a client connects to them
 * only when its proxy is a ConcreteServiceProviderProxy, and logs a warning otherwise.
 *
 * A client calls both functions on its own thread, and deletes its proxy there.
 */
class KIV_QTDBUS_EXPORT IServiceProviderProxy
{
public:
    /** For derived classes; objects are not copied. */
    IServiceProviderProxy() = default;
    IServiceProviderProxy(const IServiceProviderProxy&) = delete;
    IServiceProviderProxy& operator=(const IServiceProviderProxy&) = delete;
    virtual ~IServiceProviderProxy() = default;

    /**
     * Starts a request and returns at once.
     *
     * A successful reply has to come over a D-Bus connection (a peer connection will do): Qt refuses the type of
     * one that is made with `QDBusPendingCall::fromCompletedCall`, which therefore counts as failed.
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     * @return the reply to come, or one that has already failed when the request could not be sent; a
     *        client's …Async operation then returns 0.
     */
    virtual QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) = 0;

    /**
     * Sends a request and blocks until it is answered.
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     * @return the service's answer. An answer that contains "errCode" counts as a failure, whatever its
     *        value; a failure of the transport must be reported in this form too.
     */
    virtual QString Request(const QString& methodName, const QString& arguments) = 0;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // ISERVICEPROVIDERPROXY_H
