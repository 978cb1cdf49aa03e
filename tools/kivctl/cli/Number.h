// SPDX-License-Identifier: MIT
#ifndef KIVCTL_CLI_NUMBER_H
#define KIVCTL_CLI_NUMBER_H

#include "UsageError.h"

#include <QString>

namespace Kivctl {

/** Reads the seconds that an option gives, fractions included. @return milliseconds. */
inline int ReadSeconds(const QString& option, const QString& text)
{
    bool isNumber = false;
    const double seconds = text.toDouble(&isNumber);
    if (!isNumber || !(seconds >= 0.001 && seconds <= 1000000)) {
        throw Tools::UsageError(
            QStringLiteral("--%1 \"%2\": expected seconds between 0.001 and 1000000").arg(option, text));
    }
    return static_cast<int>(seconds * 1000);
}

} // namespace Kivctl

#endif // KIVCTL_CLI_NUMBER_H
