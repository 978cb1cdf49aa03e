// SPDX-License-Identifier: MIT
#ifndef SERVICEPROVIDERPROXYHMIFACTORY_H
#define SERVICEPROVIDERPROXYHMIFACTORY_H

#include "IServiceProviderProxyFactory.h"
#include "KivQtDbusExport.h"

namespace Audio::Utils::Kiv::QtDbus {

/**
 * Makes proxies for HMI clients: they address the service's object "/com/kiv/service/AudioManagement/HmiMode"
 * on the system bus.
 *
 * Hand it to an AudioManagerHmi; it holds no data and must outlive the client.
 */
class KIV_QTDBUS_EXPORT ServiceProviderProxyHmiFactory : public IServiceProviderProxyFactory
{
public:
    /** Holds nothing and asks nothing. */
    ServiceProviderProxyHmiFactory();

    /** The proxies that were made stay: their clients own them. */
    ~ServiceProviderProxyHmiFactory() override;

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

#endif // SERVICEPROVIDERPROXYHMIFACTORY_H
