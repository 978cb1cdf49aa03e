// SPDX-License-Identifier: MIT
#ifndef TOOLS_PATIENTWRITER_H
#define TOOLS_PATIENTWRITER_H

#include <QByteArray>
#include <QDeadlineTimer>

#include <cstdio>

namespace Tools {

/**
 * Writes to a stream whose reader may be stuck, without getting stuck for ever.
 *
 * A write waits for the reader until SIGINT or SIGTERM arrives, which TerminationSignal::Block() holds back, or until
 * the time is over. Then the writer gives up: it drops the rest, and whatever comes later. Whether writing has failed is
 * left to std::ferror().
 */
class PatientWriter
{
public:
    explicit PatientWriter(std::FILE* stream);

    /** Until when a write waits; for ever unless this is called. */
    void SetDeadline(const QDeadlineTimer& deadline);

    /** Writes a text, and flushes the stream. */
    void Write(const QByteArray& text);

    /** Whether something was dropped. */
    bool HasGivenUp() const;

private:
    bool WaitForReader() const;

    std::FILE* const m_Stream;
    QDeadlineTimer m_Deadline{QDeadlineTimer::Forever};
    bool m_HasGivenUp = false;
};

} // namespace Tools

#endif // TOOLS_PATIENTWRITER_H
