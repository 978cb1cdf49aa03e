// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "FakeService.h"
#include "HmiSignals.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QDBusError>
#include <QPointer>
#include <QSet>

#include <functional>
#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

using Records = QVector<LogRecord>;

namespace {

const QString kObjectPath = kClientPath + "/ServiceProviderClient";
const QString kOpenSession = R"(openSession {"busName":"com.quorvantel.audioclient.test","objectPath":)"
                             R"("/com/quorvantel/audioclient/test/ServiceProviderClient"})";
const QString kOpenKitchenSession =
    R"(openSession {"busName":"com.quorvantel.audioclient.test","destination":"kitchen","objectPath":)"
    R"("/com/quorvantel/audioclient/test/ServiceProviderClient"})";
const QString kQueryAll = R"({"destination":"all","sessionId":7})";
const QString kGetModeList = "getModeList " + kQueryAll;
const QString kGetMode = "getMode " + kQueryAll;
const QString kCloseSession = R"(closeSession {"sessionId":7})";
const QStringList kBeginning{kOpenSession, kGetModeList, kGetMode};

const QString kFocusEvent = R"({"streamName":"s","streamModeName":"m","focusType":"f","streamType":"t",)"
                            R"("destination":"d","newFocus":"%1"})";

QString FocusSignal(const QString& newFocus)
{
    return QString(R"(SignalAudioFocusChange "s" "m" "f" "t" "d" "%1")").arg(newFocus);
}

QStringList Sorted(QStringList texts)
{
    texts.sort();
    return texts;
}

/** Written at every successful first registration of a bus name. */
const LogRecord kRegistered =
    Warning("ServiceRegistrator::ServiceRegistrator -- register count is less than 1 for service: "
            "\"com.quorvantel.audioclient.test\"");
const LogRecord kNotPoweredDown = Debug("KivBaseClient::Powerdown was not called before destructor!");
const LogRecord kListFailed = Critical("AudioManagerHmi::GetModeList -- GetModeList call failed");
const LogRecord kModeFailed = Critical("AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server");

LogRecord OtherSession(quint32 number)
{
    return Critical(QString("AudioManagerHmi::HandleRequest -- Error - Received non-matching session id: %1")
                        .arg(number));
}

LogRecord BusError(const QString& text)
{
    return Critical(Streamed("ConcreteServiceProviderProxy::Request -- D-Bus error:", text));
}

std::unique_ptr<FakeService> MakeService()
{
    auto service = std::make_unique<FakeService>();
    service->Answer("openSession", R"({"sessionId":7})");
    service->Answer("getModeList", R"({"modeList":["A","B"]})");
    service->Answer("getMode", R"({"currentMode":["A"]})");
    return service;
}

/** An HMI on the bus that asks for the modes, and its service. The test may delete the client. */
struct Life
{
    explicit Life(const QString& destination = QString())
        : hmi(new OpenedHmi(registrator, kClientPath, connection, destination, factory, true)),
          heard(hmi)
    {
    }

    ~Life()
    {
        if (!hmi.isNull()) {
            hmi->Powerdown();
            delete hmi.data();
        }
    }

    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

    /** Has the service appear first, and initialises the client then. */
    bool StartEarly()
    {
        service->Appear();
        return Start() == KivBaseClient::INIT_STATE_SUCCESS;
    }

    KivBaseClient::InitState Start() { return hmi->Initialize(); }

    /** Has the client wait for the service. */
    bool StartLate()
    {
        if (Start() != KivBaseClient::INIT_STATE_WAITING_FOR_KIV) {
            return false;
        }
        service->Appear();
        return WaitForSignals(1);
    }

    bool WaitForSignals(int count)
    {
        return QTest::qWaitFor([&] { return heard.List().size() >= count; }, 30000);
    }

    /** The answer to a call of the service on the client's object, or the name of the error. */
    QString Call(const QString& methodName, const QString& arguments) const
    {
        const QDBusMessage answer = service->CallClient(kClientName, kObjectPath, methodName, arguments);
        return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toString()
                                                           : answer.errorName();
    }

