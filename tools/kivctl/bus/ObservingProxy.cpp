// SPDX-License-Identifier: MIT
#include "bus/ObservingProxy.h"

using namespace Audio::Utils::Kiv::QtDbus;

namespace Kivctl {

ObservingProxy::ObservingProxy(Role role, ReplyLog& replies, QObject* parent)
    : ConcreteServiceProviderProxy(ServiceName(), ServicePath(role), parent),
      m_Replies(replies)
{
}

QDBusPendingReply<QString> ObservingProxy::AsyncRequest(const QString& methodName, const QString& arguments)
{
    const QDBusPendingReply<QString> reply =
        ConcreteServiceProviderProxy::AsyncRequest(methodName, arguments);
    m_Replies.insert(methodName, reply);
    return reply;
}

QString ObservingProxy::Request(const QString& methodName, const QString& arguments)
{
    QDBusPendingReply<QString> reply = AsyncRequest(methodName, arguments);
    reply.waitForFinished();
    return reply.isError() ? QStringLiteral("{ \"errCode\" : 0 }") : reply.value();
}

ObservingProxyFactory::ObservingProxyFactory(Role role, ReplyLog& replies)
    : m_Role(role),
      m_Replies(replies)
{
}

IServiceProviderProxy* ObservingProxyFactory::CreateProxy(QObject* parent)
{
    return new ObservingProxy(m_Role, m_Replies, parent);
}

} // namespace Kivctl
