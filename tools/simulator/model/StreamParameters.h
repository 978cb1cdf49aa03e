// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_STREAMPARAMETERS_H
#define SIMULATOR_MODEL_STREAMPARAMETERS_H

#include "Parameters.h"
#include "Session.h"

namespace Simulator {

/** The stream that the parameters of a registration describe; a Refusal when they do not describe one. */
Stream ReadStream(const Parameters& parameters);

/** The parameters with which a client would register a stream. */
Parameters ParametersOf(const Stream& stream);

} // namespace Simulator

#endif // SIMULATOR_MODEL_STREAMPARAMETERS_H