    /** Has the service call an object that nobody exports: what it did before has arrived then. */
    bool WaitForSilence() const
    {
        const QDBusMessage answer = service->CallClient(bus.baseService(), "/nowhere", "", "");
        return answer.errorName() == QLatin1String("org.freedesktop.DBus.Error.UnknownObject");
    }

    /** The requests that the service received, each with its arguments. */
    QStringList Requests() const
    {
        QStringList requests;
        for (const ServiceCall& call : service->Calls()) {
            requests.append(call.methodName + ' ' + call.arguments);
        }
        return requests;
    }

    /** What is complained of besides the registration of the client's bus name, Qt's own complaints aside. */
    Records OtherComplaints() const
    {
        Records complaints;
        for (const LogRecord& record : log.Complaints()) {
            if (!record.text.startsWith(QLatin1String("QDBusConnection: "))) {
                complaints.append(record);
            }
        }
        return complaints.removeOne(kRegistered) ? complaints : Records{Critical("no registration")};
    }

    LogCapture log;
    std::unique_ptr<FakeService> service = MakeService();
    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyHmiFactory factory;
    QPointer<OpenedHmi> hmi;
    HmiSignals heard;
};

void AddStarts()
{
    QTest::addColumn<bool>("isEarly");
    QTest::newRow("early") << true;
    QTest::newRow("late") << false;
}

/** What the service does, and the one signal that tells of it. */
void AddHappenings()
{
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("signal");
    QTest::newRow("mode change") << "onModeChange"
                                 << R"({"sessionId":7,"activeMode":"B"})"
                                 << R"(SignalModeChanged "B")";
    QTest::newRow("mode added") << "onModeListChange"
                                << R"({"sessionId":7,"action":"add","mode":"X"})"
                                << R"(SignalModeListChanged true "X")";
    QTest::newRow("mode removed") << "onModeListChange"
                                  << R"({"sessionId":7,"action":"remove","mode":"A"})"
                                  << R"(SignalModeListChanged false "A")";
    QTest::newRow("focus change") << "audioFocusChangeEvent" << kFocusEvent.arg("lost")
                                  << FocusSignal("lost");
}

} // namespace

class tst_HmiLife : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void start_learnsTheModes_data() { AddStarts(); }
    void start_learnsTheModes();
    void start_withDestination_asksForIt();
    void start_garbageAnswers_knowsNoModes();
    void start_listFails_doesNotAskForTheMode_data();
    void start_listFails_doesNotAskForTheMode();
    void start_modeFails_fails_data() { AddStarts(); }
    void start_modeFails_fails();
    void start_answerOfAnotherType_fails();

    void life_fromStartToPowerdown();
    void storedMode_isSetWhenAdded();
    void storedMode_fails_isSentAgain();
    void requests_goToTheHmiObjectFromOneConnection();
    void queries_changedModes_areLearned();
    void focus_fromTheHmiObjectOnly();
    void inbound_garbage_isAnsweredAndIgnored_data();
    void inbound_garbage_isAnsweredAndIgnored();
    void notification_garbage_isIgnored();
    void service_leavesWithRequestsInFlight();
    void service_comesBack_isUsedAgain();

    void powerdown_isDeafAfterwards();
    void destroyed_withoutPowerdown();
    void destroyed_withRequestsInFlight();
    void slot_deletesTheClient_data() { AddHappenings(); }
    void slot_deletesTheClient();
    void slot_powersTheClientDown_data() { AddHappenings(); }
    void slot_powersTheClientDown();
    void completionSlot_deletesTheClient();
    void completionSlot_powersTheClientDown();

private:
    static void Trigger(const Life& life);
    static void OnAnySignal(OpenedHmi* hmi, const std::function<void()>& action);
};

