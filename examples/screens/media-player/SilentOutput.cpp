// SPDX-License-Identifier: MIT
#include "SilentOutput.h"

#include <QElapsedTimer>

namespace {

constexpr int kTick = 100; // ms

SilentOutput::Clock MachineClock()
{
    QElapsedTimer timer;
    timer.start();
    return [timer] { return timer.elapsed(); };
}

} // namespace

SilentOutput::SilentOutput(qint64 duration, Clock clock)
    : m_Duration(duration),
      m_Clock(clock ? std::move(clock) : MachineClock())
{
    m_Ticker.setInterval(kTick);
    connect(&m_Ticker, &QTimer::timeout, this, &SilentOutput::Tick);
}

void SilentOutput::Load()
{
    Q_EMIT Ready();
}

void SilentOutput::Start()
{
    if (!m_Ticker.isActive()) {
        m_StartedAt = m_Clock();
        m_Ticker.start();
    }
}

void SilentOutput::Pause()
{
    m_From = Position();
    m_Ticker.stop();
}

void SilentOutput::Stop()
{
    Pause();
    Seek(0);
}

void SilentOutput::Seek(qint64 position)
{
    m_From = qBound(qint64(0), position, m_Duration);
    m_StartedAt = m_Clock();
    Q_EMIT PositionChanged();
}

qint64 SilentOutput::Position() const
{
    const qint64 passed = m_Ticker.isActive() ? m_Clock() - m_StartedAt : 0;
    return qMin(m_From + passed, m_Duration);
}

qint64 SilentOutput::Duration() const
{
    return m_Duration;
}

QString SilentOutput::Source() const
{
    return QString();
}

bool SilentOutput::IsAudible() const
{
    return false;
}

void SilentOutput::Tick()
{
    Q_EMIT PositionChanged();
    if (Position() == m_Duration) {
        Pause();
        Q_EMIT Finished();
    }
}
