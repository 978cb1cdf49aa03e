// SPDX-License-Identifier: MIT
#ifndef TONEGENERATOR_H
#define TONEGENERATOR_H

#include <QIODevice>

#include <optional>

/**
 * A quiet melody as endless sound: silence before, after and while it is off. It is switched on, off and moved softly,
 * so that nothing clicks.
 *
 * Two channels of 16 bits each, in the machine's byte order. It never runs dry.
 */
class ToneGenerator : public QIODevice
{
    Q_OBJECT

public:
    static constexpr int kRate = 44100; ///< frames a second
    static constexpr int kChannels = 2;
    static constexpr int kFrameBytes = kChannels * int(sizeof(qint16));

    /** The length of the melody in milliseconds. */
    static qint64 Duration();

    explicit ToneGenerator(QObject* parent = nullptr);

    /** Switches the melody on or off, in some milliseconds of sound. */
    void SetOn(bool isOn);

    /** Goes to another position, in milliseconds; when it is heard, once it has faded. */
    void SeekTo(qint64 position);

    /** In milliseconds; where it will go if it is on its way. */
    qint64 Position() const;

    /** Whether it is off, and has faded. */
    bool IsSilent() const;

    bool IsAtEnd() const;

    bool isSequential() const override;
    qint64 bytesAvailable() const override;

protected:
    qint64 readData(char* data, qint64 maximum) override;
    qint64 writeData(const char* data, qint64 size) override;

private:
    qint16 NextSample();

    qint64 m_Frame = 0;
    std::optional<qint64> m_NextFrame; // where to go on when it has faded
    double m_Gain = 0;                 // 0 silent, 1 as loud as it gets
    bool m_IsOn = false;
};

#endif // TONEGENERATOR_H
