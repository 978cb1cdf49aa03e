// SPDX-License-Identifier: MIT
#include "ServiceProviderAdaptor.h"

#include "ServiceProviderClient.h"

using Audio::Utils::Kiv::QtDbus::ServiceProviderClient;

ServiceProviderAdaptor::ServiceProviderAdaptor(ServiceProviderClient* client)
    : QDBusAbstractAdaptor(client)
{
    setAutoRelaySignals(true);
}

ServiceProviderAdaptor::~ServiceProviderAdaptor() = default;

QString ServiceProviderAdaptor::Request(const QString& methodName, const QString& arguments)
{
    // The call may delete the client, and this adaptor with it: nothing is touched afterwards.
    return static_cast<ServiceProviderClient*>(parent())->Request(methodName, arguments);
}
