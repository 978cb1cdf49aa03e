// SPDX-License-Identifier: MIT
#include "PlayerStage.h"
#include "PrivateBus.h"
#include "ScreenLog.h"
#include "SilentOutput.h"
#include "ToneGenerator.h"

#include <QApplication>
#include <QRandomGenerator>

#include <functional>

using namespace KivTest;

namespace {

using State = AudioStream::State;
using Reason = AudioStream::Reason;
using Failure = PlaybackOutput::Failure;
using Step = std::function<void(PlayerStage&)>;

Step Do(const QString& step)
{
    return [step](PlayerStage& stage) { QVERIFY2(stage.service.control.Do(step), qPrintable(step)); };
}

Step Arm(const QString& fault)
{
    return [fault](PlayerStage& stage) { QVERIFY(stage.service.control.Arm(fault) != 0); };
}

/** What can happen to a player, by name. */
const QMap<QString, Step>& Steps()
{
    static const QMap<QString, Step> steps{
        {"play", [](PlayerStage& stage) { stage.player->Play(); }},
        {"pause", [](PlayerStage& stage) { stage.player->Pause(); }},
        {"stop", [](PlayerStage& stage) { stage.player->Stop(); }},
        {"toggle", [](PlayerStage& stage) { stage.player->Toggle(); }},
        {"stop, play",
         [](PlayerStage& stage) {
             stage.player->Stop();
             stage.player->Play();
         }},
        {"media ends", [](PlayerStage& stage) { stage.outputs.Last().End(); }},
        {"device goes", [](PlayerStage& stage) { stage.outputs.Last().Break(Failure::NoDevice); }},
        {"media break", [](PlayerStage& stage) { stage.outputs.Last().Break(Failure::NotAudio); }},
        {"open", [](PlayerStage& stage) { stage.player->Open("/song.ogg"); }},
        {"loaded", [](PlayerStage& stage) { Q_EMIT stage.outputs.Last().Ready(); }},
        {"not loaded", [](PlayerStage& stage) { stage.outputs.Last().Break(Failure::NotThere); }},
        {"call", Do(StartStep("phone", "transient"))},
        {"call ends", Do(StopStep("phone"))},
        {"other", Do(StartStep("other", "permanent"))},
        {"other ends", Do(StopStep("other"))},
        {"told temporarilyLost", Do(SendStep("onAudioFocusChange", "temporarilyLost"))},
        {"told lost", Do(SendStep("onAudioFocusChange", "lost"))},
        {"told gained", Do(SendStep("onAudioFocusChange", "gained"))},
        {"told granted", Do(SendStep("onRequestAudioFocusResult", "granted"))},
        {"told failed", Do(SendStep("onRequestAudioFocusResult", "failed"))},
        {"told abandoned", Do(SendStep("onRequestAudioFocusResult", "abandoned"))},
        {"told nonsense", Do(SendStep("onAudioFocusChange", "half"))},
        {"refusal armed", Arm(R"({"kind":"errCode","method":"requestAudioFocus"})")},
        {"early result armed", Arm(R"({"kind":"eventsFirst","method":"requestAudioFocus"})")},
        {"silence armed", Arm(R"({"kind":"missingMember","method":"requestAudioFocus","in":"events"})")},
        {"restart", Do(R"({"do":"restart","milliseconds":20})")},
        {"service killed", [](PlayerStage& stage) { stage.service.KillService(); }},
        {"service started", [](PlayerStage& stage) { stage.service.StartService(); }},
    };
    return steps;
}

/** A step, and what is heard and said afterwards. */
struct Scene
{
    QString step;
    QString picture;
};

const QString kPlaying = "on: Playing.";
const QString kReady = "off: Ready.";
const QString kPaused = "off: Paused by you.";
const QString kStopped = "off: Stopped by you.";
const QString kWaiting = "off: Waiting for the focus.";
const QString kInterrupted = "off: Interrupted.";
const QString kPausedInterrupted = "off: Interrupted, and paused by you.";
const QString kLost = "off: Another program has taken over.";
const QString kRefused = "off: The focus was refused.";
const QString kEnded = "off: This was the end.";
const QString kGone = "off: The audio service has gone.";
const QString kBack = "off: The audio service is back.";

struct Script
{
    const char* name;
    QVector<Scene> scenes;
};

const QVector<Script> kScripts{
    {"pause keeps the focus, stop gives it back",
     {{"play", kPlaying},
      {"pause", kPaused},
      {"toggle", kPlaying},
      {"toggle", kPaused},
      {"stop", kStopped},
      {"stop", kStopped},
      {"play", kPlaying}}},
    {"an interruption ends by itself", {{"play", kPlaying}, {"call", kInterrupted}, {"call ends", kPlaying}}},
    {"a pause during an interruption counts",
     {{"play", kPlaying},
      {"call", kInterrupted},
      {"pause", kPausedInterrupted},
      {"call ends", kPaused},
      {"play", kPlaying}}},
    {"the last word during an interruption counts",
     {{"play", kPlaying},
      {"call", kInterrupted},
      {"pause", kPausedInterrupted},
      {"play", kInterrupted},
      {"call ends", kPlaying}}},
    {"a pause before an interruption counts",
     {{"play", kPlaying}, {"pause", kPaused}, {"call", kPausedInterrupted}, {"call ends", kPaused}}},
    {"stop during an interruption",
     {{"play", kPlaying},
      {"call", kInterrupted},
      {"stop", kStopped},
      {"call ends", kStopped},
      {"play", kPlaying}}},
    {"the end during an interruption",
     {{"play", kPlaying}, {"call", kInterrupted}, {"media ends", kEnded}, {"call ends", kEnded}}},
    {"several losses and one gain",
     {{"play", kPlaying},
      {"told temporarilyLost", kInterrupted},
      {"told temporarilyLost", kInterrupted},
      {"told temporarilyLost", kInterrupted},
      {"told gained", kPlaying},
      {"told gained", kPlaying}}},
    {"a loss for good ends playback, also after the other has ended",
     {{"play", kPlaying}, {"other", kLost}, {"other ends", kLost}, {"play", kPlaying}}},
    {"a loss for good during an interruption",
     {{"play", kPlaying},
      {"call", kInterrupted},
      {"told lost", kLost},
      {"told gained", kLost},
      {"call ends", kLost}}},
    {"what nobody asked for is not taken",
     {{"told gained", kReady}, {"told granted", kReady}, {"told lost", kReady}, {"told nonsense", kReady}}},
    {"a text that nobody knows", {{"play", kPlaying}, {"told nonsense", kPlaying}}},
    {"the service takes it back",
     {{"play", kPlaying}, {"told abandoned", "off: The audio service has ended playback."}}},
    {"a refusal, and another try",
     {{"refusal armed", kReady}, {"play", kRefused}, {"told granted", kReady}, {"play", kPlaying}}},
    {"a decision that says no", {{"silence armed", kReady}, {"play", kWaiting}, {"told failed", kRefused}}},
    {"the result before the reply", {{"early result armed", kReady}, {"play", kPlaying}}},
    {"a decision that comes late",
     {{"silence armed", kReady}, {"play", kWaiting}, {"play", kWaiting}, {"told granted", kPlaying}}},
    {"a pause before the decision",
     {{"silence armed", kReady},
      {"play", kWaiting},
      {"pause", kPaused},
      {"told granted", kPaused},
      {"play", kPlaying}}},
    {"stop before the decision",
     {{"silence armed", kReady}, {"play", kWaiting}, {"stop", kStopped}, {"told granted", kStopped}}},
    {"an interruption before the decision",
     {{"silence armed", kReady},
      {"play", kWaiting},
      {"told temporarilyLost", kInterrupted},
      {"told gained", kPlaying}}},
    {"stop and play at once", {{"play", kPlaying}, {"stop, play", kPlaying}, {"stop, play", kPlaying}}},
    {"the end of the medium gives the focus back",
     {{"play", kPlaying},
      {"media ends", kEnded},
      {"call", kEnded},
      {"call ends", kEnded},
      {"play", kPlaying}}},
    {"the service dies and comes back: nothing is taken by itself",
     {{"play", kPlaying},
      {"service killed", kGone},
      {"play", kGone},
      {"service started", kBack},
      {"play", kPlaying}}},
    {"the service dies during an interruption",
     {{"play", kPlaying}, {"call", kInterrupted}, {"service killed", kGone}, {"service started", kBack}}},
    {"the service dies while it is asked",
     {{"silence armed", kReady}, {"play", kWaiting}, {"service killed", kGone}, {"service started", kBack}}},
    {"stop while there is no service",
     {{"play", kPlaying}, {"service killed", kGone}, {"stop", kGone}, {"service started", kStopped}}},
    {"the service restarts", {{"play", kPlaying}, {"restart", kBack}, {"play", kPlaying}}},
    {"another medium while one is heard",
     {{"play", kPlaying},
      {"open", kPlaying},
      {"loaded", kPlaying},
      {"call", kInterrupted},
      {"call ends", kPlaying}}},
    {"another medium during an interruption",
     {{"play", kPlaying},
      {"call", kInterrupted},
      {"open", kInterrupted},
      {"loaded", kInterrupted},
      {"call ends", kPlaying}}},
    {"another medium after the end",
     {{"play", kPlaying}, {"media ends", kEnded}, {"open", kEnded}, {"loaded", kReady}, {"play", kPlaying}}},
    {"a bad medium changes nothing",
     {{"play", kPlaying}, {"open", kPlaying}, {"not loaded", kPlaying}, {"call", kInterrupted}}},
    {"the device goes while one is heard",
     {{"play", kPlaying}, {"device goes", "on: Playing in silence."}, {"pause", kPaused}}},
    {"the device goes while it is paused",
     {{"play", kPlaying}, {"pause", kPaused}, {"device goes", kPaused}, {"play", "on: Playing in silence."}}},
    {"the medium breaks",
     {{"play", kPlaying},
      {"open", kPlaying},
      {"loaded", kPlaying},
      {"media break", "off: Playback has failed."},
      {"play", kPlaying}}},
};

} // namespace