/** Has the service do what the row says. */
void tst_HmiLife::Trigger(const Life& life)
{
    QFETCH(QString, methodName);
    QFETCH(QString, arguments);
    if (methodName == QLatin1String("audioFocusChangeEvent")) {
        life.service->Notify(kHmiPath, methodName, arguments);
    } else {
        QCOMPARE(life.Call(methodName, arguments), "{}");
    }
}

void tst_HmiLife::OnAnySignal(OpenedHmi* hmi, const std::function<void()>& action)
{
    connect(hmi, &AudioManagerHmi::SignalModeChanged, action);
    connect(hmi, &AudioManagerHmi::SignalModeListChanged, action);
    connect(hmi, &AudioManagerHmi::SignalAudioFocusChange, action);
    connect(hmi, &AudioManagerHmi::SignalSetModeCompleted, action);
}

// Start

void tst_HmiLife::start_learnsTheModes()
{
    QFETCH(bool, isEarly);
    Life f;
    QVERIFY(isEarly ? f.StartEarly() : f.StartLate());
    QCOMPARE(f.heard.List(), isEarly ? QStringList() : QStringList{"SignalInitCompleted 3"});
    QCOMPARE(f.hmi->CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(f.hmi->SessionId(), 7u);
    QCOMPARE(f.hmi->ModeList(), (QStringList{"A", "B"}));
    QCOMPARE(f.hmi->CurrentMode(), "A");
    QCOMPARE(f.Requests(), kBeginning);
    QCOMPARE(f.OtherComplaints(), Records{});
}

void tst_HmiLife::start_withDestination_asksForIt()
{
    Life f("kitchen");
    QVERIFY(f.StartEarly());
    QCOMPARE(f.Requests(),
             (QStringList{kOpenKitchenSession, R"(getModeList {"destination":"kitchen","sessionId":7})",
                          R"(getMode {"destination":"kitchen","sessionId":7})"}));
}

void tst_HmiLife::start_garbageAnswers_knowsNoModes()
{
    Life f;
    f.service->Answer("getModeList", "modes?");
    f.service->Answer("getMode", "");
    QVERIFY(f.StartEarly());
    QCOMPARE(f.hmi->ModeList(), QStringList());
    QCOMPARE(f.hmi->CurrentMode(), "");
    QCOMPARE(f.Requests(), kBeginning);
    QCOMPARE(f.OtherComplaints(), Records{});
}

void tst_HmiLife::start_listFails_doesNotAskForTheMode_data()
{
    QTest::addColumn<bool>("isEarly");
    QTest::addColumn<bool>("isBusError");
    QTest::newRow("early, D-Bus error") << true << true;
    QTest::newRow("early, errCode") << true << false;
    QTest::newRow("late, D-Bus error") << false << true;
    QTest::newRow("late, errCode") << false << false;
}

void tst_HmiLife::start_listFails_doesNotAskForTheMode()
{
    QFETCH(bool, isEarly);
    QFETCH(bool, isBusError);
    Life f;
    const QString refusal = R"({"errCode":5})";
    LogRecord complaint = BusError("no list");
    if (isBusError) {
        f.service->Fail("getModeList", "com.example.Refused", "no list");
    } else {
        f.service->Answer("getModeList", refusal);
        complaint =
            Critical(Streamed("ConcreteServiceProviderProxy::Request -- Error:", QString("getModeList"),
                              kQueryAll, "Result:", refusal));
    }

    QCOMPARE(isEarly ? f.StartEarly() : !f.StartLate(), false);

    QCOMPARE(f.hmi->CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(f.heard.List(), isEarly ? QStringList() : QStringList{"SignalInitCompleted 2"});
    QCOMPARE(f.Requests(), (QStringList{kOpenSession, kGetModeList}));
    const QString result = isBusError ? QString("{ \"errCode\" : 0 }") : refusal;
    QCOMPARE(f.OtherComplaints(),
             (Records{complaint, RequestFails("getModeList", kQueryAll, result), kListFailed}));
    QVERIFY(f.log.Contains(Debug("ServiceProviderClient::HandleInitializeProxy -- FAILED")));
}

void tst_HmiLife::start_modeFails_fails()
{
    QFETCH(bool, isEarly);
    Life f;
    f.service->Fail("getMode", "com.example.Refused", "no mode");

    QCOMPARE(isEarly ? f.StartEarly() : !f.StartLate(), false);

    QCOMPARE(f.hmi->CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(f.heard.List(), isEarly ? QStringList() : QStringList{"SignalInitCompleted 2"});
    QCOMPARE(f.hmi->ModeList(), (QStringList{"A", "B"}));
    QVERIFY(f.hmi->CurrentMode().isNull());
    QCOMPARE(f.Requests(), kBeginning);
    QCOMPARE(f.OtherComplaints(),
             (Records{BusError("no mode"), RequestFails("getMode", kQueryAll, "{ \"errCode\" : 0 }"),
                      kModeFailed}));
}

void tst_HmiLife::start_answerOfAnotherType_fails()
{
    Life f;
    f.service->AnswerWithWrongSignature("getMode");
    QVERIFY(!f.StartEarly());
    QCOMPARE(f.Requests(), kBeginning);
    QCOMPARE(f.OtherComplaints(),
             (Records{BusError("Unexpected reply signature: got \"as\", expected \"s\""),
                      RequestFails("getMode", kQueryAll, "{ \"errCode\" : 0 }"), kModeFailed}));
}

// Run

void tst_HmiLife::life_fromStartToPowerdown()
{
    Life f;
    QVERIFY(f.StartLate());
    f.service->Answer("getMode", R"({"currentMode":["B"]})");

    QCOMPARE(f.hmi->SetModeAsync("X"), 1u); // not listed yet
    QCOMPARE(f.hmi->SetModeAsync("B"), 2u);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.Call("onModeChange", R"({"sessionId":7,"activeMode":"B"})"), "{}");
    QCOMPARE(f.hmi->CurrentMode(), "B");
    QCOMPARE(f.Call("onModeListChange", R"({"sessionId":7,"action":"add","mode":"X"})"), "{}");
    QVERIFY(f.WaitForSignals(5));
    QCOMPARE(f.Call("onModeChange", R"({"sessionId":7,"activeMode":"X"})"), "{}");
    QCOMPARE(f.hmi->GetModeListAsync("kitchen"), 3u);
    QVERIFY(f.WaitForSignals(7));
    QCOMPARE(f.hmi->GetModeAsync(""), 4u);
    QVERIFY(f.WaitForSignals(8));
    QVERIFY(f.hmi->SetMode("A"));
    QCOMPARE(f.Call("onModeListChange", R"({"sessionId":7,"action":"remove","mode":"B"})"), "{}");
    f.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent.arg("gained"));
    QVERIFY(f.WaitForSignals(10));
    f.hmi->Powerdown();

    QCOMPARE(f.heard.List(),
             (QStringList{"SignalInitCompleted 3", "SignalSetModeCompleted 2 true",
                          R"(SignalModeChanged "B")", R"(SignalModeListChanged true "X")",
                          "SignalSetModeCompleted 1 true", R"(SignalModeChanged "X")",
                          "SignalGetModeListCompleted 3 true", "SignalGetModeCompleted 4 true",
                          R"(SignalModeListChanged false "B")", FocusSignal("gained")}));
    QCOMPARE(f.Requests(),
             kBeginning + (QStringList{R"(setMode {"newMode":"B","sessionId":7})",
                                       R"(setMode {"newMode":"X","sessionId":7})",
                                       R"(getModeList {"destination":"kitchen","sessionId":7})", kGetMode,
                                       R"(setMode {"newMode":"A","sessionId":7})", kCloseSession}));
    QCOMPARE(f.hmi->ModeList(), QStringList{"A"});
    QCOMPARE(f.hmi->CurrentMode(), "B");
    QCOMPARE(f.hmi->PendingSetModeRequestId(), 0u);
    QCOMPARE(f.hmi->SessionId(), 0u);
    QCOMPARE(f.hmi->CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(f.OtherComplaints(), Records{});
}

void tst_HmiLife::storedMode_isSetWhenAdded()
{
    Life f;
    QVERIFY(f.StartEarly());
    f.service->Hold("setMode");
    QCOMPARE(f.hmi->SetModeAsync("X"), 1u);
    QCOMPARE(f.Call("onModeListChange", R"({"sessionId":7,"action":"add","mode":"Y"})"), "{}");
    QCOMPARE(f.Requests(), kBeginning);
    QCOMPARE(f.Call("onModeListChange", R"({"sessionId":7,"action":"add","mode":"X"})"), "{}");
    QVERIFY(f.service->WaitForCalls("setMode", 1));
    QCOMPARE(f.heard.List(),
             (QStringList{R"(SignalModeListChanged true "Y")", R"(SignalModeListChanged true "X")"}));
    QCOMPARE(f.hmi->PendingMode(), "X");

    f.service->Release("setMode");
    QVERIFY(f.WaitForSignals(3));

    QCOMPARE(f.heard.List().last(), "SignalSetModeCompleted 1 true");
    QVERIFY(f.hmi->PendingMode().isNull());
    QCOMPARE(f.hmi->PendingSetModeRequestId(), 0u);
    QCOMPARE(f.hmi->CurrentMode(), "A");
    QCOMPARE(f.Requests(), kBeginning + QStringList{R"(setMode {"newMode":"X","sessionId":7})"});
    QCOMPARE(f.OtherComplaints(), Records{});
}

void tst_HmiLife::storedMode_fails_isSentAgain()
{
    Life f;
    QVERIFY(f.StartEarly());
    f.service->Answer("setMode", R"({"errCode":3})");
    const QString added = R"({"sessionId":7,"action":"add","mode":"X"})";
    QCOMPARE(f.hmi->SetModeAsync("X"), 1u);
    QCOMPARE(f.Call("onModeListChange", added), "{}");
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.hmi->PendingSetModeRequestId(), 1u);
    f.service->Answer("setMode", "{}");
    QCOMPARE(f.Call("onModeListChange", added), "{}");
    QVERIFY(f.WaitForSignals(4));

    QCOMPARE(f.heard.List(),
             (QStringList{R"(SignalModeListChanged true "X")", "SignalSetModeCompleted 1 false",
                          R"(SignalModeListChanged true "X")", "SignalSetModeCompleted 1 true"}));
    const QString setX = R"(setMode {"newMode":"X","sessionId":7})";
    QCOMPARE(f.Requests(), kBeginning + (QStringList{setX, setX}));
    QCOMPARE(f.OtherComplaints(),
             (Records{Critical("KivBaseClient::HandleReply -- Received error code: QVariant(int, 3)"),
                      Warning("AudioManagerHmi::HandleSetModeReply -- Request 1 failed with reply "
                              "QMap((\"errCode\", QVariant(int, 3)))")}));
}

void tst_HmiLife::requests_goToTheHmiObjectFromOneConnection()
{
    Life f;
    QVERIFY(f.StartEarly());
    QCOMPARE(f.hmi->GetModeAsync(""), 1u);
    QVERIFY(f.WaitForSignals(1));
    f.hmi->Powerdown();
    QSet<QString> paths;
    QSet<QString> senders;
    for (const ServiceCall& call : f.service->Calls()) {
        paths.insert(call.path);
        senders.insert(call.sender);
    }
    QCOMPARE(f.Requests(), kBeginning + (QStringList{kGetMode, kCloseSession}));
    QCOMPARE(paths, QSet<QString>{kHmiPath});
    QCOMPARE(senders, QSet<QString>{f.bus.baseService()});
}

void tst_HmiLife::queries_changedModes_areLearned()
{
    Life f;
    QVERIFY(f.StartEarly());
    f.service->Answer("getModeList", R"({"zone2":["D"],"zone1":["C"]})");
    f.service->Answer("getMode", R"({"currentMode":["D"]})");

    QVERIFY(f.hmi->GetModeList(""));
    QCOMPARE(f.hmi->ModeList(), (QStringList{"C", "D"}));
    QVERIFY(f.hmi->GetMode(""));
    QCOMPARE(f.hmi->CurrentMode(), "A"); // blocking queries accumulate
    QCOMPARE(f.hmi->GetModeAsync(""), 1u);
    QVERIFY(f.WaitForSignals(1));
    QCOMPARE(f.hmi->CurrentMode(), "D");
    QCOMPARE(f.heard.List(), QStringList{"SignalGetModeCompleted 1 true"});
}

void tst_HmiLife::focus_fromTheHmiObjectOnly()
{
    Life f;
    QVERIFY(f.StartEarly());
    f.service->Notify(kAppPath, "audioFocusChangeEvent", kFocusEvent.arg("lost"));
    f.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent.arg("gained"));
    QVERIFY(f.WaitForSignals(1));
    f.service->Notify(kAppPath, "audioFocusChangeEvent", kFocusEvent.arg("lost"));
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList{FocusSignal("gained")});
    QCOMPARE(f.Requests(), kBeginning);
    QCOMPARE(f.log.Count(Debug(Streamed("KivBaseClient::Notification", QString("audioFocusChangeEvent"),
                                        kFocusEvent.arg("gained")))),
             1);
    QCOMPARE(f.OtherComplaints(), Records{});
}

