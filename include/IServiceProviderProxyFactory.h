// SPDX-License-Identifier: MIT
#ifndef ISERVICEPROVIDERPROXYFACTORY_H
#define ISERVICEPROVIDERPROXYFACTORY_H

#include "KivQtDbusExport.h"

class QObject;

namespace Audio::Utils::Kiv::QtDbus {

class IServiceProviderProxy;

/**
 * Makes a client's proxy once the service is on the bus.
 *
 * The client keeps a reference: the factory must outlive it. ServiceProviderProxyHmiFactory and
 * ServiceProviderProxyAppFactory are the real ones.
 */
class KIV_QTDBUS_EXPORT IServiceProviderProxyFactory
{
public:
    /** For derived classes; objects are not copied. */
    IServiceProviderProxyFactory() = default;
    IServiceProviderProxyFactory(const IServiceProviderProxyFactory&) = delete;
    IServiceProviderProxyFactory& operator=(const IServiceProviderProxyFactory&) = delete;
    virtual ~IServiceProviderProxyFactory() = default;

    /**
     * Makes a proxy. Called on the client's thread, once in its life, unless there was no proxy to be had.
     *
     * @param parent the client.
     * @return a new proxy, which the caller owns and deletes; `nullptr` when there can be none, which ends
     *        the client's initialisation without a change of its state.
     */
    virtual IServiceProviderProxy* CreateProxy(QObject* parent) = 0;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // ISERVICEPROVIDERPROXYFACTORY_H
