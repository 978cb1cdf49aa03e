// SPDX-License-Identifier: MIT
#include "FakeStreamStage.h"
#include "LogCapture.h"
#include "TestMain.h"

#include <QSignalSpy>

#include <functional>

using namespace KivTest;

namespace {

const QString kRegistered = R"(registerAudioStream {"focusType":"permanent","sessionId":7,)"
                            R"("streamModeName":"/com/quorvantel/audioclient/test",)"
                            R"("streamName":"Player","streamType":"Media"})";
const QString kRequested = R"(requestAudioFocus {"requestType":"request","sessionId":7})";
const QString kQueried = R"(requestAudioFocus {"requestType":"query","sessionId":7})";
const QString kActive = R"(audioActive {"playing":true,"sessionId":7})";
const QString kInactive = R"(audioActive {"playing":false,"sessionId":7})";
const QString kAbandoned = R"(abandonAudioFocus {"reason":"user","sessionId":7})";
const QString kGivenBack = R"(abandonAudioFocus {"reason":"the answer came too late","sessionId":7})";
const QString kErrCode = R"({"errCode":13,"errMessage":"no"})";
const QString kClass = "Audio::Utils::Kiv::Models::AudioStream";
const QStringList kNothing;
const int kPatience = 30000;
const int kMoreThanAMessage = 33 << 20; // characters; the client library sends 32 MiB at most

using Step = std::function<void(FakeStreamStage&)>;

/** A state of the stream, and how it gets there after it was registered. */
struct Situation
{
    const char* name;
    AudioStream::State state;
    Step reach;
    bool hasClaim;
};

void Ask(FakeStreamStage& stage)
{
    stage.stream->requestFocus();
    QVERIFY(stage.service->WaitForCalls("requestAudioFocus", 1));
    stage.Settle();
}

const QVector<Situation> kSituations{
    {"idle", AudioStream::State::Idle, [](FakeStreamStage&) {}, false},
    {"requested", AudioStream::State::Requested, [](FakeStreamStage& stage) { Ask(stage); }, true},
    {"requested, no reply", AudioStream::State::Requested,
     [](FakeStreamStage& stage) {
         stage.service->Hold("requestAudioFocus");
         Ask(stage);
     },
     true},
    {"focused", AudioStream::State::Focused,
     [](FakeStreamStage& stage) {
         Ask(stage);
         stage.Decide("granted");
     },
     true},
    {"interrupted", AudioStream::State::Interrupted,
     [](FakeStreamStage& stage) {
         Ask(stage);
         stage.Decide("granted");
         stage.Change("temporarilyLost");
     },
     true},
    {"refused", AudioStream::State::Refused,
     [](FakeStreamStage& stage) {
         Ask(stage);
         stage.Decide("failed");
     },
     false},
    {"lost", AudioStream::State::Lost,
     [](FakeStreamStage& stage) {
         Ask(stage);
         stage.Decide("granted");
         stage.Change("lost");
     },
     false},
    {"returning", AudioStream::State::Idle,
     [](FakeStreamStage& stage) {
         stage.service->Hold("abandonAudioFocus");
         Ask(stage);
         stage.stream->abandon("user");
         QVERIFY(stage.service->WaitForCalls("abandonAudioFocus", 1));
     },
     false},
    {"reclaiming", AudioStream::State::Requested,
     [](FakeStreamStage& stage) {
         stage.service->Hold("abandonAudioFocus");
         Ask(stage);
         stage.stream->abandon("user");
         QVERIFY(stage.service->WaitForCalls("abandonAudioFocus", 1));
         stage.stream->requestFocus();
     },
     true},
};

void AddSituations()
{
    QTest::addColumn<int>("situation");
    for (int index = 0; index < kSituations.size(); ++index) {
        QTest::newRow(kSituations.at(index).name) << index;
    }
}

} // namespace

