// SPDX-License-Identifier: MIT
#ifndef KIVCTL_BUS_CLIENTNAME_H
#define KIVCTL_BUS_CLIENTNAME_H

#include "IServiceRegistrator.h"
#include "ServiceRegistrator.h"

#include <QString>

class QDBusConnection;

namespace Kivctl {

/**
 * Under which name the service can call this process: one that no other process has,
 * com.quorvantel.audioclient.kivctl.p<PID>.
 *
 * A bus whose policy does not let the process own it gives it its unique name instead, which nobody can refuse.
 */
class ClientName : public Audio::Utils::Kiv::QtDbus::IServiceRegistrator
{
public:
    /** Blocks on the bus. @param bus must be connected, and outlive this object. */
    explicit ClientName(QDBusConnection& bus);

    /** Whether the process owns the name that it wanted. */
    bool IsOwned() const;

    const QString& WantedName() const;
    const QString& GetServiceName() const override;

private:
    Audio::Utils::Kiv::QtDbus::ServiceRegistrator m_Registrator;
    QString m_Name;
};

} // namespace Kivctl

#endif // KIVCTL_BUS_CLIENTNAME_H
