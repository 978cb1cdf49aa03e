// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_ACTIONREADER_H
#define SIMULATOR_SCENARIO_ACTIONREADER_H

#include "Action.h"
#include "JsonFields.h"

namespace Simulator {

/** Reads an action: what "do" names, and the members of that action. @throws JsonError */
Action ReadAction(JsonFields& fields);

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_ACTIONREADER_H
