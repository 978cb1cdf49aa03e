// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_PLAYERSTAGE_H
#define KIV_TESTS_PLAYERSTAGE_H

#include "Player.h"
#include "ScreenStage.h"
#include "StatusText.h"

#include <QDBusPendingCallWatcher>

#include <memory>

namespace KivTest {

using Audio::Utils::Kiv::Models::AudioStream;

/** An output that tells what it does, and does what it is told to. */
class RecordedOutput : public PlaybackOutput
{
public:
    explicit RecordedOutput(const QString& source, bool isAudible = true)
        : m_Source(source),
          m_IsAudible(isAudible)
    {
    }

    void Load() override {}
    void Start() override { isOn = true; }
    void Pause() override { isOn = false; }
    void Stop() override
    {
        isOn = false;
        position = 0;
    }
    void Seek(qint64 to) override { MoveTo(to); }
    qint64 Position() const override { return position; }
    qint64 Duration() const override { return 128000; }
    QString Source() const override { return m_Source; }
    bool IsAudible() const override { return m_IsAudible; }

    void End()
    {
        isOn = false;
        Q_EMIT Finished();
    }

    void Break(Failure failure)
    {
        isOn = false;
        Q_EMIT Failed(failure);
    }

    void MoveTo(qint64 to)
    {
        position = to;
        Q_EMIT PositionChanged();
    }

    bool isOn = false;
    qint64 position = 0;

private:
    const QString m_Source;
    const bool m_IsAudible;
};

/** Makes recorded outputs, and keeps an eye on all of them. */
class RecordedOutputs : public OutputMaker
{
public:
    std::unique_ptr<PlaybackOutput> MakeMelody() override { return Make(QString(), hasDevice); }
    std::unique_ptr<PlaybackOutput> MakeFile(const QString& path) override { return Make(path, hasDevice); }
    std::unique_ptr<PlaybackOutput> MakeSilence() override { return Make(QString(), false); }

    /** How many are on. */
    int Sounding() const
    {
        return int(std::count_if(m_Made.begin(), m_Made.end(),
                                 [](const QPointer<RecordedOutput>& each) { return each && each->isOn; }));
    }

    /** The one that was made last of those that are not gone. */
    RecordedOutput& Last()
    {
        m_Made.removeAll(nullptr);
        return *m_Made.last();
    }

    bool hasDevice = true;

private:
    std::unique_ptr<PlaybackOutput> Make(const QString& source, bool isAudible)
    {
        auto made = std::make_unique<RecordedOutput>(source, isAudible);
        m_Made.append(made.get());
        return made;
    }

    QVector<QPointer<RecordedOutput>> m_Made;
};

/** A player with recorded outputs, the simulator, and somebody who notices every sound that may not be. */
class PlayerStage
{
public:
    explicit PlayerStage(const QStringList& options = {}, bool hasDevice = true)
        : service(options)
    {
        outputs.hasDevice = hasDevice;
        stream.setName("Player");
        stream.setBusName(kClientName);
        player = std::make_unique<Player>(stream, outputs);
        // After the player, which hears of everything first.
        for (const auto signal :
             {&AudioStream::stateChanged, &AudioStream::hasFocusChanged, &AudioStream::availableChanged,
              &AudioStream::lastReasonChanged, &AudioStream::playingChanged, &AudioStream::pauseRequested,
              &AudioStream::resumeSuggested}) {
            QObject::connect(&stream, signal, player.get(), [this] { Check(); });
        }
        QObject::connect(&stream, &AudioStream::focusLost, player.get(), [this] { Check(); });
        QObject::connect(player.get(), &Player::Changed, player.get(), [this] { Check(); });
    }

    /** Starts the service and the stream, and waits until it is registered. */
    void Begin()
    {
        service.StartService();
        stream.start();
        QVERIFY(QTest::qWaitFor([this] { return stream.isAvailable(); }, kPatience));
    }

    /** What is heard and said: "on: Playing." */
    QString Picture() const
    {
        return (outputs.Sounding() > 0 ? "on: " : "off: ") + Describe(player->Now()).sentence;
    }

    /** Waits for a picture; nothing that the service has sent already may change it. */
    bool Shows(const QString& picture)
    {
        const auto isThere = [&] { return Picture() == picture; };
        return QTest::qWaitFor(isThere, kPatience) && Settle() && isThere();
    }

    /** Handles everything that the service has sent so far, if it is there. */
    bool Settle() { return !service.IsServiceRunning() || (Ping() && Ping()); }

    /** No sound without the focus and the user's will, nor two at once; and no silence with both. */
    void Check()
    {
        const int allowed = stream.isPlaying() && stream.hasFocus() ? 1 : 0;
        if (outputs.Sounding() > allowed || (player->IsSounding() && allowed == 0)) {
            wrongs.append(Picture());
        }
    }

    ScreenStage service;
    AudioStream stream;
    RecordedOutputs outputs;
    std::unique_ptr<Player> player;
    QStringList wrongs; ///< what Check() has found

private:
    static bool Ping()
    {
        QDBusMessage call = QDBusMessage::createMethodCall(
            "com.quorvantel.service.AudioManagement", "/com/kiv/service/AudioManagement/AudioApplication",
            "com.quorvantel.ServiceProvider", "Request");
        call.setArguments({"settle", "{}"});
        QDBusPendingCallWatcher watcher(QDBusConnection::systemBus().asyncCall(call));
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        return finished.wait(kPatience);
    }
};

/** A step of the device, as the simulator's control interface takes it. */
inline QString StartStep(const QString& name, const QString& focusType)
{
    return QString(R"({"do":"startStream","name":"%1","type":"Phone","focusType":"%2"})")
        .arg(name, focusType);
}

inline QString StopStep(const QString& name)
{
    return QString(R"({"do":"stopStream","name":"%1"})").arg(name);
}

/** A message to the player that says what has become of its focus. */
inline QString SendStep(const QString& message, const QString& focus)
{
    return QString(R"({"do":"send","to":"app","name":"%1","parameters":{"newFocus":"%2"}})")
        .arg(message, focus);
}

} // namespace KivTest

#endif // KIV_TESTS_PLAYERSTAGE_H
