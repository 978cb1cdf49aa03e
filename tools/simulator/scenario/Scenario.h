// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_SCENARIO_H
#define SIMULATOR_SCENARIO_SCENARIO_H

#include "Action.h"
#include "AudioModel.h"

#include <QString>
#include <QVector>

#include <optional>

namespace Simulator {

/** The calls that a step waits for. */
struct CallTrigger
{
    QString method;           ///< empty: any
    std::optional<Role> role; ///< none: any
    int calls = 1;            ///< so many have come in since the start of the scenario
};

/** Something that is to happen at some time. */
struct Step
{
    std::optional<CallTrigger> when; ///< none: when the step before is done
    int after = 0;                   ///< ms from then on
    QString name;                    ///< of its action, as scenarios write it
    Action action;
};

/** What a simulator plays. */
struct Scenario
{
    ModelSettings settings;
    bool isPresent = true; ///< whether the service has its bus name at the start
    int delay = 0;         ///< ms, of every answer that no fault delays
    QVector<Fault> faults; ///< armed at the start
    QVector<Step> steps;   ///< done one after the other
};

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_SCENARIO_H
