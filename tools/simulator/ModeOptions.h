// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEOPTIONS_H
#define SIMULATOR_MODEOPTIONS_H

#include "ModeTable.h"

#include <QStringList>
#include <QVector>

namespace Simulator {

/**
 * The modes that the values of --destinations and --modes ask for, in the order in which destinations are named.
 *
 * @throws UsageError
 */
QVector<DestinationModes> CombineModes(const QStringList& destinations, const QStringList& modes);

} // namespace Simulator

#endif // SIMULATOR_MODEOPTIONS_H
