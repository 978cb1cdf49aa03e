// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_SCENARIOREADER_H
#define SIMULATOR_SCENARIO_SCENARIOREADER_H

#include "Scenario.h"

#include <QByteArray>

namespace Simulator {

/**
 * Reads a scenario file: JSON as schemas/scenario.schema.json describes it.
 *
 * @throws JsonError with the line, and what was expected there.
 */
Scenario ReadScenario(const QByteArray& text);

/** Reads an element of "faults". @throws JsonError */
Fault ReadFault(const QByteArray& text);

/** Reads an element of "steps". @throws JsonError */
Step ReadStep(const QByteArray& text);

/** Reads an element of "steps" that says nothing about its time. @throws JsonError */
Step ReadStepForNow(const QByteArray& text);

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_SCENARIOREADER_H
