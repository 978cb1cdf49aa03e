// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_LOG_EVENTLOG_H
#define SIMULATOR_LOG_EVENTLOG_H

#include "LogRecord.h"
#include "PatientWriter.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QStringList>

#include <deque>

namespace Simulator {

/** How the log is written. */
enum class LogFormat
{
    Off,
    Text,
    Json
};

/**
 * What has happened: written line by line, at once, and kept for those who ask.
 *
 * The first line that cannot be written is complained about on standard error.
 */
class EventLog
{
public:
    explicit EventLog(LogFormat format);

    /** Writes to a file from now on instead of standard output. @return what is wrong with it; empty when it is open. */
    QString OpenFile(const QString& path);

    /** Adds a record, and its time. */
    void Add(LogRecord record);

    /** Forgets what is kept; numbers of records start anew. What was written stays. */
    void Clear();

    /** Records as lines of JSON. */
    struct Excerpt
    {
        QStringList lines;
        quint32 next; ///< the number of the first record that is not among them
    };

    /** The records from a number on, as many as fit into an answer on the bus. */
    Excerpt Read(quint32 from) const;

private:
    void Write(const QByteArray& line);
    QString WriteToFile(const QByteArray& line);
    QString WriteToOutput(const QByteArray& line);

    const LogFormat m_Format;
    Tools::PatientWriter m_Output{stdout};
    QFile m_File;
    bool m_HasComplained = false;
    QElapsedTimer m_Clock;
    std::deque<LogRecord> m_Records; ///< the latest
    quint32 m_FirstNumber = 0;       ///< of the first of them
};

} // namespace Simulator

#endif // SIMULATOR_LOG_EVENTLOG_H
