// SPDX-License-Identifier: MIT
#ifndef AUDIOSTREAM_H
#define AUDIOSTREAM_H

#include "KivAudioModelsExport.h"

#include <QObject>
#include <QString>

#include <memory>

namespace Audio::Utils::Kiv::Models {

/**
 * An audio stream of a player: registers it, negotiates the focus for it, and tells the player what to do.
 *
 * Configure it, start() it, then watch its properties. The states, what happens in each of them, and a whole
 * player stand in docs/audio-stream.md.
 *
 * **What the player does.** It asks with requestFocus() when its user presses play, and gives the focus back
 * with abandon() when its user stops, or there is nothing more to play. Pausing gives nothing back. It sets
 * #playing to what its user wants, and the sound is on while #playing and #hasFocus are both true. It falls
 * silent on pauseRequested(), without touching #playing; plays on at resumeSuggested(); and stops on
 * focusLost().
 *
 * **What the stream does.** It registers itself, also with a service that starts late, restarts or refuses at
 * first; takes decisions that come before their replies; asks for nothing twice; and never asks for the focus
 * by itself: after a restart of the service the state is State::Idle.
 *
 * **Threads and blocking.** It belongs to one thread, which runs an event loop, and is used there only. On
 * the main thread call `QDBusConnection::systemBus()` before the event loop runs, and start() from within the
 * loop. start() blocks while a service that is there opens a session, and so does the event loop once when a
 * service appears for the first time; nothing else waits for it, and reading a property asks nobody.
 *
 * **Signals.** A property's signal is emitted after all properties have their new values, and only when its
 * own has changed; then pauseRequested(), resumeSuggested() or focusLost(). requestFocus() and abandon(),
 * called in a slot of one of these signals, take effect when all of them are out. Do not delete the stream in
 * such a slot: use deleteLater().
 *
 * The bus is the system bus, which is the client library's; DBUS_SYSTEM_BUS_ADDRESS names another one.
 *
 * **Errors.** Nothing is thrown. Wrong use is told by a warning in Qt's default logging category, and changes
 * nothing; refusals of the service are states. What the client library notices is logged by it.
 *
 * @code
 * AudioStream stream;
 * stream.setName(QStringLiteral("Player"));
 * QObject::connect(&stream, &AudioStream::hasFocusChanged, [&] {
 *     qInfo() << (stream.hasFocus() && stream.isPlaying() ? "play" : "silence");
 * });
 * QObject::connect(&stream, &AudioStream::availableChanged, [&] {
 *     if (stream.isAvailable()) { // as if the user had pressed play
 *         stream.setPlaying(true);
 *         stream.requestFocus();
 *     }
 * });
 * stream.start();
 * @endcode
 */
class KIV_AUDIO_MODELS_EXPORT AudioStream : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("RegisterEnumClassesUnscoped", "false") // State and Reason both have a Refused

    /** The stream's name, by which the service knows it. Empty by default, which start() refuses. */
    Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged)
    /** The stream's type; "Media" by default, and for the service also when it is empty. */
    Q_PROPERTY(QString streamType READ streamType WRITE setStreamType NOTIFY streamTypeChanged)
    /**
     * True, the default, for a stream that takes the focus for good (music); false for a while (an
     * announcement).
     */
    Q_PROPERTY(bool permanentFocus READ permanentFocus WRITE setPermanentFocus NOTIFY permanentFocusChanged)
    /**
     * The program's bus name; "com.quorvantel.audioclient." and the application's name by default, where each
     * character that a name cannot have is an underscore. Several objects of a program can share it.
     */
    Q_PROPERTY(QString busName READ busName WRITE setBusName NOTIFY busNameChanged)
    /**
     * The path under which, followed by "/ServiceProviderClient", the service calls the stream, and the name
     * of the mode that a stream with permanent focus offers. By default the bus name with slashes (and
     * underscores for what a path cannot have). No two objects of a program may share it: the later one stays
     * State::Offline until the earlier one is gone.
     */
    Q_PROPERTY(QString objectPath READ objectPath WRITE setObjectPath NOTIFY objectPathChanged)
    /** What the session is about, a zone for instance; empty by default. */
    Q_PROPERTY(QString destination READ destination WRITE setDestination NOTIFY destinationChanged)

    /** What has become of the stream and its focus; State::Offline before start(). */
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    /** Whether the state is State::Focused. */
    Q_PROPERTY(bool hasFocus READ hasFocus NOTIFY hasFocusChanged)
    /** Whether the stream is registered: only then the focus can be asked for. */
    Q_PROPERTY(bool available READ isAvailable NOTIFY availableChanged)
    /** Why there is no focus; Reason::None at first, and again as soon as it is asked for. */
    Q_PROPERTY(Reason lastReason READ lastReason NOTIFY lastReasonChanged)
    /**
     * Whether the player's user wants it to play; false by default. Only the player changes it: it becomes
     * true when the user presses play, and false when the user pauses or stops, or the media ends; not when
     * the focus goes or comes. So a user who pauses during an interruption is known to have paused. Do not
     * bind it to what the player does at the moment.
     *
     * The service is told that the stream plays while it is true and the focus is here.
     */
    Q_PROPERTY(bool playing READ isPlaying WRITE setPlaying NOTIFY playingChanged)

