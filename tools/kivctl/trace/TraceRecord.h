// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_TRACERECORD_H
#define KIVCTL_TRACE_TRACERECORD_H

#include <QJsonDocument>
#include <QString>
#include <QStringList>

#include <optional>

namespace Kivctl {

/** What a trace shows: one thing that has happened. A text that does not apply is empty. */
struct TraceRecord
{
    enum class Kind
    {
        Call,
        Reply,     ///< of a call that was seen
        Error,     ///< likewise
        Signal,    ///< a broadcast of the service
        Service,   ///< the service came or left; state says which
        Unanswered ///< a call whose answer is not expected any more; state says why
    };

    enum class Direction
    {
        ToService, ///< a client's call and its answer
        ToClient   ///< the service's call and its answer
    };

    Kind kind = Kind::Call;
    Direction direction = Direction::ToService;
    qint64 time = 0;    ///< microseconds since 1970
    quint32 serial = 0; ///< the call's
    QString role;       ///< "hmi" or "app", by the object of the service or the method; empty when unknown
    QString method;     ///< the request's, or the broadcast's name
    QString text;       ///< arguments, result, payload; the text of an error
    QJsonDocument json; ///< the text, when it is a JSON object or array
    QString errorName;
    QString sender; ///< unique bus name
    QString destination;
    QStringList senderNames; ///< well-known bus names
    QStringList destinationNames;
    QString path;
    QString client; ///< of a call and its answer, as the call names it; the sender of a broadcast
    QStringList clientNames;
    std::optional<qint64> session;
    std::optional<qint64> duration; ///< microseconds since the call
    QString state;
    QString fault; ///< what does not follow the interface
    bool isCut = false;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_TRACERECORD_H
