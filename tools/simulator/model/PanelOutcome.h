// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_PANELOUTCOME_H
#define SIMULATOR_MODEL_PANELOUTCOME_H

#include "Message.h"

#include <QString>
#include <QVector>

namespace Simulator {

/** What has become of something that was done at the device itself, not by a client. */
struct PanelOutcome
{
    QString complaint;       ///< empty when it was done; otherwise why not, and nothing has changed
    QVector<Effect> effects; ///< what is to be done, in this order
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_PANELOUTCOME_H
