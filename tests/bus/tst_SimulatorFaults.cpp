// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "HmiSignals.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "MediaApp.h"
#include "SimulatorControl.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <algorithm>
#include <csignal>
#include <functional>
#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QStringList kAllModes{"Radio", "Bluetooth", "/music"};

/** A simulator, what steers it, and clients that are not initialised yet. */
struct Stage
{
    explicit Stage(const QStringList& options = {})
        : m_Options(QStringList{"--log", "json", "--log-file", m_Folder.filePath("log")} + options)
    {
        Start();
        Begin();
    }

    // The service may be gone or mute: its sessions are forgotten, not closed.
    ~Stage()
    {
        for (ServiceProviderClient* const client : {static_cast<ServiceProviderClient*>(&screen.hmi),
                                                    static_cast<ServiceProviderClient*>(&music.app),
                                                    static_cast<ServiceProviderClient*>(&chime.app)}) {
            client->HandleCloseSessionReply(false, {});
        }
    }

    /** Starts the simulator, also again after it has ended. */
    void Start()
    {
        m_EarlierLines = Lines();
        simulator = std::make_unique<SimulatorProcess>(m_Options);
        if (!simulator->WaitUntilReady()) {
            qFatal("the simulator does not become ready: %s", qPrintable(simulator->Errors()));
        }
    }

    /** From now on only what follows is looked at. */
    void Begin()
    {
        log.Clear();
        m_ScreenMark = int(m_Screen.List().size());
        m_MusicMark = int(m_Music.All().size());
    }

    /** The signals of the clients since Begin(). */
    QStringList Screen() const { return m_Screen.List().mid(m_ScreenMark); }
    QStringList Music() const { return m_Music.All().mid(m_MusicMark); }

    /** All that the clients know. */
    QStringList State() const
    {
        return {QString::number(screen.hmi.SessionId()),
                screen.hmi.ModeList().join(','),
                screen.hmi.CurrentMode(),
                screen.hmi.PendingMode(),
                QString::number(music.app.SessionId()),
                music.app.LastFocus()};
    }

    /** The lines that the simulator has written, also before it was started again. */
    QStringList Lines() const
    {
        QFile file(
            m_Folder.filePath("log")); // a pipe that nobody reads during a blocking request would fill up
        const bool isOpen = file.open(QIODevice::ReadOnly);
        const QString text = isOpen ? QString::fromUtf8(file.readAll()) : QString();
        return m_EarlierLines + text.split('\n', Qt::SkipEmptyParts);
    }

    /** The kinds of the faults that have hit a request, in order. */
    QStringList Hits() const
    {
        QStringList hits;
        for (const QString& line : Lines()) {
            const QJsonObject record = LogObject(line);
            if (record.value("kind") == QLatin1String("fault")) {
                hits.append(record.value("name").toString());
            }
        }
        return hits;
    }

    /** Returns when everything has been handled that the service has sent so far. */
    bool Settle()
    {
        QDBusMessage call = QDBusMessage::createMethodCall(kServiceName, kHmiPath, kInterfaceName, "Request");
        call.setArguments({"settle", "{}"});
        QDBusPendingCallWatcher watcher(screen.bus.asyncCall(call));
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        return finished.wait(kPatience) && !watcher.isError();
    }

    std::unique_ptr<SimulatorProcess> simulator;
    SimulatorControl control;
    LogCapture log;
    HmiClient screen{"/hmi"};
    AppClient music{"/music", "Music", true};
    AppClient chime{"/chime", "Chime", false};

private:
    QTemporaryDir m_Folder;
    const QStringList m_Options;
    QStringList m_EarlierLines; ///< of simulators that have ended
    const HmiSignals m_Screen{&screen.hmi};
    const AppEvents m_Music{music.app};
    int m_ScreenMark = 0;
    int m_MusicMark = 0;
};

using Parameters = QMap<QString, QVariant>;
using Records = QVector<LogRecord>;

/** A request of a client in both forms, and all that is different when it fails. */
struct Operation
{
    const char* name;
    QString method;
    QString arguments;
    void (*prepare)(Stage&);
    bool (*block)(Stage&);
    quint32 (*start)(Stage&);
    QString completion; ///< of request 1, with false
    Records blockingComplaints;
    Records (*asyncComplaints)(const Parameters& reply);
    QStringList stateBefore{"1", kAllModes.join(','), "Radio", "", "2", ""};
    QStringList stateAfterBlocking = stateBefore;
};

void PrepareNothing(Stage&) {}

Records NoComplaints(const Parameters&)
{
    return {};
}

Records QueryComplaints(const Parameters& reply)
{
    return {Warning(Streamed("AudioManagerHmi::HandleSetModeReply -- Request failed with reply", reply))};
}

QVector<Operation> SessionOperations()
{
    const QString modes = kAllModes.join(',');
    const QString path = R"({"busName":"com.quorvantel.audioclient.test",)"
                         R"("objectPath":"/hmi/ServiceProviderClient"})";
    return {{"open a session",
             "openSession",
             path,
             [](Stage& on) { on.screen.hmi.CloseSession(); },
             [](Stage& on) { return on.screen.hmi.OpenSession(); },
             [](Stage& on) { return on.screen.hmi.OpenSessionAsync(); },
             "SignalOpenSessionCompleted 1 false",
             Records(),
             NoComplaints,
             {"0", modes, "Radio", "", "2", ""}},
            {"close a session",
             "closeSession",
             R"({"sessionId":1})",
             PrepareNothing,
             [](Stage& on) {
                 on.screen.hmi.CloseSession();
                 return on.screen.hmi.IsSessionOpen();
             },
             [](Stage& on) { return on.screen.hmi.CloseSessionAsync(); },
             "SignalCloseSessionCompleted 1 false",
             Records(),
             NoComplaints,
             {"1", modes, "Radio", "", "2", ""},
             {"0", modes, "Radio", "", "2", ""}}};
}

QVector<Operation> ModeOperations()
{
    const QString query = R"({"destination":"all","sessionId":1})";
    return {{"mode list",
             "getModeList",
             query,
             PrepareNothing,
             [](Stage& on) { return on.screen.hmi.GetModeList(QString()); },
             [](Stage& on) { return on.screen.hmi.GetModeListAsync(QString()); },
             "SignalGetModeListCompleted 1 false",
             {Critical("AudioManagerHmi::GetModeList -- GetModeList call failed")},
             QueryComplaints,
             {"1", kAllModes.join(','), "Radio", "", "2", ""},
             {"1", "", "Radio", "", "2", ""}},
            {"mode",
             "getMode",
             query,
             PrepareNothing,
             [](Stage& on) { return on.screen.hmi.GetMode(QString()); },
             [](Stage& on) { return on.screen.hmi.GetModeAsync(QString()); },
             "SignalGetModeCompleted 1 false",
             {Critical("AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server")},
             QueryComplaints},
            {"set the mode", "setMode", R"({"newMode":"Bluetooth","sessionId":1})", PrepareNothing,
             [](Stage& on) { return on.screen.hmi.SetMode("Bluetooth"); },
             [](Stage& on) { return on.screen.hmi.SetModeAsync("Bluetooth"); },
             "SignalSetModeCompleted 1 false", Records(),
             [](const Parameters& reply) -> Records {
                 return {Warning(Streamed("AudioManagerHmi::HandleSetModeReply -- Request", 1,
                                          "failed with reply", reply))};
             }}};
}

QVector<Operation> FocusOperations()
{
    return {{"register", "registerAudioStream",
             R"({"focusType":"permanent","sessionId":2,"streamModeName":"/music",)"
             R"("streamName":"Music","streamType":"Media"})",
             PrepareNothing, [](Stage& on) { return on.music.app.RegisterAudioStream(); },
             [](Stage& on) { return on.music.app.RegisterAudioStreamAsync(); },
             "RegisterAudioStreamCompleted(1,false)", Records(), NoComplaints},
            {"request focus", "requestAudioFocus", R"({"requestType":"request","sessionId":2})",
             PrepareNothing, [](Stage& on) { return on.music.app.RequestAudioFocus(); },
             [](Stage& on) { return on.music.app.RequestAudioFocusAsync(); },
             "RequestAudioFocusCompleted(1,false)", Records(), NoComplaints},
            {"query focus", "requestAudioFocus", R"({"requestType":"query","sessionId":2})", PrepareNothing,
             [](Stage& on) { return on.music.app.RequestAudioFocus(false); },
             [](Stage& on) { return on.music.app.RequestAudioFocusAsync(false); },
             "RequestAudioFocusCompleted(1,false)", Records(), NoComplaints},
            {"playing", "audioActive", R"({"playing":true,"sessionId":2})", PrepareNothing,
             [](Stage& on) { return on.music.app.AudioActive(true); },
             [](Stage& on) { return on.music.app.AudioActiveAsync(true); }, "AudioActiveCompleted(1,false)",
             Records(), NoComplaints},
            {"abandon focus", "abandonAudioFocus", R"({"reason":"end","sessionId":2})", PrepareNothing,
             [](Stage& on) { return on.music.app.AbandonAudioFocus("end"); },
             [](Stage& on) { return on.music.app.AbandonAudioFocusAsync("end"); },
             "AbandonAudioFocusCompleted(1,false)", Records(), NoComplaints}};
}

