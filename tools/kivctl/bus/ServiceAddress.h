// SPDX-License-Identifier: MIT
#ifndef KIVCTL_BUS_SERVICEADDRESS_H
#define KIVCTL_BUS_SERVICEADDRESS_H

#include "bus/Protocol.h"

#include <QString>

namespace Kivctl {

/** As what the program speaks with the service. */
enum class Role
{
    Hmi,
    App
};

/** The service's bus name. */
inline QString ServiceName()
{
    return QLatin1String(Protocol::serviceName);
}

/** The path of the service's object for a role. */
inline QString ServicePath(Role role)
{
    return QLatin1String(role == Role::Hmi ? Protocol::hmiPath : Protocol::appPath);
}

} // namespace Kivctl

#endif // KIVCTL_BUS_SERVICEADDRESS_H