void tst_HmiLife::inbound_garbage_isAnsweredAndIgnored_data()
{
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("complaint");
    const QString otherSession =
        "AudioManagerHmi::HandleRequest -- Error - Received non-matching session id: ";
    QTest::newRow("no JSON") << "onModeChange"
                             << "activeMode=B" << otherSession + "0";
    QTest::newRow("empty") << ""
                           << "" << otherSession + "0";
    QTest::newRow("other session") << "onModeListChange"
                                   << R"({"sessionId":6,"action":"add","mode":"X"})" << otherSession + "6";
    QTest::newRow("unknown method")
        << "onNothing"
        << R"({"sessionId":7})"
        << R"(AudioManagerHmi::HandleRequest -- Error - Received invalid method name: "onNothing")";
    QTest::newRow("no mode") << "onModeChange"
                             << R"({"sessionId":7})"
                             << R"(AudioManagerHmi::HandleModeChanged -- Kiv Audio manager error: )"
                                R"("onModeChange" missing "activeMode" - Current mode: "A")";
    QTest::newRow("no action")
        << "onModeListChange"
        << R"({"sessionId":7,"mode":"X"})"
        << R"(AudioManagerHmi::HandleModeListChanged -- Error: "onModeListChange" missing parameters!)";
}

void tst_HmiLife::inbound_garbage_isAnsweredAndIgnored()
{
    QFETCH(QString, methodName);
    QFETCH(QString, arguments);
    QFETCH(QString, complaint);
    Life f;
    QVERIFY(f.StartEarly());
    QCOMPARE(f.Call(methodName, arguments), "{}");
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->ModeList(), (QStringList{"A", "B"}));
    QCOMPARE(f.hmi->CurrentMode(), "A");
    QCOMPARE(f.Requests(), kBeginning);
    QVERIFY(f.log.Contains(
        Debug(Streamed("ServiceProviderClient::Request", kObjectPath, methodName, arguments))));
    QCOMPARE(f.OtherComplaints(), Records{Critical(complaint)});
}

