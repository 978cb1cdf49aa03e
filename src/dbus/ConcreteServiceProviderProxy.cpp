// SPDX-License-Identifier: MIT
#include "ConcreteServiceProviderProxy.h"

#include "logging/Log.h"
#include "protocol/Vocabulary.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusPendingCall>

namespace Audio::Utils::Kiv::QtDbus {

namespace {

// A bus ends the connection of whoever sends a message longer than it allows: 32 MiB on a system bus that nobody has
// configured. What a message holds beside the two texts takes far less than 64 KiB.
constexpr qint64 kTextLimit = qint64(32 * 1024 - 64) * 1024;

// Exact where it may matter; for shorter texts, which are all but never converted, a bound.
qint64 Utf8Size(const QString& methodName, const QString& arguments)
{
    constexpr qint64 bytesPerUnit = 3;
    const qint64 bound = (qint64(methodName.size()) + arguments.size()) * bytesPerUnit;
    return bound <= kTextLimit ? bound : qint64(methodName.toUtf8().size()) + arguments.toUtf8().size();
}

QDBusPendingReply<QString> RefusedRequest(qint64 size)
{
    const QString text =
        QStringLiteral("The request takes %1 bytes, more than the %2 that fit into a message");
    return QDBusPendingCall::fromError(
        QDBusError(QDBusError::LimitsExceeded, text.arg(size).arg(kTextLimit)));
}

} // namespace

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
    const qint64 size = Utf8Size(methodName, arguments);
    if (size > kTextLimit) {
        const QDBusPendingReply<QString> refused = RefusedRequest(size);
        qCCritical(Log) << "ConcreteServiceProvider::AsyncRequest -- D-Bus error:"
                        << refused.error().message();
        return refused;
    }
    return m_Interface.Request(methodName, arguments);
}

QString ConcreteServiceProviderProxy::Request(const QString& methodName, const QString& arguments)
{
    const qint64 size = Utf8Size(methodName, arguments);
    QDBusPendingReply<QString> reply =
        size > kTextLimit ? RefusedRequest(size) : m_Interface.Request(methodName, arguments);
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
