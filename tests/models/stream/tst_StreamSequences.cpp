// SPDX-License-Identifier: MIT
#include "FakeStreamStage.h"
#include "LogCapture.h"
#include "Nightly.h"
#include "TestMain.h"
#include "stream/FocusMachine.h"

#include <QRandomGenerator>

#include <array>
#include <functional>

using namespace KivTest;
using namespace Audio::Utils::Kiv::Models;

using Event = FocusMachine::Event;
using Action = FocusMachine::Action;
using Notice = FocusMachine::Notice;

namespace {

bool IsClaim(AudioStream::State state)
{
    return state == AudioStream::State::Requested || state == AudioStream::State::Focused ||
           state == AudioStream::State::Interrupted;
}

/** What must hold between what a player is told, in whatever order things happen. Complains once. */
class PlayerRules
{
public:
    void State(AudioStream::State state)
    {
        m_HasClaim = m_HasClaim || IsClaim(state);
        m_State = state;
    }

    void Focus(bool hasFocus)
    {
        Check(hasFocus == (m_State == AudioStream::State::Focused), "the focus is there in Focused only");
    }

    void Pause()
    {
        Check(m_State == AudioStream::State::Interrupted, "a pause is requested in Interrupted only");
        Check(!m_IsPaused, "a pause is requested once");
        m_IsPaused = true;
    }

    void Resume(bool isPlaying)
    {
        Check(m_State == AudioStream::State::Focused, "it resumes in Focused only");
        Check(m_IsPaused && isPlaying, "it resumes only what was to pause, and what the user wants");
        m_IsPaused = false;
    }

    void Lost(AudioStream::Reason reason, AudioStream::Reason lastReason)
    {
        Check(m_HasClaim && !IsClaim(m_State), "a claim is lost once, and then it is gone");
        Check(reason == lastReason && reason != AudioStream::Reason::None, "a loss has the last reason");
        m_HasClaim = false;
        m_IsPaused = false;
    }

    /** When all has been told that an event has brought about. */
    void Over()
    {
        Check(m_HasClaim == IsClaim(m_State), "every end of a claim is told");
        m_IsPaused = m_IsPaused && m_State == AudioStream::State::Interrupted;
    }

    void Check(bool isTrue, const char* rule)
    {
        if (!isTrue && m_Complaint.isEmpty()) {
            m_Complaint = rule;
        }
    }

    QString Complaint() const { return m_Complaint; }

private:
    AudioStream::State m_State = AudioStream::State::Offline;
    bool m_HasClaim = false;
    bool m_IsPaused = false;
    QString m_Complaint;
};

/** Has a machine tell its player what a stream would. */
void Tell(PlayerRules& rules, const FocusMachine& machine, Notice notice)
{
    rules.State(machine.PublicState());
    rules.Focus(machine.HasFocus());
    switch (notice) {
    case Notice::None:
        break;
    case Notice::Pause:
        rules.Pause();
        break;
    case Notice::Resume:
        rules.Resume(machine.IsPlaying());
        break;
    case Notice::Lost:
        rules.Lost(machine.LastReason(), machine.LastReason());
        break;
    }
    rules.Over();
}

/** What the service has not answered or decided yet. */
class ServiceRules
{
public:
    void Happens(Event event)
    {
        static const QVector<Event> decisions{Event::RequestRefused, Event::Granted, Event::Failed,
                                              Event::Lost, Event::TemporarilyLost};
        const bool isGone = event == Event::ServiceLeft || event == Event::SessionOpened;
        m_IsAbandoning = m_IsAbandoning && event != Event::AbandonAnswered && !isGone;
        m_IsRequesting = m_IsRequesting && !decisions.contains(event) && !isGone;
    }

    /** @return whether this may be sent now. */
    bool Sends(Action action)
    {
        if (action == Action::Request) {
            return !m_IsAbandoning && !std::exchange(m_IsRequesting, true);
        }
        if (action == Action::Abandon || action == Action::GiveBack) {
            m_IsRequesting = false;
            return !std::exchange(m_IsAbandoning, true);
        }
        return true;
    }

private:
    bool m_IsRequesting = false;
    bool m_IsAbandoning = false;
};

/** A stream, and a service that keeps back each answer until a random step gives it. */
class Play
{
public:
    explicit Play(quint32 seed)
        : m_Random(seed)
    {
        connectRules();
        m_Stage.Register();
        HoldAnswers();
    }

    /** @return the complaint; empty when all is well. */
    QString Run(int steps)
    {
        for (int step = 0; step < steps && m_Rules.Complaint().isEmpty(); ++step) {
            Step();
            LookAtTheWire();
            m_Rules.Check(!m_Stage.events.All().join(' ').contains("unchanged"),
                          "no signal without a change");
        }
        CheckThatItIsUsable();
        return m_Rules.Complaint();
    }

private:
    AudioStream& Stream() { return *m_Stage.stream; }

    void connectRules()
    {
        const AudioStream* const stream = m_Stage.stream.get();
        QObject::connect(stream, &AudioStream::stateChanged, stream,
                         [this] { m_Rules.State(Stream().state()); });
        QObject::connect(stream, &AudioStream::hasFocusChanged, stream,
                         [this] { m_Rules.Focus(Stream().hasFocus()); });
        QObject::connect(stream, &AudioStream::pauseRequested, stream, [this] { m_Rules.Pause(); });
        QObject::connect(stream, &AudioStream::resumeSuggested, stream,
                         [this] { m_Rules.Resume(Stream().isPlaying()); });
        QObject::connect(stream, &AudioStream::focusLost, stream,
                         [this](AudioStream::Reason reason) { m_Rules.Lost(reason, Stream().lastReason()); });
    }