void tst_HmiLife::notification_garbage_isIgnored()
{
    Life f;
    QVERIFY(f.StartEarly());
    f.service->Notify(kHmiPath, "audioFocusChangeEvent", "no JSON");
    f.service->Notify(kHmiPath, "audioFocusChangeEvent", R"({"streamName":"s"})");
    f.service->Notify(kHmiPath, "", "");
    f.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent.arg("lost"));
    QVERIFY(f.WaitForSignals(1));
    QCOMPARE(f.heard.List(), QStringList{FocusSignal("lost")});
    QCOMPARE(f.OtherComplaints(),
             Records{Critical("AudioManagerHmi::HandleNotify -- Audio manager error: Sending wrong method "
                              "\"\"")});
}

void tst_HmiLife::service_leavesWithRequestsInFlight()
{
    Life f;
    QVERIFY(f.StartEarly());
    for (const QString& methodName : {QString("setMode"), QString("getModeList"), QString("getMode")}) {
        f.service->Hold(methodName);
    }
    QCOMPARE(f.hmi->SetModeAsync("B"), 1u);
    QCOMPARE(f.hmi->GetModeListAsync(""), 2u);
    QCOMPARE(f.hmi->GetModeAsync(""), 3u);
    QVERIFY(f.service->WaitForCalls("getMode", 2));
    QCOMPARE(f.heard.List(), QStringList());

    f.service = MakeService();
    QVERIFY(f.WaitForSignals(3));
    QVERIFY(f.WaitForSilence());

    // The bus fails them in an order of its own.
    QCOMPARE(Sorted(f.heard.List()),
             (QStringList{"SignalGetModeCompleted 3 false", "SignalGetModeListCompleted 2 false",
                          "SignalSetModeCompleted 1 false"}));
    QCOMPARE(f.hmi->ModeList(), (QStringList{"A", "B"}));
    QCOMPARE(f.hmi->CurrentMode(), "A");
    QCOMPARE(f.hmi->SessionId(), 7u);
    QCOMPARE(f.hmi->CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    const LogRecord received =
        Critical("KivBaseClient::HandleReply -- Received error: QDBusError(\"org.freedesktop.DBus.Error."
                 "NoReply\", \"Message recipient disconnected from message bus without replying\")");
    const QString failed = "AudioManagerHmi::HandleSetModeReply -- Request%1 failed with reply QMap()";
    QCOMPARE(f.log.Count(received), 3);
    QCOMPARE(f.log.Count(Warning(failed.arg(" 1"))), 1);
    QCOMPARE(f.log.Count(Warning(failed.arg(""))), 2);
    QCOMPARE(f.OtherComplaints().size(), 6);
    QTRY_VERIFY(f.log.Contains(Debug("KivBaseClient::OnOwnerChanged -- KIv service removed from DBus")));
}

void tst_HmiLife::service_comesBack_isUsedAgain()
{
    Life f;
    QVERIFY(f.StartEarly());
    const LogRecord registered = Debug("KivBaseClient::OnOwnerChanged -- KIv service registered with DBus");
    QTRY_COMPARE(f.log.Count(registered), 1);
    f.service = MakeService();
    f.service->Appear();
    QTRY_COMPARE(f.log.Count(registered), 2);

    QCOMPARE(f.hmi->GetModeAsync(""), 1u);
    QVERIFY(f.WaitForSignals(1));
    f.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent.arg("lost"));
    QVERIFY(f.WaitForSignals(2));

    QCOMPARE(f.heard.List(), (QStringList{"SignalGetModeCompleted 1 true", FocusSignal("lost")}));
    QCOMPARE(f.Requests(), QStringList{kGetMode}); // nothing is initialised again
    QCOMPARE(f.OtherComplaints(), Records{});
}

