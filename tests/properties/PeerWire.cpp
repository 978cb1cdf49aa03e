// SPDX-License-Identifier: MIT
#include "PeerWire.h"

#include <QDBusError>

namespace KivTest {

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kPing = "ping";

} // namespace

class PeerProxy : public IServiceProviderProxy
{
public:
    explicit PeerProxy(PeerWire& wire)
        : m_Wire(wire)
    {
    }

    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override
    {
        return m_Wire.m_Peer.Call(methodName, arguments);
    }

    QString Request(const QString& /*methodName*/, const QString& /*arguments*/) override
    {
        const Wire::Reply& reply = m_Wire.m_BlockingReply;
        return reply.kind == Wire::Reply::Text ? reply.text : QStringLiteral("{ \"errCode\" : 0 }");
    }

private:
    PeerWire& m_Wire;
};

PeerWire::PeerWire()
    : m_Registrator(QStringLiteral("com.quorvantel.audioclient.test")),
      m_Peer([this](const QDBusMessage& message, const QDBusConnection& connection) {
          Receive(message, connection);
      })
{
}

std::unique_ptr<IServiceProviderProxy> PeerWire::MakeProxy(QObject* /*client*/, bool /*isHmi*/)
{
    return std::make_unique<PeerProxy>(*this);
}

void PeerWire::Receive(const QDBusMessage& message, const QDBusConnection& connection)
{
    if (message.arguments().first() == kPing) {
        connection.send(message.createReply(QString()));
    } else {
        m_Arrived.append({message, connection});
    }
}

void PeerWire::AwaitArrival(int count)
{
    SpinUntil([this, count] { return m_Arrived.size() >= count; });
}

void PeerWire::Answer(int number, const Reply& reply)
{
    const Arrived& arrived = m_Arrived[number];
    if (reply.kind == Reply::Error) {
        arrived.connection.send(arrived.message.createErrorReply(QDBusError::NoReply, "nobody answers"));
    } else if (reply.kind == Reply::WrongType) {
        arrived.connection.send(arrived.message.createReply(QStringList{"a", "list"}));
    } else {
        arrived.connection.send(arrived.message.createReply(reply.text));
    }
}

void PeerWire::PlanBlocking(const Reply& reply, int /*count*/)
{
    m_BlockingReply = reply;
}

QDBusPendingCall PeerWire::Ping()
{
    return m_Peer.Call(kPing, QString());
}

void PeerWire::CallClient(ServiceProviderClient& client, const QString& /*path*/, const QString& method,
                          const QString& arguments)
{
    client.Request(method, arguments);
}

} // namespace KivTest