/** The stream with a service that says everything in any order. */
class tst_AudioStream : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void configuration_byDefault_isDerivedFromTheApplication();
    void configuration_isToldWhenItChanges();
    void configuration_busName_changesTheObjectPath();
    void configuration_afterStart_isRefused_data();
    void configuration_afterStart_isRefused();
    void start_withoutName_isRefused();
    void start_twice_hasNoEffect();
    void start_serviceThere_registersWithoutWaiting();
    void start_otherConfiguration_isWhatTheServiceIsTold();
    void start_serviceNotThere_isOfflineUntilItAppears();
    void start_noSession_isOfflineAndTriedAgain();
    void registration_refused_isTriedAgain();
    void registration_refused_serviceLeaves_endsTheTrying();
    void registration_thatCannotBeSent_isRefusedAtOnce();
    void request_granted_hasFocus();
    void request_decisionBeforeTheReply_counts();
    void request_decisionBeforeAnErrorReply_counts();
    void request_errorReply_isRefused();
    void request_failed_isRefused();
    void request_twice_isSentOnce();
    void request_grantedAfterARefusal_isGivenBack();
    void request_notAvailable_isRefusedWithAWarning();
    void request_lostBeforeTheDecision_isLost();
    void request_temporarilyLostBeforeTheDecision_isInterrupted();
    void pausing_keepsTheFocus();
    void playing_theServiceIsToldWhatIsHeard();
    void interruption_severalLossesAndOneGain_giveOneResume();
    void interruption_userPauses_givesNoResume();
    void interruption_userPlays_givesResume();
    void interruption_lastWordOfTheUserCounts();
    void interruption_lost_isLost();
    void gained_twice_isGainedOnce();
    void gained_withoutRequest_givesNoFocus();
    void lost_twice_isToldOnce();
    void unknownTexts_changeNothing_data();
    void unknownTexts_changeNothing();
    void otherSession_changesNothing();
    void abandon_twice_isSentOnce();
    void abandon_withoutReason_isRefusedWithAWarning();
    void abandon_whileRequested_lateDecisionGivesNoFocus();
    void abandon_whileRequested_waitsForTheReply();
    void abandon_refused_isHarmless();
    void abandon_thatCannotBeSent_isHarmless();
    void abandon_byTheService_isALoss();
    void requestAfterAbandon_waitsForTheAnswer();
    void requestAfterAbandon_decisionOfTheFirst_givesNoFocus();
    void requestAfterAbandon_abandonedAgain_sendsNothing();
    void requestAfterEarlyRefusal_waitsForTheReply();
    void query_isAnsweredAndChangesNothing_data();
    void query_isAnsweredAndChangesNothing();
    void query_severalAtOnce_haveOneAnswer();
    void query_errorReply_isFalse();
    void query_withoutAnswer_isAskedAgain();
    void query_unaskedAnswer_isIgnored();
    void query_notAvailable_isFalse();
    void query_serviceLeaves_isFalse();
    void serviceLeaves_endsAClaimOnce_data();
    void serviceLeaves_endsAClaimOnce();
    void serviceLeaves_whileRegistering_isOffline();
    void serviceReturns_isIdleAndAsksForNothing_data();
    void serviceReturns_isIdleAndAsksForNothing();
    void handedOver_answersOfTheOldOwnerDoNotCount();
    void serviceReturns_queryIsAskedAnew();
    void slots_seeAllNewValues();
    void slots_callsTakeEffectAfterTheSignals();
    void destruction_endsTheSessionWithoutWaiting();
};

// Configuration

void tst_AudioStream::configuration_byDefault_isDerivedFromTheApplication()
{
    const AudioStream stream;
    QCOMPARE(stream.name(), QString());
    QCOMPARE(stream.streamType(), "Media");
    QVERIFY(stream.permanentFocus());
    QCOMPARE(stream.busName(), "com.quorvantel.audioclient.tst_AudioStream");
    QCOMPARE(stream.objectPath(), "/com/quorvantel/audioclient/tst_AudioStream");
    QCOMPARE(stream.destination(), QString());
    QCOMPARE(stream.state(), AudioStream::State::Offline);
    QVERIFY(!stream.hasFocus() && !stream.isAvailable() && !stream.isPlaying());
    QCOMPARE(stream.lastReason(), AudioStream::Reason::None);
}

void tst_AudioStream::configuration_isToldWhenItChanges()
{
    const QVector<QPair<const char*, QVariant>> values{{"name", "Music"},       {"streamType", "Alert"},
                                                       {"destination", "Rear"}, {"permanentFocus", false},
                                                       {"busName", "a.b"},      {"objectPath", "/c"}};
    for (const auto& value : values) {
        AudioStream stream;
        const QMetaObject* const meta = stream.metaObject();
        const QMetaProperty property = meta->property(meta->indexOfProperty(value.first));
        QSignalSpy spy(&stream, property.notifySignal());
        QVERIFY(property.write(&stream, value.second));
        QVERIFY(property.write(&stream, value.second));
        QCOMPARE(property.read(&stream), value.second);
        QCOMPARE(spy.size(), 1);
    }
}

void tst_AudioStream::configuration_busName_changesTheObjectPath()
{
    AudioStream stream;
    QSignalSpy busName(&stream, &AudioStream::busNameChanged);
    QSignalSpy objectPath(&stream, &AudioStream::objectPathChanged);
    stream.setBusName(stream.busName());
    QCOMPARE(busName.size() + objectPath.size(), 0);
    stream.setBusName("com.example.my-player");
    QCOMPARE(stream.objectPath(), "/com/example/my_player");
    QCOMPARE(objectPath.size(), 1);
    stream.setObjectPath("/player");
    stream.setBusName("com.example.other");
    QCOMPARE(stream.objectPath(), "/player");
    QCOMPARE(busName.size(), 2);
    QCOMPARE(objectPath.size(), 2);
}

void tst_AudioStream::configuration_afterStart_isRefused_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("name") << QVariant("other");
    QTest::newRow("streamType") << QVariant("other");
    QTest::newRow("permanentFocus") << QVariant(false);
    QTest::newRow("busName") << QVariant("com.example.other");
    QTest::newRow("objectPath") << QVariant("/other");
    QTest::newRow("destination") << QVariant("other");
}

void tst_AudioStream::configuration_afterStart_isRefused()
{
    QFETCH(QVariant, value);
    const char* const property = QTest::currentDataTag();
    FakeStreamStage stage;
    stage.stream->start();
    const QVariant before = stage.stream->property(property);
    const LogCapture log;
    stage.stream->setProperty(property, value);
    QCOMPARE(stage.stream->property(property), before);
    QCOMPARE(log.Texts(QtWarningMsg),
             QStringList{kClass +
                         QString(": %1 stays as it was: it can be set before start() only").arg(property)});
}

// Start and registration

void tst_AudioStream::start_withoutName_isRefused()
{
    FakeStreamStage stage;
    stage.stream->setName(QString());
    const LogCapture log;
    stage.stream->start();
    QCOMPARE(log.Texts(QtWarningMsg), QStringList{kClass + ": start() needs a name"});
    QCOMPARE(stage.TakeWire(), kNothing);
    stage.stream->setName("Player"); // can still be mended
    stage.Register();
    QCOMPARE(stage.stream->state(), AudioStream::State::Idle);
}

