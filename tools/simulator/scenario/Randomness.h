// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_RANDOMNESS_H
#define SIMULATOR_SCENARIO_RANDOMNESS_H

#include "Fault.h"

#include <QRandomGenerator>

namespace Simulator {

/** Draws what a scenario leaves open: the same seed draws the same. */
class Randomness
{
public:
    explicit Randomness(quint32 seed)
        : m_Generator(seed)
    {
    }

    /** Whether something of this probability, from 0 to 1, happens. */
    bool Happens(double probability) { return m_Generator.generateDouble() < probability; }

    /** A number from 0 up to, but not including, @p limit. */
    int Below(int limit) { return m_Generator.bounded(limit); }

    /** A time between the limits. @return milliseconds. */
    int Between(const Duration& duration)
    {
        return duration.least == duration.most ? duration.least
                                               : m_Generator.bounded(duration.least, duration.most + 1);
    }

private:
    QRandomGenerator m_Generator;
};

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_RANDOMNESS_H
