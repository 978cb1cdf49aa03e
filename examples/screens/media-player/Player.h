// SPDX-License-Identifier: MIT
#ifndef PLAYER_H
#define PLAYER_H

#include "PlaybackOutput.h"

#include <AudioStream.h>

/**
 * Joins a stream and an output: the medium is heard while the user wants it to play and the focus is here, and never
 * otherwise.
 *
 * It starts with the generated melody. A file takes its place once it is known to be playable.
 */
class Player : public QObject
{
    Q_OBJECT

public:
    using AudioStream = Audio::Utils::Kiv::Models::AudioStream;

    /** Why the player itself has given the focus back. */
    enum class Ending
    {
        None,       ///< It has not, since its user pressed play last.
        ByUser,     ///< Its user has stopped it.
        EndOfMedia, ///< The medium has ended.
        Failure,    ///< The medium cannot be played any further.
        OtherMedium ///< Perhaps it has; then another medium was opened.
    };
    Q_ENUM(Ending)

    /** All that decides about what a player does, and why. */
    struct Situation
    {
        AudioStream::State state = AudioStream::State::Offline;
        AudioStream::Reason reason = AudioStream::Reason::None;
        bool isAvailable = false;
        bool isPlaying = false; ///< whether the user wants it to
        bool isAudible = true;
        Ending ending = Ending::None;
    };

    /** A file that could not be played. */
    struct Complaint
    {
        QString path;
        PlaybackOutput::Failure failure = PlaybackOutput::Failure::NotThere;
    };

    /** Both have to live longer. The stream is configured, and started by the caller. */
    Player(AudioStream& stream, OutputMaker& outputs);

    /** Loads a file. What is played goes on until then, and also when the file cannot be played. */
    void Open(const QString& path);

    /** The user presses play: asks for the focus. Nothing without the service: it could not be asked. */
    void Play();

    /** The user presses pause. Keeps the focus. */
    void Pause();

    /** Play() or Pause(). */
    void Toggle();

    /** The user presses stop: gives the focus back, and goes to the beginning. */
    void Stop();

    void Seek(qint64 position);

    /** Whether the output plays. Only while the user wants it to, and the focus is here. */
    bool IsSounding() const;

    Situation Now() const;

    /** What is played, or would be. */
    const PlaybackOutput& Output() const;

    /** The last file that could not be played; null when the user has done something since. */
    const Complaint* LastComplaint() const;

Q_SIGNALS:
    /** Something else is to be shown, but for the position. */
    void Changed();

    void PositionChanged();

private:
    void Obey();
    void OnFocusLost(AudioStream::Reason reason);
    PlaybackOutput* Own(std::unique_ptr<PlaybackOutput> output);
    void Adopt(PlaybackOutput* output);
    void Replace(PlaybackOutput* next);
    void Release(PlaybackOutput* output);
    void KeepTime();
    void OnFailed(PlaybackOutput* output, PlaybackOutput::Failure failure);
    void OnFinished(PlaybackOutput* output);
    void GiveBack(Ending ending, const QString& reason);
    bool HasClaim() const;

    AudioStream& m_Stream;
    OutputMaker& m_Outputs;
    PlaybackOutput* m_Output = nullptr;    // what is played; a child
    PlaybackOutput* m_Candidate = nullptr; // what will be, when it is loaded; a child
    std::unique_ptr<Complaint> m_Complaint;
    Ending m_Ending = Ending::None;
    bool m_IsSounding = false;
    bool m_IsGivingBack = false;
};

#endif // PLAYER_H
