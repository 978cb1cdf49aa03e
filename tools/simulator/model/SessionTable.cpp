// SPDX-License-Identifier: MIT
#include "SessionTable.h"

#include <algorithm>
#include <iterator>

namespace Simulator {

quint32 SessionTable::Open(Session session)
{
    session.id = ++m_LastId;
    m_Sessions.insert(session.id, session);
    return session.id;
}

Session* SessionTable::Find(quint32 id)
{
    const auto found = m_Sessions.find(id);
    return found == m_Sessions.end() ? nullptr : &found.value();
}

template <typename Predicate>
QVector<Session> SessionTable::Select(Predicate matches) const
{
    QVector<Session> selected;
    std::copy_if(m_Sessions.cbegin(), m_Sessions.cend(), std::back_inserter(selected), matches);
    return selected;
}

quint32 SessionTable::IdOf(Role role, const QString& caller, const QString& objectPath) const
{
    const QVector<Session> found = Select([&](const Session& session) {
        return session.role == role && session.caller == caller && session.objectPath == objectPath;
    });
    return found.value(0).id;
}

QVector<Session> SessionTable::OfRole(Role role) const
{
    return Select([role](const Session& session) { return session.role == role; });
}

QVector<Session> SessionTable::OfCaller(const QString& caller) const
{
    return Select([&caller](const Session& session) { return session.caller == caller; });
}

QVector<Session> SessionTable::OfClients() const
{
    return Select([](const Session& session) { return !session.IsOfTheDevice(); });
}

quint32 SessionTable::IdOfDeviceStream(const QString& name) const
{
    const QVector<Session> found = Select(
        [&name](const Session& session) { return session.IsOfTheDevice() && session.stream->name == name; });
    return found.value(0).id;
}

void SessionTable::Close(quint32 id)
{
    m_Sessions.remove(id);
}

void SessionTable::CloseAll()
{
    m_Sessions.clear();
}

} // namespace Simulator
