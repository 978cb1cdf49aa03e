// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_BUSSURROUNDINGS_H
#define KIV_TESTS_BUSSURROUNDINGS_H

#include "AdaptorConnection.h"
#include "FakeService.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"
#include "TestClients.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>

#include <memory>

namespace KivTest {

/** Has the system bus connection of this process deliver everything that the bus has sent to it so far. */
inline void DrainBus()
{
    QDBusConnection::systemBus().interface()->isServiceRegistered(QStringLiteral("org.freedesktop.DBus"));
    QCoreApplication::processEvents();
}

/** Everything that a client needs, on the private bus, with a service in it. Declare it before the client. */
struct BusSurroundings
{
    BusSurroundings() { DrainBus(); }

    /**
     * Returns when this process has handled everything that the service has sent to it before.
     *
     * A call to an object that does not exist is answered after all earlier messages were delivered.
     */
    void Settle()
    {
        service->CallClient(bus.baseService(), QStringLiteral("/nobody"), QStringLiteral("ping"),
                            QStringLiteral("{}"));
        QCoreApplication::processEvents();
    }

    std::unique_ptr<FakeService> service = std::make_unique<FakeService>();
    QDBusConnection bus = QDBusConnection::systemBus();
    Audio::Utils::Kiv::QtDbus::ServiceRegistrator registrator{bus, kClientName};
    Audio::Utils::Kiv::QtDbus::AdaptorConnection connection{bus};
    Audio::Utils::Kiv::QtDbus::ServiceProviderProxyHmiFactory factory;
};

} // namespace KivTest

#endif // KIV_TESTS_BUSSURROUNDINGS_H
