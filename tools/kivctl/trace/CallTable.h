// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_CALLTABLE_H
#define KIVCTL_TRACE_CALLTABLE_H

#include "TraceRecord.h"

#include <QHash>
#include <QMap>
#include <QPair>
#include <QVector>

namespace Kivctl {

/** The calls that wait for their answer, by caller and serial number. Never more than its capacity. */
class CallTable
{
public:
    explicit CallTable(int capacity = 10000);

    /** Keeps a call; @return the calls that had to go for it: of the same serial number, or the oldest. */
    QVector<TraceRecord> Add(const TraceRecord& call);

    /** Hands out the call that a reply belongs to; none when it was not seen. */
    std::optional<TraceRecord> Take(const QString& caller, quint32 serial);

    /** Hands out the calls of a caller, the oldest first. */
    QVector<TraceRecord> TakeOf(const QString& caller);

    /** Hands out all calls, the oldest first. */
    QVector<TraceRecord> TakeAll();

    int Size() const;

private:
    using Key = QPair<QString, quint32>;

    const int m_Capacity;
    quint64 m_Count = 0;
    QMap<quint64, TraceRecord> m_Calls; // in the order of their coming
    QHash<Key, quint64> m_Index;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_CALLTABLE_H
