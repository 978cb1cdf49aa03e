// SPDX-License-Identifier: MIT
#ifndef TONEOUTPUT_H
#define TONEOUTPUT_H

#include "PlaybackOutput.h"
#include "ToneGenerator.h"

#include <QAudioDeviceInfo>
#include <QAudioOutput>
#include <QTimer>

/** Plays the generated melody on an audio device. */
class ToneOutput : public PlaybackOutput
{
    Q_OBJECT

public:
    explicit ToneOutput(const QAudioDeviceInfo& device);

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
    void OnStateChanged(QAudio::State state);

    ToneGenerator m_Generator;
    QAudioOutput m_Audio;
    QTimer m_Ticker;
};

#endif // TONEOUTPUT_H
