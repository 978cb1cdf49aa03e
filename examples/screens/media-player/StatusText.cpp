// SPDX-License-Identifier: MIT
#include "StatusText.h"

#include <QCoreApplication>

namespace {

using State = Player::AudioStream::State;
using Reason = Player::AudioStream::Reason;
using Ending = Player::Ending;
using Failure = PlaybackOutput::Failure;

/** A status that is not translated yet. */
struct Entry
{
    Marker marker;
    const char* sentence;
    const char* detail;
};

constexpr const char* kContext = "StatusText";

constexpr Entry kOffline{Marker::Warning,
                         QT_TRANSLATE_NOOP("StatusText", "The audio service is not available."),
                         QT_TRANSLATE_NOOP("StatusText", "The player waits for it.")};
constexpr Entry kServiceLeft{Marker::Warning, QT_TRANSLATE_NOOP("StatusText", "The audio service has gone."),
                             QT_TRANSLATE_NOOP("StatusText", "The player waits until it is back.")};
constexpr Entry kRegistering{Marker::Waiting,
                             QT_TRANSLATE_NOOP("StatusText", "Signing in to the audio service."),
                             QT_TRANSLATE_NOOP("StatusText", "It has not answered yet.")};
constexpr Entry kNotRegistered{Marker::Warning,
                               QT_TRANSLATE_NOOP("StatusText", "The audio service refuses this player."),
                               QT_TRANSLATE_NOOP("StatusText", "It will be asked again.")};
constexpr Entry kReady{Marker::Stopped, QT_TRANSLATE_NOOP("StatusText", "Ready."),
                       QT_TRANSLATE_NOOP("StatusText", "Press play, or open a file.")};
constexpr Entry kServiceBack{Marker::Stopped, QT_TRANSLATE_NOOP("StatusText", "The audio service is back."),
                             QT_TRANSLATE_NOOP("StatusText", "Press play to go on.")};
constexpr Entry kGivenBack{Marker::Stopped,
                           QT_TRANSLATE_NOOP("StatusText", "The audio service has ended playback."),
                           QT_TRANSLATE_NOOP("StatusText", "Press play to ask for the focus again.")};
constexpr Entry kStopped{Marker::Stopped, QT_TRANSLATE_NOOP("StatusText", "Stopped by you."),
                         QT_TRANSLATE_NOOP("StatusText", "Others may use the loudspeakers now.")};
constexpr Entry kEnded{Marker::Stopped, QT_TRANSLATE_NOOP("StatusText", "This was the end."),
                       QT_TRANSLATE_NOOP("StatusText", "Press play to hear it again.")};
constexpr Entry kFailed{Marker::Warning, QT_TRANSLATE_NOOP("StatusText", "Playback has failed."),
                        QT_TRANSLATE_NOOP("StatusText", "Press play to try again.")};
constexpr Entry kRequested{Marker::Waiting, QT_TRANSLATE_NOOP("StatusText", "Waiting for the focus."),
                           QT_TRANSLATE_NOOP("StatusText", "Playback begins when it is granted.")};
constexpr Entry kPausedEarly{Marker::Paused, QT_TRANSLATE_NOOP("StatusText", "Paused by you."),
                             QT_TRANSLATE_NOOP("StatusText", "The focus has been asked for.")};
constexpr Entry kPlaying{Marker::Sounding, QT_TRANSLATE_NOOP("StatusText", "Playing."),
                         QT_TRANSLATE_NOOP("StatusText", "This player has the focus.")};
constexpr Entry kPlayingSilently{
    Marker::Silent, QT_TRANSLATE_NOOP("StatusText", "Playing in silence."),
    QT_TRANSLATE_NOOP("StatusText", "No audio device: the player keeps the time in silence.")};
constexpr Entry kPaused{Marker::Paused, QT_TRANSLATE_NOOP("StatusText", "Paused by you."),
                        QT_TRANSLATE_NOOP("StatusText", "The focus stays with this player.")};
constexpr Entry kInterrupted{Marker::Interrupted, QT_TRANSLATE_NOOP("StatusText", "Interrupted."),
                             QT_TRANSLATE_NOOP("StatusText", "Playback goes on by itself.")};
constexpr Entry kPausedInterrupted{Marker::Paused,
                                   QT_TRANSLATE_NOOP("StatusText", "Interrupted, and paused by you."),
                                   QT_TRANSLATE_NOOP("StatusText", "Playback does not go on by itself.")};
constexpr Entry kRefused{Marker::Warning, QT_TRANSLATE_NOOP("StatusText", "The focus was refused."),
                         QT_TRANSLATE_NOOP("StatusText", "Press play to ask for the focus again.")};
constexpr Entry kLost{Marker::Stopped, QT_TRANSLATE_NOOP("StatusText", "Another program has taken over."),
                      QT_TRANSLATE_NOOP("StatusText", "Press play to ask for the focus again.")};

Entry WithoutClaim(const Player::Situation& now)
{
    if (now.isPlaying) {
        return kRequested; // it is about to be
    }
    switch (now.ending) {
    case Ending::ByUser:
        return kStopped;
    case Ending::EndOfMedia:
        return kEnded;
    case Ending::Failure:
        return kFailed;
    case Ending::OtherMedium:
        return kReady;
    case Ending::None:
        break;
    }
    switch (now.reason) {
    case Reason::ServiceLeft:
        return kServiceBack;
    case Reason::Abandoned:
        return kGivenBack;
    case Reason::TakenOver:
        return kLost;
    case Reason::Refused: // that the stream was registered only later, perhaps
    case Reason::None:
        break;
    }
    return kReady;
}

Entry WithFocus(const Player::Situation& now)
{
    if (!now.isPlaying) {
        return kPaused;
    }
    return now.isAudible ? kPlaying : kPlayingSilently;
}

Entry EntryFor(const Player::Situation& now)
{
    switch (now.state) {
    case State::Offline:
        return now.reason == Reason::ServiceLeft ? kServiceLeft : kOffline;
    case State::Registering:
        return kRegistering;
    case State::Idle:
        return WithoutClaim(now);
    case State::Requested:
        return now.isPlaying ? kRequested : kPausedEarly;
    case State::Focused:
        return WithFocus(now);
    case State::Interrupted:
        return now.isPlaying ? kInterrupted : kPausedInterrupted;
    case State::Refused:
        return now.isAvailable ? kRefused : kNotRegistered;
    case State::Lost:
        return kLost;
    }
    return kOffline;
}

const char* Pattern(Failure failure)
{
    switch (failure) {
    case Failure::NotThere:
        return QT_TRANSLATE_NOOP("StatusText", "“%1” is not there.");
    case Failure::Folder:
        return QT_TRANSLATE_NOOP("StatusText", "“%1” is a folder, not an audio file.");
    case Failure::NotReadable:
        return QT_TRANSLATE_NOOP("StatusText", "You may not read “%1”.");
    case Failure::NoDecoders:
        return QT_TRANSLATE_NOOP("StatusText", "“%1”: decoders are missing (GStreamer's plug-ins).");
    case Failure::NotAudio:
        return QT_TRANSLATE_NOOP("StatusText", "“%1” holds no sound that can be decoded.");
    case Failure::NoDevice:
        return QT_TRANSLATE_NOOP("StatusText", "The audio device does not play “%1”.");
    }
    return "";
}

} // namespace

Status Describe(const Player::Situation& situation)
{
    const Entry entry = EntryFor(situation);
    return {entry.marker, QCoreApplication::translate(kContext, entry.sentence),
            QCoreApplication::translate(kContext, entry.detail)};
}

QString Describe(PlaybackOutput::Failure failure, const QString& name)
{
    return QCoreApplication::translate(kContext, Pattern(failure)).arg(name);
}
