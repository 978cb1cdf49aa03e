// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_FAULTREADER_H
#define SIMULATOR_SCENARIO_FAULTREADER_H

#include "Fault.h"
#include "JsonFields.h"

#include <optional>

namespace Simulator {

/** The limits of what a scenario can ask for. */
constexpr int maximumMilliseconds = 600000;
constexpr int maximumCount = 1000000;
constexpr int maximumBytes = 16 * 1024 * 1024;

/** Reads a fault: its "kind", the members of that kind, and those that every fault may have. @throws JsonError */
Fault ReadFault(JsonFields& fields);

/** Reads "role". @throws JsonError */
std::optional<Role> ReadRole(JsonFields& fields);

/** Reads "to". @throws JsonError */
std::optional<Audience> ReadAudience(JsonFields& fields);

// What happens to the service can be a fault and an action alike.

Leave ReadLeave(JsonFields& fields);
Restart ReadRestart(JsonFields& fields);
Crash ReadCrash(JsonFields& fields);
StopAnswering ReadStopAnswering(JsonFields& fields);
Flood ReadFlood(JsonFields& fields);

/** The reader that a table of names has for @p name, the value of the member @p key. @throws JsonError */
template <typename Table>
auto FindReader(const Table& table, JsonFields& fields, const char* key)
{
    const JsonNode& node = fields.Required(key);
    const QString name = JsonFields::ReadText(QString::fromLatin1(key), node);
    const auto found = table.constFind(name);
    if (found == table.constEnd()) {
        const QStringList names = table.keys();
        throw JsonFields::Unexpected(
            QString::fromLatin1(key),
            QStringLiteral("one of \"%1\"").arg(names.join(QStringLiteral("\", \""))), node);
    }
    return *found;
}

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_FAULTREADER_H