// End

void tst_HmiLife::powerdown_isDeafAfterwards()
{
    Life f;
    QVERIFY(f.StartEarly());
    f.hmi->Powerdown();
    f.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent.arg("lost"));
    QCOMPARE(f.Call("onModeChange", R"({"sessionId":7,"activeMode":"B"})"), "{}"); // still exported
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.hmi->CurrentMode(), "A");
    f.hmi->Powerdown();
    QCOMPARE(f.Requests(), kBeginning + QStringList{kCloseSession});
    QCOMPARE(f.OtherComplaints(), Records{OtherSession(7)});
}

void tst_HmiLife::destroyed_withoutPowerdown()
{
    Life f;
    QVERIFY(f.StartEarly());
    delete f.hmi.data();
    QCOMPARE(f.log.Records().last(), kNotPoweredDown);
    f.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent.arg("lost"));
    QCOMPARE(f.Call("onModeChange", R"({"sessionId":7,"activeMode":"B"})"),
             "org.freedesktop.DBus.Error.UnknownObject");
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.Requests(), kBeginning); // no "closeSession"
    QCOMPARE(f.log.Records().last(), kNotPoweredDown);
    QCOMPARE(f.OtherComplaints(), Records{});
}

void tst_HmiLife::destroyed_withRequestsInFlight()
{
    Life f;
    QVERIFY(f.StartEarly());
    f.service->Hold("setMode");
    QCOMPARE(f.hmi->SetModeAsync("B"), 1u);
    QVERIFY(f.service->WaitForCalls("setMode", 1));
    delete f.hmi.data();
    f.service->Release("setMode");
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.log.Records().last(), kNotPoweredDown);
    QCOMPARE(f.OtherComplaints(), Records{});
}