QVector<Operation> Operations()
{
    return SessionOperations() + ModeOperations() + FocusOperations();
}

QString FaultIn(const QString& kind, const QString& method)
{
    return QStringLiteral(R"({"kind":"%1","method":"%2"})").arg(kind, method);
}

/** What is logged when a blocking request gets a D-Bus error. */
Records BlockingError(const QString& method, const QString& arguments, const QString& message)
{
    return {Critical(Streamed("ConcreteServiceProviderProxy::Request -- D-Bus error:", message)),
            RequestFails(method, arguments, R"({ "errCode" : 0 })")};
}

/** What is logged when a blocking request gets a text with "errCode". */
Records BlockingRefusal(const QString& method, const QString& arguments, const QString& answer)
{
    return {Critical(Streamed("ConcreteServiceProviderProxy::Request -- Error:", method, arguments,
                              "Result:", answer)),
            RequestFails(method, arguments, answer)};
}

/** What is logged when an asynchronous request gets a D-Bus error. */
Records AsyncError(const QString& name, const QString& message)
{
    return {Critical(Streamed("KivBaseClient::HandleReply -- Received error:",
                              QDBusError(QDBusMessage::createError(name, message))))};
}

Records AsyncRefusal(const QVariant& code)
{
    return {Critical(Streamed("KivBaseClient::HandleReply -- Received error code:", code))};
}

const QString kNoReply = "org.freedesktop.DBus.Error.NoReply";
const QString kDisconnected = "Message recipient disconnected from message bus without replying";
const QString kModeArguments = R"({"destination":"all","sessionId":1})";

Records BlockingGetModeFails(const Records& why)
{
    return why + Records{Critical("AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server")};
}

QStringList Sorted(QStringList texts)
{
    texts.sort();
    return texts;
}

qint64 TimeOf(const QStringList& jsonLines, const QString& kind)
{
    for (const QString& line : jsonLines) {
        const QJsonObject record = LogObject(line);
        if (record.value("kind") == kind) {
            return static_cast<qint64>(record.value("time").toDouble());
        }
    }
    return -1;
}

} // namespace

/**
 * What the library makes of each fault of the simulator. A test's name begins with the kind of its fault, which must have
 * hit; after each test the clients work as if nothing had happened.
 */
class tst_SimulatorFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void everyKind_hasATest();

    void delay_asyncRequest_othersAreAnsweredMeanwhile();
    void delay_blockingRequest_waitsForTheAnswer();
    void noAnswer_asyncRequest_completesWhenTheServiceEnds();
    void noAnswer_blockingRequest_endsWhenTheServiceEnds();

    void error_blockingRequest_fails_data();
    void error_blockingRequest_fails();
    void error_asyncRequest_completesWithFalse_data();
    void error_asyncRequest_completesWithFalse();
    void errCode_blockingRequest_fails_data();
    void errCode_blockingRequest_fails();
    void errCode_asyncRequest_completesWithFalse_data();
    void errCode_asyncRequest_completesWithFalse();
    void errCode_anyValue_isAFailure_data();
    void errCode_anyValue_isAFailure();
    void errCode_duringInitialisation_failsIt_data();
    void errCode_duringInitialisation_failsIt();
    void errCode_whenTheServiceAppears_isTheEndOfInitialisation();
    void errCode_storedMode_staysStored();

    void notJson_openSession_opensNone();
    void notJson_queries_succeedWithNothing_data();
    void notJson_queries_succeedWithNothing();
    void notJson_otherRequests_succeed();
    void notJson_errCodeInTheText_failsOnlyTheBlockingRequest();

    void missingMember_sessionId_opensNone();
    void missingMember_modes_areNone();
    void missingMember_inEvents_isIgnored_data();
    void missingMember_inEvents_isIgnored();
    void wrongType_ofTheSessionId_isConverted();
    void wrongType_ofModes_isOneMode();
    void wrongType_inEvents_isConverted_data();
    void wrongType_inEvents_isConverted();
    void extraMembers_inAnswers_countAsModes();
    void extraMembers_inEvents_changeNothing();
    void sessionId_ofAnyValue_isReadAsANumber_data();
    void sessionId_ofAnyValue_isReadAsANumber();
    void sessionId_zero_failsInitialisation();
    void hugeAnswer_isReadWhole();
    void hugeAnswer_toARequestThatReadsNothing_isAccepted();

    void duplicateEvents_areHandledTwice();
    void duplicateEvents_storedMode_isSentTwice();
    void shuffledEvents_areToldAsTheyCome();
    void eventsFirst_asyncRequest_eventPrecedesCompletion();
    void eventsFirst_blockingRequest_eventIsHandledAfterwards();
    void foreignEvents_areIgnored();

    void callBackFirst_blockingRequest_callTimesOutAndIsHandledAfterwards();
    void callBackFirst_asyncRequest_isAnsweredAtOnce();
    void callBackFirst_severalSessions_callsTheWaitingOne();
    void callBackFirst_closeSession_hasNobodyToCall();
    void callBackFirst_anyEvent_isSent();

    void leave_requestsFailUntilTheReturn();
    void leave_forAWhile_changesNothingForTheClient();
    void restart_blockingRequest_failsAndTheSessionIsLost();
    void restart_asyncRequests_completeOnceWithFalse();
    void crash_blockingRequest_fails();
    void crash_asyncRequests_completeOnceWithFalse();
    void stopAnswering_asyncRequests_completeInOrderAfterwards();
    void stopAnswering_blockingRequest_waits();
    void flood_ofCalls_isHandledInOrder();
    void flood_duringABlockingRequest_isHandledAfterwards();
    void flood_ofBroadcasts_andToApplications_isHandledInOrder();

private:
    void Arm(const QString& fault);
    void ReadyScreen();
    void ReadyAll();
    void Reopen(ServiceProviderClient& client);
    void StartWith(const QString& scenario);
    void CheckFaultIsGone(const QString& kind);
    void CheckScreenWorks();
    void CheckMusicWorks();
    void AddOperations();
    void AddEventColumns();
    void Provoke(const QString& method);
    void CheckSpoiltEvents();
    void CheckBlockingFailure(const QString& kind, Records (*complaints)(const Operation&));
    void CheckAsyncFailure(const QString& kind, const Records& complaints, const Parameters& reply);

    QTemporaryDir m_Folder;
    std::unique_ptr<Stage> m_Stage;
};

// Helpers

void tst_SimulatorFaults::init()
{
    m_Stage = std::make_unique<Stage>();
}

void tst_SimulatorFaults::cleanup()
{
    const QString kind = QString(QTest::currentTestFunction()).section('_', 0, 0);
    if (!QTest::currentTestFailed() && kind != "everyKind") {
        CheckFaultIsGone(kind);
    }
    m_Stage.reset();
    HandleArrivedEvents(QDBusConnection::systemBus());
}

void tst_SimulatorFaults::CheckFaultIsGone(const QString& kind)
{
    QVERIFY2(m_Stage->Hits().contains(kind), qPrintable(m_Stage->Hits().join(' ')));
    QVERIFY(m_Stage->control.Do(R"({"do":"disarmFaults"})"));
    CheckScreenWorks();
    CheckMusicWorks();
}

void tst_SimulatorFaults::Arm(const QString& fault)
{
    QVERIFY2(m_Stage->control.Arm(fault) != 0, qPrintable(m_Stage->control.Error()));
}

void tst_SimulatorFaults::ReadyScreen()
{
    QCOMPARE(m_Stage->screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    m_Stage->Begin();
}

void tst_SimulatorFaults::ReadyAll()
{
    QCOMPARE(m_Stage->screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(m_Stage->music.Initialize());
    QVERIFY(m_Stage->chime.Initialize());
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->screen.hmi.ModeList(), kAllModes, kPatience);
    m_Stage->Begin();
}

void tst_SimulatorFaults::Reopen(ServiceProviderClient& client)
{
    client.HandleCloseSessionReply(false, {});
    QVERIFY(client.OpenSession());
}

void tst_SimulatorFaults::StartWith(const QString& scenario)
{
    const QString path = m_Folder.filePath("scenario.json");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(scenario.toUtf8());
    file.close();
    m_Stage.reset();
    m_Stage = std::make_unique<Stage>(QStringList{"--scenario", path});
}

void tst_SimulatorFaults::CheckScreenWorks()
{
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    if (!hmi.IsSessionOpen()) {
        return;
    }
    QVERIFY(m_Stage->Settle());
    m_Stage->Begin();
    QVERIFY(hmi.GetModeList(QString()));
    const quint32 id = hmi.SetModeAsync("Bluetooth");
    const QStringList expected{"SignalModeChanged \"Bluetooth\"",
                               QStringLiteral("SignalSetModeCompleted %1 true").arg(id)};
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Screen()), expected, kPatience);
    QCOMPARE(hmi.CurrentMode(), "Bluetooth");
    QVERIFY(hmi.SetMode("Radio"));
    QTRY_COMPARE_WITH_TIMEOUT(hmi.CurrentMode(), "Radio", kPatience);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::CheckMusicWorks()
{
    AudioManagerApp& app = m_Stage->music.app;
    if (!app.IsSessionOpen()) {
        return;
    }
    m_Stage->Begin();
    const quint32 id = app.RequestAudioFocusAsync();
    const QStringList expected{QStringLiteral("RequestAudioFocusCompleted(%1,true)").arg(id),
                               "ResponseToAudioFocusRequest(granted)"};
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Music()), expected, kPatience);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

