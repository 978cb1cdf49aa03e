// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_STREAMEVENTS_H
#define KIV_TESTS_STREAMEVENTS_H

#include "AudioStream.h"

#include <QMetaEnum>
#include <QObject>
#include <QStringList>
#include <QVariant>

namespace KivTest {

using Audio::Utils::Kiv::Models::AudioStream;

template <typename Enum>
QString KeyOf(Enum value)
{
    return QString::fromLatin1(QMetaEnum::fromType<Enum>().valueToKey(int(value)));
}

/**
 * Writes down every signal of a stream, in order, with the new value of its property: "state Idle",
 * "pauseRequested", "focusLost TakenOver".
 *
 * A property that has not changed since its last signal is written down as "state unchanged".
 */
class StreamEvents : public QObject
{
public:
    explicit StreamEvents(const AudioStream& stream)
        : m_State(KeyOf(stream.state())),
          m_HasFocus(TextOf(stream.hasFocus())),
          m_Available(TextOf(stream.isAvailable())),
          m_LastReason(KeyOf(stream.lastReason())),
          m_Playing(TextOf(stream.isPlaying()))
    {
        connect(&stream, &AudioStream::stateChanged, this,
                [&] { NoteValue("state", m_State, KeyOf(stream.state())); });
        connect(&stream, &AudioStream::hasFocusChanged, this,
                [&] { NoteValue("hasFocus", m_HasFocus, TextOf(stream.hasFocus())); });
        connect(&stream, &AudioStream::availableChanged, this,
                [&] { NoteValue("available", m_Available, TextOf(stream.isAvailable())); });
        connect(&stream, &AudioStream::lastReasonChanged, this,
                [&] { NoteValue("lastReason", m_LastReason, KeyOf(stream.lastReason())); });
        connect(&stream, &AudioStream::playingChanged, this,
                [&] { NoteValue("playing", m_Playing, TextOf(stream.isPlaying())); });
        connect(&stream, &AudioStream::pauseRequested, this, [this] { m_Events.append("pauseRequested"); });
        connect(&stream, &AudioStream::resumeSuggested, this, [this] { m_Events.append("resumeSuggested"); });
        connect(&stream, &AudioStream::focusLost, this,
                [this](AudioStream::Reason reason) { m_Events.append("focusLost " + KeyOf(reason)); });
        connect(&stream, &AudioStream::focusQueried, this,
                [this](bool isYes) { m_Events.append("focusQueried " + TextOf(isYes)); });
    }

    QStringList All() const { return m_Events; }

    /** The events since the last call. */
    QStringList Take() { return std::exchange(m_Events, QStringList()); }

private:
    static QString TextOf(bool isTrue) { return isTrue ? "true" : "false"; }

    void NoteValue(const QString& property, QString& known, const QString& value)
    {
        m_Events.append(property + " " + (value == known ? QString("unchanged") : value));
        known = value;
    }

    QStringList m_Events;
    QString m_State;
    QString m_HasFocus;
    QString m_Available;
    QString m_LastReason;
    QString m_Playing;
};

} // namespace KivTest

#endif // KIV_TESTS_STREAMEVENTS_H
