// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_SPOILER_H
#define SIMULATOR_SCENARIO_SPOILER_H

#include "Answer.h"
#include "Fault.h"
#include "Randomness.h"

namespace Simulator {

/** Whether the service does the request before the fault spoils its outcome. */
bool IsRequestDone(const Fault& fault);

/** The answer when nothing goes wrong. */
Answer ToAnswer(const Outcome& outcome);

/**
 * The answer when a fault has hit.
 *
 * What a fault does to the service, or by calling back, is not part of the answer.
 *
 * @param outcome of the request; empty when IsRequestDone() is false.
 */
Answer Spoil(const Fault& fault, const Outcome& outcome, Randomness& randomness);

/** A JSON text without blanks. */
QString ToText(const QJsonObject& object);

/** What an event carries. */
QString PayloadOf(const Effect& effect);

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_SPOILER_H