// The tests

void tst_SimulatorFaults::everyKind_hasATest()
{
    QCOMPARE(m_Stage->control.Arm(R"({"kind":"?"})"), 0u);
    const QString error = m_Stage->control.Error();
    QStringList known;
    auto names = QRegularExpression("\"([A-Za-z]+)\"").globalMatch(error.section("one of ", 1));
    while (names.hasNext()) {
        known.append(names.next().captured(1));
    }
    QVERIFY2(known.size() >= 20, qPrintable(error));

    QStringList tested;
    for (int i = metaObject()->methodOffset(); i < metaObject()->methodCount(); ++i) {
        const QString name = metaObject()->method(i).name();
        if (name.contains('_') && !name.endsWith("_data")) {
            tested.append(name.section('_', 0, 0));
        }
    }
    tested.removeDuplicates();
    tested.removeOne("everyKind");
    QCOMPARE(Sorted(tested), Sorted(known));
}

void tst_SimulatorFaults::delay_asyncRequest_othersAreAnsweredMeanwhile()
{
    ReadyScreen();
    Arm(R"({"kind":"delay","method":"getMode","delay":300})");
    const quint32 from = m_Stage->control.LogEnd();
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 1u);
    QVERIFY(m_Stage->control.WaitForCalls("getMode", 2));
    QCOMPARE(m_Stage->screen.hmi.GetModeListAsync(QString()), 2u);

    const QStringList expected{"SignalGetModeListCompleted 2 true", "SignalGetModeCompleted 1 true"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), expected, kPatience);
    const QStringList lines = m_Stage->control.Log(from);
    QCOMPARE(Gist(lines), (QStringList{"request hmi getMode " + kModeArguments, "fault delay getMode",
                                       "request hmi getModeList " + kModeArguments,
                                       R"(answer hmi getModeList {"modeList":["Radio","Bluetooth"]})",
                                       R"(answer hmi getMode {"currentMode":["Radio"]})"}));
    QVERIFY(TimeOf(lines.mid(4), "answer") - TimeOf(lines, "request") >= 300);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::delay_blockingRequest_waitsForTheAnswer()
{
    ReadyScreen();
    Arm(R"({"kind":"delay","method":"getMode","delay":[300,400]})");
    const quint32 from = m_Stage->control.LogEnd();
    QVERIFY(m_Stage->screen.hmi.GetMode(QString()));
    const QStringList lines = m_Stage->control.Log(from);
    QVERIFY(TimeOf(lines, "answer") - TimeOf(lines, "request") >= 300);
    QCOMPARE(m_Stage->screen.hmi.CurrentMode(), "Radio");
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::noAnswer_asyncRequest_completesWhenTheServiceEnds()
{
    ReadyScreen();
    Arm(FaultIn("noAnswer", "setMode"));
    QCOMPARE(m_Stage->screen.hmi.SetModeAsync("Bluetooth"), 1u);
    QVERIFY(m_Stage->control.WaitForCalls("setMode", 1));
    QVERIFY(m_Stage->screen.hmi.GetMode(QString())); // others are answered; the request itself is not done
    QVERIFY(m_Stage->Settle());
    QCOMPARE(m_Stage->Screen(), QStringList());
    QCOMPARE(m_Stage->screen.hmi.CurrentMode(), "Radio");
    QCOMPARE(m_Stage->log.Complaints(), Records());

    QVERIFY(m_Stage->control.Do(R"({"do":"restart"})"));
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalSetModeCompleted 1 false"}, kPatience);
    QCOMPARE(m_Stage->log.Complaints(),
             AsyncError(kNoReply, kDisconnected) +
                 Records{Warning(Streamed("AudioManagerHmi::HandleSetModeReply -- Request", 1,
                                          "failed with reply", Parameters()))});
    QTRY_VERIFY_WITH_TIMEOUT(m_Stage->screen.hmi.IsKivServiceRunning(), kPatience);
    QCOMPARE(m_Stage->Screen().size(), 1);
    Reopen(m_Stage->screen.hmi);
}

void tst_SimulatorFaults::noAnswer_blockingRequest_endsWhenTheServiceEnds()
{
    ReadyScreen();
    Arm(FaultIn("noAnswer", "getMode"));
    QVERIFY(m_Stage->control.AddStep(R"({"when":{"method":"getMode","calls":2},"do":"restart"})"));
    QVERIFY(!m_Stage->screen.hmi.GetMode(QString()));
    QCOMPARE(m_Stage->log.Complaints(),
             BlockingGetModeFails(BlockingError("getMode", kModeArguments, kDisconnected)));
    QCOMPARE(m_Stage->screen.hmi.CurrentMode(), "Radio");
    QCOMPARE(m_Stage->screen.hmi.SessionId(), 1u);
    QTRY_VERIFY_WITH_TIMEOUT(m_Stage->screen.hmi.IsKivServiceRunning(), kPatience);
    Reopen(m_Stage->screen.hmi);
}

void tst_SimulatorFaults::AddOperations()
{
    QTest::addColumn<int>("number");
    const QVector<Operation> operations = Operations();
    for (int number = 0; number < operations.size(); ++number) {
        QTest::newRow(operations.at(number).name) << number;
    }
}

void tst_SimulatorFaults::CheckBlockingFailure(const QString& kind, Records (*complaints)(const Operation&))
{
    QFETCH(int, number);
    const Operation operation = Operations().at(number);
    ReadyAll();
    operation.prepare(*m_Stage);
    QCOMPARE(m_Stage->State(), operation.stateBefore);
    m_Stage->Begin();

    Arm(FaultIn(kind, operation.method));
    QVERIFY(!operation.block(*m_Stage));
    QVERIFY(m_Stage->Settle());
    QCOMPARE(m_Stage->State(), operation.stateAfterBlocking);
    QCOMPARE(m_Stage->log.Complaints(), complaints(operation) + operation.blockingComplaints);
    QCOMPARE(m_Stage->Screen() + m_Stage->Music(), QStringList());
    Reopen(m_Stage->screen.hmi);
}

void tst_SimulatorFaults::CheckAsyncFailure(const QString& kind, const Records& complaints,
                                            const Parameters& reply)
{
    QFETCH(int, number);
    const Operation operation = Operations().at(number);
    ReadyAll();
    operation.prepare(*m_Stage);
    m_Stage->Begin();

    Arm(FaultIn(kind, operation.method));
    QCOMPARE(operation.start(*m_Stage), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen() + m_Stage->Music(), QStringList{operation.completion},
                              kPatience);
    QVERIFY(m_Stage->Settle());
    QCOMPARE(m_Stage->Screen() + m_Stage->Music(), QStringList{operation.completion});
    QCOMPARE(m_Stage->State(), operation.stateBefore);
    QCOMPARE(m_Stage->log.Complaints(), complaints + operation.asyncComplaints(reply));
}

void tst_SimulatorFaults::error_blockingRequest_fails_data()
{
    AddOperations();
}

void tst_SimulatorFaults::error_blockingRequest_fails()
{
    CheckBlockingFailure("error", [](const Operation& operation) {
        return BlockingError(operation.method, operation.arguments, "simulated failure");
    });
}

void tst_SimulatorFaults::error_asyncRequest_completesWithFalse_data()
{
    AddOperations();
}

void tst_SimulatorFaults::error_asyncRequest_completesWithFalse()
{
    CheckAsyncFailure("error", AsyncError("org.freedesktop.DBus.Error.Failed", "simulated failure"), {});
}

void tst_SimulatorFaults::errCode_blockingRequest_fails_data()
{
    AddOperations();
}

void tst_SimulatorFaults::errCode_blockingRequest_fails()
{
    CheckBlockingFailure("errCode", [](const Operation& operation) {
        return BlockingRefusal(operation.method, operation.arguments,
                               R"({"errCode":99,"errMessage":"simulated refusal"})");
    });
}

void tst_SimulatorFaults::errCode_asyncRequest_completesWithFalse_data()
{
    AddOperations();
}

void tst_SimulatorFaults::errCode_asyncRequest_completesWithFalse()
{
    CheckAsyncFailure("errCode", AsyncRefusal(99), {{"errCode", 99}, {"errMessage", "simulated refusal"}});
}

void tst_SimulatorFaults::errCode_anyValue_isAFailure_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QVariant>("told");
    QTest::newRow("zero") << "0" << QVariant(0);
    QTest::newRow("negative") << "-7" << QVariant(-7);
    QTest::newRow("text") << "\"busy\"" << QVariant("busy");
    QTest::newRow("false") << "false" << QVariant(false);
    QTest::newRow("null") << "null" << QVariant(QString());
    QTest::newRow("list") << "[]" << QVariant(QStringList());
}

