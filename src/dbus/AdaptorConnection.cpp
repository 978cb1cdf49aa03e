// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"

#include "logging/Log.h"

#include <QDBusConnection>

namespace Audio::Utils::Kiv::QtDbus {

AdaptorConnection::AdaptorConnection(QDBusConnection& connection)
    : m_Connection(connection)
{
}

AdaptorConnection::~AdaptorConnection()
{
    if (!m_ObjectPath.isEmpty()) {
        m_Connection.unregisterObject(m_ObjectPath, QDBusConnection::UnregisterNode);
    }
}

bool AdaptorConnection::RegisterObject(const QString& busName, const QString& objectPath, QObject* object)
{
    qCDebug(Log) << "AdaptorConnection::RegisterObject -- busname =" << busName << "objpath =" << objectPath;
    m_BusName = busName;
    m_ObjectPath = objectPath;
    return m_Connection.registerObject(m_ObjectPath, object, QDBusConnection::ExportAdaptors);
}

} // namespace Audio::Utils::Kiv::QtDbus
