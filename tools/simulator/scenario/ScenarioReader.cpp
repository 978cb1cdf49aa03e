// SPDX-License-Identifier: MIT
#include "ScenarioReader.h"

#include "ActionReader.h"
#include "FaultReader.h"
#include "JsonFields.h"
#include "Vocabulary.h"

namespace Simulator {

namespace {

DestinationModes ReadDestination(const QString& name, const JsonNode& node)
{
    if (name.isEmpty() || name == Value::All) {
        throw JsonError(node.line,
                        QStringLiteral("\"modes\": \"%1\" cannot be the name of a destination").arg(name));
    }
    if (node.type != JsonNode::Type::List || node.elements.isEmpty()) {
        throw JsonFields::Unexpected(name, QStringLiteral("a list of one mode or more"), node);
    }
    DestinationModes result{name, {}};
    for (const JsonNode& element : node.elements) {
        const QString mode = JsonFields::ReadText(name, element);
        if (result.modes.contains(mode)) {
            throw JsonError(element.line,
                            QStringLiteral("\"%1\": mode \"%2\" is given twice").arg(name, mode));
        }
        result.modes.append(mode);
    }
    return result;
}

QVector<DestinationModes> ReadModes(const JsonNode& node)
{
    if (node.type != JsonNode::Type::Object || node.members.isEmpty()) {
        throw JsonFields::Unexpected(QStringLiteral("modes"),
                                     QStringLiteral("an object with a member for each destination"), node);
    }
    QVector<DestinationModes> modes;
    for (const auto& [name, list] : node.members) {
        modes.append(ReadDestination(name, list));
    }
    return modes;
}

ModelSettings ReadSettings(JsonFields& fields)
{
    ModelSettings settings;
    if (const JsonNode* const modes = fields.Optional("modes")) {
        settings.modes = ReadModes(*modes);
    }
    settings.refusedStreams = fields.Texts("refuse");
    settings.lockedStreams = fields.Texts("lock");
    return settings;
}

CallTrigger ReadTrigger(const JsonNode& node)
{
    JsonFields fields(node, QStringLiteral("a trigger"));
    CallTrigger trigger;
    trigger.method = fields.TextOr("method", QString());
    trigger.role = ReadRole(fields);
    trigger.calls = fields.Number("calls", 1, maximumCount).value_or(1);
    fields.Finish();
    return trigger;
}

void ReadTime(JsonFields& fields, Step& step)
{
    if (const JsonNode* const when = fields.Optional("when")) {
        step.when = ReadTrigger(*when);
    }
    step.after = fields.Number("after", 0, maximumMilliseconds).value_or(0);
}

Step ReadStep(const JsonNode& node, bool isTimed)
{
    JsonFields fields(node, QStringLiteral("a step"));
    Step step;
    if (isTimed) {
        ReadTime(fields, step);
    }
    step.name = fields.Text("do");
    step.action = ReadAction(fields);
    fields.Finish();
    return step;
}

Fault ReadFault(const JsonNode& node)
{
    JsonFields fields(node, QStringLiteral("a fault"));
    const Fault fault = ReadFault(fields);
    fields.Finish();
    return fault;
}

} // namespace

Scenario ReadScenario(const QByteArray& text)
{
    const JsonNode root = JsonNode::Parse(text);
    JsonFields fields(root, QStringLiteral("a scenario"));
    fields.TextOr("$schema", QString());
    fields.TextOr("description", QString());
    Scenario scenario;
    scenario.settings = ReadSettings(fields);
    scenario.isPresent = fields.Flag("present").value_or(true);
    scenario.delay = fields.Number("delay", 0, maximumMilliseconds).value_or(0);
    for (const JsonNode& fault : fields.List("faults")) {
        scenario.faults.append(ReadFault(fault));
    }
    for (const JsonNode& step : fields.List("steps")) {
        scenario.steps.append(ReadStep(step, true));
    }
    fields.Finish();
    return scenario;
}

Fault ReadFault(const QByteArray& text)
{
    return ReadFault(JsonNode::Parse(text));
}

Step ReadStep(const QByteArray& text)
{
    return ReadStep(JsonNode::Parse(text), true);
}

Step ReadStepForNow(const QByteArray& text)
{
    return ReadStep(JsonNode::Parse(text), false);
}

} // namespace Simulator
