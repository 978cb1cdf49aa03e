// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_FOCUSMACHINE_H
#define KIV_MODELS_FOCUSMACHINE_H

#include "AudioStream.h"

namespace Audio::Utils::Kiv::Models {

/**
 * Decides what becomes of a stream: an event goes in, what is to be done comes out. Knows no bus and no time.
 *
 * The table of docs/audio-stream.md says the same for people; a test compares the two.
 */
class FocusMachine
{
public:
    /** A state, with what the player need not know of it. */
    enum class Step
    {
        Offline,
        Registering,
        Unregistered, ///< The registration was refused.
        Idle,
        Returning,  ///< As Idle; the service has not answered that the focus was given back.
        Reclaiming, ///< As Requested; likewise, and the request will be sent then.
        Requested,
        Focused,
        Interrupted,
        Refused,
        Lost
    };

    enum class Event
    {
        SessionOpened,
        ServiceLeft,
        Registered,
        RegistrationRefused,
        RequestFocus, ///< The player asks for it.
        Abandon,      ///< The player gives it back.
        RequestAccepted,
        RequestRefused,  ///< An error is the answer to the request, or it could not be sent.
        AbandonAnswered, ///< In whatever way.
        Granted,
        Failed,
        Abandoned,
        Gained,
        TemporarilyLost,
        Lost,
        UnknownText
    };

    /** What is to be sent. */
    enum class Action
    {
        None,
        Register,
        Request,
        Abandon,
        GiveBack ///< As Abandon, for a focus that came when nobody waited for it any more.
    };

    /** What the player is to be told, after its properties have changed. */
    enum class Notice
    {
        None,
        Pause,
        Resume,
        Lost ///< The reason is LastReason().
    };

    struct Outcome
    {
        Action action;
        Notice notice;
    };

    static constexpr int kStepCount = int(Step::Lost) + 1;
    static constexpr int kEventCount = int(Event::UnknownText) + 1;

    /** Moves on. */
    Outcome Handle(Event event);

    /** Whether the user wants it to play. */
    void SetPlaying(bool isPlaying) { m_IsPlaying = isPlaying; }
    bool IsPlaying() const { return m_IsPlaying; }

    Step CurrentStep() const { return m_Step; }

    /** The step, as the player knows it. */
    AudioStream::State PublicState() const;

    /** Why the last claim to the focus has ended, or the registration was refused. */
    AudioStream::Reason LastReason() const { return m_Reason; }

    bool HasFocus() const { return m_Step == Step::Focused; }

    /** Whether the stream is registered. */
    bool IsAvailable() const { return m_Step >= Step::Idle; }

    /** Whether it is the stream that is heard. */
    bool IsActive() const { return m_IsPlaying && HasFocus(); }

private:
    Step m_Step = Step::Offline;
    AudioStream::Reason m_Reason = AudioStream::Reason::None;
    bool m_IsPlaying = false;
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_FOCUSMACHINE_H
