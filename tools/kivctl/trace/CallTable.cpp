// SPDX-License-Identifier: MIT
#include "CallTable.h"

namespace Kivctl {

CallTable::CallTable(int capacity)
    : m_Capacity(capacity)
{
}

QVector<TraceRecord> CallTable::Add(const TraceRecord& call)
{
    QVector<TraceRecord> dropped;
    if (const auto former = Take(call.sender, call.serial)) {
        dropped.append(*former);
    }
    if (m_Calls.size() >= m_Capacity) {
        const TraceRecord oldest = m_Calls.first();
        dropped.append(oldest);
        Take(oldest.sender, oldest.serial);
    }
    m_Index.insert({call.sender, call.serial}, m_Count);
    m_Calls.insert(m_Count++, call);
    return dropped;
}

std::optional<TraceRecord> CallTable::Take(const QString& caller, quint32 serial)
{
    const auto place = m_Index.find({caller, serial});
    if (place == m_Index.end()) {
        return std::nullopt;
    }
    TraceRecord call = m_Calls.take(*place);
    m_Index.erase(place);
    return call;
}

QVector<TraceRecord> CallTable::TakeOf(const QString& caller)
{
    QVector<TraceRecord> calls;
    for (const TraceRecord& call : qAsConst(m_Calls)) {
        if (call.sender == caller) {
            calls.append(call);
        }
    }
    for (const TraceRecord& call : qAsConst(calls)) {
        Take(caller, call.serial);
    }
    return calls;
}

QVector<TraceRecord> CallTable::TakeAll()
{
    const QVector<TraceRecord> calls = m_Calls.values().toVector();
    m_Calls.clear();
    m_Index.clear();
    return calls;
}

int CallTable::Size() const
{
    return static_cast<int>(m_Calls.size());
}

} // namespace Kivctl
