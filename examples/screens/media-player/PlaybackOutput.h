// SPDX-License-Identifier: MIT
#ifndef PLAYBACKOUTPUT_H
#define PLAYBACKOUTPUT_H

#include <QObject>
#include <QString>

#include <memory>

/**
 * Plays one medium. It is told when, and knows nothing of the focus.
 *
 * Load() it and wait for Ready(); all else comes after that. Times are milliseconds.
 */
class PlaybackOutput : public QObject
{
    Q_OBJECT

public:
    /** What is wrong with a medium or its device. */
    enum class Failure
    {
        NotThere,    ///< There is no such file.
        Folder,      ///< It is a folder.
        NotReadable, ///< Its reader may not read it.
        NoDecoders,  ///< No decoders are installed, for no kind of file.
        NotAudio,    ///< What is in it is no sound, or of a kind that nobody can decode.
        NoDevice     ///< The audio device has gone, or cannot be used.
    };
    Q_ENUM(Failure)

    using QObject::QObject;

    /** Ends in Ready() or Failed(), perhaps at once. */
    virtual void Load() = 0;

    /** Plays on from Position(). */
    virtual void Start() = 0;

    /** Falls silent. Position() stays. */
    virtual void Pause() = 0;

    /** Falls silent, and goes back to the beginning. */
    virtual void Stop() = 0;

    /** Goes to another position; plays on there, if it plays. */
    virtual void Seek(qint64 position) = 0;

    virtual qint64 Position() const = 0;
    virtual qint64 Duration() const = 0;

    /** The file that is played; empty for a generated medium. */
    virtual QString Source() const = 0;

    /** False when there is no audio device, and the time is kept in silence. */
    virtual bool IsAudible() const = 0;

Q_SIGNALS:
    void Ready();

    /** The end is reached, and it is silent. */
    void Finished();

    /** It is silent, and stays so. */
    void Failed(PlaybackOutput::Failure failure);

    /** The position or the duration is another one; several times a second while it plays. */
    void PositionChanged();
};

/** Makes the outputs that a player needs. */
class OutputMaker
{
public:
    virtual ~OutputMaker() = default;

    /** The generated melody, or silence in its place where there is no audio device. */
    virtual std::unique_ptr<PlaybackOutput> MakeMelody() = 0;

    virtual std::unique_ptr<PlaybackOutput> MakeFile(const QString& path) = 0;

    /** Silence in the place of the melody. */
    virtual std::unique_ptr<PlaybackOutput> MakeSilence() = 0;

protected:
    OutputMaker() = default;
    Q_DISABLE_COPY(OutputMaker)
};

#endif // PLAYBACKOUTPUT_H
