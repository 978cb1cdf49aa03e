// SPDX-License-Identifier: MIT
#include "ComQuorvantelServiceProviderInterface.h"

#include <QVariant>

ComQuorvantelServiceProviderInterface::ComQuorvantelServiceProviderInterface(
    const QString& service, const QString& path, const QDBusConnection& connection, QObject* parent)
    : QDBusAbstractInterface(service, path, staticInterfaceName(), connection, parent)
{
}

ComQuorvantelServiceProviderInterface::~ComQuorvantelServiceProviderInterface() = default;

QDBusPendingReply<QString> ComQuorvantelServiceProviderInterface::Request(const QString& methodName,
                                                                          const QString& arguments)
{
    return asyncCallWithArgumentList(QStringLiteral("Request"), {methodName, arguments});
}
