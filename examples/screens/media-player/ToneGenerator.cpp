// SPDX-License-Identifier: MIT
#include "ToneGenerator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kLoudness = 0.16;
constexpr double kLowestNote = 261.63;                // Hz: C
constexpr int kNoteFrames = ToneGenerator::kRate / 2; // half a second
constexpr int kRampFrames = ToneGenerator::kRate / 40;
constexpr int kRepetitions = 4;

// Semitones above the lowest note: a pentatonic scale, in which every neighbour is a good one.
constexpr std::array<int, 64> kMelody{
    0,  4,  7,  9,  12, 9,  7, 4, 2,  4, 7, 9, 7, 4, 2,  0,  //
    4,  7,  9,  12, 14, 12, 9, 7, 9,  7, 4, 2, 4, 2, 0,  -3, //
    -3, 0,  2,  4,  7,  4,  2, 0, -3, 0, 4, 7, 9, 7, 4,  0,  //
    12, 14, 16, 14, 12, 9,  7, 9, 7,  4, 2, 4, 2, 0, -3, 0,
};

constexpr qint64 kFrames = qint64(kNoteFrames) * qint64(kMelody.size()) * kRepetitions;

qint64 ToMilliseconds(qint64 frames)
{
    return frames * 1000 / ToneGenerator::kRate;
}

/** A struck note: it comes up softly, fades, and is gone before the next one. */
double Envelope(int frame)
{
    const double attack = std::min(1.0, double(frame) / kRampFrames);
    const double release = std::min(1.0, double(kNoteFrames - frame) / kRampFrames);
    return attack * release * std::exp(-3.0 * frame / kNoteFrames);
}

double Melody(qint64 frame)
{
    const auto note = size_t(frame / kNoteFrames) % kMelody.size();
    const int inNote = int(frame % kNoteFrames);
    const double frequency = kLowestNote * std::exp2(kMelody.at(note) / 12.0);
    const double phase = 2 * kPi * frequency * inNote / ToneGenerator::kRate;
    return Envelope(inNote) * (0.8 * std::sin(phase) + 0.2 * std::sin(2 * phase));
}

} // namespace

qint64 ToneGenerator::Duration()
{
    return ToMilliseconds(kFrames);
}

ToneGenerator::ToneGenerator(QObject* parent)
    : QIODevice(parent)
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

void ToneGenerator::SetOn(bool isOn)
{
    m_IsOn = isOn;
}

void ToneGenerator::SeekTo(qint64 position)
{
    const qint64 frame = qBound(qint64(0), position * kRate / 1000, kFrames);
    if (m_Gain > 0) {
        m_NextFrame = frame;
    } else {
        m_NextFrame.reset();
        m_Frame = frame;
    }
}

qint64 ToneGenerator::Position() const
{
    return ToMilliseconds(m_NextFrame.value_or(m_Frame));
}

bool ToneGenerator::IsSilent() const
{
    return !m_IsOn && m_Gain <= 0;
}

bool ToneGenerator::IsAtEnd() const
{
    return m_NextFrame.value_or(m_Frame) == kFrames;
}

bool ToneGenerator::isSequential() const
{
    return true;
}

qint64 ToneGenerator::bytesAvailable() const
{
    return std::numeric_limits<int>::max();
}

qint64 ToneGenerator::readData(char* data, qint64 maximum)
{
    const qint64 frames = maximum / kFrameBytes;
    for (qint64 frame = 0; frame < frames; ++frame) {
        const qint16 sample = NextSample();
        const std::array<qint16, kChannels> both{sample, sample};
        std::memcpy(data + frame * kFrameBytes, both.data(), kFrameBytes);
    }
    return frames * kFrameBytes;
}

qint64 ToneGenerator::writeData(const char*, qint64)
{
    return -1;
}

qint16 ToneGenerator::NextSample()
{
    const bool isWanted = m_IsOn && !m_NextFrame;
    m_Gain = qBound(0.0, m_Gain + (isWanted ? 1.0 : -1.0) / kRampFrames, 1.0);
    if (m_Gain <= 0 && m_NextFrame) {
        m_Frame = *m_NextFrame;
        m_NextFrame.reset();
    }
    if (m_Gain <= 0 || m_Frame == kFrames) {
        return 0;
    }
    return qint16(std::lround(m_Gain * kLoudness * Melody(m_Frame++) * std::numeric_limits<qint16>::max()));
}
