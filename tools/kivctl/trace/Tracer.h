// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_TRACER_H
#define KIVCTL_TRACE_TRACER_H

#include "BusMessage.h"
#include "CallTable.h"
#include "NameBook.h"
#include "TraceRecord.h"

#include <QVector>

namespace Kivctl {

/**
 * Finds the protocol in a bus's messages, in their order: calls of its interface, their answers, its
 * broadcasts, and the coming and going of the service. Other messages become nothing.
 */
class Tracer
{
public:
    /** Tells who had a well-known name before the first message. */
    void AddOwner(const QString& name, const QString& owner);

    /** The service's state before the first message, as a record: "present" or "absent". */
    TraceRecord Beginning(qint64 time) const;

    /**
     * What a message comes to; at most one record of its own, and those of calls that will have no answer.
     */
    QVector<TraceRecord> Handle(const BusMessage& message);

    /** The calls that are still without an answer. */
    QVector<TraceRecord> Finish(qint64 time);

private:
    QVector<TraceRecord> HandleCall(const BusMessage& message);
    QVector<TraceRecord> HandleAnswer(const BusMessage& message);
    QVector<TraceRecord> HandleSignal(const BusMessage& message);
    QVector<TraceRecord> HandleOwnerChange(const BusMessage& message);
    TraceRecord MakeRecord(TraceRecord::Kind kind, const BusMessage& message) const;
    void SetClient(TraceRecord& record, const QString& client) const;
    TraceRecord MakeServiceRecord(const QString& state, const QString& owner, qint64 time) const;
    void LearnOwner(const TraceRecord& call, const BusMessage& answer);

    NameBook m_Names;
    CallTable m_Calls;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_TRACER_H
