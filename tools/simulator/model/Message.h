// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_MESSAGE_H
#define SIMULATOR_MODEL_MESSAGE_H

#include <QJsonObject>
#include <QString>
#include <QVector>

#include <optional>

namespace Simulator {

/** The two kinds of clients; the object that a client calls tells which it is. */
enum class Role
{
    Hmi,
    App
};

/** What a client asks for. */
struct Request
{
    Role role;
    QString caller; ///< the client's unique bus name
    QString method;
    QString arguments; ///< as received; should be the text of a JSON object
};

/** What the service does besides answering: it calls a client, or tells everybody. */
struct Effect
{
    enum class Kind
    {
        Call,
        Broadcast
    };

    Kind kind;
    Role role;          ///< of the session that is called; Hmi for a broadcast
    QString busName;    ///< the unique name of the client that is called; empty for a broadcast
    QString objectPath; ///< the client's object; empty for a broadcast
    QString name;       ///< of the method or broadcast
    QJsonObject parameters;
    std::optional<QString> payload = std::nullopt; ///< this text instead of the parameters
};

/** The answer to a request, and what is to be done after it was sent, in this order. */
struct Outcome
{
    QJsonObject reply;
    QVector<Effect> effects;
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_MESSAGE_H
