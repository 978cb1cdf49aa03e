// SPDX-License-Identifier: MIT
#ifndef KIVCTL_BUS_PROTOCOL_H
#define KIVCTL_BUS_PROTOCOL_H

#include <QString>

/** The protocol's names on the bus. */
namespace Kivctl::Protocol {

constexpr char serviceName[] = "com.quorvantel.service.AudioManagement";
constexpr char interfaceName[] = "com.quorvantel.ServiceProvider";
constexpr char requestMember[] = "Request";
constexpr char notifyMember[] = "Notify";
constexpr char hmiPath[] = "/com/kiv/service/AudioManagement/HmiMode";
constexpr char appPath[] = "/com/kiv/service/AudioManagement/AudioApplication";

constexpr char busName[] = "org.freedesktop.DBus";
constexpr char busPath[] = "/org/freedesktop/DBus";

/** "hmi" or "app" for the service's objects, empty for any other path. */
inline QString RoleOfPath(const QString& path)
{
    if (path == QLatin1String(hmiPath)) {
        return QStringLiteral("hmi");
    }
    return path == QLatin1String(appPath) ? QStringLiteral("app") : QString();
}

} // namespace Kivctl::Protocol

#endif // KIVCTL_BUS_PROTOCOL_H
