// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_BUSWIRE_H
#define KIV_TESTS_BUSWIRE_H

#include "AdaptorConnection.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"
#include "Wire.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QMutex>
#include <QThread>
#include <QVector>
#include <QWaitCondition>

#include <optional>

namespace KivTest {

/**
 * The private bus: real proxies, bus names and exported objects, and a service with a connection and a thread
 * of its own, which answers blocking requests as planned and keeps the asynchronous ones.
 */
class BusWire : public Wire
{
public:
    BusWire();
    ~BusWire() override;

    const Audio::Utils::Kiv::QtDbus::IServiceRegistrator& Registrator() const override
    {
        return m_Registrator;
    }
    Audio::Utils::Kiv::QtDbus::IAdaptorConnection& Adaptors() override { return m_Adaptors; }
    std::unique_ptr<Audio::Utils::Kiv::QtDbus::IServiceProviderProxy> MakeProxy(QObject* client,
                                                                                bool isHmi) override;
    void Reset() override;
    bool TellsClients() const override { return true; }
    void Appear() override;
    void Leave() override;
    bool IsReaching() const override { return m_IsOnBus; }
    void AwaitArrival(int count) override;
    void Answer(int number, const Reply& reply) override;
    void PlanBlocking(const Reply& reply, int count) override;
    QDBusPendingCall Ping() override;
    void CallClient(Audio::Utils::Kiv::QtDbus::ServiceProviderClient& client, const QString& path,
                    const QString& method, const QString& arguments) override;

private:
    class Object : public QDBusVirtualObject
    {
    public:
        explicit Object(BusWire& wire)
            : m_Wire(wire)
        {
        }

        QString introspect(const QString& path) const override;
        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override;

    private:
        BusWire& m_Wire;
    };

    void Receive(const QDBusMessage& message);
    void Send(const QDBusMessage& message, const Reply& reply) const;

    QDBusConnection m_ClientBus;
    QDBusConnection m_ServiceBus;
    Audio::Utils::Kiv::QtDbus::ServiceRegistrator m_Registrator;
    Audio::Utils::Kiv::QtDbus::AdaptorConnection m_Adaptors;
    Audio::Utils::Kiv::QtDbus::ServiceProviderProxyHmiFactory m_HmiFactory;
    Audio::Utils::Kiv::QtDbus::ServiceProviderProxyAppFactory m_AppFactory;
    Object m_Object;
    QThread m_Thread;
    bool m_IsOnBus = false;
    QMutex m_Lock; // for what follows
    QWaitCondition m_HasArrived;
    QVector<QDBusMessage> m_Arrived;
    std::optional<Reply> m_BlockingReply;
};

} // namespace KivTest

#endif // KIV_TESTS_BUSWIRE_H
