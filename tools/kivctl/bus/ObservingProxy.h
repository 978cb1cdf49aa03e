// SPDX-License-Identifier: MIT
#ifndef KIVCTL_BUS_OBSERVINGPROXY_H
#define KIVCTL_BUS_OBSERVINGPROXY_H

#include "ConcreteServiceProviderProxy.h"
#include "IServiceProviderProxyFactory.h"
#include "bus/ServiceAddress.h"

#include <QDBusPendingReply>
#include <QHash>
#include <QString>

namespace Kivctl {

/** The last reply to each method. A client tells only that a request has failed; here is why. */
using ReplyLog = QHash<QString, QDBusPendingReply<QString>>;

/**
 * The way to the service, which keeps the replies that pass.
 *
 * It attaches no watcher to them: of two watchers Qt can leave the second one waiting, and that would be the
 * client's.
 */
class ObservingProxy : public Audio::Utils::Kiv::QtDbus::ConcreteServiceProviderProxy
{
    Q_OBJECT

public:
    /** @param replies receives the replies; must outlive the proxy. */
    ObservingProxy(Role role, ReplyLog& replies, QObject* parent);

    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override;
    QString Request(const QString& methodName, const QString& arguments) override;

private:
    ReplyLog& m_Replies;
};

/** Makes them. */
class ObservingProxyFactory : public Audio::Utils::Kiv::QtDbus::IServiceProviderProxyFactory
{
public:
    /** @param replies receives the replies; must outlive the factory and its proxies. */
    ObservingProxyFactory(Role role, ReplyLog& replies);

    Audio::Utils::Kiv::QtDbus::IServiceProviderProxy* CreateProxy(QObject* parent) override;

private:
    const Role m_Role;
    ReplyLog& m_Replies;
};

} // namespace Kivctl

#endif // KIVCTL_BUS_OBSERVINGPROXY_H