void tst_SimulatorFaults::errCode_anyValue_isAFailure()
{
    QFETCH(QString, code);
    QFETCH(QVariant, told);
    ReadyScreen();
    Arm(QStringLiteral(R"({"kind":"errCode","method":"getMode","times":2,"code":%1,"message":"m"})")
            .arg(code));
    const QString answer = QStringLiteral(R"({"errCode":%1,"errMessage":"m"})").arg(code);
    QVERIFY(!m_Stage->screen.hmi.GetMode(QString()));
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalGetModeCompleted 1 false"}, kPatience);
    QCOMPARE(m_Stage->log.Complaints(),
             BlockingGetModeFails(BlockingRefusal("getMode", kModeArguments, answer)) + AsyncRefusal(told) +
                 QueryComplaints({{"errCode", told}, {"errMessage", "m"}}));
}

void tst_SimulatorFaults::errCode_duringInitialisation_failsIt_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<bool>("isScreens");
    QTest::addColumn<QStringList>("requests");
    QTest::newRow("session of an HMI") << "openSession" << true << QStringList{"openSession"};
    QTest::newRow("mode list") << "getModeList" << true << QStringList{"openSession", "getModeList"};
    QTest::newRow("mode") << "getMode" << true << QStringList{"openSession", "getModeList", "getMode"};
    QTest::newRow("session of an application") << "openSession" << false << QStringList{"openSession"};
    QTest::newRow("registration") << "registerAudioStream" << false
                                  << QStringList{"openSession", "registerAudioStream"};
}

void tst_SimulatorFaults::errCode_duringInitialisation_failsIt()
{
    QFETCH(QString, method);
    QFETCH(bool, isScreens);
    QFETCH(QStringList, requests);
    StartWith(QStringLiteral("{\"faults\":[%1]}").arg(FaultIn("errCode", method)));
    KivBaseClient& client = isScreens ? static_cast<KivBaseClient&>(m_Stage->screen.hmi)
                                      : static_cast<KivBaseClient&>(m_Stage->music.app);
    QCOMPARE(client.Initialize(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(client.Initialize(), KivBaseClient::INIT_STATE_FAILED); // there is no second try
    QCOMPARE(m_Stage->log.Complaints().last(),
             Warning("KivBaseClient::Initialize() is being called more than once!"));
    QStringList sent;
    for (const QString& line : m_Stage->control.Log()) {
        const QJsonObject record = LogObject(line);
        if (record.value("kind") == QLatin1String("request")) {
            sent.append(record.value("name").toString());
        }
    }
    QCOMPARE(sent, requests);
    QCOMPARE(m_Stage->Screen() + m_Stage->Music(), QStringList());
    m_Stage->screen.hmi.CloseSession();
    m_Stage->music.app.CloseSession();

    HmiClient other("/other");
    QCOMPARE(other.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    other.hmi.Powerdown();
}

void tst_SimulatorFaults::errCode_whenTheServiceAppears_isTheEndOfInitialisation()
{
    StartWith(R"({"present":false,"faults":[{"kind":"errCode","method":"getMode"}]})");
    QCOMPARE(m_Stage->screen.hmi.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QVERIFY(m_Stage->control.Do(R"({"do":"return"})"));
    const QStringList expected{Streamed("SignalInitCompleted", KivBaseClient::INIT_STATE_FAILED)};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), expected, kPatience);
    QCOMPARE(m_Stage->screen.hmi.CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);

    QVERIFY(m_Stage->control.Do(R"({"do":"leave"})"));
    QVERIFY(m_Stage->control.Do(R"({"do":"return"})"));
    QVERIFY(m_Stage->Settle());
    QCOMPARE(m_Stage->Screen(), expected); // not tried again
    m_Stage->screen.hmi.CloseSession();
}

void tst_SimulatorFaults::errCode_storedMode_staysStored()
{
    ReadyScreen();
    QCOMPARE(m_Stage->screen.hmi.SetModeAsync("Tape"), 1u);
    Arm(FaultIn("errCode", "setMode"));
    QVERIFY(m_Stage->control.Do(R"({"do":"addMode","mode":"Tape"})"));
    const QStringList refused{"SignalModeListChanged true \"Tape\"", "SignalSetModeCompleted 1 false"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), refused, kPatience);
    QCOMPARE(m_Stage->screen.hmi.PendingMode(), "Tape");
    QCOMPARE(m_Stage->screen.hmi.PendingSetModeRequestId(), 1u);

    m_Stage->Begin();
    QVERIFY(m_Stage->control.Do(R"({"do":"removeMode","mode":"Tape"})"));
    QVERIFY(m_Stage->control.Do(R"({"do":"addMode","mode":"Tape"})"));
    const QStringList accepted{"SignalModeChanged \"Tape\"", "SignalModeListChanged false \"Tape\"",
                               "SignalModeListChanged true \"Tape\"", "SignalSetModeCompleted 1 true"};
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Screen()), accepted, kPatience);
    QCOMPARE(m_Stage->screen.hmi.PendingMode(), "");
}

void tst_SimulatorFaults::notJson_openSession_opensNone()
{
    StartWith(R"({"faults":[{"kind":"notJson","method":"openSession","times":2}]})");
    QCOMPARE(m_Stage->screen.hmi.Initialize(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(m_Stage->log.Complaints(), Records());
    QCOMPARE(m_Stage->screen.hmi.SessionId(), 0u);

    QCOMPARE(m_Stage->screen.hmi.OpenSessionAsync(), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalOpenSessionCompleted 1 false"},
                              kPatience);
    QCOMPARE(m_Stage->log.Complaints(),
             (Records{Critical("ServiceProviderClient::HandleOpenSessionReply -- Reply does not contain key "
                               "\"sessionId\"")}));
    QCOMPARE(m_Stage->screen.hmi.SessionId(), 0u);
    Reopen(m_Stage->screen.hmi);
}

void tst_SimulatorFaults::notJson_queries_succeedWithNothing_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("modes");
    QTest::newRow("words") << "this is not JSON" << QStringList();
    QTest::newRow("nothing") << "" << QStringList();
    QTest::newRow("an empty object") << "{}" << QStringList();
    QTest::newRow("null") << "null" << QStringList();
    QTest::newRow("a number") << "5" << QStringList();
    QTest::newRow("cut off") << R"({"modeList":["Tape","De)" << QStringList();
    QTest::newRow("a list") << R"(["Tape"])" << QStringList{"Tape"};
}

void tst_SimulatorFaults::notJson_queries_succeedWithNothing()
{
    QFETCH(QString, text);
    QFETCH(QStringList, modes);
    ReadyScreen();
    const QString fault = QString::fromUtf8(
        QJsonDocument(QJsonObject{{"kind", "notJson"}, {"text", text}, {"times", 4}}).toJson());
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    Arm(fault);
    QVERIFY(hmi.GetModeList(QString()));
    QCOMPARE(hmi.ModeList(), modes);
    QVERIFY(hmi.GetMode(QString()));
    QCOMPARE(hmi.CurrentMode(), "Radio"); // what blocking calls have learned stays

    QCOMPARE(hmi.GetModeListAsync(QString()), 1u);
    QCOMPARE(hmi.GetModeAsync(QString()), 2u);
    // A reply that is there before it is watched is told of later than one that is not.
    QTRY_COMPARE_WITH_TIMEOUT(
        Sorted(m_Stage->Screen()),
        (QStringList{"SignalGetModeCompleted 2 true", "SignalGetModeListCompleted 1 true"}), kPatience);
    QCOMPARE(hmi.ModeList(), modes);
    QCOMPARE(hmi.CurrentMode(), modes.value(0));
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::notJson_otherRequests_succeed()
{
    ReadyAll();
    Arm(R"({"kind":"notJson","role":"app","times":4})");
    AudioManagerApp& app = m_Stage->music.app;
    QVERIFY(app.RequestAudioFocus());
    QVERIFY(app.AudioActive(true));
    QCOMPARE(app.AudioActiveAsync(false), 1u);
    QTRY_VERIFY_WITH_TIMEOUT(m_Stage->Music().contains("AudioActiveCompleted(1,true)"), kPatience);
    QCOMPARE(app.AbandonAudioFocusAsync("end"), 2u);
    const QStringList expected{"AbandonAudioFocusCompleted(2,true)", "AudioActiveCompleted(1,true)",
                               "ResponseToAudioFocusRequest(abandoned)",
                               "ResponseToAudioFocusRequest(granted)"};
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Music()), expected, kPatience);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::notJson_errCodeInTheText_failsOnlyTheBlockingRequest()
{
    ReadyScreen();
    Arm(R"({"kind":"notJson","text":"an errCode in words","method":"getMode","times":2})");
    QVERIFY(!m_Stage->screen.hmi.GetMode(QString()));
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalGetModeCompleted 1 true"}, kPatience);
    QCOMPARE(m_Stage->log.Complaints(),
             BlockingGetModeFails(BlockingRefusal("getMode", kModeArguments, "an errCode in words")));
}

