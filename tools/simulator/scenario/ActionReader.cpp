// SPDX-License-Identifier: MIT
#include "ActionReader.h"

#include "FaultReader.h"
#include "Vocabulary.h"

#include <QMap>

namespace Simulator {

namespace {

using ActionMaker = Action (*)(JsonFields& fields);

QString ReadDestination(JsonFields& fields)
{
    return fields.TextOr("destination", QString());
}

StartStream ReadStartStream(JsonFields& fields)
{
    StartStream action;
    action.stream.name = fields.Text("name");
    action.stream.type = fields.TextOr("type", QStringLiteral("Phone"));
    const auto isPermanent = fields.Choice("focusType", {Value::Transient, Value::Permanent}) == 1;
    action.stream.focusType = isPermanent ? Value::Permanent : Value::Transient;
    action.stream.modeName = fields.TextOr("modeName", QString());
    action.destination = ReadDestination(fields);
    return action;
}

ArmFault ReadArmFault(JsonFields& fields)
{
    JsonFields fault(fields.Required("fault"), QStringLiteral("a fault"));
    const ArmFault action{ReadFault(fault)};
    fault.Finish();
    return action;
}

Send ReadSend(JsonFields& fields)
{
    fields.Required("to");
    Send action;
    action.to = ReadAudience(fields).value_or(Audience::Hmi);
    action.name = fields.Text("name");
    action.parameters = fields.Object("parameters");
    if (const JsonNode* const payload = fields.Optional("payload")) {
        action.payload = fields.TextOr("payload", QString());
        if (fields.Has("parameters")) {
            throw JsonError(
                payload->line,
                QStringLiteral("\"payload\": stands in the place of \"parameters\"; there are both"));
        }
    }
    return action;
}

const QMap<QString, ActionMaker>& ActionMakers()
{
    static const QMap<QString, ActionMaker> makers{
        {QStringLiteral("addMode"),
         [](JsonFields& fields) {
             return Action(AddMode{fields.Text("mode"), ReadDestination(fields)});
         }},
        {QStringLiteral("answerAgain"), [](JsonFields&) { return Action(AnswerAgain()); }},
        {QStringLiteral("armFault"), [](JsonFields& fields) { return Action(ReadArmFault(fields)); }},
        {QStringLiteral("crash"), [](JsonFields& fields) { return Action(ReadCrash(fields)); }},
        {QStringLiteral("disarmFaults"), [](JsonFields&) { return Action(DisarmFaults()); }},
        {QStringLiteral("flood"), [](JsonFields& fields) { return Action(ReadFlood(fields)); }},
        {QStringLiteral("leave"), [](JsonFields& fields) { return Action(ReadLeave(fields)); }},
        {QStringLiteral("pressMode"),
         [](JsonFields& fields) {
             return Action(PressMode{fields.Text("mode"), ReadDestination(fields)});
         }},
        {QStringLiteral("removeMode"),
         [](JsonFields& fields) {
             return Action(RemoveMode{fields.Text("mode"), ReadDestination(fields)});
         }},
        {QStringLiteral("restart"), [](JsonFields& fields) { return Action(ReadRestart(fields)); }},
        {QStringLiteral("return"), [](JsonFields&) { return Action(Return()); }},
        {QStringLiteral("send"), [](JsonFields& fields) { return Action(ReadSend(fields)); }},
        {QStringLiteral("startStream"), [](JsonFields& fields) { return Action(ReadStartStream(fields)); }},
        {QStringLiteral("stopAnswering"),
         [](JsonFields& fields) { return Action(ReadStopAnswering(fields)); }},
        {QStringLiteral("stopStream"),
         [](JsonFields& fields) { return Action(StopStream{fields.Text("name")}); }}};
    return makers;
}

} // namespace

Action ReadAction(JsonFields& fields)
{
    return FindReader(ActionMakers(), fields, "do")(fields);
}

} // namespace Simulator
