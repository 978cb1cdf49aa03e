// SPDX-License-Identifier: MIT
#include "ServiceRegistrator.h"

#include "logging/Log.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QMutexLocker>

namespace Audio::Utils::Kiv::QtDbus {

QMap<QString, int> ServiceRegistrator::smServiceRegisteredCount;
QMutex ServiceRegistrator::smCountLock;

ServiceRegistrator::ServiceRegistrator(QDBusConnection& connection, const QString& serviceName)
    : m_Connection(connection),
      m_ServiceName(serviceName)
{
    if (m_ServiceName.isEmpty()) {
        return;
    }

    const QMutexLocker lock(&smCountLock);
    const int count = ++smServiceRegisteredCount[m_ServiceName];
    qCDebug(Log) << "ServiceRegistrator::ServiceRegistorator -- Incremented register count for service:"
                 << m_ServiceName << "currentCount:" << count;
    if (count > 1) {
        qCDebug(Log)
            << "ServiceRegistrator::ServiceRegistrator -- service already registered, skipping for service:"
            << m_ServiceName;
        return;
    }
    if (count == 1 && !m_Connection.registerService(m_ServiceName)) {
        qCCritical(Log) << "ServiceRegistrator::ServiceRegistrator -- failed to register service:"
                        << m_ServiceName;
        return;
    }
    // Also written after every successful first registration, where its wording does not fit.
    qCWarning(Log) << "ServiceRegistrator::ServiceRegistrator -- register count is less than 1 for service:"
                   << m_ServiceName;
}

ServiceRegistrator::~ServiceRegistrator()
{
    if (m_ServiceName.isEmpty()) {
        return;
    }

    const QMutexLocker lock(&smCountLock);
    const int count = --smServiceRegisteredCount[m_ServiceName];
    qCDebug(Log) << "ServiceRegistrator::ServiceRegistorator -- Decremented register count for service:"
                 << m_ServiceName << "currentCount:" << count;
    if (count == 0) {
        qCDebug(Log) << "ServiceRegistrator::~ServiceRegistrator -- Unregistering DBus service:"
                     << m_ServiceName;
        if (m_Connection.interface() != nullptr) { // Qt crashes on a connection that never was one to a bus
            m_Connection.unregisterService(m_ServiceName);
        }
    } else if (count > 0) {
        qCDebug(Log) << "ServiceRegistrator::~ServiceRegistrator -- service is still being used, delaying "
                        "unregister of service:"
                     << m_ServiceName;
    } else {
        qCWarning(Log) << "ServiceRegistrator::~ServiceRegistrator -- register count is negative for service:"
                       << m_ServiceName;
    }
}

const QString& ServiceRegistrator::GetServiceName() const
{
    return m_ServiceName;
}

} // namespace Audio::Utils::Kiv::QtDbus
