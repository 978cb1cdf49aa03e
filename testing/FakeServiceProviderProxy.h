// SPDX-License-Identifier: MIT
#ifndef KIV_TESTING_FAKESERVICEPROVIDERPROXY_H
#define KIV_TESTING_FAKESERVICEPROVIDERPROXY_H

#include "FakeExchange.h"
#include "IServiceProviderProxy.h"

#include <QDBusPendingReply>
#include <QString>

namespace Audio::Utils::Kiv::QtDbus::Testing {

/**
 * A proxy without a bus: its FakeExchange records its requests and answers them as told.
 *
 * A client makes its proxy itself, with a FakeServiceProviderProxyFactory; make one directly to test what
 * uses IServiceProviderProxy alone.
 *
 * **Ownership.** The exchange must outlive the proxy. **Threads.** See FakeExchange.
 *
 * @code
 * FakeExchange exchange;
 * exchange.Fail(QStringLiteral("setMode"), QStringLiteral("the service has crashed"));
 * FakeServiceProviderProxy proxy(exchange);
 * const QString answer = proxy.Request(QStringLiteral("setMode"), QStringLiteral("{}"));
 * Q_ASSERT(answer == QStringLiteral("{ \"errCode\" : 0 }"));
 * @endcode
 */
class FakeServiceProviderProxy : public IServiceProviderProxy
{
public:
    /** @param exchange what answers; not owned. */
    explicit FakeServiceProviderProxy(FakeExchange& exchange)
        : m_Exchange(exchange)
    {
        ++m_Exchange.m_ProxyCount;
    }

    ~FakeServiceProviderProxy() override { --m_Exchange.m_ProxyCount; }

    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override
    {
        return m_Exchange.AnswerAsync(methodName, arguments);
    }

    QString Request(const QString& methodName, const QString& arguments) override
    {
        return m_Exchange.AnswerBlocking(methodName, arguments);
    }

private:
    FakeExchange& m_Exchange;
};

} // namespace Audio::Utils::Kiv::QtDbus::Testing

#endif // KIV_TESTING_FAKESERVICEPROVIDERPROXY_H
