// SPDX-License-Identifier: MIT
#include "ScenarioPlayer.h"

namespace Simulator {

ScenarioPlayer::ScenarioPlayer(AudioService& service, EventLog& log)
    : m_Service(service),
      m_Log(log)
{
    m_Timer.setSingleShot(true);
    m_Timer.setTimerType(Qt::PreciseTimer);
    connect(&m_Timer, &QTimer::timeout, this, &ScenarioPlayer::DoWhatIsDue);
    connect(&m_Service, &AudioService::RequestTaken, this, &ScenarioPlayer::HandleRequest);
}

bool ScenarioPlayer::Play(const Scenario& scenario)
{
    m_Scenario = scenario;
    return Replay();
}

bool ScenarioPlayer::Replay()
{
    m_Timer.stop();
    m_Steps.clear();
    m_Log.Clear();
    if (!m_Service.Load(m_Scenario)) {
        return false;
    }
    for (const Step& step : qAsConst(m_Scenario.steps)) {
        m_Steps.enqueue(step);
    }
    Proceed();
    return true;
}

void ScenarioPlayer::AddStep(const Step& step)
{
    m_Steps.enqueue(step);
    Proceed();
}

QString ScenarioPlayer::Do(const Step& step)
{
    const QString complaint = m_Service.Do(step.action);
    const QString note = complaint.isEmpty() ? QString() : QStringLiteral("impossible: ") + complaint;
    m_Log.Add({LogRecord::Kind::Step, std::nullopt, step.name, note, QString(), QString()});
    return complaint;
}

bool ScenarioPlayer::IsDone() const
{
    return m_Steps.isEmpty();
}

void ScenarioPlayer::Proceed()
{
    if (!m_Timer.isActive() && !m_Steps.isEmpty() && IsTriggered(m_Steps.head())) {
        m_Timer.start(m_Steps.head().after);
    }
}

bool ScenarioPlayer::IsTriggered(const Step& step) const
{
    return !step.when || m_Service.Calls().Of(step.when->method, step.when->role) >= step.when->calls;
}

// What a request triggers without a delay comes before the next request, however many are waiting.
void ScenarioPlayer::HandleRequest()
{
    Proceed();
    if (m_Timer.isActive() && m_Steps.head().after == 0) {
        m_Timer.stop();
        DoWhatIsDue();
    }
}

// The first step, and those that follow it without a delay.
void ScenarioPlayer::DoWhatIsDue()
{
    do {
        Do(m_Steps.dequeue());
    } while (!m_Steps.isEmpty() && m_Steps.head().after == 0 && IsTriggered(m_Steps.head()));
    if (m_Steps.isEmpty()) {
        Q_EMIT Done();
    } else {
        Proceed();
    }
}

} // namespace Simulator