void tst_AudioStream::start_twice_hasNoEffect()
{
    FakeStreamStage stage;
    stage.Register();
    stage.TakeWire();
    stage.stream->start();
    QCOMPARE(stage.TakeWire(), kNothing);
    QCOMPARE(stage.events.All(), kNothing);
}

void tst_AudioStream::start_serviceThere_registersWithoutWaiting()
{
    FakeStreamStage stage;
    stage.service->Hold("registerAudioStream");
    stage.stream->start();
    QCOMPARE(stage.events.Take(), QStringList{"state Registering"});
    QCOMPARE(stage.TakeWire(),
             (QStringList{R"(openSession {"busName":"com.quorvantel.audioclient.test","objectPath":)"
                          R"("/com/quorvantel/audioclient/test/ServiceProviderClient"})",
                          kRegistered}));
    QVERIFY(!stage.stream->isAvailable());
    stage.service->Release("registerAudioStream");
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), (QStringList{"state Idle", "available true"}), kPatience);
    QCOMPARE(stage.TakeWire(), kNothing);
}

void tst_AudioStream::start_otherConfiguration_isWhatTheServiceIsTold()
{
    FakeStreamStage stage;
    stage.stream->setName("Bell");
    stage.stream->setStreamType("Alert");
    stage.stream->setPermanentFocus(false);
    stage.stream->setDestination("Rear");
    stage.Register();
    QCOMPARE(
        stage.TakeWire(),
        (QStringList{
            R"(openSession {"busName":"com.quorvantel.audioclient.test","destination":"Rear","objectPath":)"
            R"("/com/quorvantel/audioclient/test/ServiceProviderClient"})",
            R"(registerAudioStream {"focusType":"transient","sessionId":7,"streamName":"Bell",)"
            R"("streamType":"Alert"})"}));
}

void tst_AudioStream::start_serviceNotThere_isOfflineUntilItAppears()
{
    FakeStreamStage stage;
    stage.service->Leave();
    DrainBus();
    stage.stream->start();
    QCOMPARE(stage.stream->state(), AudioStream::State::Offline);
    QCOMPARE(stage.events.All(), kNothing);
    stage.service->Appear();
    const QStringList expected{"state Registering", "state Idle", "available true"};
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), expected, kPatience);
}

void tst_AudioStream::start_noSession_isOfflineAndTriedAgain()
{
    FakeStreamStage stage;
    stage.service->Answer("openSession", kErrCode);
    stage.stream->start();
    QCOMPARE(stage.events.All(), kNothing);
    QVERIFY(stage.service->WaitForCalls("openSession", 3));
    QCOMPARE(stage.events.All(), kNothing);
    stage.service->Answer("openSession", R"({"sessionId":7})");
    const QStringList expected{"state Registering", "state Idle", "available true"};
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), expected, kPatience);
}

void tst_AudioStream::registration_refused_isTriedAgain()
{
    FakeStreamStage stage;
    stage.service->Answer("registerAudioStream", kErrCode);
    stage.stream->start();
    QVERIFY(stage.service->WaitForCalls("registerAudioStream", 3));
    QCOMPARE(stage.events.Take(), (QStringList{"state Registering", "state Refused", "lastReason Refused"}));
    QVERIFY(!stage.stream->isAvailable());
    stage.service->Answer("registerAudioStream", "{}");
    const QStringList expected{"state Idle", "available true"};
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), expected, kPatience);
}

void tst_AudioStream::registration_refused_serviceLeaves_endsTheTrying()
{
    FakeStreamStage stage;
    stage.service->Answer("registerAudioStream", kErrCode);
    stage.stream->start();
    QTRY_COMPARE_WITH_TIMEOUT(stage.stream->state(), AudioStream::State::Refused, kPatience);
    stage.service->Leave();
    QTRY_COMPARE_WITH_TIMEOUT(stage.stream->state(), AudioStream::State::Offline, kPatience);
    stage.service->Answer("registerAudioStream", "{}");
    stage.TakeWire();
    stage.service->Appear();
    QTRY_VERIFY_WITH_TIMEOUT(stage.stream->isAvailable(), kPatience);
    QCOMPARE(stage.TakeWire().filter("registerAudioStream"), QStringList{kRegistered});
}

void tst_AudioStream::registration_thatCannotBeSent_isRefusedAtOnce()
{
    const LogCapture log; // long records
    FakeStreamStage stage;
    stage.stream->setName(QString(kMoreThanAMessage, 'x'));
    stage.stream->start();
    QCOMPARE(stage.events.All(), (QStringList{"state Registering", "state Refused", "lastReason Refused"}));
}

// Requests

void tst_AudioStream::request_granted_hasFocus()
{
    FakeStreamStage stage;
    stage.Register();
    stage.TakeWire();
    stage.stream->requestFocus();
    QCOMPARE(stage.events.Take(), QStringList{"state Requested"});
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
    QCOMPARE(stage.events.Take(), kNothing); // the reply decides nothing
    stage.Decide("granted");
    QCOMPARE(stage.events.Take(), (QStringList{"state Focused", "hasFocus true"}));
    QCOMPARE(stage.TakeWire(), kNothing);
}

