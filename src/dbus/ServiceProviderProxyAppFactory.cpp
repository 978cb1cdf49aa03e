// SPDX-License-Identifier: MIT
#include "ServiceProviderProxyAppFactory.h"

#include "ConcreteServiceProviderProxy.h"
#include "protocol/Vocabulary.h"

namespace Audio::Utils::Kiv::QtDbus {

ServiceProviderProxyAppFactory::ServiceProviderProxyAppFactory() = default;

ServiceProviderProxyAppFactory::~ServiceProviderProxyAppFactory() = default;

IServiceProviderProxy* ServiceProviderProxyAppFactory::CreateProxy(QObject* parent)
{
    return new ConcreteServiceProviderProxy(Bus::ServiceName, Bus::AppPath, parent);
}

} // namespace Audio::Utils::Kiv::QtDbus