    void HoldAnswers()
    {
        m_Stage.service->Hold("requestAudioFocus");
        m_Stage.service->Hold("abandonAudioFocus");
    }

    void Answer(const QString& text)
    {
        LookAtTheWire();
        m_Stage.service->Answer("requestAudioFocus", text);
        m_Stage.service->Answer("abandonAudioFocus", text);
        m_Stage.service->Release("requestAudioFocus");
        m_Stage.service->Release("abandonAudioFocus");
        m_Unanswered = 0;
        HoldAnswers();
    }

    // Of requests and abandonments one has no answer at most.
    void LookAtTheWire()
    {
        for (const QString& call : m_Stage.TakeWire()) {
            const bool isQuery = call.contains(R"("requestType":"query")");
            m_Unanswered += call.contains("AudioFocus") && !isQuery ? 1 : 0;
        }
        m_Rules.Check(m_Unanswered <= 1, "one request or abandonment is on its way at a time");
    }

    void Restart()
    {
        m_Stage.service->Leave();
        m_Rules.Check(
            QTest::qWaitFor([this] { return Stream().state() == AudioStream::State::Offline; }, 30000),
            "the stream sees the service leave");
        Answer("{}"); // they have no effect
        m_Stage.service->Appear();
        m_Rules.Check(QTest::qWaitFor([this] { return Stream().isAvailable(); }, 30000),
                      "the stream is registered again");
        m_Rules.Check(Stream().state() == AudioStream::State::Idle, "it asks for nothing by itself");
    }

    void Step()
    {
        using Deed = std::function<void()>;
        const std::array<Deed, 16> deeds{{
            [this] { Stream().requestFocus(); },
            [this] { Stream().requestFocus(); },
            [this] { Stream().abandon("random"); },
            [this] { Stream().queryFocus(); },
            [this] { Stream().setPlaying(!Stream().isPlaying()); },
            [this] { Answer("{}"); },
            [this] { Answer("{}"); },
            [this] { Answer(R"({"errCode":1})"); },
            [this] { m_Stage.Decide("granted"); },
            [this] { m_Stage.Decide("granted"); },
            [this] { m_Stage.Decide("failed"); },
            [this] { m_Stage.Decide("abandoned"); },
            [this] { m_Stage.Change("gained"); },
            [this] { m_Stage.Change("temporarilyLost"); },
            [this] { m_Stage.Change("lost"); },
            [this] { m_Random.bounded(4) == 0 ? Restart() : m_Stage.Decide("wouldBeGranted"); },
        }};
        deeds.at(m_Random.bounded(quint32(deeds.size())))();
        m_Rules.Over();
    }

    // Whatever has happened, a player can give up and get the focus.
    void CheckThatItIsUsable()
    {
        Answer("{}");
        Stream().abandon("end");
        LookAtTheWire();
        for (int round = 0; round < 3;
             ++round) { // what was waiting, the abandonment, a late focus given back
            Answer("{}");
            m_Stage.Settle();
        }
        Stream().requestFocus();
        LookAtTheWire();
        m_Stage.Decide("granted");
        m_Rules.Check(Stream().hasFocus(), "the stream is usable afterwards");
    }

    QRandomGenerator m_Random;
    FakeStreamStage m_Stage;
    PlayerRules m_Rules;
    int m_Unanswered = 0;
};

quint32 Seed()
{
    bool isSet = false;
    const int seed = qEnvironmentVariableIntValue("KIV_STREAM_SEED", &isSet);
    return isSet ? quint32(seed) : 1;
}

} // namespace

/**
 * The stream, and its machine alone, in random sequences of everything that can happen.
 *
 * KIV_STREAM_SEED is the first seed; each further sequence has the next one.
 */
class tst_StreamSequences : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void machine_keepsTheRules();
    void machine_isInEveryStepAtTimes();
    void stream_keepsTheRules();
};

void tst_StreamSequences::machine_keepsTheRules()
{
    for (quint32 seed = Seed(); seed < Seed() + quint32(Nightly(2000, 200)); ++seed) {
        QRandomGenerator random(seed);
        FocusMachine machine;
        PlayerRules player;
        ServiceRules service;
        for (int count = 0; count < 1000; ++count) {
            const auto event = Event(random.bounded(FocusMachine::kEventCount));
            machine.SetPlaying(random.bounded(2) == 0);
            service.Happens(event);
            const FocusMachine::Outcome outcome = machine.Handle(event);
            player.Check(service.Sends(outcome.action), "one request or abandonment at a time");
            Tell(player, machine, outcome.notice);
        }
        QVERIFY2(player.Complaint().isEmpty(),
                 qPrintable(QString("KIV_STREAM_SEED=%1: %2").arg(seed).arg(player.Complaint())));
    }
}

// Else the sequences would prove nothing.
void tst_StreamSequences::machine_isInEveryStepAtTimes()
{
    QRandomGenerator random(Seed());
    FocusMachine machine;
    QVector<int> visits(FocusMachine::kStepCount);
    for (int count = 0; count < 20000; ++count) {
        machine.Handle(Event(random.bounded(FocusMachine::kEventCount)));
        ++visits[int(machine.CurrentStep())];
    }
    for (const int visited : visits) {
        QVERIFY(visited >= 20);
    }
}

void tst_StreamSequences::stream_keepsTheRules()
{
    for (quint32 seed = Seed(); seed < Seed() + quint32(Nightly(300, 10)); ++seed) {
        LogCapture log;
        const QString complaint = Play(seed).Run(100);
        QVERIFY2(complaint.isEmpty(), qPrintable(QString("KIV_STREAM_SEED=%1: %2").arg(seed).arg(complaint)));
    }
}

KIV_BUS_TEST_MAIN(tst_StreamSequences)
#include "tst_StreamSequences.moc"