void tst_HmiLife::slot_deletesTheClient()
{
    QFETCH(QString, signal);
    Life f;
    QVERIFY(f.StartEarly());
    OnAnySignal(f.hmi, [&f] { delete f.hmi.data(); });
    Trigger(f);
    QVERIFY(f.WaitForSignals(1));
    QVERIFY(f.hmi.isNull());
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList{signal});
    QCOMPARE(f.Requests(), kBeginning);
    QCOMPARE(f.log.Records().last(), kNotPoweredDown);
    QCOMPARE(f.OtherComplaints(), Records{});
    QCOMPARE(f.Call("onModeChange", "{}"), "org.freedesktop.DBus.Error.UnknownObject");
}

void tst_HmiLife::slot_powersTheClientDown()
{
    QFETCH(QString, signal);
    Life f;
    QVERIFY(f.StartEarly());
    OnAnySignal(f.hmi, [&f] { f.hmi->Powerdown(); });
    Trigger(f);
    QVERIFY(f.WaitForSignals(1));
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList{signal});
    QCOMPARE(f.hmi->SessionId(), 0u);
    QVERIFY(f.hmi->m_ServiceProxy == nullptr);
    QCOMPARE(f.Requests(), kBeginning + QStringList{kCloseSession});
    QCOMPARE(f.OtherComplaints(), Records{});
    QCOMPARE(f.Call("onModeChange", R"({"sessionId":7})"), "{}");
}

