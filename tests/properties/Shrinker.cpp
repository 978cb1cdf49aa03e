// SPDX-License-Identifier: MIT
#include "Shrinker.h"

#include <algorithm>

namespace KivTest {

namespace {

Schedule Without(const Schedule& schedule, int begin, int count)
{
    return schedule.mid(0, begin) + schedule.mid(begin + count);
}

// One pass over the schedule: drops every piece of a size that is not needed. Returns whether there was one.
bool DropPieces(Schedule& schedule, int size, const Fails& fails)
{
    bool isDropped = false;
    int begin = 0;
    while (begin < schedule.size()) {
        const Schedule shorter = Without(schedule, begin, size);
        if (fails(shorter)) {
            schedule = shorter;
            isDropped = true;
        } else {
            begin += size;
        }
    }
    return isDropped;
}

// A step that was needed may not be any more when a later one is gone: single steps are tried until none
// goes.
void DropSteps(Schedule& schedule, const Fails& fails)
{
    for (int size = std::max(1, int(schedule.size()) / 2); size > 1; size /= 2) {
        DropPieces(schedule, size, fails);
    }
    while (DropPieces(schedule, 1, fails)) {
    }
}

// How far a schedule is from the plainest of its length. Counts, so that making it plainer comes to an end.
int Distance(const Schedule& schedule)
{
    int distance = 0;
    for (const Step& step : schedule) {
        const int detour =
            step.action == Action::CallElsewhere || step.action == Action::CallBlocking ? 1 : 0;
        distance += detour + step.client + step.mode + static_cast<int>(step.outcome) + step.place;
    }
    return distance;
}

// The same step, changed in one respect each.
QVector<Step> Variants(const Step& step)
{
    QVector<Step> variants;
    const auto add = [&](auto Step::*member, auto value) {
        variants.append(step);
        variants.last().*member = value;
    };
    add(&Step::action, step.action == Action::CallElsewhere || step.action == Action::CallBlocking
                           ? Action::CallAsync
                           : step.action);
    for (int number = 0; number < Modes().size(); ++number) {
        add(&Step::mode, number);
        add(&Step::outcome, static_cast<Outcome>(number));
        add(&Step::place, number);
    }
    return variants;
}

// The same schedule with two names exchanged.
Schedule Exchanged(Schedule schedule, int Step::*name, int one, int other)
{
    for (Step& step : schedule) {
        if (step.*name == one || step.*name == other) {
            step.*name = one + other - step.*name;
        }
    }
    return schedule;
}

QVector<Schedule> Variants(const Schedule& schedule)
{
    QVector<Schedule> variants{Exchanged(schedule, &Step::client, 0, 2)}; // the two HMIs
    for (int one = 0; one < Modes().size(); ++one) {
        for (int other = 0; other < one; ++other) {
            variants.append(Exchanged(schedule, &Step::mode, one, other));
        }
    }
    for (int index = 0; index < schedule.size(); ++index) {
        for (const Step& step : Variants(schedule[index])) {
            variants.append(schedule);
            variants.last()[index] = step;
        }
    }
    return variants;
}

bool MakePlainer(Schedule& schedule, const Fails& fails)
{
    const QVector<Schedule> variants = Variants(schedule);
    const auto plainer = std::find_if(variants.cbegin(), variants.cend(), [&](const Schedule& variant) {
        return Distance(variant) < Distance(schedule) && fails(variant);
    });
    const bool isFound = plainer != variants.cend();
    schedule = isFound ? *plainer : schedule;
    return isFound;
}

} // namespace

Schedule Shrink(Schedule schedule, const Fails& fails)
{
    DropSteps(schedule, fails);
    while (MakePlainer(schedule, fails)) {
    }
    DropSteps(schedule, fails);
    return schedule;
}

} // namespace KivTest
