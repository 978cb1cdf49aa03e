// SPDX-License-Identifier: MIT
#include "stream/FocusMachine.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Audio::Utils::Kiv::Models {

namespace {

using Step = FocusMachine::Step;
using Event = FocusMachine::Event;
using Action = FocusMachine::Action;
using Notice = FocusMachine::Notice;
using Reason = AudioStream::Reason;
using State = AudioStream::State;

/** What an event does in a step. */
struct Rule
{
    Step step;
    Event event;
    Step next;
    Action action = Action::None;
    Notice notice = Notice::None;
};

// What is not here changes nothing. SessionOpened and ServiceLeft do the same in every step, see Handle().
constexpr Rule kRules[] = {
    {Step::Registering, Event::Registered, Step::Idle},
    {Step::Registering, Event::RegistrationRefused, Step::Unregistered},
    {Step::Unregistered, Event::Registered, Step::Idle},

    {Step::Idle, Event::RequestFocus, Step::Requested, Action::Request},
    {Step::Refused, Event::RequestFocus, Step::Requested, Action::Request},
    {Step::Lost, Event::RequestFocus, Step::Requested, Action::Request},
    {Step::Idle, Event::Granted, Step::Returning, Action::GiveBack},
    {Step::Refused, Event::Granted, Step::Returning, Action::GiveBack},
    {Step::Lost, Event::Granted, Step::Returning, Action::GiveBack},

    // What comes before the answer to the abandonment belongs to the request before.
    {Step::Returning, Event::AbandonAnswered, Step::Idle},
    {Step::Returning, Event::RequestFocus, Step::Reclaiming},
    {Step::Reclaiming, Event::AbandonAnswered, Step::Requested, Action::Request},
    {Step::Reclaiming, Event::Abandon, Step::Returning},

    {Step::Requested, Event::Abandon, Step::Returning, Action::Abandon},
    {Step::Requested, Event::RequestRefused, Step::Refused},
    {Step::Requested, Event::Granted, Step::Focused},
    {Step::Requested, Event::Failed, Step::Refused},
    {Step::Requested, Event::TemporarilyLost, Step::Interrupted, Action::None, Notice::Pause},
    {Step::Requested, Event::Lost, Step::Lost},

    {Step::Focused, Event::Abandon, Step::Returning, Action::Abandon},
    {Step::Focused, Event::Abandoned, Step::Idle},
    {Step::Focused, Event::TemporarilyLost, Step::Interrupted, Action::None, Notice::Pause},
    {Step::Focused, Event::Lost, Step::Lost},

    {Step::Interrupted, Event::Abandon, Step::Returning, Action::Abandon},
    {Step::Interrupted, Event::Abandoned, Step::Idle},
    {Step::Interrupted, Event::Gained, Step::Focused, Action::None, Notice::Resume},
    {Step::Interrupted, Event::Lost, Step::Lost},
};

Rule RuleOf(Step step, Event event)
{
    if (event == Event::SessionOpened) {
        return {step, event, Step::Registering, Action::Register};
    }
    if (event == Event::ServiceLeft) {
        return {step, event, Step::Offline};
    }
    const auto rule = std::find_if(std::begin(kRules), std::end(kRules), [step, event](const Rule& each) {
        return each.step == step && each.event == event;
    });
    return rule == std::end(kRules) ? Rule{step, event, step} : *rule;
}

State StateOf(Step step)
{
    constexpr std::array<State, FocusMachine::kStepCount> states{
        State::Offline,     State::Registering, State::Refused,   State::Idle,
        State::Idle,        State::Requested,   State::Requested, State::Focused,
        State::Interrupted, State::Refused,     State::Lost};
    return states[size_t(step)];
}

bool IsClaim(Step step)
{
    const State state = StateOf(step);
    return state == State::Requested || state == State::Focused || state == State::Interrupted;
}

/** Why a claim has ended with an event. */
Reason ReasonOf(Event event)
{
    switch (event) {
    case Event::SessionOpened:
    case Event::ServiceLeft:
        return Reason::ServiceLeft;
    case Event::Abandon:
    case Event::Abandoned:
        return Reason::Abandoned;
    case Event::Lost:
        return Reason::TakenOver;
    default:
        return Reason::Refused;
    }
}

} // namespace

FocusMachine::Outcome FocusMachine::Handle(Event event)
{
    Rule rule = RuleOf(m_Step, event);
    const bool hadClaim = IsClaim(m_Step);
    const bool hasClaim = IsClaim(rule.next);
    m_Step = rule.next;
    if (hadClaim && !hasClaim) {
        rule.notice = Notice::Lost;
        m_Reason = ReasonOf(event);
    } else if (!hadClaim && hasClaim) {
        m_Reason = Reason::None;
    } else if (m_Step == Step::Unregistered) {
        m_Reason = Reason::Refused;
    }
    if (rule.notice == Notice::Resume && !m_IsPlaying) {
        rule.notice = Notice::None;
    }
    return {rule.action, rule.notice};
}

AudioStream::State FocusMachine::PublicState() const
{
    return StateOf(m_Step);
}

} // namespace Audio::Utils::Kiv::Models
