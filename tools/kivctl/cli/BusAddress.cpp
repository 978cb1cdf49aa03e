// SPDX-License-Identifier: MIT
#include "cli/BusAddress.h"

#include "UsageError.h"
#include "cli/Invocation.h"

#include <QtGlobal>

namespace Kivctl {

namespace {

const char* const systemVariable = "DBUS_SYSTEM_BUS_ADDRESS";

QString FromEnvironment(const char* variable, const QString& otherwise)
{
    const QString address = qEnvironmentVariable(variable);
    return address.isEmpty() ? otherwise : address;
}

QString SessionBusAddress()
{
    const QString folder = qEnvironmentVariable("XDG_RUNTIME_DIR");
    const QString usual = QStringLiteral("unix:path=") + folder + QStringLiteral("/bus");
    return FromEnvironment("DBUS_SESSION_BUS_ADDRESS", usual);
}

} // namespace

QString ChooseBusAddress(const Invocation& invocation)
{
    const bool hasAddress = invocation.IsSet(QStringLiteral("address"));
    const bool isSystem = invocation.IsSet(QStringLiteral("system"));
    const bool isSession = invocation.IsSet(QStringLiteral("session"));
    if (int(hasAddress) + int(isSystem) + int(isSession) > 1) {
        throw Tools::UsageError(QStringLiteral("give only one of --address, --system and --session"));
    }
    if (hasAddress && invocation.Value(QStringLiteral("address")).isEmpty()) {
        throw Tools::UsageError(QStringLiteral("--address: expected the address of a bus"));
    }
    if (hasAddress) {
        return invocation.Value(QStringLiteral("address"));
    }
    return isSession
               ? SessionBusAddress()
               : FromEnvironment(systemVariable, QStringLiteral("unix:path=/run/dbus/system_bus_socket"));
}

void UseBus(const QString& address)
{
    qputenv(systemVariable, address.toLocal8Bit());
}

} // namespace Kivctl