void tst_HmiLife::completionSlot_deletesTheClient()
{
    Life f;
    QVERIFY(f.StartEarly());
    OnAnySignal(f.hmi, [&f] { delete f.hmi.data(); });
    QCOMPARE(f.hmi->SetModeAsync("B"), 1u);
    QCOMPARE(f.hmi->GetModeAsync(""), 2u);
    QVERIFY(f.WaitForSignals(1));
    QVERIFY(f.hmi.isNull());
    QVERIFY(f.service->WaitForCalls("getMode", 2));
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 1 true"});
    QCOMPARE(f.OtherComplaints(), Records{});
}

void tst_HmiLife::completionSlot_powersTheClientDown()
{
    Life f;
    QVERIFY(f.StartEarly());
    OnAnySignal(f.hmi, [&f] { f.hmi->Powerdown(); });
    QCOMPARE(f.hmi->SetModeAsync("B"), 1u);
    QCOMPARE(f.hmi->GetModeAsync(""), 2u);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(Sorted(f.heard.List()),
             (QStringList{"SignalGetModeCompleted 2 true", "SignalSetModeCompleted 1 true"}));
    QCOMPARE(f.Requests(),
             kBeginning + (QStringList{R"(setMode {"newMode":"B","sessionId":7})", kGetMode, kCloseSession}));
    QCOMPARE(f.OtherComplaints(), Records{});
}

KIV_BUS_TEST_MAIN(tst_HmiLife)
#include "tst_HmiLife.moc"
