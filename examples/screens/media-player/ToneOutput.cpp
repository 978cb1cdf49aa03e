// SPDX-License-Identifier: MIT
#include "ToneOutput.h"

namespace {

constexpr int kTick = 50;          // ms
constexpr int kBufferedTime = 100; // ms: after so long it is silent

QAudioFormat Format()
{
    QAudioFormat format;
    format.setCodec(QStringLiteral("audio/pcm"));
    format.setSampleRate(ToneGenerator::kRate);
    format.setChannelCount(ToneGenerator::kChannels);
    format.setSampleSize(8 * int(sizeof(qint16)));
    format.setSampleType(QAudioFormat::SignedInt);
    format.setByteOrder(QAudioFormat::Endian(QSysInfo::ByteOrder));
    return format;
}

} // namespace

ToneOutput::ToneOutput(const QAudioDeviceInfo& device)
    : m_Audio(device, Format())
{
    m_Audio.setBufferSize(Format().bytesForDuration(qint64(kBufferedTime) * 1000));
    m_Ticker.setInterval(kTick);
    connect(&m_Ticker, &QTimer::timeout, this, &ToneOutput::Tick);
    // Later, as the device may not be stopped while it says so.
    connect(&m_Audio, &QAudioOutput::stateChanged, this, &ToneOutput::OnStateChanged, Qt::QueuedConnection);
}

void ToneOutput::Load()
{
    Q_EMIT Ready();
}

void ToneOutput::Start()
{
    m_Generator.SetOn(true);
    m_Ticker.start();
    if (m_Audio.state() == QAudio::SuspendedState) {
        m_Audio.resume();
    } else if (m_Audio.state() == QAudio::StoppedState) {
        m_Audio.start(&m_Generator);
    }
}

void ToneOutput::Pause()
{
    m_Generator.SetOn(false); // Tick() suspends the device when the melody has faded
}

void ToneOutput::Stop()
{
    Pause();
    Seek(0);
}

void ToneOutput::Seek(qint64 position)
{
    m_Generator.SeekTo(position);
    Q_EMIT PositionChanged();
}

qint64 ToneOutput::Position() const
{
    return m_Generator.Position();
}

qint64 ToneOutput::Duration() const
{
    return ToneGenerator::Duration();
}

QString ToneOutput::Source() const
{
    return QString();
}

bool ToneOutput::IsAudible() const
{
    return true;
}

void ToneOutput::Tick()
{
    Q_EMIT PositionChanged();
    if (m_Generator.IsSilent()) {
        m_Ticker.stop();
        m_Audio.suspend();
    } else if (m_Generator.IsAtEnd()) {
        Pause();
        Q_EMIT Finished();
    }
}

void ToneOutput::OnStateChanged(QAudio::State state)
{
    if (state == QAudio::StoppedState && m_Audio.error() != QAudio::NoError) {
        m_Ticker.stop();
        Pause();
        Q_EMIT Failed(Failure::NoDevice);
    }
}