void tst_AudioStream::request_decisionBeforeTheReply_counts()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Hold("requestAudioFocus");
    Ask(stage);
    stage.events.Take();
    stage.Decide("granted");
    QCOMPARE(stage.events.Take(), (QStringList{"state Focused", "hasFocus true"}));
    stage.service->Release("requestAudioFocus");
    stage.Settle();
    QCOMPARE(stage.events.Take(), kNothing);
}

void tst_AudioStream::request_decisionBeforeAnErrorReply_counts()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Hold("requestAudioFocus");
    Ask(stage);
    stage.Decide("granted");
    stage.events.Take();
    stage.service->Fail("requestAudioFocus", "com.example.Error", "no");
    stage.service->Release("requestAudioFocus");
    stage.Settle();
    QCOMPARE(stage.events.Take(), kNothing);
    QVERIFY(stage.stream->hasFocus());
}

void tst_AudioStream::request_errorReply_isRefused()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Answer("requestAudioFocus", kErrCode);
    Ask(stage);
    QCOMPARE(stage.events.Take(),
             (QStringList{"state Requested", "state Refused", "lastReason Refused", "focusLost Refused"}));
    stage.service->Answer("requestAudioFocus", "{}");
    stage.stream->requestFocus();
    stage.Settle();
    stage.Decide("granted");
    QCOMPARE(stage.events.Take(),
             (QStringList{"state Requested", "lastReason None", "state Focused", "hasFocus true"}));
}

void tst_AudioStream::request_failed_isRefused()
{
    FakeStreamStage stage;
    stage.Register();
    Ask(stage);
    stage.events.Take();
    stage.Decide("failed");
    const QStringList expected{"state Refused", "lastReason Refused", "focusLost Refused"};
    QCOMPARE(stage.events.Take(), expected);
    stage.Decide("failed");
    QCOMPARE(stage.events.Take(), kNothing);
    QVERIFY(stage.stream->isAvailable());
}

void tst_AudioStream::request_twice_isSentOnce()
{
    FakeStreamStage stage;
    stage.Register();
    stage.TakeWire();
    stage.stream->requestFocus();
    stage.stream->requestFocus();
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
    stage.Decide("granted");
    stage.stream->requestFocus();
    stage.Change("temporarilyLost");
    stage.stream->requestFocus();
    QCOMPARE(stage.TakeWire(), kNothing);
}

void tst_AudioStream::request_grantedAfterARefusal_isGivenBack()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Answer("requestAudioFocus", kErrCode);
    Ask(stage);
    stage.events.Take();
    stage.TakeWire();
    stage.Decide("granted");
    QCOMPARE(stage.TakeWire(), QStringList{kGivenBack});
    QCOMPARE(stage.events.Take(), QStringList{"state Idle"});
    QCOMPARE(stage.stream->lastReason(), AudioStream::Reason::Refused);
}

void tst_AudioStream::request_notAvailable_isRefusedWithAWarning()
{
    FakeStreamStage stage;
    const QString warning = kClass + ": requestFocus() needs an available stream";
    const LogCapture log;
    stage.stream->requestFocus();
    stage.service->Hold("registerAudioStream");
    stage.stream->start();
    stage.stream->requestFocus();
    stage.service->Answer("registerAudioStream", kErrCode);
    stage.service->Release("registerAudioStream");
    QTRY_COMPARE_WITH_TIMEOUT(stage.stream->state(), AudioStream::State::Refused, kPatience);
    stage.stream->requestFocus();
    QStringList warnings = log.Texts(QtWarningMsg);
    QCOMPARE(warnings.removeAll(warning), 3);
    QCOMPARE(stage.TakeWire().filter("requestAudioFocus"), kNothing);
}

void tst_AudioStream::request_lostBeforeTheDecision_isLost()
{
    FakeStreamStage stage;
    stage.Register();
    Ask(stage);
    stage.events.Take();
    stage.TakeWire();
    stage.Change("lost");
    QCOMPARE(stage.events.Take(), (QStringList{"state Lost", "lastReason TakenOver", "focusLost TakenOver"}));
    stage.Decide("granted");
    QVERIFY(!stage.stream->hasFocus());
    QCOMPARE(stage.TakeWire(), QStringList{kGivenBack});
}

void tst_AudioStream::request_temporarilyLostBeforeTheDecision_isInterrupted()
{
    FakeStreamStage stage;
    stage.Register();
    stage.stream->setPlaying(true);
    Ask(stage);
    stage.events.Take();
    stage.Change("temporarilyLost");
    QCOMPARE(stage.events.Take(), (QStringList{"state Interrupted", "pauseRequested"}));
    stage.Decide("granted");
    QCOMPARE(stage.events.Take(), kNothing);
    stage.Change("gained");
    QCOMPARE(stage.events.Take(), (QStringList{"state Focused", "hasFocus true", "resumeSuggested"}));
}

// Playing and interruptions

void tst_AudioStream::pausing_keepsTheFocus()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.stream->setPlaying(true);
    stage.TakeWire();
    stage.events.Take();
    stage.stream->setPlaying(false);
    QCOMPARE(stage.TakeWire(), QStringList{kInactive});
    QCOMPARE(stage.events.Take(), QStringList{"playing false"});
    QVERIFY(stage.stream->hasFocus());
}

