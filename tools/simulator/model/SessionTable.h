// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_SESSIONTABLE_H
#define SIMULATOR_MODEL_SESSIONTABLE_H

#include "Session.h"

#include <QMap>
#include <QVector>

namespace Simulator {

/**
 * The open sessions, by identifier.
 *
 * Identifiers count from 1 and are not used again.
 */
class SessionTable
{
public:
    /** Opens a session; the identifier of @p session does not matter. @return the new identifier. */
    quint32 Open(Session session);

    /** The session with an identifier; null when there is none. Valid until a session opens or closes. */
    Session* Find(quint32 id);

    /** The session of a client's object; 0 when there is none. */
    quint32 IdOf(Role role, const QString& caller, const QString& objectPath) const;

    /** The sessions of a kind, in the order of their opening. */
    QVector<Session> OfRole(Role role) const;

    /** The sessions of a client, in the order of their opening. */
    QVector<Session> OfCaller(const QString& caller) const;

    /** The sessions of all clients, in the order of their opening. */
    QVector<Session> OfClients() const;

    /** The identifier of the device's own stream of a name; 0 when there is none. */
    quint32 IdOfDeviceStream(const QString& name) const;

    void Close(quint32 id);

    /** Closes all sessions; identifiers go on counting. */
    void CloseAll();

private:
    template <typename Predicate>
    QVector<Session> Select(Predicate matches) const;

    QMap<quint32, Session> m_Sessions;
    quint32 m_LastId = 0;
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_SESSIONTABLE_H
