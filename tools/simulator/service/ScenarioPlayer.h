// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SERVICE_SCENARIOPLAYER_H
#define SIMULATOR_SERVICE_SCENARIOPLAYER_H

#include "AudioService.h"
#include "EventLog.h"
#include "Scenario.h"

#include <QObject>
#include <QQueue>
#include <QTimer>

namespace Simulator {

/** Has a service play a scenario: does its steps one after the other, each when its time has come. */
class ScenarioPlayer : public QObject
{
    Q_OBJECT

public:
    /** Both must outlive the player. */
    ScenarioPlayer(AudioService& service, EventLog& log);

    /** Plays a scenario from its start, instead of the one before. @return false when somebody else has the bus name. */
    bool Play(const Scenario& scenario);

    /** Plays the scenario from its start again. @return as Play(). */
    bool Replay();

    /** Adds a step to those that are still to be done. */
    void AddStep(const Step& step);

    /** Does a step's action at once, whatever else is to be done. @return why it cannot be done; else empty. */
    QString Do(const Step& step);

    /** Whether no step is still to be done. */
    bool IsDone() const;

Q_SIGNALS:
    /** No step is still to be done. */
    void Done();

private:
    void Proceed();
    bool IsTriggered(const Step& step) const;
    void HandleRequest();
    void DoWhatIsDue();

    AudioService& m_Service;
    EventLog& m_Log;
    Scenario m_Scenario;
    QQueue<Step> m_Steps; ///< that are still to be done
    QTimer m_Timer;       ///< runs when the first of them is triggered
};

} // namespace Simulator

#endif // SIMULATOR_SERVICE_SCENARIOPLAYER_H