void tst_AudioStream::playing_theServiceIsToldWhatIsHeard()
{
    FakeStreamStage stage;
    stage.stream->setPlaying(true);
    stage.Register();
    QCOMPARE(stage.TakeWire().filter("audioActive"), kNothing);
    stage.stream->requestFocus();
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
    stage.Decide("granted");
    QCOMPARE(stage.TakeWire(), QStringList{kActive});
    stage.Change("temporarilyLost");
    QCOMPARE(stage.TakeWire(), QStringList{kInactive});
    stage.Change("gained");
    QCOMPARE(stage.TakeWire(), QStringList{kActive});
    stage.stream->setPlaying(true);
    QCOMPARE(stage.TakeWire(), kNothing);
    stage.stream->abandon("user");
    QCOMPARE(stage.TakeWire(), (QStringList{kInactive, kAbandoned}));
    stage.stream->setPlaying(false);
    stage.stream->setPlaying(true);
    QCOMPARE(stage.TakeWire(), kNothing);
}

void tst_AudioStream::interruption_severalLossesAndOneGain_giveOneResume()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.stream->setPlaying(true);
    stage.events.Take();
    for (const char* const focus :
         {"temporarilyLost", "temporarilyLost", "temporarilyLost", "gained", "gained"}) {
        stage.Change(focus);
    }
    QCOMPARE(stage.events.Take(), (QStringList{"state Interrupted", "hasFocus false", "pauseRequested",
                                               "state Focused", "hasFocus true", "resumeSuggested"}));
}

void tst_AudioStream::interruption_userPauses_givesNoResume()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.stream->setPlaying(true);
    stage.Change("temporarilyLost");
    stage.stream->setPlaying(false);
    stage.events.Take();
    stage.TakeWire();
    stage.Change("gained");
    QCOMPARE(stage.events.Take(), (QStringList{"state Focused", "hasFocus true"}));
    QCOMPARE(stage.TakeWire(), kNothing);
}

void tst_AudioStream::interruption_userPlays_givesResume()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.Change("temporarilyLost");
    QCOMPARE(stage.events.Take(), (QStringList{"state Interrupted", "hasFocus false", "pauseRequested"}));
    stage.stream->setPlaying(true);
    stage.Change("gained");
    QCOMPARE(stage.events.Take(),
             (QStringList{"playing true", "state Focused", "hasFocus true", "resumeSuggested"}));
}

void tst_AudioStream::interruption_lastWordOfTheUserCounts()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.stream->setPlaying(true);
    stage.Change("temporarilyLost");
    stage.stream->setPlaying(false);
    stage.stream->setPlaying(true);
    stage.events.Take();
    stage.Change("gained");
    QCOMPARE(stage.events.Take(), (QStringList{"state Focused", "hasFocus true", "resumeSuggested"}));
}

void tst_AudioStream::interruption_lost_isLost()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.stream->setPlaying(true);
    stage.Change("temporarilyLost");
    stage.events.Take();
    stage.Change("lost");
    QCOMPARE(stage.events.Take(), (QStringList{"state Lost", "lastReason TakenOver", "focusLost TakenOver"}));
    stage.Change("gained");
    QCOMPARE(stage.events.Take(), kNothing);
    QVERIFY(stage.stream->isPlaying()); // only the player changes it
}

void tst_AudioStream::gained_twice_isGainedOnce()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.stream->setPlaying(true);
    stage.events.Take();
    stage.Change("gained");
    stage.Decide("granted");
    QCOMPARE(stage.events.Take(), kNothing);
}

void tst_AudioStream::gained_withoutRequest_givesNoFocus()
{
    FakeStreamStage stage;
    stage.Register();
    stage.TakeWire();
    stage.Change("gained");
    QCOMPARE(stage.events.Take(), kNothing);
    stage.stream->requestFocus();
    stage.Change("gained");
    QCOMPARE(stage.events.Take(), QStringList{"state Requested"});
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
}

void tst_AudioStream::lost_twice_isToldOnce()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.Change("lost");
    stage.Change("lost");
    stage.Change("temporarilyLost");
    QCOMPARE(stage.events.Take(),
             (QStringList{"state Lost", "hasFocus false", "lastReason TakenOver", "focusLost TakenOver"}));
}

void tst_AudioStream::unknownTexts_changeNothing_data()
{
    AddSituations();
}

void tst_AudioStream::unknownTexts_changeNothing()
{
    QFETCH(int, situation);
    FakeStreamStage stage;
    stage.Register();
    kSituations.at(situation).reach(stage);
    QCOMPARE(stage.stream->state(), kSituations.at(situation).state);
    stage.events.Take();
    stage.TakeWire();
    for (const char* const text : {"", "GRANTED", "granted ", "gained", "lost", "perhaps"}) {
        stage.Decide(text); // also changes that come as decisions
    }
    for (const char* const text : {"", "GAINED", "granted", "failed", "wouldBeGranted", "perhaps"}) {
        stage.Change(text);
    }
    QCOMPARE(stage.events.Take(), kNothing);
    QCOMPARE(stage.TakeWire(), kNothing);
}

void tst_AudioStream::otherSession_changesNothing()
{
    FakeStreamStage stage;
    stage.Register();
    Ask(stage);
    stage.events.Take();
    stage.service->CallClient(kClientName, kClientPath + "/ServiceProviderClient",
                              "onRequestAudioFocusResult", R"({"newFocus":"granted","sessionId":6})");
    QCOMPARE(stage.events.Take(), kNothing);
}

// Abandonment

void tst_AudioStream::abandon_twice_isSentOnce()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.TakeWire();
    stage.stream->abandon("user");
    stage.stream->abandon("user");
    QCOMPARE(stage.TakeWire(), QStringList{kAbandoned});
    stage.stream->abandon("user");
    stage.Decide("abandoned");
    QCOMPARE(stage.TakeWire(), kNothing);
    QCOMPARE(stage.events.Take(),
             (QStringList{"state Idle", "hasFocus false", "lastReason Abandoned", "focusLost Abandoned"}));
}

