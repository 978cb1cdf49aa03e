// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SERVICEOBJECT_H
#define SIMULATOR_SERVICEOBJECT_H

#include "Message.h"

#include <QDBusContext>
#include <QDBusMessage>
#include <QObject>

namespace Simulator {

/**
 * One of the service's two objects on the bus, behind the generated adaptor of the interface.
 *
 * It passes requests on and leaves the answer to whoever takes them, so that events can follow the answer.
 */
class ServiceObject : public QObject, protected QDBusContext
{
    Q_OBJECT

public:
    /** @param role the kind of clients that call this object. */
    explicit ServiceObject(Role role, QObject* parent = nullptr);

    /** Called by the adaptor. The result is not used: the answer is sent as a message of its own. */
    QString Request(const QString& methodName, const QString& arguments);

Q_SIGNALS:
    /** A client has called; @p call is to be answered. */
    void Requested(Simulator::Role role, const QDBusMessage& call);

    /** Emitting it sends the broadcast. */
    void Notify(const QString& signalName, const QString& payload);

private:
    const Role m_Role;
};

} // namespace Simulator

#endif // SIMULATOR_SERVICEOBJECT_H
