// SPDX-License-Identifier: MIT
#ifndef SILENTOUTPUT_H
#define SILENTOUTPUT_H

#include "PlaybackOutput.h"

#include <QTimer>

#include <functional>

/** Keeps the time as if it played: where there is no audio device. */
class SilentOutput : public PlaybackOutput
{
    Q_OBJECT

public:
    using Clock = std::function<qint64()>; ///< milliseconds since any time

    /** @param clock only for tests another one than the machine's. */
    explicit SilentOutput(qint64 duration, Clock clock = Clock());

    void Load() override;
    void Start() override;
    void Pause() override;
    void Stop() override;
    void Seek(qint64 position) override;
    qint64 Position() const override;
    qint64 Duration() const override;
    QString Source() const override;
    bool IsAudible() const override;

private:
    void Tick();

    const qint64 m_Duration;
    const Clock m_Clock;
    QTimer m_Ticker;
    qint64 m_From = 0;      // the position when it was started
    qint64 m_StartedAt = 0; // the time on the clock then
};

#endif // SILENTOUTPUT_H
