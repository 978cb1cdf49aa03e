// SPDX-License-Identifier: MIT
#include "Spoiler.h"

#include "Vocabulary.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <utility>

namespace Simulator {

namespace {

constexpr qint64 foreignSessionOffset = 1000000;

// A value of another type than the given one.
QJsonValue OfOtherType(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Double:
        return QString::number(value.toDouble());
    case QJsonValue::String:
        return static_cast<int>(value.toString().size());
    default:
        return QStringLiteral("of another type");
    }
}

void Remove(QJsonObject& object, const QString& member)
{
    if (member.isEmpty()) {
        object = QJsonObject();
    } else {
        object.remove(member);
    }
}

void ChangeType(QJsonObject& object, const QString& member)
{
    const QStringList members = member.isEmpty() ? object.keys() : QStringList(member);
    for (const QString& key : members) {
        object.insert(key, OfOtherType(object.value(key)));
    }
}

void AddExtra(QJsonObject& object)
{
    object.insert(QStringLiteral("extraBoolean"), true);
    object.insert(QStringLiteral("extraList"), QJsonArray{});
    object.insert(QStringLiteral("extraNothing"), QJsonValue::Null);
    object.insert(QStringLiteral("extraNumber"), 1.5);
    object.insert(QStringLiteral("extraObject"),
                  QJsonObject{{QStringLiteral("inner"), QStringLiteral("text")}});
    object.insert(QStringLiteral("extraText"), QStringLiteral("nobody asked for it"));
}

template <typename Change>
void ChangePart(Outcome& outcome, Part part, Change change)
{
    if (part == Part::Answer) {
        change(outcome.reply);
        return;
    }
    for (Effect& effect : outcome.effects) {
        change(effect.parameters);
    }
}

QVector<Effect> Twice(const QVector<Effect>& effects)
{
    QVector<Effect> all;
    for (const Effect& effect : effects) {
        all << effect << effect;
    }
    return all;
}

void Shuffle(QVector<Effect>& effects, Randomness& randomness)
{
    for (int last = static_cast<int>(effects.size()) - 1; last > 0; --last) {
        std::swap(effects[last], effects[randomness.Below(last + 1)]);
    }
}

void MakeForeign(QVector<Effect>& effects)
{
    for (Effect& effect : effects) {
        if (effect.kind == Effect::Kind::Call) {
            const qint64 own = effect.parameters.value(Key::SessionId).toVariant().toLongLong();
            effect.parameters.insert(Key::SessionId, own + foreignSessionOffset);
        }
    }
}

// One overload for each kind of fault: how it spoils the outcome.
class Spoiling
{
public:
    Spoiling(const Outcome& outcome, Randomness& randomness)
        : m_Outcome(outcome),
          m_Randomness(randomness)
    {
    }

    Answer operator()(const NoAnswer&) const { return Nothing(); }
    Answer operator()(const Restart&) const { return Nothing(); }
    Answer operator()(const Crash&) const { return Nothing(); }
    Answer operator()(const StopAnswering&) const { return Nothing(); }
    Answer operator()(const Late&) const { return ToAnswer(m_Outcome); }
    Answer operator()(const CallBackFirst&) const { return ToAnswer(m_Outcome); }
    Answer operator()(const Leave&) const { return ToAnswer(m_Outcome); }
    Answer operator()(const Flood&) const { return ToAnswer(m_Outcome); }

    Answer operator()(const ErrorAnswer& fault) const
    {
        Answer answer;
        answer.kind = Answer::Kind::Error;
        answer.errorName = fault.name;
        answer.text = fault.message;
        return answer;
    }

    Answer operator()(const ErrCodeAnswer& fault)
    {
        m_Outcome.reply = {{Key::ErrCode, fault.code}, {Key::ErrMessage, fault.message}};
        return ToAnswer(m_Outcome);
    }

    Answer operator()(const TextAnswer& fault) const
    {
        Answer answer = ToAnswer(m_Outcome);
        answer.text = fault.text;
        return answer;
    }

    Answer operator()(const MissingMember& fault)
    {
        ChangePart(m_Outcome, fault.part, [&](QJsonObject& object) { Remove(object, fault.member); });
        return ToAnswer(m_Outcome);
    }

    Answer operator()(const WrongType& fault)
    {
        ChangePart(m_Outcome, fault.part, [&](QJsonObject& object) { ChangeType(object, fault.member); });
        return ToAnswer(m_Outcome);
    }

    Answer operator()(const ExtraMembers& fault)
    {
        ChangePart(m_Outcome, fault.part, AddExtra);
        return ToAnswer(m_Outcome);
    }

    Answer operator()(const SessionIdAnswer& fault)
    {
        m_Outcome.reply.insert(Key::SessionId, fault.value);
        return ToAnswer(m_Outcome);
    }

    Answer operator()(const HugeAnswer& fault)
    {
        m_Outcome.reply.insert(QStringLiteral("padding"), QString(fault.bytes, QLatin1Char('x')));
        return ToAnswer(m_Outcome);
    }

    Answer operator()(const DuplicateEvents&)
    {
        m_Outcome.effects = Twice(m_Outcome.effects);
        return ToAnswer(m_Outcome);
    }

    Answer operator()(const ShuffledEvents&)
    {
        Shuffle(m_Outcome.effects, m_Randomness);
        return ToAnswer(m_Outcome);
    }

    Answer operator()(const EventsFirst&) const
    {
        Answer answer = ToAnswer(m_Outcome);
        answer.eventsBefore = std::exchange(answer.eventsAfter, {});
        return answer;
    }

    Answer operator()(const ForeignEvents&)
    {
        MakeForeign(m_Outcome.effects);
        return ToAnswer(m_Outcome);
    }

private:
    static Answer Nothing()
    {
        Answer answer;
        answer.kind = Answer::Kind::None;
        return answer;
    }

    Outcome m_Outcome;
    Randomness& m_Randomness;
};

template <typename... Kinds>
bool IsOneOf(const FaultKind& kind)
{
    return (std::holds_alternative<Kinds>(kind) || ...);
}

} // namespace

bool IsRequestDone(const Fault& fault)
{
    return !IsOneOf<NoAnswer, ErrorAnswer, ErrCodeAnswer, Restart, Crash, StopAnswering>(fault.kind);
}

Answer ToAnswer(const Outcome& outcome)
{
    Answer answer;
    answer.text = ToText(outcome.reply);
    answer.eventsAfter = outcome.effects;
    return answer;
}

Answer Spoil(const Fault& fault, const Outcome& outcome, Randomness& randomness)
{
    Answer answer = std::visit(Spoiling(outcome, randomness), fault.kind);
    answer.delay = randomness.Between(fault.delay);
    return answer;
}

QString ToText(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString PayloadOf(const Effect& effect)
{
    return effect.payload.value_or(ToText(effect.parameters));
}

} // namespace Simulator