void tst_AudioStream::abandon_withoutReason_isRefusedWithAWarning()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.TakeWire();
    const LogCapture log;
    stage.stream->abandon(QString());
    QCOMPARE(log.Texts(QtWarningMsg), QStringList{kClass + ": abandon() needs a reason"});
    QCOMPARE(stage.TakeWire(), kNothing);
    QVERIFY(stage.stream->hasFocus());
}

void tst_AudioStream::abandon_whileRequested_lateDecisionGivesNoFocus()
{
    for (const char* const decision : {"granted", "failed"}) {
        FakeStreamStage stage;
        stage.Register();
        stage.service->Hold("abandonAudioFocus");
        Ask(stage);
        stage.stream->abandon("user");
        stage.events.Take();
        stage.Decide(decision);
        stage.service->Release("abandonAudioFocus");
        stage.Decide("abandoned");
        QCOMPARE(stage.events.Take(), kNothing);
        QCOMPARE(stage.stream->state(), AudioStream::State::Idle);
    }
}

void tst_AudioStream::abandon_whileRequested_waitsForTheReply()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Hold("requestAudioFocus");
    Ask(stage);
    stage.TakeWire();
    stage.events.Take();
    stage.stream->abandon("user");
    QCOMPARE(stage.events.Take(), (QStringList{"state Idle", "lastReason Abandoned", "focusLost Abandoned"}));
    stage.stream->requestFocus();
    stage.stream->abandon("user");
    QCOMPARE(stage.TakeWire(), kNothing);
    stage.service->Release("requestAudioFocus");
    stage.Settle();
    QCOMPARE(stage.TakeWire(), QStringList{kAbandoned});
    stage.Decide("granted");
    QVERIFY(!stage.stream->hasFocus());
}

void tst_AudioStream::abandon_refused_isHarmless()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.service->Answer("abandonAudioFocus", kErrCode);
    stage.stream->abandon("user");
    stage.TakeWire();
    stage.stream->requestFocus();
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
}

void tst_AudioStream::abandon_thatCannotBeSent_isHarmless()
{
    const LogCapture log; // long records
    FakeStreamStage stage;
    stage.Focus();
    stage.TakeWire();
    stage.stream->abandon(QString(kMoreThanAMessage, 'x'));
    QCOMPARE(stage.events.Take(),
             (QStringList{"state Idle", "hasFocus false", "lastReason Abandoned", "focusLost Abandoned"}));
    stage.stream->requestFocus();
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
}

void tst_AudioStream::abandon_byTheService_isALoss()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.Decide("abandoned");
    QCOMPARE(stage.events.Take(),
             (QStringList{"state Idle", "hasFocus false", "lastReason Abandoned", "focusLost Abandoned"}));
}

void tst_AudioStream::requestAfterAbandon_waitsForTheAnswer()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.TakeWire();
    stage.service->Hold("abandonAudioFocus");
    stage.stream->abandon("user");
    stage.stream->requestFocus();
    QCOMPARE(stage.stream->state(), AudioStream::State::Requested);
    QCOMPARE(stage.TakeWire(), QStringList{kAbandoned});
    stage.service->Release("abandonAudioFocus");
    stage.Settle();
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
    stage.Decide("abandoned"); // of the time before
    QCOMPARE(stage.stream->state(), AudioStream::State::Requested);
    stage.Decide("granted");
    QVERIFY(stage.stream->hasFocus());
}

void tst_AudioStream::requestAfterAbandon_decisionOfTheFirst_givesNoFocus()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Hold("abandonAudioFocus");
    Ask(stage);
    stage.stream->abandon("user");
    stage.stream->requestFocus();
    stage.events.Take();
    for (const char* const text : {"granted", "failed", "abandoned"}) {
        stage.Decide(text);
    }
    for (const char* const text : {"temporarilyLost", "gained", "lost"}) {
        stage.Change(text);
    }
    QCOMPARE(stage.events.Take(), kNothing);
    stage.service->Release("abandonAudioFocus");
    stage.Settle();
    stage.Decide("granted");
    QCOMPARE(stage.events.Take(), (QStringList{"state Focused", "hasFocus true"}));
}

void tst_AudioStream::requestAfterAbandon_abandonedAgain_sendsNothing()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.TakeWire();
    stage.service->Hold("abandonAudioFocus");
    stage.stream->abandon("user");
    stage.stream->requestFocus();
    stage.events.Take();
    stage.stream->abandon("user");
    QCOMPARE(stage.events.Take(), (QStringList{"state Idle", "lastReason Abandoned", "focusLost Abandoned"}));
    stage.service->Release("abandonAudioFocus");
    QCOMPARE(stage.TakeWire(), QStringList{kAbandoned});
    stage.Settle();
    QCOMPARE(stage.TakeWire(), kNothing);
}

void tst_AudioStream::requestAfterEarlyRefusal_waitsForTheReply()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Hold("requestAudioFocus");
    Ask(stage);
    stage.Decide("failed");
    stage.TakeWire();
    stage.stream->requestFocus();
    stage.events.Take();
    QCOMPARE(stage.TakeWire(), kNothing);
    stage.service->Fail("requestAudioFocus", "com.example.Error", "no"); // of the first request
    stage.service->Release("requestAudioFocus");
    stage.service->Answer("requestAudioFocus", "{}");
    stage.Settle();
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
    QCOMPARE(stage.events.Take(), kNothing);
    stage.Decide("granted");
    QVERIFY(stage.stream->hasFocus());
}