/** What a player does, in every order of events; and what its parts without a window do. */
class tst_Player : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_Log.Begin(); }
    void cleanup() { m_Log.End(); }
    void script_data();
    void script();
    void play_withoutService_asksNobodyAndSaysWhy();
    void play_twice_asksOnce();
    void wire_silenceIsToldBeforeTheFocusGoes();
    void stop_inTheSlotOfASignal_isObeyedAfterIt();
    void open_badFile_keepsTheMediumAndComplainsUntilTheNextAction();
    void open_twice_theLaterOneCounts();
    void deviceGoes_thePositionStays();
    void anyOrder_noSoundWithoutFocusAndWill_data();
    void anyOrder_noSoundWithoutFocusAndWill();
    void status_everySituation_isSaidAsItIs();
    void melody_switchedAndMoved_neverClicks();
    void melody_off_isSilentAndStays();
    void melody_hasAnEnd();
    void silence_keepsTheTimeOnlyWhileItIsOn();

private:
    ScreenLog m_Log;
};

void tst_Player::script_data()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < kScripts.size(); ++index) {
        QTest::newRow(kScripts.at(index).name) << index;
    }
}

void tst_Player::script()
{
    QFETCH(int, index);
    PlayerStage stage;
    stage.Begin();
    QVERIFY(stage.Shows(kReady));
    for (const Scene& scene : kScripts.at(index).scenes) {
        Steps().value(scene.step)(stage);
        const bool isShown = stage.Shows(scene.picture);
        QVERIFY2(isShown, qPrintable(QString("%1: expected \"%2\", found \"%3\"")
                                         .arg(scene.step, scene.picture, stage.Picture())));
    }
    QCOMPARE(stage.wrongs, QStringList());
}

