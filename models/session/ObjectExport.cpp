// SPDX-License-Identifier: MIT
#include "ObjectExport.h"

namespace Audio::Utils::Kiv::Models {

ObjectExport::ObjectExport(const QDBusConnection& bus)
    : m_Bus(bus)
{
}

// The object can also have been exported later than it was to be.
ObjectExport::~ObjectExport()
{
    if (m_Object != nullptr && m_Bus.objectRegisteredAt(m_Path) == m_Object) {
        m_Bus.unregisterObject(m_Path, QDBusConnection::UnregisterNode);
    }
}

bool ObjectExport::RegisterObject(const QString& /*busName*/, const QString& objectPath, QObject* object)
{
    m_Path = objectPath;
    m_Object = object;
    return m_Bus.registerObject(objectPath, object, QDBusConnection::ExportAdaptors);
}

} // namespace Audio::Utils::Kiv::Models
