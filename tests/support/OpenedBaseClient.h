// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_OPENEDBASECLIENT_H
#define KIV_TESTS_OPENEDBASECLIENT_H

#include "FakeServiceProviderProxyFactory.h"
#include "KivBaseClient.h"

#include <QStringList>
#include <QVector>

namespace KivTest {

using namespace Audio::Utils::Kiv::QtDbus::Testing;

/** The base client alone, without a session: its state in the open, its three duties recorded. */
class OpenedBaseClient : public Audio::Utils::Kiv::QtDbus::KivBaseClient
{
public:
    using KivBaseClient::KivBaseClient;
    using KivBaseClient::m_InitState;
    using KivBaseClient::m_RequestId;
    using KivBaseClient::m_ServiceName;
    using KivBaseClient::m_ServiceProxy;
    using KivBaseClient::m_ServiceWatcher;

    /** Has the client use a proxy of its factory. */
    void Open() { m_ServiceProxy = m_ProxyFactory.CreateProxy(this); }

    void HandleNotify(const QString& aSignalName, const QString& aPayload) override
    {
        m_Notifications.append(aSignalName + QLatin1Char(' ') + aPayload);
    }

    InitState HandleInitializeProxy() override
    {
        ++m_InitializeCount;
        return m_InitializeResult;
    }

    void HandlePowerdown() override { m_ProxiesAtPowerdown.append(m_ServiceProxy); }

    QStringList m_Notifications;
    int m_InitializeCount = 0;
    InitState m_InitializeResult = INIT_STATE_SUCCESS;

    /** The proxy that there was at each HandlePowerdown(). */
    QVector<const Audio::Utils::Kiv::QtDbus::IServiceProviderProxy*> m_ProxiesAtPowerdown;
};

} // namespace KivTest

#endif // KIV_TESTS_OPENEDBASECLIENT_H
