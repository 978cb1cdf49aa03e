// SPDX-License-Identifier: MIT
#include "bus/ClientName.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>

namespace Kivctl {

namespace {

QString NameOfProcess()
{
    return QStringLiteral("com.quorvantel.audioclient.kivctl.p%1").arg(QCoreApplication::applicationPid());
}

bool Owns(const QDBusConnection& bus, const QString& name)
{
    const QDBusReply<QString> owner = bus.interface()->serviceOwner(name);
    return owner.isValid() && owner.value() == bus.baseService();
}

} // namespace

ClientName::ClientName(QDBusConnection& bus)
    : m_Registrator(bus, NameOfProcess()),
      m_Name(Owns(bus, m_Registrator.GetServiceName()) ? m_Registrator.GetServiceName() : bus.baseService())
{
}

bool ClientName::IsOwned() const
{
    return m_Name == WantedName();
}

const QString& ClientName::WantedName() const
{
    return m_Registrator.GetServiceName();
}

const QString& ClientName::GetServiceName() const
{
    return m_Name;
}

} // namespace Kivctl