// Members that are missing, of another type, or too many

void tst_SimulatorFaults::missingMember_sessionId_opensNone()
{
    ReadyScreen();
    m_Stage->screen.hmi.CloseSession();
    m_Stage->Begin();
    Arm(R"({"kind":"missingMember","member":"sessionId","method":"openSession","times":2})");
    QVERIFY(!m_Stage->screen.hmi.OpenSession());
    QCOMPARE(m_Stage->log.Complaints(), Records());
    QCOMPARE(m_Stage->screen.hmi.OpenSessionAsync(), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalOpenSessionCompleted 1 false"},
                              kPatience);
    QCOMPARE(m_Stage->log.Complaints(),
             (Records{Critical("ServiceProviderClient::HandleOpenSessionReply -- Reply does not contain key "
                               "\"sessionId\"")}));
    QVERIFY(!m_Stage->screen.hmi.IsSessionOpen());
    Reopen(m_Stage->screen.hmi);
}

void tst_SimulatorFaults::missingMember_modes_areNone()
{
    ReadyScreen();
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    Arm(R"({"kind":"missingMember","times":3})");
    QVERIFY(hmi.GetModeList(QString()));
    QCOMPARE(hmi.ModeList(), QStringList());
    QVERIFY(hmi.GetMode(QString()));
    QCOMPARE(hmi.CurrentMode(), "Radio");
    QCOMPARE(hmi.GetModeAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalGetModeCompleted 1 true"}, kPatience);
    QCOMPARE(hmi.CurrentMode(), "");
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::AddEventColumns()
{
    QTest::addColumn<QString>("member");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QStringList>("screen");
    QTest::addColumn<QStringList>("music");
    QTest::addColumn<Records>("complaints");
}

// Has a client make a request that causes events.
void tst_SimulatorFaults::Provoke(const QString& method)
{
    if (method == "setMode") {
        QCOMPARE(m_Stage->screen.hmi.SetModeAsync("Bluetooth"), 1u);
    } else if (method == "closeSession") {
        QCOMPARE(m_Stage->music.app.CloseSessionAsync(), 1u);
    } else {
        QCOMPARE(m_Stage->chime.app.RequestAudioFocusAsync(), 1u);
    }
    QVERIFY(m_Stage->control.WaitForCalls(method, method == "requestAudioFocus" ? 2 : 1));
}

// The music has the focus, and one kind of event is not as it should be.
void tst_SimulatorFaults::CheckSpoiltEvents()
{
    const QString kind = QString(QTest::currentTestFunction()).section('_', 0, 0);
    QFETCH(QString, member);
    QFETCH(QString, method);
    QFETCH(QStringList, screen);
    QFETCH(QStringList, music);
    QFETCH(Records, complaints);
    ReadyAll();
    QVERIFY(m_Stage->music.app.RequestAudioFocus());
    QVERIFY(m_Stage->Settle());
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->music.app.LastFocus(), "granted", kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen().size(), 1, kPatience);
    m_Stage->Begin();

    Arm(QStringLiteral(R"({"kind":"%1","in":"events","member":"%2","method":"%3"})")
            .arg(kind, member, method));
    Provoke(method);
    QVERIFY(m_Stage->Settle());
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Screen()), Sorted(screen), kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Music()), Sorted(music), kPatience);
    QCOMPARE(m_Stage->log.Complaints(), complaints);
}

void tst_SimulatorFaults::missingMember_inEvents_isIgnored_data()
{
    const QString foreign = "AudioManagerHmi::HandleRequest -- Error - Received non-matching session id: 0";
    const QString setMode = "SignalSetModeCompleted 1 true";
    const QString incomplete =
        "AudioManagerHmi::HandleModeListChanged -- Error: \"onModeListChange\" missing parameters!";
    const QString lost = R"(SignalAudioFocusChange "Music" "/music" "permanent" "Media" "all" "lost")";
    const QStringList switched{
        R"(SignalAudioFocusChange "Music" "/music" "permanent" "Media" "all" "temporarilyLost")",
        R"(SignalAudioFocusChange "Chime" "" "transient" "Media" "all" "gained")"};
    const QString closed = "CloseSessionCompleted(1,true)";
    AddEventColumns();
    QTest::newRow("session of a mode change")
        << "sessionId"
        << "setMode" << QStringList{setMode} << QStringList() << Records{Critical(foreign)};
    QTest::newRow("the mode")
        << "activeMode"
        << "setMode" << QStringList{setMode} << QStringList()
        << Records{Critical("AudioManagerHmi::HandleModeChanged -- Kiv Audio manager error: \"onModeChange\" "
                            "missing \"activeMode\" - Current mode: \"Radio\"")};
    QTest::newRow("a mode list's action")
        << "action"
        << "closeSession" << QStringList{lost} << QStringList{closed} << Records{Critical(incomplete)};
    QTest::newRow("a mode list's mode")
        << "mode"
        << "closeSession" << QStringList{lost} << QStringList{closed} << Records{Critical(incomplete)};
    QTest::newRow("session of a focus change")
        << "sessionId"
        << "requestAudioFocus" << switched << QStringList()
        << Records(2, Critical("Kiv service provider session id error!")); // the chime is told, too
    QTest::newRow("the focus") << "newFocus"
                               << "requestAudioFocus" << QStringList() << QStringList{"AudioFocusChanged()"}
                               << Records();
    QTest::newRow("a broadcast's stream") << "streamName"
                                          << "requestAudioFocus" << QStringList()
                                          << QStringList{"AudioFocusChanged(temporarilyLost)"} << Records();
}

void tst_SimulatorFaults::missingMember_inEvents_isIgnored()
{
    CheckSpoiltEvents();
}