void tst_Player::play_withoutService_asksNobodyAndSaysWhy()
{
    PlayerStage stage;
    stage.stream.start();
    m_Log.Records().Clear();
    stage.player->Play();
    QCOMPARE(stage.Picture(), "off: The audio service is not available.");
    QVERIFY(!stage.stream.isPlaying());
    QCOMPARE(m_Log.Records().Complaints().size(), 0);
    stage.service.StartService();
    QVERIFY(stage.Shows(kReady)); // what was pressed before is forgotten
    QCOMPARE(stage.service.control.CallCount("requestAudioFocus"), 0u);
}

void tst_Player::play_twice_asksOnce()
{
    PlayerStage stage;
    stage.Begin();
    for (const QString& picture : {kPlaying, kPlaying}) {
        stage.player->Play();
        QVERIFY(stage.Shows(picture));
    }
    stage.player->Pause();
    stage.player->Play();
    QVERIFY(stage.Shows(kPlaying));
    QCOMPARE(stage.service.control.CallCount("requestAudioFocus"), 1u);
    for (int time = 0; time < 2; ++time) {
        stage.player->Stop();
        QVERIFY(stage.Shows(kStopped));
    }
    QCOMPARE(stage.service.control.CallCount("abandonAudioFocus"), 1u);
}

