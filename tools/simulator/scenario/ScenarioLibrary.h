// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_SCENARIOLIBRARY_H
#define SIMULATOR_SCENARIO_SCENARIOLIBRARY_H

#include "Scenario.h"

namespace Simulator {

/**
 * Reads a scenario from the installed library, or from a file if @p name has a slash or ends in ".json".
 *
 * @throws UsageError that names the file, the line and what was expected; or the scenarios that there are.
 */
Scenario LoadScenarioNamed(const QString& name);

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_SCENARIOLIBRARY_H
