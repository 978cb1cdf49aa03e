// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_FAULT_H
#define SIMULATOR_SCENARIO_FAULT_H

#include "Message.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <optional>
#include <variant>

namespace Simulator {

/** A time in milliseconds; where the limits differ, one between them is drawn. */
struct Duration
{
    int least = 0;
    int most = 0;
};

/** Whom an event goes to. */
enum class Audience
{
    Hmi, ///< a call to the session of every HMI
    App, ///< a call to the session of every application
    All  ///< a broadcast
};

/** Which part of an outcome a fault spoils. */
enum class Part
{
    Answer,
    Events
};

// --- Faults by which the request is not done ---

/** The request is never answered. */
struct NoAnswer
{
};

/** A D-Bus error is the answer. */
struct ErrorAnswer
{
    QString name = QStringLiteral("org.freedesktop.DBus.Error.Failed");
    QString message = QStringLiteral("simulated failure");
};

/** A refusal with any "errCode" is the answer. */
struct ErrCodeAnswer
{
    QJsonValue code = 99;
    QString message = QStringLiteral("simulated refusal");
};

// --- Faults by which the request is done, and something is wrong with its outcome ---

/** The answer is late, and nothing else. */
struct Late
{
};

/** A text is the answer, whatever it is. */
struct TextAnswer
{
    QString text = QStringLiteral("this is not JSON");
};

/** A member is missing; without a name all of them. The identifier of an event's session is a member, too. */
struct MissingMember
{
    QString member;
    Part part = Part::Answer;
};

/** A member has another type; without a name all of them. */
struct WrongType
{
    QString member;
    Part part = Part::Answer;
};

/** There are members that nobody knows, one of each JSON type. */
struct ExtraMembers
{
    Part part = Part::Answer;
};

/** The session identifier of the answer is any value. */
struct SessionIdAnswer
{
    QJsonValue value;
};

/** The answer has a further member, a text of many bytes. */
struct HugeAnswer
{
    int bytes = 1024 * 1024;
};

/** Each event comes twice. */
struct DuplicateEvents
{
};

/** The events come in another order, which is drawn. */
struct ShuffledEvents
{
};

/** The events come before the answer. */
struct EventsFirst
{
};

/** The events carry the identifier of a session that is not the client's. */
struct ForeignEvents
{
};

/** The answer is withheld until a call back into the waiting client was answered or has timed out. */
struct CallBackFirst
{
    int timeout = 1000;     ///< ms
    QString name;           ///< empty: an event that fits the client
    QJsonObject parameters; ///< the session's identifier is added if there is none
};

// --- What happens to the service; the call in which it does is not answered, but for Leave and Flood ---

/** The service gives its bus name away, and takes it back after a time; its sessions stay. */
struct Leave
{
    std::optional<int> milliseconds; ///< none: until told to return
};

/** The service leaves the bus and is back after a time with nothing but what it had at its start. */
struct Restart
{
    int milliseconds = 0;
};

/** The service's process ends by SIGABRT. */
struct Crash
{
};

/** The service answers nothing, though its process lives; what came in meanwhile is answered afterwards. */
struct StopAnswering
{
    std::optional<int> milliseconds; ///< none: until told to answer again
};

/** Many numbered events, without waiting for an answer to any. As a fault they follow the answer. */
struct Flood
{
    int count = 0;
    Audience to = Audience::Hmi;
};

using FaultKind =
    std::variant<NoAnswer, ErrorAnswer, ErrCodeAnswer, Late, TextAnswer, MissingMember, WrongType,
                 ExtraMembers, SessionIdAnswer, HugeAnswer, DuplicateEvents, ShuffledEvents, EventsFirst,
                 ForeignEvents, CallBackFirst, Leave, Restart, Crash, StopAnswering, Flood>;

/** Something that goes wrong with the calls that it waits for. */
struct Fault
{
    QString name; ///< of its kind, as scenarios write it
    FaultKind kind;
    QString method;               ///< empty: any
    std::optional<Role> role;     ///< none: any
    int skip = 0;                 ///< so many calls pass unharmed first
    std::optional<int> times = 1; ///< so many calls are hit; none: all
    double probability = 1.0;     ///< with which a call is hit; one that is spared is not counted
    Duration delay;               ///< of the answer
};

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_FAULT_H
