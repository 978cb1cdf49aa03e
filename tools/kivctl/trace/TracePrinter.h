// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_TRACEPRINTER_H
#define KIVCTL_TRACE_TRACEPRINTER_H

#include "Output.h"
#include "TraceRecord.h"

namespace Kivctl {

/**
 * Prints records: as JSON, which schemas/kivctl-trace.schema.json describes, or as lines in the manner of the
 * simulator's log, with times of day in UTC:
 *
 *     12:00:01.000250 <- app  requestAudioFocus {"requestType":"query","sessionId":2}  [:1.7 player]  session 2
 *     12:00:01.000612 -> app  requestAudioFocus = {}  [:1.7 player]  session 2, 362 us
 *     12:00:01.000701 => hmi  audioFocusChangeEvent {…}  [:1.3 com.quorvantel.service.AudioManagement]
 *
 * Control characters of messages are escaped. A long text is shortened in a line, and whole in JSON.
 */
class TracePrinter
{
public:
    explicit TracePrinter(const Output& output);

    /** @return false when standard output cannot be written; errno tells why. */
    bool Print(const TraceRecord& record) const;

    static QJsonObject ToJson(const TraceRecord& record);
    static QString ToLine(const TraceRecord& record);

private:
    const Output& m_Output;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_TRACEPRINTER_H