// Queries

void tst_AudioStream::query_isAnsweredAndChangesNothing_data()
{
    AddSituations();
}

void tst_AudioStream::query_isAnsweredAndChangesNothing()
{
    QFETCH(int, situation);
    FakeStreamStage stage;
    stage.Register();
    kSituations.at(situation).reach(stage);
    stage.events.Take();
    stage.TakeWire();
    stage.stream->queryFocus();
    QCOMPARE(stage.TakeWire(), QStringList{kQueried});
    stage.Decide("wouldFail");
    stage.service->Release("requestAudioFocus");
    stage.Settle();
    stage.events.Take();
    stage.stream->queryFocus();
    stage.Settle();
    QCOMPARE(stage.events.Take(), kNothing);
    stage.Decide("wouldBeGranted");
    QCOMPARE(stage.events.Take(), QStringList{"focusQueried true"});
    QCOMPARE(stage.stream->state(), kSituations.at(situation).state);
}

void tst_AudioStream::query_severalAtOnce_haveOneAnswer()
{
    FakeStreamStage stage;
    stage.Register();
    stage.TakeWire();
    stage.stream->queryFocus();
    stage.stream->queryFocus();
    QCOMPARE(stage.TakeWire(), QStringList{kQueried});
    stage.Decide("wouldFail");
    stage.Decide("wouldFail");
    QCOMPARE(stage.events.Take(), QStringList{"focusQueried false"});
}

void tst_AudioStream::query_errorReply_isFalse()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Answer("requestAudioFocus", kErrCode);
    stage.stream->queryFocus();
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), QStringList{"focusQueried false"}, kPatience);
}

void tst_AudioStream::query_withoutAnswer_isAskedAgain()
{
    FakeStreamStage stage;
    stage.Register();
    stage.TakeWire();
    stage.stream->queryFocus();
    stage.Settle();
    stage.Decide("perhaps");
    stage.stream->queryFocus();
    QCOMPARE(stage.TakeWire(), (QStringList{kQueried, kQueried}));
    stage.Decide("wouldBeGranted");
    QCOMPARE(stage.events.Take(), QStringList{"focusQueried true"});
}

void tst_AudioStream::query_unaskedAnswer_isIgnored()
{
    FakeStreamStage stage;
    stage.Register();
    stage.Decide("wouldBeGranted");
    QCOMPARE(stage.events.Take(), kNothing);
}

void tst_AudioStream::query_notAvailable_isFalse()
{
    FakeStreamStage stage;
    stage.stream->queryFocus();
    QCOMPARE(stage.events.Take(), QStringList{"focusQueried false"});
    QCOMPARE(stage.TakeWire(), kNothing);
}

void tst_AudioStream::query_serviceLeaves_isFalse()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Hold("requestAudioFocus");
    stage.stream->queryFocus();
    stage.Settle();
    stage.service->Leave();
    const QStringList expected{"focusQueried false", "state Offline", "available false"};
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), expected, kPatience);
    stage.service->Release("requestAudioFocus");
    stage.Settle();
    QCOMPARE(stage.events.All(), expected);
}

// Restarts

void tst_AudioStream::serviceLeaves_endsAClaimOnce_data()
{
    AddSituations();
}

void tst_AudioStream::serviceLeaves_endsAClaimOnce()
{
    QFETCH(int, situation);
    const Situation& begin = kSituations.at(situation);
    const LogCapture log;
    FakeStreamStage stage;
    stage.Register();
    stage.stream->setPlaying(true);
    begin.reach(stage);
    stage.events.Take();
    stage.TakeWire();
    QStringList expected{"state Offline"};
    expected += begin.state == AudioStream::State::Focused ? QStringList{"hasFocus false"} : kNothing;
    expected.append("available false");
    expected += begin.hasClaim ? QStringList{"lastReason ServiceLeft", "focusLost ServiceLeft"} : kNothing;

    stage.service->Leave();
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), expected, kPatience);
    stage.service->Release("requestAudioFocus");
    stage.service->Release("abandonAudioFocus");
    stage.Decide("granted"); // the session is over
    stage.Change("gained");
    QCOMPARE(stage.events.All(), expected);
    QCOMPARE(stage.TakeWire(), kNothing);
    QCOMPARE(log.Texts(QtCriticalMsg).filter("Session is not open"), kNothing); // nothing was tried
}

void tst_AudioStream::serviceLeaves_whileRegistering_isOffline()
{
    FakeStreamStage stage;
    stage.service->Hold("registerAudioStream");
    stage.stream->start();
    stage.Settle();
    stage.events.Take();
    stage.service->Leave();
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), QStringList{"state Offline"}, kPatience);
    stage.service->Release("registerAudioStream"); // an answer that does not count
    stage.Settle();
    QCOMPARE(stage.events.All(), QStringList{"state Offline"});
}

void tst_AudioStream::serviceReturns_isIdleAndAsksForNothing_data()
{
    AddSituations();
}