void tst_Player::wire_silenceIsToldBeforeTheFocusGoes()
{
    PlayerStage stage;
    stage.Begin();
    QStringList heard;
    connect(&stage.stream, &AudioStream::playingChanged, this, [&] {
        heard.append(QString("%1 %2").arg(stage.outputs.Sounding()).arg(stage.stream.hasFocus()));
    });
    const quint32 from = stage.service.control.LogEnd();
    for (const auto& scene : {Scene{"play", kPlaying}, {"media ends", kEnded}}) {
        Steps().value(scene.step)(stage);
        QVERIFY(stage.Shows(scene.picture));
    }
    const QStringList requests = Gist(stage.service.control.Log(from))
                                     .filter("request app")
                                     .filter(QRegularExpression("audioActive|AudioFocus"));
    QCOMPARE(
        requests,
        (QStringList{R"(request app requestAudioFocus {"requestType":"request","sessionId":1})",
                     R"(request app audioActive {"playing":true,"sessionId":1})",
                     R"(request app audioActive {"playing":false,"sessionId":1})",
                     R"(request app abandonAudioFocus {"reason":"the medium has ended","sessionId":1})"}));
    QCOMPARE(heard, (QStringList{"0 0", "0 1"})); // silent before the focus goes
}

void tst_Player::stop_inTheSlotOfASignal_isObeyedAfterIt()
{
    PlayerStage stage;
    stage.Begin();
    int rounds = 0;
    connect(&stage.stream, &AudioStream::hasFocusChanged, stage.player.get(), [&] {
        if (stage.stream.hasFocus() && ++rounds < 3) { // a user who cannot decide
            stage.player->Stop();
            stage.player->Play();
        }
    });
    stage.player->Play();
    QVERIFY(stage.Shows(kPlaying));
    QCOMPARE(rounds, 3);
    QCOMPARE(stage.wrongs, QStringList());
}

void tst_Player::open_badFile_keepsTheMediumAndComplainsUntilTheNextAction()
{
    PlayerStage stage;
    stage.Begin();
    QCOMPARE(stage.player->LastComplaint(), nullptr);
    stage.player->Open("/music/song.ogg");
    stage.outputs.Last().Break(Failure::Folder);
    QCOMPARE(stage.player->Output().Source(), "");
    QVERIFY(stage.player->LastComplaint());
    QCOMPARE(stage.player->LastComplaint()->path, "/music/song.ogg");
    QCOMPARE(stage.player->LastComplaint()->failure, Failure::Folder);
    stage.player->Play();
    QCOMPARE(stage.player->LastComplaint(), nullptr);
}

