// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_LOG_LOGRECORD_H
#define SIMULATOR_LOG_LOGRECORD_H

#include "Message.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace Simulator {

/** Something that has happened, for the log. */
struct LogRecord
{
    enum class Kind
    {
        Request,   ///< a client's request
        Answer,    ///< its answer
        Error,     ///< a D-Bus error as its answer
        Call,      ///< a call to a client
        Broadcast, ///< a broadcast
        Left,      ///< a client that had a session has left the bus
        Failed,    ///< a call to a client went wrong
        Fault,     ///< a fault has hit a request
        Step,      ///< a step was done
        Service    ///< the service has come, has left, …
    };

    Kind kind;
    std::optional<Role> role; ///< of the client
    QString name;             ///< of the method, broadcast, fault or step
    QString payload;          ///< JSON as it went over the bus, or a text
    QString peer;             ///< the client's unique bus name
    QString path;             ///< the client's object
    qint64 time = 0;          ///< ms since the program's start
};

/** One line for people, without a line end; a very long payload is shortened. */
QByteArray ToText(const LogRecord& record);

/** One line for programs: an object as schemas/simulator-log.schema.json describes it, without a line end. */
QByteArray ToJson(const LogRecord& record);

} // namespace Simulator

#endif // SIMULATOR_LOG_LOGRECORD_H
