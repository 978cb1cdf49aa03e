// SPDX-License-Identifier: MIT
#include "BusWire.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QMutexLocker>

#include <utility>

namespace KivTest {

using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kServiceName = "com.quorvantel.service.AudioManagement";
const QString kInterfaceName = "com.quorvantel.ServiceProvider";

} // namespace

BusWire::BusWire()
    : m_ClientBus(QDBusConnection::systemBus()),
      m_ServiceBus(QDBusConnection::connectToBus(QDBusConnection::SystemBus, "scripted-service")),
      m_Registrator(m_ClientBus, "com.quorvantel.audioclient.test"),
      m_Adaptors(m_ClientBus),
      m_Object(*this)
{
    m_ServiceBus.registerVirtualObject("/", &m_Object, QDBusConnection::SubPath);
    m_Object.moveToThread(&m_Thread);
    m_Thread.start();
}

BusWire::~BusWire()
{
    m_ServiceBus.unregisterObject("/", QDBusConnection::UnregisterTree);
    m_Thread.quit();
    m_Thread.wait();
    QDBusConnection::disconnectFromBus("scripted-service");
}

std::unique_ptr<IServiceProviderProxy> BusWire::MakeProxy(QObject* client, bool isHmi)
{
    IServiceProviderProxyFactory& factory =
        isHmi ? static_cast<IServiceProviderProxyFactory&>(m_HmiFactory) : m_AppFactory;
    return std::unique_ptr<IServiceProviderProxy>(factory.CreateProxy(client));
}

void BusWire::Reset()
{
    Appear();
    const QMutexLocker lock(&m_Lock);
    m_Arrived.clear();
}

void BusWire::Appear()
{
    if (std::exchange(m_IsOnBus, true)) {
        return;
    }
    if (!m_ServiceBus.registerService(kServiceName)) {
        qFatal("the scripted service cannot take its bus name");
    }
    LastWatcher(Ping()).Wait();
}

void BusWire::Leave()
{
    if (std::exchange(m_IsOnBus, false)) {
        m_ServiceBus.unregisterService(kServiceName);
        LastWatcher(Ping()).Wait();
    }
}

// Handles no events of the program, which may be in the middle of a request.
void BusWire::AwaitArrival(int count)
{
    constexpr unsigned long patience = 30000; // milliseconds
    QMutexLocker lock(&m_Lock);
    while (m_Arrived.size() < count) {
        if (!m_HasArrived.wait(&m_Lock, patience)) {
            qFatal("a request has never arrived");
        }
    }
}

void BusWire::Answer(int number, const Reply& reply)
{
    const QMutexLocker lock(&m_Lock);
    Send(m_Arrived[number], reply);
}

void BusWire::PlanBlocking(const Reply& reply, int count)
{
    AwaitArrival(count);
    const QMutexLocker lock(&m_Lock);
    m_BlockingReply = reply;
}

// The bus itself answers, behind what it has passed on and what it has refused.
QDBusPendingCall BusWire::Ping()
{
    return m_ClientBus.asyncCall(QDBusMessage::createMethodCall(
        "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "GetId"));
}

void BusWire::CallClient(ServiceProviderClient& /*client*/, const QString& path, const QString& method,
                         const QString& arguments)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall(m_ClientBus.baseService(), path, kInterfaceName, "Request");
    call.setArguments({method, arguments});
    const QDBusPendingReply<QString> answer = m_ServiceBus.asyncCall(call);
    LastWatcher(answer).Wait();
    if (answer.isError() || answer.value() != QLatin1String("{}")) {
        qFatal("%s does not answer a call", qUtf8Printable(path));
    }
}

void BusWire::Receive(const QDBusMessage& message)
{
    const QMutexLocker lock(&m_Lock);
    if (m_BlockingReply) {
        Send(message, *std::exchange(m_BlockingReply, std::nullopt));
    } else {
        m_Arrived.append(message);
        m_HasArrived.wakeAll();
    }
}

void BusWire::Send(const QDBusMessage& message, const Reply& reply) const
{
    if (reply.kind == Reply::Error) {
        m_ServiceBus.send(message.createErrorReply(QDBusError::NoReply, "nobody answers"));
    } else if (reply.kind == Reply::WrongType) {
        m_ServiceBus.send(message.createReply(QStringList{"a", "list"}));
    } else {
        m_ServiceBus.send(message.createReply(reply.text));
    }
}

QString BusWire::Object::introspect(const QString& /*path*/) const
{
    return QString();
}

bool BusWire::Object::handleMessage(const QDBusMessage& message, const QDBusConnection& /*connection*/)
{
    m_Wire.Receive(message);
    return true;
}

} // namespace KivTest
