// SPDX-License-Identifier: MIT
#ifndef KIVCTL_BUS_SERVICEADDRESS_H
#define KIVCTL_BUS_SERVICEADDRESS_H

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
    return QStringLiteral("com.quorvantel.service.AudioManagement");
}

/** The path of the service's object for a role. */
inline QString ServicePath(Role role)
{
    return role == Role::Hmi ? QStringLiteral("/com/kiv/service/AudioManagement/HmiMode")
                             : QStringLiteral("/com/kiv/service/AudioManagement/AudioApplication");
}

} // namespace Kivctl

#endif // KIVCTL_BUS_SERVICEADDRESS_H
