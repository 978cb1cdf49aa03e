// SPDX-License-Identifier: MIT
#include "ServiceObject.h"

#include "ServiceProviderAdaptor.h"

namespace Simulator {

ServiceObject::ServiceObject(Role role, QObject* parent)
    : QObject(parent),
      m_Role(role)
{
    new ServiceProviderAdaptor(this); // a Qt child, which relays the signal
}

QString ServiceObject::Request(const QString&, const QString&)
{
    setDelayedReply(true);
    Q_EMIT Requested(m_Role, message());
    return QString();
}

} // namespace Simulator
