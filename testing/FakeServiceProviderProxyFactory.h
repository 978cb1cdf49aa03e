// SPDX-License-Identifier: MIT
#ifndef KIV_TESTING_FAKESERVICEPROVIDERPROXYFACTORY_H
#define KIV_TESTING_FAKESERVICEPROVIDERPROXYFACTORY_H

#include "CallRecorder.h"
#include "FakeExchange.h"
#include "FakeServiceProviderProxy.h"
#include "IServiceProviderProxyFactory.h"
#include "KivBaseClient.h"

#include <QObject>
#include <QVector>

namespace Audio::Utils::Kiv::QtDbus::Testing {

/**
 * Makes fake proxies, all with one FakeExchange, and lets the service appear without a bus.
 *
 * A client asks the system bus whether the service is there, and no fake answers that. Let there be no system
 * bus in such a test: set DBUS_SYSTEM_BUS_ADDRESS to an address of nothing, before the first client.
 * Initialize() then returns KivBaseClient::INIT_STATE_WAITING_FOR_KIV, and ServiceAppears() carries
 * initialisation out.
 *
 * **Ownership.** Clients keep a reference: the factory must outlive them. They own their proxies.
 * **Threads.** See FakeExchange.
 *
 * @code
 * qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
 * FakeServiceRegistrator registrator(QStringLiteral("com.quorvantel.audioclient.panel"));
 * FakeAdaptorConnection connection;
 * FakeServiceProviderProxyFactory factory;
 * factory.Exchange().Answer(QStringLiteral("openSession"), QStringLiteral("{\"sessionId\":7}"));
 * factory.Exchange().Answer(QStringLiteral("getMode"), QStringLiteral("{\"currentMode\":[\"Radio\"]}"));
 * factory.Exchange().Answer(QStringLiteral("closeSession"), QStringLiteral("{}"));
 * AudioManagerHmi hmi(registrator, QStringLiteral("/panel"), connection, QString(), factory, false);
 * hmi.Initialize();
 * Q_ASSERT(factory.ServiceAppears(hmi) == KivBaseClient::INIT_STATE_SUCCESS);
 * hmi.GetMode(QString());
 * Q_ASSERT(hmi.CurrentMode() == QStringLiteral("Radio"));
 * hmi.Powerdown();
 * Q_ASSERT(factory.Exchange().Requests().size() == 3);
 * @endcode
 */
class FakeServiceProviderProxyFactory : public IServiceProviderProxyFactory
{
public:
    /** @param recorder receives every call, those of the proxies included, if given; not owned. */
    explicit FakeServiceProviderProxyFactory(CallRecorder* recorder = nullptr)
        : m_Recorder(recorder),
          m_Exchange(recorder)
    {
    }

    IServiceProviderProxy* CreateProxy(QObject* parent) override
    {
        if (m_Recorder != nullptr) {
            m_Recorder->Record(QStringLiteral("CreateProxy"));
        }
        m_Parents.append(parent);
        return m_IsEmpty ? nullptr : new FakeServiceProviderProxy(m_Exchange);
    }

    /**
     * Has a client that waits for the service initialise, as if the service had appeared on the bus. Call it
     * on the client's thread.
     *
     * The client gets a proxy of this factory, exports itself, opens its session and does its first requests,
     * all blocking, and emits SignalInitCompleted(). A slot of it must not delete the client, see
     * KivBaseClient.
     *
     * @param client the client.
     * @return the state reached. A client that does not wait is left alone: the state is then the one that it had.
     *         Without a proxy (SetEmpty()) it goes on waiting, without a signal.
     */
    KivBaseClient::InitState ServiceAppears(KivBaseClient& client)
    {
        const auto state = Members::State();
        const auto proxy = Members::Proxy();
        if (client.*state != KivBaseClient::INIT_STATE_WAITING_FOR_KIV) {
            return client.*state;
        }
        if (client.*proxy == nullptr) {
            client.*proxy = CreateProxy(&client);
        }
        if (client.*proxy == nullptr) {
            return client.*state;
        }
        const KivBaseClient::InitState reached = client.HandleInitializeProxy();
        client.*state = reached;
        Q_EMIT client.SignalInitCompleted(reached);
        return reached;
    }

    /** @return what answers the proxies' requests. */
    FakeExchange& Exchange() { return m_Exchange; }

    /**
     * Has CreateProxy() return no proxy, or one again.
     *
     * @param isEmpty true for none.
     */
    void SetEmpty(bool isEmpty) { m_IsEmpty = isEmpty; }

    /** @return the argument of each CreateProxy() so far: the clients, not owned, and not watched. */
    QVector<QObject*> Parents() const { return m_Parents; }

private:
    // Reaches the protected members of any client, as a derived class may; there is no object of it.
    struct Members : KivBaseClient
    {
        static InitState KivBaseClient::*State() { return &Members::m_InitState; }
        static IServiceProviderProxy* KivBaseClient::*Proxy() { return &Members::m_ServiceProxy; }
    };

    CallRecorder* m_Recorder;
    FakeExchange m_Exchange;
    QVector<QObject*> m_Parents;
    bool m_IsEmpty = false;
};

} // namespace Audio::Utils::Kiv::QtDbus::Testing

#endif // KIV_TESTING_FAKESERVICEPROVIDERPROXYFACTORY_H
