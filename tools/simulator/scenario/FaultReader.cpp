// SPDX-License-Identifier: MIT
#include "FaultReader.h"

#include "Vocabulary.h"

#include <QMap>
#include <QRegularExpression>

namespace Simulator {

namespace {

using KindReader = FaultKind (*)(JsonFields& fields);

Part ReadPart(JsonFields& fields)
{
    return fields.Choice("in", {QStringLiteral("answer"), QStringLiteral("events")}) == 1 ? Part::Events
                                                                                          : Part::Answer;
}

ErrorAnswer ReadErrorAnswer(JsonFields& fields)
{
    static const QRegularExpression valid(QRegularExpression::anchoredPattern(
        QStringLiteral("(?=.{1,255}$)[A-Za-z_][A-Za-z0-9_]*(\\.[A-Za-z_][A-Za-z0-9_]*)+")));
    ErrorAnswer fault;
    if (const JsonNode* const name = fields.Optional("name")) {
        fault.name = JsonFields::ReadText(QStringLiteral("name"), *name);
        if (!valid.match(fault.name).hasMatch()) {
            throw JsonFields::Unexpected(QStringLiteral("name"), QStringLiteral("the name of a D-Bus error"),
                                         *name);
        }
    }
    fault.message = fields.TextOr("message", fault.message);
    return fault;
}

ErrCodeAnswer ReadErrCodeAnswer(JsonFields& fields)
{
    ErrCodeAnswer fault;
    if (const JsonNode* const code = fields.Optional("code")) {
        fault.code = code->ToValue();
    }
    fault.message = fields.TextOr("message", fault.message);
    return fault;
}

TextAnswer ReadTextAnswer(JsonFields& fields)
{
    const TextAnswer fault;
    return {fields.TextOr("text", fault.text)};
}

MissingMember ReadMissingMember(JsonFields& fields)
{
    return {fields.TextOr("member", QString()), ReadPart(fields)};
}

WrongType ReadWrongType(JsonFields& fields)
{
    return {fields.TextOr("member", QString()), ReadPart(fields)};
}

SessionIdAnswer ReadSessionIdAnswer(JsonFields& fields)
{
    return {fields.Required("value").ToValue()};
}

HugeAnswer ReadHugeAnswer(JsonFields& fields)
{
    const HugeAnswer fault;
    return {fields.Number("bytes", 1, maximumBytes).value_or(fault.bytes)};
}

CallBackFirst ReadCallBackFirst(JsonFields& fields)
{
    CallBackFirst fault;
    fault.timeout = fields.Number("timeout", 1, maximumMilliseconds).value_or(fault.timeout);
    fault.name = fields.TextOr("name", QString());
    fault.parameters = fields.Object("parameters");
    return fault;
}

const QMap<QString, KindReader>& KindReaders()
{
    static const QMap<QString, KindReader> readers{
        {QStringLiteral("callBackFirst"),
         [](JsonFields& fields) { return FaultKind(ReadCallBackFirst(fields)); }},
        {QStringLiteral("crash"), [](JsonFields& fields) { return FaultKind(ReadCrash(fields)); }},
        {QStringLiteral("delay"),
         [](JsonFields& fields) {
             fields.Required("delay");
             return FaultKind(Late());
         }},
        {QStringLiteral("duplicateEvents"), [](JsonFields&) { return FaultKind(DuplicateEvents()); }},
        {QStringLiteral("errCode"), [](JsonFields& fields) { return FaultKind(ReadErrCodeAnswer(fields)); }},
        {QStringLiteral("error"), [](JsonFields& fields) { return FaultKind(ReadErrorAnswer(fields)); }},
        {QStringLiteral("eventsFirst"), [](JsonFields&) { return FaultKind(EventsFirst()); }},
        {QStringLiteral("extraMembers"),
         [](JsonFields& fields) { return FaultKind(ExtraMembers{ReadPart(fields)}); }},
        {QStringLiteral("flood"), [](JsonFields& fields) { return FaultKind(ReadFlood(fields)); }},
        {QStringLiteral("foreignEvents"), [](JsonFields&) { return FaultKind(ForeignEvents()); }},
        {QStringLiteral("hugeAnswer"), [](JsonFields& fields) { return FaultKind(ReadHugeAnswer(fields)); }},
        {QStringLiteral("leave"), [](JsonFields& fields) { return FaultKind(ReadLeave(fields)); }},
        {QStringLiteral("missingMember"),
         [](JsonFields& fields) { return FaultKind(ReadMissingMember(fields)); }},
        {QStringLiteral("noAnswer"), [](JsonFields&) { return FaultKind(NoAnswer()); }},
        {QStringLiteral("notJson"), [](JsonFields& fields) { return FaultKind(ReadTextAnswer(fields)); }},
        {QStringLiteral("restart"), [](JsonFields& fields) { return FaultKind(ReadRestart(fields)); }},
        {QStringLiteral("sessionId"),
         [](JsonFields& fields) { return FaultKind(ReadSessionIdAnswer(fields)); }},
        {QStringLiteral("shuffledEvents"), [](JsonFields&) { return FaultKind(ShuffledEvents()); }},
        {QStringLiteral("stopAnswering"),
         [](JsonFields& fields) { return FaultKind(ReadStopAnswering(fields)); }},
        {QStringLiteral("wrongType"), [](JsonFields& fields) { return FaultKind(ReadWrongType(fields)); }}};
    return readers;
}

std::optional<int> ReadTimes(JsonFields& fields)
{
    const JsonNode* const node = fields.Optional("times");
    if (!node) {
        return 1;
    }
    if (node->type == JsonNode::Type::Text && node->scalar.toString() == QLatin1String("always")) {
        return std::nullopt;
    }
    if (node->type != JsonNode::Type::Number) {
        throw JsonFields::Unexpected(QStringLiteral("times"),
                                     QStringLiteral("\"always\" or a whole number from 1"), *node);
    }
    return JsonFields::ReadNumber(QStringLiteral("times"), *node, 1, maximumCount);
}

double ReadProbability(JsonFields& fields)
{
    const JsonNode* const node = fields.Optional("probability");
    if (!node) {
        return 1.0;
    }
    const double probability = node->scalar.toDouble(-1);
    if (probability < 0 || probability > 1) {
        throw JsonFields::Unexpected(QStringLiteral("probability"), QStringLiteral("a number from 0 to 1"),
                                     *node);
    }
    return probability;
}

// One time, or a list of the least and the most.
Duration ReadDelay(JsonFields& fields)
{
    const QString name = QStringLiteral("delay");
    const JsonNode* const node = fields.Optional("delay");
    if (!node) {
        return {};
    }
    if (node->type != JsonNode::Type::List) {
        const int milliseconds = JsonFields::ReadNumber(name, *node, 0, maximumMilliseconds);
        return {milliseconds, milliseconds};
    }
    if (node->elements.size() != 2) {
        throw JsonFields::Unexpected(name, QStringLiteral("a time, or a list of the least and the most"),
                                     *node);
    }
    const int least = JsonFields::ReadNumber(name, node->elements.first(), 0, maximumMilliseconds);
    return {least, JsonFields::ReadNumber(name, node->elements.last(), least, maximumMilliseconds)};
}

} // namespace

Fault ReadFault(JsonFields& fields)
{
    const KindReader readKind = FindReader(KindReaders(), fields, "kind");
    Fault fault;
    fault.name = fields.Text("kind");
    fault.kind = readKind(fields);
    fault.method = fields.TextOr("method", QString());
    fault.role = ReadRole(fields);
    fault.skip = fields.Number("skip", 0, maximumCount).value_or(0);
    fault.times = ReadTimes(fields);
    fault.probability = ReadProbability(fields);
    fault.delay = ReadDelay(fields);
    return fault;
}

std::optional<Role> ReadRole(JsonFields& fields)
{
    const std::optional<int> place = fields.Choice("role", {QStringLiteral("hmi"), QStringLiteral("app")});
    return place ? std::optional<Role>(*place == 0 ? Role::Hmi : Role::App) : std::nullopt;
}

std::optional<Audience> ReadAudience(JsonFields& fields)
{
    const std::optional<int> place =
        fields.Choice("to", {QStringLiteral("hmi"), QStringLiteral("app"), QStringLiteral("all")});
    return place ? std::optional<Audience>(static_cast<Audience>(*place)) : std::nullopt;
}

Leave ReadLeave(JsonFields& fields)
{
    return {fields.Number("milliseconds", 0, maximumMilliseconds)};
}

Restart ReadRestart(JsonFields& fields)
{
    return {fields.Number("milliseconds", 0, maximumMilliseconds).value_or(0)};
}

Crash ReadCrash(JsonFields&)
{
    return {};
}

StopAnswering ReadStopAnswering(JsonFields& fields)
{
    return {fields.Number("milliseconds", 0, maximumMilliseconds)};
}

Flood ReadFlood(JsonFields& fields)
{
    fields.Required("count");
    return {fields.Number("count", 1, maximumCount).value_or(1),
            ReadAudience(fields).value_or(Audience::Hmi)};
}

} // namespace Simulator
