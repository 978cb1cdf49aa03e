// SPDX-License-Identifier: MIT
#include "ConcreteServiceProviderProxy.h"

#include "logging/Log.h"
#include "protocol/Vocabulary.h"

#include <QDBusConnection>
#include <QDBusError>

namespace Audio::Utils::Kiv::QtDbus {

ConcreteServiceProviderProxy::ConcreteServiceProviderProxy(const QString& serviceName,
                                                           const QString& objectPath, QObject* parent)
    : m_Interface(serviceName, objectPath, QDBusConnection::systemBus(), parent)
{
    connect(&m_Interface, &ComQuorvantelServiceProviderInterface::Notify, this,
            &ConcreteServiceProviderProxy::Notification);
}

ConcreteServiceProviderProxy::~ConcreteServiceProviderProxy() = default;

QDBusPendingReply<QString> ConcreteServiceProviderProxy::AsyncRequest(const QString& methodName,
                                                                      const QString& arguments)
{
    qCDebug(Log) << "ConcreteServiceProvider::AsyncRequest -- Calling method" << methodName
                 << "with parameters" << arguments;
    return m_Interface.Request(methodName, arguments);
}

QString ConcreteServiceProviderProxy::Request(const QString& methodName, const QString& arguments)
{
    QDBusPendingReply<QString> reply = m_Interface.Request(methodName, arguments);
    reply.waitForFinished();
    if (reply.isError()) {
        qCCritical(Log) << "ConcreteServiceProviderProxy::Request -- D-Bus error:" << reply.error().message();
        return QStringLiteral("{ \"errCode\" : 0 }"); // callers look for the key, not for its value
    }

    const QString result = reply.value();
    qCDebug(Log) << "ConcreteServiceProviderProxy::Request:" << methodName << "Result:" << result;
    if (result.contains(Key::ErrCode)) {
        qCCritical(Log) << "ConcreteServiceProviderProxy::Request -- Error:" << methodName << arguments
                        << "Result:" << result;
    }
    return result;
}

void ConcreteServiceProviderProxy::Notification(const QString& a_SignalName, const QString& a_Payload)
{
    Q_EMIT Notify(a_SignalName, a_Payload);
}

} // namespace Audio::Utils::Kiv::QtDbus