void tst_Player::open_twice_theLaterOneCounts()
{
    PlayerStage stage;
    stage.player->Open("/first.ogg");
    const QPointer<RecordedOutput> first = &stage.outputs.Last();
    stage.player->Open("/second.ogg");
    Q_EMIT first->Ready();
    QCOMPARE(stage.player->Output().Source(), "");
    Q_EMIT stage.outputs.Last().Ready();
    QCOMPARE(stage.player->Output().Source(), "/second.ogg");
    QTRY_VERIFY(!first);
}

void tst_Player::deviceGoes_thePositionStays()
{
    PlayerStage stage;
    stage.outputs.Last().MoveTo(4200);
    stage.outputs.Last().Break(Failure::NoDevice);
    QCOMPARE(stage.player->Output().Position(), 4200);
    QVERIFY(!stage.player->Output().IsAudible());
    stage.player->Seek(100);
    QCOMPARE(stage.player->Output().Position(), 100);
}

void tst_Player::anyOrder_noSoundWithoutFocusAndWill_data()
{
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 4; ++seed) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

void tst_Player::anyOrder_noSoundWithoutFocusAndWill()
{
    QFETCH(quint32, seed);
    QRandomGenerator random(seed);
    PlayerStage stage;
    stage.Begin();
    // What the service cannot do at the moment is complained about, and left.
    const QStringList names = Steps().keys().filter(QRegularExpression("^(?!call|other|service|restart).*"));
    const QStringList device{StartStep("phone", "transient"), StopStep("phone"),
                             StartStep("other", "permanent"), StopStep("other")};
    QStringList done;
    for (int count = 0; count < 150; ++count) {
        const QString name = names.at(random.bounded(names.size()));
        if (random.bounded(4) == 0) {
            stage.service.control.Do(device.at(random.bounded(device.size())));
        } else {
            done.append(name);
            Steps().value(name)(stage);
        }
        if (random.bounded(2) == 0) {
            QVERIFY(stage.Settle());
        }
        stage.Check();
        QVERIFY2(stage.wrongs.isEmpty(), qPrintable(done.join(", ") + ": " + stage.wrongs.join(", ")));
    }
    QVERIFY(stage.service.control.Do(R"({"do":"disarmFaults"})")); // and it is usable afterwards
    stage.player->Stop();
    QVERIFY(stage.Settle());
    stage.player->Play();
    QTRY_VERIFY_WITH_TIMEOUT(stage.player->IsSounding(), kPatience);
}

void tst_Player::status_everySituation_isSaidAsItIs()
{
    const QMetaEnum states = QMetaEnum::fromType<State>();
    const QMetaEnum reasons = QMetaEnum::fromType<Reason>();
    const QMetaEnum endings = QMetaEnum::fromType<Player::Ending>();
    QSet<QString> sentences;
    for (int index = 0; index < states.keyCount() * reasons.keyCount() * endings.keyCount() * 8; ++index) {
        int rest = index;
        const auto draw = [&rest](int count) { return std::exchange(rest, rest / count) % count; };
        Player::Situation now;
        now.state = State(states.value(draw(states.keyCount())));
        now.reason = Reason(reasons.value(draw(reasons.keyCount())));
        now.ending = Player::Ending(endings.value(draw(endings.keyCount())));
        now.isAvailable = draw(2) == 1;
        now.isPlaying = draw(2) == 1;
        now.isAudible = draw(2) == 1;
        const Status status = Describe(now);
        QVERIFY(!status.sentence.isEmpty() && !status.detail.isEmpty());
        const bool isSounding = now.state == State::Focused && now.isPlaying;
        QCOMPARE(status.marker == Marker::Sounding, isSounding && now.isAudible);
        QCOMPARE(status.marker == Marker::Silent, isSounding && !now.isAudible);
        QCOMPARE(status.sentence.startsWith("Playing"), isSounding);
        sentences.insert(status.sentence + ' ' + status.detail);
    }
    QCOMPARE(sentences.size(), 19);
}

