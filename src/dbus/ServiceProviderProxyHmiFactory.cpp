// SPDX-License-Identifier: MIT
#include "ServiceProviderProxyHmiFactory.h"

#include "ConcreteServiceProviderProxy.h"
#include "protocol/Vocabulary.h"

namespace Audio::Utils::Kiv::QtDbus {

ServiceProviderProxyHmiFactory::ServiceProviderProxyHmiFactory() = default;

ServiceProviderProxyHmiFactory::~ServiceProviderProxyHmiFactory() = default;

IServiceProviderProxy* ServiceProviderProxyHmiFactory::CreateProxy(QObject* parent)
{
    return new ConcreteServiceProviderProxy(Bus::ServiceName, Bus::HmiPath, parent);
}

} // namespace Audio::Utils::Kiv::QtDbus
