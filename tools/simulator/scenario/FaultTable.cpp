// SPDX-License-Identifier: MIT
#include "FaultTable.h"

namespace Simulator {

namespace {

bool Fits(const Fault& fault, const Request& request)
{
    return (fault.method.isEmpty() || fault.method == request.method) &&
           fault.role.value_or(request.role) == request.role;
}

} // namespace

FaultTable::FaultTable(Randomness& randomness)
    : m_Randomness(randomness)
{
}

quint32 FaultTable::Arm(const Fault& fault)
{
    m_Faults.insert(++m_LastId, fault);
    return m_LastId;
}

bool FaultTable::Disarm(quint32 id)
{
    return m_Faults.remove(id) > 0;
}

void FaultTable::DisarmAll()
{
    m_Faults.clear();
}

std::optional<Fault> FaultTable::Hit(const Request& request)
{
    for (auto candidate = m_Faults.begin(); candidate != m_Faults.end(); ++candidate) {
        if (!IsHit(*candidate, request)) {
            continue;
        }
        const Fault hit = *candidate;
        if (candidate->times && --*candidate->times == 0) {
            m_Faults.erase(candidate);
        }
        return hit;
    }
    return std::nullopt;
}

bool FaultTable::IsHit(Fault& fault, const Request& request)
{
    if (!Fits(fault, request)) {
        return false;
    }
    if (fault.skip > 0) {
        --fault.skip;
        return false;
    }
    // Drawn only where it decides something, so that other faults do not shift what is drawn for this one.
    return fault.probability >= 1.0 || m_Randomness.Happens(fault.probability);
}

} // namespace Simulator