void tst_AudioStream::serviceReturns_isIdleAndAsksForNothing()
{
    QFETCH(int, situation);
    FakeStreamStage stage;
    stage.Register();
    stage.stream->setPlaying(true);
    kSituations.at(situation).reach(stage);
    stage.service->Leave();
    QTRY_VERIFY_WITH_TIMEOUT(!stage.stream->isAvailable(), kPatience);
    stage.TakeWire();
    stage.events.Take();
    stage.service->Appear(); // answers to what was sent before are still to come
    const QStringList expected{"state Registering", "state Idle", "available true"};
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), expected, kPatience);
    QStringList wire = stage.TakeWire();
    QCOMPARE(wire.size(), 2);
    QVERIFY(wire.takeFirst().startsWith("openSession "));
    QCOMPARE(wire, QStringList{kRegistered});

    stage.stream->requestFocus();
    QCOMPARE(stage.TakeWire(), QStringList{kRequested});
    stage.Decide("granted");
    QCOMPARE(stage.TakeWire(), QStringList{kActive}); // the new service has not been told
    stage.events.Take();
    stage.service->Release("requestAudioFocus");
    stage.service->Release("abandonAudioFocus");
    QCOMPARE(stage.TakeWire(), kNothing);
    QCOMPARE(stage.events.Take(), kNothing);
}

void tst_AudioStream::handedOver_answersOfTheOldOwnerDoNotCount()
{
    FakeStreamStage stage;
    stage.service->Leave();
    stage.service->AppearReplaceable();
    stage.Register();
    stage.service->Hold("requestAudioFocus");
    stage.stream->queryFocus();
    QVERIFY(stage.service->WaitForCalls("requestAudioFocus", 1));
    FakeService next;
    next.Answer("openSession", R"({"sessionId":7})");
    next.Hold("registerAudioStream");
    next.TakeOver();
    QVERIFY(next.WaitForCalls("registerAudioStream", 1));
    QCOMPARE(stage.events.Take(),
             (QStringList{"focusQueried false", "state Offline", "available false", "state Registering"}));
    stage.service->Answer("requestAudioFocus", kErrCode);
    stage.service->Release("requestAudioFocus");
    stage.Settle();
    QCOMPARE(stage.events.Take(), kNothing);

    FakeService last;
    last.Answer("openSession", R"({"sessionId":7})");
    next.Leave();
    last.Hold("registerAudioStream");
    last.Appear();
    QVERIFY(last.WaitForCalls("registerAudioStream", 1));
    QCOMPARE(stage.events.Take(), (QStringList{"state Offline", "state Registering"}));
    next.Answer("registerAudioStream", kErrCode);
    next.Release("registerAudioStream");
    next.CallClient(QDBusConnection::systemBus().baseService(), "/nobody", "ping", "{}");
    QCoreApplication::processEvents();
    QCOMPARE(stage.events.Take(), kNothing);
    last.Release("registerAudioStream");
    const QStringList expected{"state Idle", "available true"};
    QTRY_COMPARE_WITH_TIMEOUT(stage.events.All(), expected, kPatience);
}

void tst_AudioStream::serviceReturns_queryIsAskedAnew()
{
    FakeStreamStage stage;
    stage.Register();
    stage.service->Hold("requestAudioFocus");
    stage.stream->queryFocus();
    stage.TakeWire();
    stage.service->Leave();
    QTRY_VERIFY_WITH_TIMEOUT(!stage.stream->isAvailable(), kPatience);
    stage.service->Appear();
    QTRY_VERIFY_WITH_TIMEOUT(stage.stream->isAvailable(), kPatience);
    stage.TakeWire();
    stage.stream->queryFocus();
    QCOMPARE(stage.TakeWire(), QStringList{kQueried});
}

// Slots and the end

void tst_AudioStream::slots_seeAllNewValues()
{
    FakeStreamStage stage;
    stage.Focus();
    QStringList seen;
    const auto look = [&] {
        seen.append(KeyOf(stage.stream->state()) + ' ' + KeyOf(stage.stream->lastReason()) + ' ' +
                    (stage.stream->hasFocus() ? "focus" : "none"));
    };
    connect(stage.stream.get(), &AudioStream::stateChanged, this, look);
    connect(stage.stream.get(), &AudioStream::hasFocusChanged, this, look);
    connect(stage.stream.get(), &AudioStream::lastReasonChanged, this, look);
    connect(stage.stream.get(), &AudioStream::focusLost, this, look);
    stage.Change("lost");
    const QString now = "Lost TakenOver none";
    QCOMPARE(seen, (QStringList{now, now, now, now}));
}

void tst_AudioStream::slots_callsTakeEffectAfterTheSignals()
{
    FakeStreamStage stage;
    stage.Focus();
    bool isFirst = true;
    connect(stage.stream.get(), &AudioStream::stateChanged, this, [&] {
        if (std::exchange(isFirst, false)) {
            stage.stream->requestFocus();
            stage.stream->abandon("user");
        }
    });
    stage.Change("lost");
    QCOMPARE(stage.events.Take(), (QStringList{"state Lost", "hasFocus false", "lastReason TakenOver",
                                               "focusLost TakenOver", "state Requested", "lastReason None",
                                               "state Idle", "lastReason Abandoned", "focusLost Abandoned"}));
}

void tst_AudioStream::destruction_endsTheSessionWithoutWaiting()
{
    FakeStreamStage stage;
    stage.Focus();
    stage.service->Hold("closeSession");
    stage.TakeWire();
    stage.stream.reset();
    QCOMPARE(stage.TakeWire(), QStringList{R"(closeSession {"sessionId":7})"});
    QCOMPARE(stage.events.Take(), kNothing);
}

KIV_BUS_TEST_MAIN(tst_AudioStream)
#include "tst_AudioStream.moc"
