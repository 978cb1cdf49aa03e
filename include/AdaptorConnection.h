// SPDX-License-Identifier: MIT
#ifndef ADAPTORCONNECTION_H
#define ADAPTORCONNECTION_H

#include "IAdaptorConnection.h"
#include "KivQtDbusExport.h"

#include <QString>

class QDBusConnection;

namespace Audio::Utils::Kiv::QtDbus {

/**
 * Exports one object on a bus connection, and removes it again when destroyed.
 *
 * Give each client an AdaptorConnection and a path of its own. Only the path of the *last* RegisterObject() call
 * is removed at the end; earlier ones stay on the connection. It is removed even when that call failed because
 * another object has the path, and then that object is no longer reachable.
 *
 * Use it on the thread of the client. Nothing blocks.
 *
 * @code
 * QDBusConnection bus = QDBusConnection::systemBus();
 * AdaptorConnection connection(bus); // before the client, so that it outlives it
 * @endcode
 */
class KIV_QTDBUS_EXPORT AdaptorConnection : public IAdaptorConnection
{
public:
    /** @param connection the bus; kept as a reference, must outlive this object. */
    explicit AdaptorConnection(QDBusConnection& connection);
    /** Removes the object of the last RegisterObject() call from the bus. */
    ~AdaptorConnection() override;

    /**
     * Exports the D-Bus adaptors that are attached to @p object, not its own slots and signals.
     *
     * @param busName kept for the record only; an object is reachable under every name of the connection.
     * @param objectPath a valid D-Bus object path that is not in use on the connection.
     * @param object the object, not owned; destroying it ends the export too.
     * @return false when the path is taken or not valid, or when there is no connection to the bus.
     */
    bool RegisterObject(const QString& busName, const QString& objectPath, QObject* object) override;

protected:
    QDBusConnection& m_Connection; ///< The bus, not owned.
    QString m_BusName;             ///< Of the last RegisterObject() call.
    QString m_ObjectPath;          ///< Of the last RegisterObject() call; empty before the first one.
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // ADAPTORCONNECTION_H
