// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_ANNOUNCER_H
#define SIMULATOR_MODEL_ANNOUNCER_H

#include "SessionTable.h"

#include <QString>
#include <QVector>

namespace Simulator {

/**
 * Words what has happened as calls and broadcasts, and collects them in order.
 *
 * The device's own streams are not called.
 */
class Announcer
{
public:
    /** @param sessions whom to tell; must outlive the announcer. */
    explicit Announcer(const SessionTable& sessions);

    /** Tells every HMI that a mode is current now. */
    void ModeChanged(const QString& mode);

    /** Tells every HMI that a mode was added or removed. @param action "add" or "remove". */
    void ModeListChanged(QLatin1String action, const QString& mode);

    /** Tells an application what became of its request. */
    void FocusResult(const Session& session, QLatin1String result);

    /** Tells an application that its focus has changed without its doing. */
    void FocusChanged(const Session& session, QLatin1String newFocus);

    /** Tells everybody on the HMI side that an application's focus has changed. */
    void FocusBroadcast(const Session& session, QLatin1String newFocus);

    /** Hands over what was collected. */
    QVector<Effect> Take();

private:
    void Call(const Session& session, QLatin1String method, QJsonObject parameters);
    void CallEveryHmi(QLatin1String method, const QJsonObject& parameters);

    const SessionTable& m_Sessions;
    QVector<Effect> m_Effects;
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_ANNOUNCER_H
