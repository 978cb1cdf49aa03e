// SPDX-License-Identifier: MIT
#ifndef SERVICEPROVIDERPROXYAPPFACTORY_H
#define SERVICEPROVIDERPROXYAPPFACTORY_H

#include "IServiceProviderProxyFactory.h"
#include "KivQtDbusExport.h"

namespace Audio::Utils::Kiv::QtDbus {

/**
 * Makes proxies for media applications: they address the service's object
 * "/com/kiv/service/AudioManagement/AudioApplication" on the system bus.
 *
 * Hand it to an AudioManagerApp; it holds no data and must outlive the client.
 */
class KIV_QTDBUS_EXPORT ServiceProviderProxyAppFactory : public IServiceProviderProxyFactory
{
public:
    /** Holds nothing and asks nothing. */
    ServiceProviderProxyAppFactory();

    /** The proxies that were made stay: their clients own them. */
    ~ServiceProviderProxyAppFactory() override;

    /**
     * Makes a proxy; sends nothing. To be called on the thread that will use the proxy.
     *
     * @param parent the Qt parent of the D-Bus object inside the proxy (see ConcreteServiceProviderProxy).
     * @return a new ConcreteServiceProviderProxy, never `nullptr`; the caller owns it and must delete it
     *        before @p parent is destroyed.
     */
    IServiceProviderProxy* CreateProxy(QObject* parent) override;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // SERVICEPROVIDERPROXYAPPFACTORY_H
