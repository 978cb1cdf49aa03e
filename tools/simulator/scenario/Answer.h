// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SCENARIO_ANSWER_H
#define SIMULATOR_SCENARIO_ANSWER_H

#include "Message.h"

#include <QString>
#include <QVector>

namespace Simulator {

/** What goes out for a request, as it is sent. */
struct Answer
{
    enum class Kind
    {
        Text,
        Error,
        None ///< nothing is sent for the request
    };

    Kind kind = Kind::Text;
    QString text;      ///< the answer; of an error its message
    QString errorName; ///< of an error
    int delay = 0;     ///< ms; the events wait, too
    QVector<Effect> eventsBefore;
    QVector<Effect> eventsAfter;
};

} // namespace Simulator

#endif // SIMULATOR_SCENARIO_ANSWER_H
