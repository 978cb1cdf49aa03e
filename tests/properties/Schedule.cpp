// SPDX-License-Identifier: MIT
#include "Schedule.h"

#include <random>

namespace KivTest {

namespace {

// How an action is drawn and told. In the text, %1 is the client, %2 the operation, %3 the mode, %4 the
// outcome, %5 the place, %6 the number of modes.
struct ActionInfo
{
    Action action;
    int weight;
    const char* text;
};

const std::array<ActionInfo, 20> kActions{{
    {Action::Create, 8, "%1 is made and initialised"},
    {Action::Delete, 1, "%1 is deleted"},
    {Action::PowerDown, 1, "%1 is powered down"},
    {Action::CallAsync, 40, "%1: %2Async, argument \"%3\""},
    {Action::CallElsewhere, 5, "%1: %2Async, argument \"%3\", from another thread"},
    {Action::CallBlocking, 8, "%1: %2, blocking, argument \"%3\""},
    {Action::ReactDelete, 2, "%1 will be deleted in a slot of its next completion"},
    {Action::ReactPowerDown, 2, "%1 will be powered down in a slot of its next completion"},
    {Action::ReactCall, 6, "%1 will call %2Async, argument \"%3\", in a slot of its next completion"},
    {Action::Answer, 36, "the service answers waiting request %5 (0 is the oldest): %4, %6 modes"},
    {Action::AnswerAtOnce, 4, "the service answers the next request at once: accept"},
    {Action::AnswerBlocking, 3, "the service answers blocking requests from now on: %4, %6 modes"},
    {Action::Kill, 2, "the service is killed"},
    {Action::Appear, 8, "the service appears"},
    {Action::LoseBus, 1, "the bus is lost"},
    {Action::RegainBus, 6, "the bus is back"},
    {Action::AddMode, 16, "the service adds mode \"%3\" for %1"},
    {Action::RemoveMode, 8, "the service removes mode \"%3\" for %1"},
    {Action::ChangeMode, 2, "the service changes the mode of %1 to \"%3\""},
    {Action::StrangeEvent, 2, "the service adds mode \"%3\" for %1, with another session"},
}};

const char* const kOutcomes[] = {"accept", "error code", "D-Bus error", "not JSON", "wrong type"};

using Operations = QVector<Operation>;

// An operation that is listed more often is drawn more often.
const Operations& OperationsOf(int client)
{
    using O = Operation;
    static const Operations hmi{O::OpenSession, O::OpenSession, O::CloseSession, O::GetModeList,
                                O::GetMode,     O::SetMode,     O::SetMode,      O::SetMode,
                                O::SetMode,     O::SetMode,     O::SetMode};
    static const Operations app{O::OpenSession,         O::OpenSession,         O::CloseSession,
                                O::RegisterAudioStream, O::RegisterAudioStream, O::RequestAudioFocus,
                                O::RequestAudioFocus,   O::AudioActive,         O::AudioActive,
                                O::AbandonAudioFocus,   O::AbandonAudioFocus};
    return Clients()[static_cast<size_t>(client)].isHmi ? hmi : app;
}

// The distributions of the standard library differ between its makers; the engine does not.
class Dice
{
public:
    explicit Dice(quint32 seed)
        : m_Engine(seed)
    {
    }

    int Below(int limit) { return static_cast<int>(m_Engine() % static_cast<quint32>(limit)); }

private:
    std::mt19937 m_Engine;
};

int TotalWeight()
{
    int total = 0;
    for (const ActionInfo& info : kActions) {
        total += info.weight;
    }
    return total;
}

Action DrawAction(Dice& dice)
{
    static const int total = TotalWeight();
    int left = dice.Below(total);
    for (const ActionInfo& info : kActions) {
        left -= info.weight;
        if (left < 0) {
            return info.action;
        }
    }
    return Action::Answer; // not reached
}

Step DrawStep(Dice& dice)
{
    Step step;
    step.action = DrawAction(dice);
    step.client = dice.Below(static_cast<int>(Clients().size()));
    const Operations& operations = OperationsOf(step.client);
    step.operation = operations[dice.Below(int(operations.size()))];
    step.mode = dice.Below(int(Modes().size()));
    // As many accepted as all others together.
    step.outcome = dice.Below(2) == 0 ? Outcome::Accept : static_cast<Outcome>(1 + dice.Below(4));
    step.place = dice.Below(6);
    return step;
}

} // namespace

bool Step::operator==(const Step& other) const
{
    return action == other.action && client == other.client && operation == other.operation &&
           mode == other.mode && outcome == other.outcome && place == other.place;
}

const std::array<ClientInfo, 3>& Clients()
{
    static const std::array<ClientInfo, 3> clients{{{"hmi 1", true}, {"app", false}, {"hmi 2", true}}};
    return clients;
}

const QStringList& Modes()
{
    static const QStringList modes{"A", "B", "C", ""};
    return modes;
}

QStringList FirstModes(int count)
{
    return Modes().mid(0, count);
}

quint32 SessionOf(int client, quint32 count)
{
    return 100 * static_cast<quint32>(client + 1) + count;
}

QString NameOf(Operation operation)
{
    static const QStringList names{"OpenSession",       "CloseSession", "GetModeList",
                                   "GetMode",           "SetMode",      "RegisterAudioStream",
                                   "RequestAudioFocus", "AudioActive",  "AbandonAudioFocus"};
    return names[static_cast<int>(operation)];
}

Schedule MakeSchedule(quint32 seed)
{
    Dice dice(seed);
    Schedule schedule;
    for (int client = 0; client < static_cast<int>(Clients().size()); ++client) {
        Step step;
        step.client = client;
        schedule.append(step);
    }
    const int length = 10 + dice.Below(50);
    while (schedule.size() < length) {
        schedule.append(DrawStep(dice));
    }
    return schedule;
}

QString ToText(const Step& step)
{
    QString text = kActions[static_cast<size_t>(step.action)].text;
    const QString values[] = {Clients()[static_cast<size_t>(step.client)].name,
                              NameOf(step.operation),
                              Modes()[step.mode],
                              kOutcomes[static_cast<int>(step.outcome)],
                              QString::number(step.place),
                              QString::number(step.mode)};
    int number = 0;
    for (const QString& value : values) {
        text.replace(QStringLiteral("%%1").arg(++number), value);
    }
    return text;
}

QString ToText(const Schedule& schedule)
{
    QString text;
    int number = 0;
    for (const Step& step : schedule) {
        text += QStringLiteral("%1. %2\n").arg(++number, 4).arg(ToText(step));
    }
    return text;
}

} // namespace KivTest
