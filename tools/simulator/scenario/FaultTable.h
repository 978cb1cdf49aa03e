// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_FAULTTABLE_H
#define SIMULATOR_SCENARIO_FAULTTABLE_H

#include "Fault.h"
#include "Randomness.h"

#include <QMap>

#include <optional>

namespace Simulator {

/**
 * The faults that wait for their calls.
 *
 * A call is hit by one of them at most: the one armed first that fits.
 */
class FaultTable
{
public:
    /** @param randomness draws what a fault leaves open; must outlive the table. */
    explicit FaultTable(Randomness& randomness);

    /** @return the fault's identifier, which is never used again. */
    quint32 Arm(const Fault& fault);

    /** @return false when no such fault waits. */
    bool Disarm(quint32 id);

    void DisarmAll();

    /** The fault that hits a call. It waits no longer when it has hit as many as it should. */
    std::optional<Fault> Hit(const Request& request);

private:
    bool IsHit(Fault& fault, const Request& request);

    Randomness& m_Randomness;
    QMap<quint32, Fault> m_Faults;
    quint32 m_LastId = 0;
};

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_FAULTTABLE_H