void tst_SimulatorFaults::wrongType_ofTheSessionId_isConverted()
{
    StartWith(R"({"faults":[{"kind":"wrongType","member":"sessionId","method":"openSession"}]})");
    QCOMPARE(m_Stage->screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(m_Stage->screen.hmi.SessionId(), 1u); // it was "1"
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::wrongType_ofModes_isOneMode()
{
    ReadyScreen();
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    Arm(R"({"kind":"wrongType","times":2})");
    QVERIFY(hmi.GetModeList(QString()));
    QCOMPARE(hmi.ModeList(), QStringList{"of another type"});
    QCOMPARE(hmi.GetModeAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalGetModeCompleted 1 true"}, kPatience);
    QCOMPARE(hmi.CurrentMode(), "of another type");
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::wrongType_inEvents_isConverted_data()
{
    const QString setMode = "SignalSetModeCompleted 1 true";
    AddEventColumns();
    QTest::newRow("session") << "sessionId"
                             << "setMode" << QStringList{setMode, "SignalModeChanged \"Bluetooth\""}
                             << QStringList() << Records();
    QTest::newRow("mode") << "activeMode"
                          << "setMode" << QStringList{setMode, "SignalModeChanged \"9\""} << QStringList()
                          << Records();
    QTest::newRow("action, which then removes")
        << "action"
        << "closeSession"
        << QStringList{R"(SignalAudioFocusChange "Music" "/music" "permanent" "Media" "all" "lost")",
                       R"(SignalModeListChanged false "/music")"}
        << QStringList{"CloseSessionCompleted(1,true)"} << Records();
    QTest::newRow("focus")
        << "newFocus"
        << "requestAudioFocus"
        << QStringList{R"(SignalAudioFocusChange "Music" "/music" "permanent" "Media" "all" "15")",
                       R"(SignalAudioFocusChange "Chime" "" "transient" "Media" "all" "6")"}
        << QStringList{"AudioFocusChanged(15)"} << Records();
}

void tst_SimulatorFaults::wrongType_inEvents_isConverted()
{
    CheckSpoiltEvents();
}

void tst_SimulatorFaults::extraMembers_inAnswers_countAsModes()
{
    ReadyScreen();
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    Arm(R"({"kind":"extraMembers","times":4})");
    QVERIFY(hmi.GetModeList(QString()));
    // All members together, in the order of their keys: nothing and the object are empty texts.
    QCOMPARE(hmi.ModeList(), (QStringList{"", "", "nobody asked for it", "Radio", "Bluetooth"}));
    QCOMPARE(hmi.GetModeAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalGetModeCompleted 1 true"}, kPatience);
    QCOMPARE(hmi.CurrentMode(), "Radio");
    hmi.CloseSession();
    QVERIFY(hmi.OpenSession());
    QCOMPARE(hmi.SessionId(), 2u);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::extraMembers_inEvents_changeNothing()
{
    ReadyAll();
    Arm(R"({"kind":"extraMembers","in":"events","times":2})");
    QVERIFY(m_Stage->screen.hmi.SetMode("Bluetooth"));
    QVERIFY(m_Stage->music.app.RequestAudioFocus());
    const QStringList screen{"SignalModeChanged \"Bluetooth\"",
                             R"(SignalAudioFocusChange "Music" "/music" "permanent" "Media" "all" "gained")"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), screen, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Music(), QStringList{"ResponseToAudioFocusRequest(granted)"},
                              kPatience);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::sessionId_ofAnyValue_isReadAsANumber_data()
{
    QTest::addColumn<QString>("value");
    QTest::addColumn<quint32>("id");
    QTest::newRow("zero") << "0" << 0u;
    QTest::newRow("not a number") << "\"seven\"" << 0u;
    QTest::newRow("a number in a text") << "\"17\"" << 17u;
    QTest::newRow("2^31") << "2147483648" << 2147483647u;
    QTest::newRow("above 2^32") << "4294967301" << 2147483647u;
    QTest::newRow("a fraction") << "7.9" << 7u;
    QTest::newRow("below one") << "0.5" << 0u;
    QTest::newRow("true") << "true" << 1u;
    QTest::newRow("null") << "null" << 0u;
    QTest::newRow("a list") << "[\"7\"]" << 0u;
    QTest::newRow("an object") << "{\"id\":7}" << 0u;
}

void tst_SimulatorFaults::sessionId_ofAnyValue_isReadAsANumber()
{
    QFETCH(QString, value);
    QFETCH(quint32, id);
    ReadyScreen();
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    hmi.CloseSession();
    m_Stage->Begin();
    Arm(QStringLiteral(R"({"kind":"sessionId","method":"openSession","times":2,"value":%1})").arg(value));
    QCOMPARE(hmi.OpenSession(), id != 0);
    QCOMPARE(hmi.SessionId(), id);
    QCOMPARE(hmi.IsSessionOpen(), id != 0);

    hmi.HandleCloseSessionReply(false, {});
    QCOMPARE(hmi.OpenSessionAsync(), 1u);
    const QString completed = Streamed("SignalOpenSessionCompleted", 1, id != 0);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{completed}, kPatience);
    QCOMPARE(hmi.SessionId(), id);
    QCOMPARE(m_Stage->log.Complaints(), Records());

    QVERIFY(!hmi.GetMode(QString())); // no session, or one that the service does not know
    QCOMPARE(m_Stage->control.CallCount("getMode"), id != 0 ? 2u : 1u);
    Reopen(hmi);
}

void tst_SimulatorFaults::sessionId_zero_failsInitialisation()
{
    StartWith(R"({"faults":[{"kind":"sessionId","value":0,"method":"openSession","times":"always"}]})");
    QCOMPARE(m_Stage->screen.hmi.Initialize(), KivBaseClient::INIT_STATE_FAILED);
    QVERIFY(!m_Stage->music.Initialize());
    QCOMPARE(m_Stage->music.app.CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(m_Stage->log.Complaints(), Records());
    QCOMPARE(m_Stage->control.CallCount(QString()), 2u);
}

void tst_SimulatorFaults::hugeAnswer_isReadWhole()
{
    ReadyScreen();
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    Arm(R"({"kind":"hugeAnswer","times":2})");
    QVERIFY(hmi.GetModeList(QString()));
    const QStringList expected{"Radio", "Bluetooth", QString(1024 * 1024, 'x')};
    QVERIFY(hmi.ModeList() == expected);
    QCOMPARE(hmi.GetModeListAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalGetModeListCompleted 1 true"}, kPatience);
    QVERIFY(hmi.ModeList() == expected);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::hugeAnswer_toARequestThatReadsNothing_isAccepted()
{
    ReadyScreen();
    Arm(R"({"kind":"hugeAnswer","bytes":16777216,"method":"setMode"})");
    QVERIFY(m_Stage->screen.hmi.SetMode("Bluetooth"));
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalModeChanged \"Bluetooth\""}, kPatience);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

// Events that come as they should not

void tst_SimulatorFaults::duplicateEvents_areHandledTwice()
{
    ReadyAll();
    Arm(R"({"kind":"duplicateEvents","method":"setMode"})");
    QCOMPARE(m_Stage->screen.hmi.SetModeAsync("Bluetooth"), 1u);
    const QStringList twice{"SignalModeChanged \"Bluetooth\"", "SignalModeChanged \"Bluetooth\"",
                            "SignalSetModeCompleted 1 true"};
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Screen()), twice, kPatience);
    QCOMPARE(m_Stage->log.Complaints(), Records());

    m_Stage->Begin();
    Arm(R"({"kind":"duplicateEvents","method":"closeSession"})");
    m_Stage->music.app.CloseSession();
    const QString removed = "SignalModeListChanged false \"/music\"";
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), (QStringList{removed, removed}), kPatience);
    QCOMPARE(m_Stage->screen.hmi.ModeList(), (QStringList{"Radio", "Bluetooth"}));
    QCOMPARE(m_Stage->log.Complaints(), Records{Critical("Remove mode list error: \"/music\"")});

    m_Stage->Begin();
    Reopen(m_Stage->music.app);
    Arm(R"({"kind":"duplicateEvents","method":"registerAudioStream"})");
    QVERIFY(m_Stage->music.app.RegisterAudioStream());
    const QStringList listedTwice{"Radio", "Bluetooth", "/music", "/music"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->screen.hmi.ModeList(), listedTwice, kPatience);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::duplicateEvents_storedMode_isSentTwice()
{
    ReadyScreen();
    QCOMPARE(m_Stage->screen.hmi.SetModeAsync("/music"), 1u);
    Arm(R"({"kind":"duplicateEvents","method":"registerAudioStream"})");
    QVERIFY(m_Stage->music.Initialize());
    const QString added = "SignalModeListChanged true \"/music\"";
    const QString changed = "SignalModeChanged \"/music\"";
    const QString completed = "SignalSetModeCompleted 1 true";
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Screen()),
                              (QStringList{changed, changed, added, added, completed, completed}), kPatience);
    QCOMPARE(m_Stage->control.CallCount("setMode"), 2u);
    QCOMPARE(m_Stage->screen.hmi.PendingMode(), "");
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::shuffledEvents_areToldAsTheyCome()
{
    ReadyAll();
    QVERIFY(m_Stage->music.app.RequestAudioFocus());
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen().size(), 1, kPatience);
    m_Stage->Begin();
    const quint32 from = m_Stage->control.LogEnd();
    Arm(FaultIn("shuffledEvents", "requestAudioFocus"));
    QVERIFY(m_Stage->chime.app.RequestAudioFocus());
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen().size(), 2, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->chime.heard, QStringList{"result granted"}, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Music(), QStringList{"AudioFocusChanged(temporarilyLost)"}, kPatience);

    const QStringList inOrder{
        R"(call app onAudioFocusChange {"newFocus":"temporarilyLost","sessionId":2})",
        R"(broadcast audioFocusChangeEvent {"destination":"all","focusType":"permanent",)"
        R"("newFocus":"temporarilyLost","streamModeName":"/music","streamName":"Music","streamType":"Media"})",
        R"(call app onRequestAudioFocusResult {"newFocus":"granted","sessionId":3})",
        R"(broadcast audioFocusChangeEvent {"destination":"all","focusType":"transient",)"
        R"("newFocus":"gained","streamModeName":"","streamName":"Chime","streamType":"Media"})"};
    const QStringList sent = Gist(m_Stage->control.Log(from)).mid(3);
    QCOMPARE(Sorted(sent), Sorted(inOrder));
    QVERIFY(sent != inOrder);
    const bool isGainFirst = sent.indexOf(inOrder.at(3)) < sent.indexOf(inOrder.at(1));
    QCOMPARE(m_Stage->Screen().first().contains("Chime"), isGainFirst);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::eventsFirst_asyncRequest_eventPrecedesCompletion()
{
    ReadyAll();
    Arm(R"({"kind":"eventsFirst","times":2})");
    const quint32 from = m_Stage->control.LogEnd();
    QCOMPARE(m_Stage->screen.hmi.SetModeAsync("Bluetooth"), 1u);
    const QStringList screen{"SignalModeChanged \"Bluetooth\"", "SignalSetModeCompleted 1 true"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), screen, kPatience);
    QCOMPARE(m_Stage->music.app.RequestAudioFocusAsync(), 1u);
    const QStringList music{"ResponseToAudioFocusRequest(granted)", "RequestAudioFocusCompleted(1,true)"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Music(), music, kPatience);
    QCOMPARE(Gist(m_Stage->control.Log(from)).mid(2, 2),
             (QStringList{R"(call hmi onModeChange {"activeMode":"Bluetooth","sessionId":1})",
                          "answer hmi setMode {}"}));
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::eventsFirst_blockingRequest_eventIsHandledAfterwards()
{
    ReadyScreen();
    const quint32 from = m_Stage->control.LogEnd();
    Arm(FaultIn("eventsFirst", "setMode"));
    QVERIFY(m_Stage->screen.hmi.SetMode("Bluetooth"));
    QCOMPARE(m_Stage->Screen(), QStringList());
    QCOMPARE(m_Stage->screen.hmi.CurrentMode(), "Radio");
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalModeChanged \"Bluetooth\""}, kPatience);
    QCOMPARE(m_Stage->screen.hmi.CurrentMode(), "Bluetooth");
    QCOMPARE(Gist(m_Stage->control.Log(from)),
             (QStringList{R"(request hmi setMode {"newMode":"Bluetooth","sessionId":1})",
                          "fault eventsFirst setMode",
                          R"(call hmi onModeChange {"activeMode":"Bluetooth","sessionId":1})",
                          "answer hmi setMode {}"}));
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::foreignEvents_areIgnored()
{
    ReadyAll();
    Arm(R"({"kind":"foreignEvents","times":2})");
    QCOMPARE(m_Stage->screen.hmi.SetModeAsync("Bluetooth"), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalSetModeCompleted 1 true"}, kPatience);
    QVERIFY(m_Stage->music.app.RequestAudioFocus());
    QVERIFY(m_Stage->Settle());
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->log.Complaints(),
                              (Records{Critical("AudioManagerHmi::HandleRequest -- Error - Received "
                                                "non-matching session id: 1000001"),
                                       Critical("Kiv service provider session id error!")}),
                              kPatience);
    QCOMPARE(m_Stage->screen.hmi.CurrentMode(), "Radio");
    QCOMPARE(m_Stage->music.app.LastFocus(), "");
    QCOMPARE(m_Stage->Music(), QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen().size(), 2, kPatience); // the broadcast is nobody's
    const QStringList lines = Gist(m_Stage->control.Log());
    QVERIFY2(lines.filter("failed").isEmpty(), qPrintable(lines.join('\n'))); // all answered with {}
}

// Call back into the waiting client

void tst_SimulatorFaults::callBackFirst_blockingRequest_callTimesOutAndIsHandledAfterwards()
{
    ReadyScreen();
    const quint32 from = m_Stage->control.LogEnd();
    Arm(R"({"kind":"callBackFirst","method":"setMode","timeout":300})");
    QVERIFY(m_Stage->screen.hmi.SetMode("Bluetooth"));
    QCOMPARE(m_Stage->Screen(), QStringList());
    const QStringList lines = Gist(m_Stage->control.Log(from));
    QCOMPARE(lines.mid(0, 3), (QStringList{R"(request hmi setMode {"newMode":"Bluetooth","sessionId":1})",
                                           "fault callBackFirst setMode",
                                           R"(call hmi onModeChange {"activeMode":"Radio","sessionId":1})"}));
    QVERIFY2(lines.value(3).startsWith("failed hmi onModeChange Did not receive a reply."),
             qPrintable(lines.join('\n')));
    QCOMPARE(lines.mid(4),
             (QStringList{"answer hmi setMode {}",
                          R"(call hmi onModeChange {"activeMode":"Bluetooth","sessionId":1})"}));

    const QStringList expected{"SignalModeChanged \"Radio\"", "SignalModeChanged \"Bluetooth\""};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), expected, kPatience);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::callBackFirst_asyncRequest_isAnsweredAtOnce()
{
    ReadyAll();
    const quint32 from = m_Stage->control.LogEnd();
    Arm(R"({"kind":"callBackFirst","timeout":30000,"times":2})");
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 1u);
    const QStringList screen{"SignalModeChanged \"Radio\"", "SignalGetModeCompleted 1 true"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), screen, kPatience);
    QCOMPARE(m_Stage->music.app.AudioActiveAsync(true), 1u);
    const QStringList music{"AudioFocusChanged(temporarilyLost)", "AudioActiveCompleted(1,true)"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Music(), music, kPatience);

    QCOMPARE(Gist(m_Stage->control.Log(from)),
             (QStringList{"request hmi getMode " + kModeArguments, "fault callBackFirst getMode",
                          R"(call hmi onModeChange {"activeMode":"Radio","sessionId":1})",
                          R"(answer hmi getMode {"currentMode":["Radio"]})",
                          R"(request app audioActive {"playing":true,"sessionId":2})",
                          "fault callBackFirst audioActive",
                          R"(call app onAudioFocusChange {"newFocus":"temporarilyLost","sessionId":2})",
                          "answer app audioActive {}"}));
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::callBackFirst_severalSessions_callsTheWaitingOne()
{
    ReadyAll();
    for (AppClient* const client : {&m_Stage->music, &m_Stage->chime}) {
        client->heard.clear();
        Arm(FaultIn("callBackFirst", "audioActive"));
        const quint32 id = client->app.AudioActiveAsync(true);
        QVERIFY(id != 0);
        QTRY_COMPARE_WITH_TIMEOUT(client->heard, QStringList{"changed temporarilyLost"}, kPatience);
        QVERIFY(m_Stage->Settle());
    }
    QCOMPARE(m_Stage->music.heard, QStringList{"changed temporarilyLost"});
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::callBackFirst_closeSession_hasNobodyToCall()
{
    ReadyScreen();
    const quint32 from = m_Stage->control.LogEnd();
    Arm(R"({"kind":"callBackFirst","method":"closeSession","timeout":30000})");
    QCOMPARE(m_Stage->screen.hmi.CloseSessionAsync(), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalCloseSessionCompleted 1 true"},
                              kPatience);
    QCOMPARE(Gist(m_Stage->control.Log(from)),
             (QStringList{R"(request hmi closeSession {"sessionId":1})", "fault callBackFirst closeSession",
                          "answer hmi closeSession {}"}));
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::callBackFirst_anyEvent_isSent()
{
    ReadyScreen();
    Arm(R"({"kind":"callBackFirst","method":"getMode","timeout":30000,"name":"onModeListChange",)"
        R"("parameters":{"action":"add","mode":"Tape"}})");
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 1u);
    const QStringList expected{"SignalModeListChanged true \"Tape\"", "SignalGetModeCompleted 1 true"};
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), expected, kPatience);
    QCOMPARE(m_Stage->screen.hmi.ModeList(), (QStringList{"Radio", "Bluetooth", "Tape"}));
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