namespace {

/** The next milliseconds of a melody, its left channel. */
QVector<int> Hear(ToneGenerator& melody, int milliseconds)
{
    const QByteArray bytes =
        melody.read(qint64(ToneGenerator::kRate) * milliseconds / 1000 * ToneGenerator::kFrameBytes);
    QVector<int> samples;
    for (int at = 0; at < bytes.size(); at += ToneGenerator::kFrameBytes) {
        qint16 sample = 0;
        memcpy(&sample, bytes.constData() + at, sizeof sample);
        samples.append(sample);
    }
    return samples;
}

int Loudest(const QVector<int>& samples)
{
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end());
    return qMax(-*least, *most);
}

} // namespace

void tst_Player::melody_switchedAndMoved_neverClicks()
{
    ToneGenerator melody;
    QVector<int> heard;
    for (int round = 0; round < 40; ++round) { // switched and moved within notes, in the middle of a wave
        melody.SetOn(round % 3 != 2);
        heard += Hear(melody, 37 + 3 * round);
        melody.SeekTo(1000 + 331 * round);
        heard += Hear(melody, 61);
    }
    int steepest = 0;
    for (int at = 1; at < heard.size(); ++at) {
        steepest = qMax(steepest, qAbs(heard.at(at) - heard.at(at - 1)));
    }
    const int loudest = Loudest(heard);
    QVERIFY2(loudest > 1000 && loudest < 8000, qPrintable(QString::number(loudest))); // quiet, but there
    QVERIFY2(steepest < loudest / 4, qPrintable(QString::number(steepest)));
}

void tst_Player::melody_off_isSilentAndStays()
{
    ToneGenerator melody;
    QCOMPARE(Loudest(Hear(melody, 100)), 0);
    QCOMPARE(melody.Position(), 0);
    melody.SetOn(true);
    QVERIFY(Loudest(Hear(melody, 300)) > 1000);
    melody.SetOn(false);
    Hear(melody, 50); // it fades
    QVERIFY(melody.IsSilent());
    const qint64 position = melody.Position();
    QVERIFY(position > 250 && position < 400);
    QCOMPARE(Loudest(Hear(melody, 1000)), 0);
    QCOMPARE(melody.Position(), position);
}

void tst_Player::melody_hasAnEnd()
{
    ToneGenerator melody;
    melody.SeekTo(ToneGenerator::Duration() - 100);
    melody.SetOn(true);
    Hear(melody, 90);
    QVERIFY(!melody.IsAtEnd());
    Hear(melody, 20);
    QVERIFY(melody.IsAtEnd());
    QCOMPARE(melody.Position(), ToneGenerator::Duration());
    QCOMPARE(Loudest(Hear(melody, 100)), 0);
    melody.SeekTo(0);
    QVERIFY(Loudest(Hear(melody, 200)) > 1000);
}

void tst_Player::silence_keepsTheTimeOnlyWhileItIsOn()
{
    qint64 now = 5000;
    SilentOutput silence(1000, [&now] { return now; });
    QSignalSpy finished(&silence, &PlaybackOutput::Finished);
    now += 100;
    QCOMPARE(silence.Position(), 0);
    silence.Start();
    now += 300;
    silence.Start(); // again: nothing changes
    QCOMPARE(silence.Position(), 300);
    silence.Pause();
    now += 100;
    QCOMPARE(silence.Position(), 300);
    silence.Seek(900);
    silence.Start();
    now += 50;
    QCOMPARE(silence.Position(), 950);
    QCOMPARE(finished.size(), 0);
    now += 500;
    QVERIFY(finished.wait());
    QCOMPARE(silence.Position(), 1000);
    silence.Stop();
    now += 100;
    QCOMPARE(silence.Position(), 0);
    QCOMPARE(finished.size(), 1);
}

int main(int argc, char** argv)
{
    const PrivateBus bus;
    const QApplication application(argc, argv);
    tst_Player test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_Player.moc"
