// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "PrivateBus.h"
#include "SimulatedStreamStage.h"

#include <QDir>

using namespace KivTest;

namespace {

const QStringList kGranted{"state Requested", "state Focused", "hasFocus true"};
const QStringList kPlayed{"playing true"};

/** What a player sees whose user presses play once, as soon as the stream is available. */
struct Scenario
{
    const char* name;
    QStringList expected;
};

const QVector<Scenario> kScenarios{
    {"answers-errors", {}},
    {"answers-garbage", {}},
    {"appears-late", kRegistration + kPlayed + kGranted},
    {"calls-back-while-waiting",
     kRegistration + kPlayed + QStringList{"state Requested", "state Interrupted", "pauseRequested"}},
    {"crashes-in-call", kRegistration + kPlayed + QStringList{"state Requested"} + kOffline + kClaimEnds},
    {"flood", kRegistration + kPlayed + kGranted},
    {"never-answers", {}},
    {"not-running", {}},
    {"phone-call-interrupts-music", kRegistration + kPlayed + kGranted +
                                        QStringList{"state Interrupted", "hasFocus false", "pauseRequested",
                                                    "state Focused", "hasFocus true", "resumeSuggested"}},
    {"restarts", kRegistration + kPlayed + kGranted +
                     QStringList{"state Offline", "hasFocus false", "available false"} + kClaimEnds +
                     kRegistration},
    {"two-hmis", kRegistration + kPlayed + kGranted},
};

} // namespace

/** The stream in the simulator's scenarios, and with its options. */
class tst_AudioStreamScenarios : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyScenario_isTried();
    void scenario_data();
    void scenario();
    void refused_theServiceSaysWhoAndTheStreamIsRefused();
    void locked_theStreamKeepsTheFocusAndAnotherIsRefused();
    void userPausesDuringThePhoneCall_nothingIsResumed();
    void twoStreams_oneTakesTheFocusFromTheOther();
    void transientStream_interruptsAndGivesBack();
    void query_changesNothingForAnyone();
    void crashWhileFocused_isOfflineUntilTheNextService();
};

void tst_AudioStreamScenarios::everyScenario_isTried()
{
    QStringList names;
    for (const Scenario& scenario : kScenarios) {
        names.append(QString(scenario.name) + ".json");
    }
    QCOMPARE(names, QDir(KIV_SCENARIOS_FOLDER).entryList(QDir::Files, QDir::Name));
}

void tst_AudioStreamScenarios::scenario_data()
{
    QTest::addColumn<QStringList>("expected");
    for (const Scenario& scenario : kScenarios) {
        QTest::newRow(scenario.name) << scenario.expected;
    }
}

void tst_AudioStreamScenarios::scenario()
{
    QFETCH(QStringList, expected);
    const LogCapture log;
    SimulatedStreamStage stage({"--scenario", QTest::currentDataTag()});
    bool isPressed = false;
    connect(stage.stream.get(), &AudioStream::availableChanged, this, [&] {
        if (!std::exchange(isPressed, true)) {
            stage.stream->setPlaying(true);
            stage.stream->requestFocus();
        }
    });
    stage.stream->start();
    QVERIFY2(stage.Sees(expected), qPrintable(stage.Log().join('\n')));
}

void tst_AudioStreamScenarios::refused_theServiceSaysWhoAndTheStreamIsRefused()
{
    SimulatedStreamStage stage({"--refuse", "Player"});
    stage.Register();
    for (int round = 0; round < 3; ++round) {
        stage.stream->requestFocus();
        const QStringList again = round == 0 ? QStringList() : QStringList{"lastReason None"};
        QVERIFY(stage.Sees(QStringList{"state Requested"} + again +
                           QStringList{"state Refused", "lastReason Refused", "focusLost Refused"}));
    }
    stage.stream->queryFocus();
    QVERIFY(stage.Sees({"focusQueried false"}));
}

void tst_AudioStreamScenarios::locked_theStreamKeepsTheFocusAndAnotherIsRefused()
{
    SimulatedStreamStage stage({"--lock", "Player"});
    stage.Register();
    stage.stream->requestFocus();
    QVERIFY(stage.Sees(kGranted));
    AudioStream other;
    other.setName("Other");
    other.setBusName(kClientName);
    other.setObjectPath("/other");
    StreamEvents events(other);
    other.start();
    QTRY_VERIFY_WITH_TIMEOUT(other.isAvailable(), kPatience);
    other.requestFocus();
    QTRY_COMPARE_WITH_TIMEOUT(other.state(), AudioStream::State::Refused, kPatience);
    QVERIFY(stage.Sees({}));
    QVERIFY(stage.stream->hasFocus());
}