// What happens to the service

void tst_SimulatorFaults::leave_requestsFailUntilTheReturn()
{
    ReadyScreen();
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    Arm(FaultIn("leave", "getMode"));
    QVERIFY(hmi.GetMode(QString())); // answered before
    QTRY_VERIFY_WITH_TIMEOUT(!hmi.IsKivServiceRunning(), kPatience);
    HmiClient late("/late");
    const HmiSignals lateSignals(&late.hmi);
    QCOMPARE(late.hmi.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    const QString message =
        "The name com.quorvantel.service.AudioManagement was not provided by any .service files";
    m_Stage->Begin();
    QVERIFY(!hmi.GetMode(QString()));
    QCOMPARE(hmi.GetModeAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalGetModeCompleted 1 false"}, kPatience);
    QCOMPARE(m_Stage->log.Complaints(),
             BlockingGetModeFails(BlockingError("getMode", kModeArguments, message)) +
                 AsyncError("org.freedesktop.DBus.Error.ServiceUnknown", message) + QueryComplaints({}));

    QVERIFY(m_Stage->control.Do(R"({"do":"return"})"));
    const QStringList initialised{Streamed("SignalInitCompleted", KivBaseClient::INIT_STATE_SUCCESS)};
    QTRY_COMPARE_WITH_TIMEOUT(lateSignals.List(), initialised, kPatience);
    QVERIFY(hmi.GetMode(QString())); // the session is still known
    QCOMPARE(hmi.SessionId(), 1u);
    QCOMPARE(m_Stage->Screen().size(), 1); // it is not told that the service has left or come
    late.hmi.Powerdown();
}

void tst_SimulatorFaults::leave_forAWhile_changesNothingForTheClient()
{
    ReadyScreen();
    const quint32 from = m_Stage->control.LogEnd();
    Arm(R"({"kind":"leave","method":"getMode","milliseconds":200})");
    QVERIFY(m_Stage->screen.hmi.GetMode(QString()));
    QTRY_COMPARE_WITH_TIMEOUT(
        Gist(m_Stage->control.Log(from)),
        (QStringList{"request hmi getMode " + kModeArguments, "fault leave getMode",
                     R"(answer hmi getMode {"currentMode":["Radio"]})", "service left", "service came"}),
        kPatience);
    QCOMPARE(m_Stage->screen.hmi.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(m_Stage->screen.hmi.SessionId(), 1u);
    QCOMPARE(m_Stage->log.Complaints(), Records());
    QCOMPARE(m_Stage->Screen(), QStringList());
}

void tst_SimulatorFaults::restart_blockingRequest_failsAndTheSessionIsLost()
{
    ReadyScreen();
    AudioManagerHmi& hmi = m_Stage->screen.hmi;
    Arm(FaultIn("restart", "getMode"));
    QVERIFY(!hmi.GetMode(QString()));
    QTRY_VERIFY_WITH_TIMEOUT(hmi.IsKivServiceRunning(), kPatience);
    QCOMPARE(hmi.SessionId(), 1u); // the client is not told
    QVERIFY(!hmi.GetMode(QString()));
    const QString unknown = R"({"errCode":7,"errMessage":"there is no session 1"})";
    QCOMPARE(m_Stage->log.Complaints(),
             BlockingGetModeFails(BlockingError("getMode", kModeArguments, kDisconnected)) +
                 BlockingGetModeFails(BlockingRefusal("getMode", kModeArguments, unknown)));
    QCOMPARE(m_Stage->Screen(), QStringList());

    QVERIFY(hmi.HandleCloseSessionReply(false, {}));
    QCOMPARE(hmi.OpenSessionAsync(), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen(), QStringList{"SignalOpenSessionCompleted 1 true"}, kPatience);
    QCOMPARE(hmi.SessionId(), 2u);
}

void tst_SimulatorFaults::restart_asyncRequests_completeOnceWithFalse()
{
    ReadyScreen();
    Arm(R"({"kind":"noAnswer","method":"getModeList"})");
    Arm(R"({"kind":"restart","method":"getMode","milliseconds":100})");
    QCOMPARE(m_Stage->screen.hmi.GetModeListAsync(QString()), 1u);
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 2u);
    const QStringList expected{"SignalGetModeCompleted 2 false", "SignalGetModeListCompleted 1 false"};
    QTRY_COMPARE_WITH_TIMEOUT(Sorted(m_Stage->Screen()), expected, kPatience);
    QCOMPARE(m_Stage->log.Complaints(), AsyncError(kNoReply, kDisconnected) + QueryComplaints({}) +
                                            AsyncError(kNoReply, kDisconnected) + QueryComplaints({}));
    QTRY_VERIFY_WITH_TIMEOUT(m_Stage->screen.hmi.IsKivServiceRunning(), kPatience);
    QVERIFY(m_Stage->Settle());
    QCOMPARE(Sorted(m_Stage->Screen()), expected);
    Reopen(m_Stage->screen.hmi);
}

void tst_SimulatorFaults::crash_blockingRequest_fails()
{
    ReadyScreen();
    Arm(FaultIn("crash", "getMode"));
    QVERIFY(!m_Stage->screen.hmi.GetMode(QString()));
    QCOMPARE(m_Stage->log.Complaints(),
             BlockingGetModeFails(BlockingError("getMode", kModeArguments, kDisconnected)));
    QVERIFY(m_Stage->simulator->EndsBy(SIGABRT));
    QTRY_VERIFY_WITH_TIMEOUT(!m_Stage->screen.hmi.IsKivServiceRunning(), kPatience);
    QCOMPARE(m_Stage->screen.hmi.SessionId(), 1u);
    QCOMPARE(m_Stage->screen.hmi.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(Gist(m_Stage->Lines()).mid(6), (QStringList{"request hmi getMode " + kModeArguments,
                                                         "fault crash getMode", "service crashes"}));
    m_Stage->Start();
    Reopen(m_Stage->screen.hmi);
}

void tst_SimulatorFaults::crash_asyncRequests_completeOnceWithFalse()
{
    ReadyAll();
    Arm(R"({"kind":"noAnswer","role":"hmi","times":"always"})");
    Arm(FaultIn("crash", "audioActive"));
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 1u);
    QCOMPARE(m_Stage->screen.hmi.SetModeAsync("Bluetooth"), 2u);
    QVERIFY(m_Stage->control.WaitForCalls("setMode", 1));
    QCOMPARE(m_Stage->music.app.AudioActiveAsync(true), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(
        Sorted(m_Stage->Screen()),
        (QStringList{"SignalGetModeCompleted 1 false", "SignalSetModeCompleted 2 false"}), kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Music(), QStringList{"AudioActiveCompleted(1,false)"}, kPatience);
    QVERIFY(m_Stage->simulator->EndsBy(SIGABRT));
    m_Stage->Start();
    Reopen(m_Stage->screen.hmi);
    Reopen(m_Stage->music.app);
    QVERIFY(m_Stage->music.app.RegisterAudioStream());
}

void tst_SimulatorFaults::stopAnswering_asyncRequests_completeInOrderAfterwards()
{
    ReadyScreen();
    Arm(FaultIn("stopAnswering", "getMode"));
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 1u);
    QCOMPARE(m_Stage->screen.hmi.SetModeAsync("Bluetooth"), 2u);
    QCOMPARE(m_Stage->screen.hmi.GetModeListAsync(QString()), 3u);
    QVERIFY(m_Stage->control.WaitForCalls("getModeList", 2));
    QVERIFY(HandleArrivedEvents(m_Stage->screen.bus));
    QVERIFY(m_Stage->screen.hmi.IsKivServiceRunning());
    QVERIFY(m_Stage->simulator->IsRunning());
    QCOMPARE(m_Stage->Screen(), QStringList());

    QVERIFY(m_Stage->control.Do(R"({"do":"answerAgain"})"));
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen().size(), 4, kPatience);
    QStringList completions = m_Stage->Screen();
    QCOMPARE(completions.removeAll("SignalModeChanged \"Bluetooth\""), 1);
    QCOMPARE(completions, (QStringList{"SignalGetModeCompleted 1 true", "SignalSetModeCompleted 2 true",
                                       "SignalGetModeListCompleted 3 true"}));
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::stopAnswering_blockingRequest_waits()
{
    ReadyScreen();
    const quint32 from = m_Stage->control.LogEnd();
    Arm(R"({"kind":"stopAnswering","method":"getMode","milliseconds":300})");
    QVERIFY(m_Stage->screen.hmi.GetMode(QString()));
    const QStringList lines = m_Stage->control.Log(from);
    QCOMPARE(Gist(lines), (QStringList{"request hmi getMode " + kModeArguments, "fault stopAnswering getMode",
                                       "service stops answering", "service answers again",
                                       R"(answer hmi getMode {"currentMode":["Radio"]})"}));
    QVERIFY(TimeOf(lines, "answer") - TimeOf(lines, "request") >= 300);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::flood_ofCalls_isHandledInOrder()
{
    ReadyScreen();
    QStringList expected{"SignalGetModeCompleted 1 true"};
    for (int number = 1; number <= 5000; ++number) {
        expected.append(QStringLiteral("SignalModeChanged \"flood-%1\"").arg(number));
    }
    Arm(R"({"kind":"flood","method":"getMode","count":5000})");
    QCOMPARE(m_Stage->screen.hmi.GetModeAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen().size(), expected.size(), kPatience);
    QVERIFY(m_Stage->Settle());
    QStringList signalled = m_Stage->Screen();
    QVERIFY(signalled.removeOne(expected.first())); // it can be told late
    QCOMPARE(signalled, expected.mid(1));
    QCOMPARE(m_Stage->screen.hmi.CurrentMode(), "flood-5000");
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::flood_duringABlockingRequest_isHandledAfterwards()
{
    ReadyScreen();
    Arm(R"({"kind":"flood","method":"getMode","count":1000})");
    QVERIFY(m_Stage->screen.hmi.GetMode(QString()));
    QVERIFY(m_Stage->screen.hmi.GetModeList(QString())); // a blocking request in the middle of the flood
    QCOMPARE(m_Stage->Screen(), QStringList());
    QCOMPARE(m_Stage->screen.hmi.CurrentMode(), "Radio");
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->screen.hmi.CurrentMode(), "flood-1000", kPatience);
    QCOMPARE(m_Stage->Screen().size(), 1000);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

void tst_SimulatorFaults::flood_ofBroadcasts_andToApplications_isHandledInOrder()
{
    ReadyAll();
    Arm(R"({"kind":"flood","method":"audioActive","count":1000,"to":"all"})");
    QVERIFY(m_Stage->music.app.AudioActive(true));
    Arm(R"({"kind":"flood","method":"audioActive","count":1000,"to":"app"})");
    QVERIFY(m_Stage->music.app.AudioActive(true));
    QStringList broadcasts;
    QStringList changes;
    for (int number = 1; number <= 1000; ++number) {
        broadcasts.append(
            QStringLiteral(R"(SignalAudioFocusChange "flood-%1" "" "permanent" "" "all" "gained")")
                .arg(number));
        changes.append(QStringLiteral("AudioFocusChanged(flood-%1)").arg(number));
    }
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Screen().size(), 1000, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(m_Stage->Music().size(), 1000, kPatience);
    QCOMPARE(m_Stage->Screen(), broadcasts);
    QCOMPARE(m_Stage->Music(), changes);
    QCOMPARE(m_Stage->log.Complaints(), Records());
}

KIV_BUS_TEST_MAIN(tst_SimulatorFaults)
#include "tst_SimulatorFaults.moc"
