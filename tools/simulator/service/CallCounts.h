// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SERVICE_CALLCOUNTS_H
#define SIMULATOR_SERVICE_CALLCOUNTS_H

#include "Scenario.h"

#include <QMap>
#include <QPair>

namespace Simulator {

/** How often clients have called which method. */
class CallCounts
{
public:
    void Add(const Request& request) { ++m_Counts[Key(request.method, request.role)]; }

    void Clear() { m_Counts.clear(); }

    /** @param method empty: any. @param role none: any. */
    int Of(const QString& method, std::optional<Role> role) const
    {
        int count = 0;
        for (auto entry = m_Counts.cbegin(); entry != m_Counts.cend(); ++entry) {
            const bool isWanted = (method.isEmpty() || entry.key().first == method) &&
                                  role.value_or(entry.key().second) == entry.key().second;
            count += isWanted ? entry.value() : 0;
        }
        return count;
    }

private:
    using Key = QPair<QString, Role>;

    QMap<Key, int> m_Counts;
};

} // namespace Simulator

#endif // SIMULATOR_SERVICE_CALLCOUNTS_H