void tst_AudioStreamScenarios::userPausesDuringThePhoneCall_nothingIsResumed()
{
    SimulatedStreamStage stage;
    stage.Register();
    stage.stream->setPlaying(true);
    stage.stream->requestFocus();
    QVERIFY(stage.Sees(QStringList{"playing true"} + kGranted));
    QVERIFY(
        stage.control.Do(R"({"do":"startStream","name":"phone","type":"Phone","focusType":"transient"})"));
    QVERIFY(stage.Sees({"state Interrupted", "hasFocus false", "pauseRequested"}));
    stage.stream->setPlaying(false);
    QVERIFY(stage.control.Do(R"({"do":"stopStream","name":"phone"})"));
    QVERIFY(stage.Sees({"playing false", "state Focused", "hasFocus true"}));
}

void tst_AudioStreamScenarios::twoStreams_oneTakesTheFocusFromTheOther()
{
    SimulatedStreamStage stage;
    stage.Register();
    stage.stream->requestFocus();
    QVERIFY(stage.Sees(kGranted));
    QVERIFY(
        stage.control.Do(R"({"do":"startStream","name":"siren","type":"Alarm","focusType":"permanent"})"));
    QVERIFY(stage.Sees({"state Lost", "hasFocus false", "lastReason TakenOver", "focusLost TakenOver"}));
    QVERIFY(stage.control.Do(R"({"do":"stopStream","name":"siren"})"));
    QVERIFY(stage.Sees({}));
    stage.stream->requestFocus();
    QVERIFY(stage.Sees({"state Requested", "lastReason None", "state Focused", "hasFocus true"}));
}

void tst_AudioStreamScenarios::transientStream_interruptsAndGivesBack()
{
    SimulatedStreamStage stage;
    stage.Register();
    stage.stream->setPlaying(true);
    stage.stream->requestFocus();
    QVERIFY(stage.Sees(QStringList{"playing true"} + kGranted));
    {
        AudioStream bell;
        bell.setName("Bell");
        bell.setBusName(kClientName);
        bell.setObjectPath("/bell");
        bell.setPermanentFocus(false);
        bell.start();
        QTRY_VERIFY_WITH_TIMEOUT(bell.isAvailable(), kPatience);
        bell.requestFocus();
        QVERIFY(stage.Sees({"state Interrupted", "hasFocus false", "pauseRequested"}));
        QTRY_VERIFY_WITH_TIMEOUT(bell.hasFocus(), kPatience);
    } // its session ends, and the focus goes back
    QVERIFY(stage.Sees({"state Focused", "hasFocus true", "resumeSuggested"}));
}

void tst_AudioStreamScenarios::query_changesNothingForAnyone()
{
    SimulatedStreamStage stage;
    stage.Register();
    stage.stream->queryFocus();
    QVERIFY(stage.Sees({"focusQueried true"}));
    QCOMPARE(stage.stream->state(), AudioStream::State::Idle);
    QCOMPARE(stage.Log().filter("audioFocusChangeEvent"), QStringList());
}

void tst_AudioStreamScenarios::crashWhileFocused_isOfflineUntilTheNextService()
{
    const LogCapture log;
    SimulatedStreamStage stage;
    stage.Register();
    stage.stream->requestFocus();
    QVERIFY(stage.Sees(kGranted));
    stage.simulator->Signal(SIGKILL);
    QVERIFY(stage.Sees(QStringList{"state Offline", "hasFocus false", "available false"} + kClaimEnds));
    stage.StartService();
    QVERIFY(stage.Sees(kRegistration));
    QCOMPARE(stage.Log().filter("requestAudioFocus"), QStringList());
}

int main(int argc, char** argv)
{
    const PrivateBus bus(R"(<limit name="reply_timeout">1500</limit>)"); // for a service that never answers
    const QCoreApplication application(argc, argv);
    tst_AudioStreamScenarios test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AudioStreamScenarios.moc"
