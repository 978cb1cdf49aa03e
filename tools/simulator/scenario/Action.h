// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_ACTION_H
#define SIMULATOR_SCENARIO_ACTION_H

#include "Fault.h"
#include "Message.h"
#include "Session.h"

#include <QJsonObject>
#include <QString>

#include <optional>
#include <variant>

namespace Simulator {

/** A mode is offered from now on. An empty destination means all of them, here and below. */
struct AddMode
{
    QString mode;
    QString destination;
};

/** A mode is no longer offered. */
struct RemoveMode
{
    QString mode;
    QString destination;
};

/** The user presses a mode on the device's panel. */
struct PressMode
{
    QString mode;
    QString destination;
};

/** A stream of the device's own, a phone call for instance, takes the focus. */
struct StartStream
{
    Stream stream;
    QString destination;
};

/** A stream of the device's own ends. */
struct StopStream
{
    QString name;
};

/** A fault waits for its call from now on. */
struct ArmFault
{
    Fault fault;
};

/** No fault waits any longer. */
struct DisarmFaults
{
};

/** The service takes its bus name back. */
struct Return
{
};

/** The service answers again, first what came in meanwhile. */
struct AnswerAgain
{
};

/** An event of any shape. */
struct Send
{
    Audience to;
    QString name;
    QJsonObject parameters;         ///< a call carries the session's identifier if there is none here
    std::optional<QString> payload; ///< this text instead of the parameters
};

/** What a scenario or the control interface can tell the simulator to do. */
using Action = std::variant<AddMode, RemoveMode, PressMode, StartStream, StopStream, ArmFault, DisarmFaults,
                            Leave, Return, Restart, Crash, StopAnswering, AnswerAgain, Send, Flood>;

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_ACTION_H
