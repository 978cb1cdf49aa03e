// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_PEERWIRE_H
#define KIV_TESTS_PEERWIRE_H

#include "FakeAdaptorConnection.h"
#include "FakeServiceRegistrator.h"
#include "PeerConnection.h"
#include "Wire.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QVector>

namespace KivTest {

/**
 * A wire without a bus: asynchronous requests go over a peer connection, all else is a call of a function.
 */
class PeerWire : public Wire
{
public:
    PeerWire();

    const Audio::Utils::Kiv::QtDbus::IServiceRegistrator& Registrator() const override
    {
        return m_Registrator;
    }
    Audio::Utils::Kiv::QtDbus::IAdaptorConnection& Adaptors() override { return m_Adaptors; }
    std::unique_ptr<Audio::Utils::Kiv::QtDbus::IServiceProviderProxy> MakeProxy(QObject* client,
                                                                                bool isHmi) override;
    void Reset() override { m_Arrived.clear(); }
    bool TellsClients() const override { return false; }
    void Appear() override {}
    void Leave() override {}
    bool IsReaching() const override { return true; }
    void AwaitArrival(int count) override;
    void Answer(int number, const Reply& reply) override;
    void PlanBlocking(const Reply& reply, int count) override;
    QDBusPendingCall Ping() override;
    void CallClient(Audio::Utils::Kiv::QtDbus::ServiceProviderClient& client, const QString& path,
                    const QString& method, const QString& arguments) override;

private:
    void Receive(const QDBusMessage& message, const QDBusConnection& connection);

    struct Arrived
    {
        QDBusMessage message;
        QDBusConnection connection;
    };

    Audio::Utils::Kiv::QtDbus::Testing::FakeServiceRegistrator m_Registrator;
    Audio::Utils::Kiv::QtDbus::Testing::FakeAdaptorConnection m_Adaptors;
    QVector<Arrived> m_Arrived;
    Reply m_BlockingReply;
    Audio::Utils::Kiv::QtDbus::Testing::PeerConnection m_Peer;

    friend class PeerProxy;
};

} // namespace KivTest

#endif // KIV_TESTS_PEERWIRE_H