public:
    /** What has become of the stream and its focus. */
    enum class State
    {
        Offline,     ///< Not started, or there is no service, or it gives no session.
        Registering, ///< The service was told of the stream and has not answered.
        Idle,        ///< Registered. The focus was not asked for, or was given back.
        Requested,   ///< The focus was asked for and nothing is decided.
        Focused,     ///< The focus is here.
        Interrupted, ///< The focus is away for a while, and comes back without being asked for.
        Refused,     ///< The focus was refused; while not #available, the registration, which is tried again.
        Lost         ///< The focus was taken away for good.
    };
    Q_ENUM(State)

    /**
     * Why the focus has gone, or has not come. The service gives no reasons: these follow from what happened.
     */
    enum class Reason
    {
        None,        ///< It was never asked for, or was asked for since.
        TakenOver,   ///< Somebody else has it, for good.
        ServiceLeft, ///< The service has gone.
        Abandoned,   ///< It was given back.
        Refused      ///< The service refused it, or the registration.
    };
    Q_ENUM(Reason)

    /** Asks nobody anything. @param parent the Qt parent. */
    explicit AudioStream(QObject* parent = nullptr);

    /** Ends the session, without waiting for the service's answer. */
    ~AudioStream() override;

    /** @return #name. */
    QString name() const;

    /**
     * Sets #name. After start() a warning, and nothing changes.
     *
     * @param name not empty when the stream starts.
     */
    void setName(const QString& name);

    /** @return #streamType, as it was set. */
    QString streamType() const;

    /**
     * Sets #streamType. After start() a warning, and nothing changes.
     *
     * @param streamType empty for "Media".
     */
    void setStreamType(const QString& streamType);

    /** @return #permanentFocus. */
    bool permanentFocus() const;

    /**
     * Sets #permanentFocus. After start() a warning, and nothing changes.
     *
     * @param isPermanent false for a stream that takes the focus for a while.
     */
    void setPermanentFocus(bool isPermanent);

    /** @return #busName, the default one when none was set. */
    QString busName() const;

    /**
     * Sets #busName. A default #objectPath follows it. After start() a warning, and nothing changes.
     *
     * @param busName empty for the default.
     */
    void setBusName(const QString& busName);

    /** @return #objectPath, the default one when none was set. */
    QString objectPath() const;

    /**
     * Sets #objectPath. After start() a warning, and nothing changes.
     *
     * @param objectPath empty for the default.
     */
    void setObjectPath(const QString& objectPath);

    /** @return #destination. */
    QString destination() const;

    /**
     * Sets #destination. After start() a warning, and nothing changes.
     *
     * @param destination may be empty.
     */
    void setDestination(const QString& destination);

    /**
     * Begins: from here on nothing of the above can be changed. Without effect when called again. Without a
     * #name a warning, and nothing begins.
     *
     * Blocks while a service that is there opens a session, 25 s at most.
     */
    Q_INVOKABLE void start();

    /** @return #state. */
    State state() const;

    /** @return #hasFocus. */
    bool hasFocus() const;

    /** @return #available. */
    bool isAvailable() const;

    /** @return #lastReason. */
    Reason lastReason() const;

    /** @return #playing. */
    bool isPlaying() const;

    /**
     * Sets #playing, at any time and at once; with the focus here the service is told.
     *
     * @param isPlaying whether the player's user wants it to play.
     */
    void setPlaying(bool isPlaying);

    /**
     * Asks for the focus, if it is neither here, nor asked for, nor away for a while. What becomes of it is
     * told by #state and focusLost(). A warning when the stream is not #available.
     */
    Q_INVOKABLE void requestFocus();

    /**
     * Asks whether the service would give the focus. Changes nothing; focusQueried() answers, at once when
     * the stream is not #available. Until then another call has the same answer.
     */
    Q_INVOKABLE void queryFocus();

    /**
     * Gives the focus back, or asks for it no longer. Harmless when there is nothing to give back.
     *
     * @param reason why, for the service; must not be empty (a warning).
     */
    Q_INVOKABLE void abandon(const QString& reason);

Q_SIGNALS:
    /** #name was set to another one. */
    void nameChanged();

    /** #streamType was set to another one. */
    void streamTypeChanged();

    /** #permanentFocus was set to the other one. */
    void permanentFocusChanged();

    /** #busName was set to another one. */
    void busNameChanged();

    /** #objectPath was set to another one, or has followed #busName. */
    void objectPathChanged();

    /** #destination was set to another one. */
    void destinationChanged();

    /** #state is another one. The first signal of what has happened. */
    void stateChanged();

    /** The focus has come, or has gone, for a while or for good. */
    void hasFocusChanged();

    /** The stream was registered, or is so no more. */
    void availableChanged();

    /** #lastReason is another one. */
    void lastReasonChanged();

    /** #playing was set to the other one. */
    void playingChanged();

    /**
     * The focus is away for a while: fall silent, and leave #playing as it is. The state is
     * State::Interrupted.
     */
    void pauseRequested();

    /**
     * The focus is back after pauseRequested(), and #playing is true: play on. The state is State::Focused.
     */
    void resumeSuggested();

    /**
     * The focus has gone and will not come back by itself; or it was asked for and will not come. Stop.
     *
     * Once for each time that the state leaves Requested, Focused and Interrupted for another one.
     *
     * @param reason why; #lastReason is the same.
     */
    void focusLost(Audio::Utils::Kiv::Models::AudioStream::Reason reason);

    /**
     * Answers queryFocus().
     *
     * @param wouldBeGranted whether the focus would be given; false also when nobody can say.
     */
    void focusQueried(bool wouldBeGranted);

private:
    Q_DISABLE_COPY(AudioStream)

    class Private;
    const std::unique_ptr<Private> m_Private;
};

} // namespace Audio::Utils::Kiv::Models

#endif // AUDIOSTREAM_H
