// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FAKESERVICEPROVIDERPROXYFACTORY_H
#define KIV_TESTS_FAKESERVICEPROVIDERPROXYFACTORY_H

#include "FakeServiceProviderProxy.h"
#include "IServiceProviderProxyFactory.h"

#include <QObject>
#include <QVector>

namespace KivTest {

/** Makes fake proxies, all with one exchange, and records for whom. */
class FakeServiceProviderProxyFactory : public Audio::Utils::Kiv::QtDbus::IServiceProviderProxyFactory
{
public:
    Audio::Utils::Kiv::QtDbus::IServiceProviderProxy* CreateProxy(QObject* parent) override
    {
        m_Parents.append(parent);
        return m_IsEmpty ? nullptr : new FakeServiceProviderProxy(m_Exchange);
    }

    FakeExchange& Exchange() { return m_Exchange; }

    /** Whether CreateProxy() returns no proxy. */
    void SetEmpty(bool isEmpty) { m_IsEmpty = isEmpty; }

    /** The argument of each CreateProxy() so far. */
    QVector<QObject*> Parents() const { return m_Parents; }

private:
    FakeExchange m_Exchange;
    QVector<QObject*> m_Parents;
    bool m_IsEmpty = false;
};

} // namespace KivTest

#endif // KIV_TESTS_FAKESERVICEPROVIDERPROXYFACTORY_H
