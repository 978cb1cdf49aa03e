// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "SimulatorControl.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>

#include <csignal>
#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kInvalid = "org.freedesktop.DBus.Error.InvalidArgs: ";
const QString kImpossible = "com.kiv.AudioSimulator.Error.Impossible: ";
const QString kTimeout = "com.kiv.AudioSimulator.Error.Timeout: it has not happened within the given time";

/** The methods of the control interface in an introspection text: "Name(s in, u out)". */
QStringList Methods(const QByteArray& xml)
{
    QXmlStreamReader reader(xml);
    QStringList methods;
    bool isControl = false;
    while (!reader.atEnd()) {
        reader.readNext();
        const QXmlStreamAttributes attributes = reader.attributes();
        if (!reader.isStartElement()) {
            continue;
        }
        if (reader.name() == QLatin1String("interface")) {
            isControl = attributes.value("name") == QLatin1String("com.kiv.AudioSimulator.Control");
        } else if (isControl && reader.name() == QLatin1String("method")) {
            methods.append(attributes.value("name").toString());
        } else if (isControl && reader.name() == QLatin1String("arg")) {
            methods.last() +=
                QStringLiteral(" %1:%2:%3")
                    .arg(attributes.value("name"), attributes.value("type"), attributes.value("direction"));
        }
    }
    return methods;
}

/** The names that a complaint lists after "one of". */
QStringList NamesIn(const QString& complaint)
{
    QStringList names;
    auto matches = QRegularExpression("\"([A-Za-z]+)\"").globalMatch(complaint.section("one of ", 1));
    while (matches.hasNext()) {
        names.append(matches.next().captured(1));
    }
    return names;
}

} // namespace

/** The control interface of the simulator. */
class tst_SimulatorControl : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void introspection_isTheInterfaceFile();
    void modes_areAddedPressedAndRemoved();
    void streams_competeForTheFocus();
    void whatCannotBeDone_isImpossible_data();
    void whatCannotBeDone_isImpossible();
    void whatDoesNotFollowTheFormat_isInvalid_data();
    void whatDoesNotFollowTheFormat_isInvalid();
    void faults_areArmedAndDisarmed();
    void faults_thatFollowAnAnswer_followALateOneToo_data();
    void faults_thatFollowAnAnswer_followALateOneToo();
    void doStep_everyAction_isDoneAtOnce_data();
    void doStep_everyAction_isDoneAtOnce();
    void doStep_everyAction_hasARow();
    void doStep_crash_endsTheProcess();
    void doStep_restart_dropsTheAnswersStillToCome();
    void doStep_stopAnsweringForGood_endsAnEarlierTime();
    void addStep_waitsForItsCalls();
    void loadScenario_everyMember_isPlayed();
    void loadScenario_wrongText_changesNothing();
    void loadScenario_nameTaken_isImpossible();
    void reset_playsAnew();
    void waitForCalls_isAnsweredInTime();
    void waitForSteps_isAnsweredInTime();
    void readLog_givesExactLines();
    void readLog_longLog_comesInParts();
    void control_isThere_whileTheServiceIsNot_data();
    void control_isThere_whileTheServiceIsNot();

private:
    static QString Send(const QString& method, const QString& arguments, const QString& path = kHmiPath);

    std::unique_ptr<SimulatorProcess> m_Simulator;
    std::unique_ptr<SimulatorControl> m_Control;
};

void tst_SimulatorControl::init()
{
    m_Simulator = std::make_unique<SimulatorProcess>(QStringList());
    QVERIFY(m_Simulator->WaitUntilReady());
    m_Control = std::make_unique<SimulatorControl>();
}

void tst_SimulatorControl::cleanup()
{
    m_Control.reset();
    m_Simulator.reset();
    HandleArrivedEvents(QDBusConnection::systemBus());
}

QString tst_SimulatorControl::Send(const QString& method, const QString& arguments, const QString& path)
{
    QDBusMessage call = QDBusMessage::createMethodCall(kServiceName, path, kInterfaceName, "Request");
    call.setArguments({method, arguments});
    return QDBusReply<QString>(QDBusConnection::systemBus().call(call)).value();
}

void tst_SimulatorControl::introspection_isTheInterfaceFile()
{
    QFile file(KIV_CONTROL_INTERFACE);
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QStringList expected = Methods(file.readAll());
    QCOMPARE(expected.size(), 15);
    QCOMPARE(Methods(m_Control->Introspect().toUtf8()), expected);
}

void tst_SimulatorControl::modes_areAddedPressedAndRemoved()
{
    HmiClient screen("/hmi");
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(m_Control->Tell("AddMode", {"Tape", ""}));
    QTRY_COMPARE_WITH_TIMEOUT(screen.hmi.ModeList(), (QStringList{"Radio", "Bluetooth", "Tape"}), kPatience);
    QVERIFY(m_Control->Tell("PressMode", {"Tape", "Cabin"}));
    QTRY_COMPARE_WITH_TIMEOUT(screen.hmi.CurrentMode(), "Tape", kPatience);
    QVERIFY(m_Control->Tell("RemoveMode", {"Tape", ""}));
    QTRY_COMPARE_WITH_TIMEOUT(screen.hmi.CurrentMode(), "Radio", kPatience);
    QCOMPARE(screen.hmi.ModeList(), (QStringList{"Radio", "Bluetooth"}));
    screen.hmi.Powerdown();
}

void tst_SimulatorControl::streams_competeForTheFocus()
{
    AppClient music("/music", "Music", true);
    QVERIFY(music.Initialize());
    QVERIFY(music.app.RequestAudioFocus());
    QVERIFY(m_Control->Tell("StartStream", {"Call", "Phone", "transient"}));
    QVERIFY(m_Control->Tell("StopStream", {"Call"}));
    QVERIFY(m_Control->Tell("StartStream", {"News", "Media", "permanent"}));
    QTRY_COMPARE_WITH_TIMEOUT(
        music.heard,
        (QStringList{"result granted", "changed temporarilyLost", "changed gained", "changed lost"}),
        kPatience);
    music.app.Powerdown();
}

void tst_SimulatorControl::whatCannotBeDone_isImpossible_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QVariantList>("arguments");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* method, const QVariantList& arguments, const char* complaint) {
        QTest::newRow(qPrintable(QString("%1 %2").arg(method).arg(arguments.value(0).toString())))
            << QString(method) << arguments << QString(complaint);
    };
    row("AddMode", {"", ""}, R"(parameter "mode" is empty)");
    row("RemoveMode", {"Tape", ""}, R"(mode "Tape" is not offered by the device itself)");
    row("PressMode", {"Radio", "Rear"}, R"(there is no destination "Rear")");
    row("StopStream", {"Call"}, R"(the device has no stream "Call")");
    row("StartStream", {"Call", "Phone", "long"},
        R"(parameter "focusType" is neither "permanent" nor "transient")");
    row("DisarmFault", {1u}, "no fault 1 waits");
    row("Do", {R"({"do":"return"})"}, "the service has its bus name already");
    row("Do", {R"({"do":"answerAgain"})"}, "the service answers already");
    row("Do", {R"({"do":"send","to":"hmi","name":"x"})"}, "nobody to send it to");
}

void tst_SimulatorControl::whatCannotBeDone_isImpossible()
{
    QFETCH(QString, method);
    QFETCH(QVariantList, arguments);
    QFETCH(QString, complaint);
    QVERIFY(!m_Control->Tell(method, arguments));
    QCOMPARE(m_Control->Error(), kImpossible + complaint);
}

void tst_SimulatorControl::whatDoesNotFollowTheFormat_isInvalid_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* name, const char* method, const char* text, const char* complaint) {
        QTest::newRow(name) << QString(method) << QString(text) << QString(complaint);
    };
    row("fault that is not JSON", "ArmFault", "{\n", "fault:2: not JSON: Missing a name for object member.");
    row("fault without a kind", "ArmFault", "{}", R"(fault:1: a fault: member "kind" is missing)");
    row("fault with a wrong number", "ArmFault", "{\"kind\":\"noAnswer\",\n\"skip\":-1}",
        R"(fault:2: "skip": expected a whole number from 0 to 1000000, found -1)");
    row("step that is none", "Do", "[]", "step:1: expected a step (an object), found a list");
    row("step for now that says when", "Do", "{\"do\":\"return\",\n\"after\":1}",
        R"(step:2: a step: there is no member "after"; expected some of "do")");
    row("step to come", "AddStep", "{\"do\":\"return\",\"after\":\n\"soon\"}",
        R"(step:2: "after": expected a whole number from 0 to 600000, found "soon")");
    row("scenario", "LoadScenario", "{\"steps\":\n[{\"do\":\n5}]}",
        R"(scenario:3: "do": expected a text that is not empty, found 5)");
}

void tst_SimulatorControl::whatDoesNotFollowTheFormat_isInvalid()
{
    QFETCH(QString, method);
    QFETCH(QString, text);
    QFETCH(QString, complaint);
    QVERIFY(!m_Control->Tell(method, {text}));
    QCOMPARE(m_Control->Error(), kInvalid + complaint);
}

void tst_SimulatorControl::faults_areArmedAndDisarmed()
{
    QCOMPARE(m_Control->Arm(R"({"kind":"errCode","code":1,"times":"always"})"), 1u);
    QCOMPARE(m_Control->Arm(R"({"kind":"errCode","code":2})"), 2u);
    QVERIFY(Send("x", "{}").contains("\"errCode\":1,")); // the one that was armed first
    QVERIFY(m_Control->Tell("DisarmFault", {1u}));
    QVERIFY(Send("x", "{}").contains("simulated refusal"));
    QVERIFY(!m_Control->Tell("DisarmFault", {2u}));
    QCOMPARE(m_Control->Error(), kImpossible + "no fault 2 waits");
    QVERIFY(!Send("x", "{}").contains("simulated refusal"));
    QCOMPARE(m_Control->Arm(R"({"kind":"noAnswer"})"), 3u);
    QVERIFY(m_Control->Do(R"({"do":"disarmFaults"})"));
    QVERIFY(!Send("x", "{}").isEmpty());
}

void tst_SimulatorControl::faults_thatFollowAnAnswer_followALateOneToo_data()
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QStringList>("after");
    QTest::newRow("flood") << R"({"kind":"flood","delay":100,"count":1,"to":"hmi"})"
                           << QStringList(R"(call hmi onModeChange {"activeMode":"flood-1","sessionId":1})");
    QTest::newRow("leave") << R"({"kind":"leave","delay":100})" << QStringList("service left");
}

void tst_SimulatorControl::faults_thatFollowAnAnswer_followALateOneToo()
{
    QFETCH(QString, fault);
    QFETCH(QStringList, after);
    const QString arguments = R"({"destination":"all","sessionId":1})";
    const QString answer = R"({"currentMode":["Radio"]})";
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    const quint32 begin = m_Control->LogEnd();
    QVERIFY(m_Control->Arm(fault) != 0);
    QCOMPARE(Send("getMode", arguments), answer);
    QTRY_COMPARE(Gist(m_Control->Log(begin)), (QStringList{"request hmi getMode " + arguments,
                                                           "fault " + fault.section('"', 3, 3) + " getMode",
                                                           "answer hmi getMode " + answer} +
                                               after));
}

void tst_SimulatorControl::doStep_everyAction_isDoneAtOnce_data()
{
    QTest::addColumn<QStringList>("steps"); // the last one is what the row is about
    QTest::addColumn<QStringList>("log");   // of the last one
    const QString callsHmi = "call hmi ";
    QTest::newRow("addMode")
        << QStringList{R"({"do":"addMode","mode":"Tape","destination":"Cabin"})"}
        << QStringList{callsHmi + R"(onModeListChange {"action":"add","mode":"Tape","sessionId":1})",
                       "step addMode"};
    QTest::newRow("removeMode")
        << QStringList{R"({"do":"removeMode","mode":"Bluetooth"})"}
        << QStringList{callsHmi + R"(onModeListChange {"action":"remove","mode":"Bluetooth","sessionId":1})",
                       "step removeMode"};
    QTest::newRow("pressMode") << QStringList{R"({"do":"pressMode","mode":"Bluetooth"})"}
                               << QStringList{callsHmi +
                                                  R"(onModeChange {"activeMode":"Bluetooth","sessionId":1})",
                                              "step pressMode"};
    const QString focus = R"(broadcast audioFocusChangeEvent {"destination":"all","focusType":"transient",)"
                          R"("newFocus":"%1","streamModeName":"","streamName":"Call","streamType":"Phone"})";
    QTest::newRow("startStream") << QStringList{R"({"do":"startStream","name":"Call"})"}
                                 << QStringList{focus.arg("gained"), "step startStream"};
    QTest::newRow("stopStream") << QStringList{R"({"do":"startStream","name":"Call"})",
                                               R"({"do":"stopStream","name":"Call"})"}
                                << QStringList{focus.arg("lost"), "step stopStream"};
    QTest::newRow("armFault") << QStringList{R"({"do":"armFault","fault":{"kind":"noAnswer"}})"}
                              << QStringList{"step armFault"};
    QTest::newRow("disarmFaults") << QStringList{R"({"do":"disarmFaults"})"}
                                  << QStringList{"step disarmFaults"};
    QTest::newRow("leave") << QStringList{R"({"do":"leave"})"} << QStringList{"service left", "step leave"};
    QTest::newRow("return") << QStringList{R"({"do":"leave"})", R"({"do":"return"})"}
                            << QStringList{"service came", "step return"};
    QTest::newRow("restart") << QStringList{R"({"do":"restart","milliseconds":600000})"}
                             << QStringList{"service left", "step restart"};
    QTest::newRow("stopAnswering") << QStringList{R"({"do":"stopAnswering"})"}
                                   << QStringList{"service stops answering", "step stopAnswering"};
    QTest::newRow("answerAgain") << QStringList{R"({"do":"stopAnswering"})", R"({"do":"answerAgain"})"}
                                 << QStringList{"service answers again", "step answerAgain"};
    QTest::newRow("send") << QStringList{R"({"do":"send","to":"hmi","name":"any","payload":"this"})"}
                          << QStringList{callsHmi + "any this", "step send"};
    QTest::newRow("flood") << QStringList{R"({"do":"flood","to":"hmi","count":2})"}
                           << QStringList{callsHmi + R"(onModeChange {"activeMode":"flood-1","sessionId":1})",
                                          callsHmi + R"(onModeChange {"activeMode":"flood-2","sessionId":1})",
                                          "step flood"};
}

void tst_SimulatorControl::doStep_everyAction_isDoneAtOnce()
{
    QFETCH(QStringList, steps);
    QFETCH(QStringList, log);
    HmiClient screen("/hmi"); // it answers
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    quint32 from = 0;
    for (const QString& step : qAsConst(steps)) {
        from = m_Control->LogEnd();
        QVERIFY2(m_Control->Do(step), qPrintable(m_Control->Error()));
    }
    QCOMPARE(Gist(m_Control->Log(from)), log);
    screen.hmi.HandleCloseSessionReply(false, {});
}

void tst_SimulatorControl::doStep_everyAction_hasARow()
{
    QVERIFY(!m_Control->Do(R"({"do":"?"})"));
    // What doStep_everyAction_isDoneAtOnce() has as rows, and the one that ends the process.
    const QStringList tested{"addMode", "answerAgain", "armFault",    "crash",         "disarmFaults",
                             "flood",   "leave",       "pressMode",   "removeMode",    "restart",
                             "return",  "send",        "startStream", "stopAnswering", "stopStream"};
    QCOMPARE(NamesIn(m_Control->Error()), tested);
}

void tst_SimulatorControl::doStep_crash_endsTheProcess()
{
    QVERIFY(!m_Control->Do(R"({"do":"crash"})"));
    QVERIFY2(m_Control->Error().startsWith("org.freedesktop.DBus.Error.NoReply"),
             qPrintable(m_Control->Error()));
    QVERIFY(m_Simulator->EndsBy(SIGABRT));
}

// Also when the new connection has the place in memory that the old one had.
void tst_SimulatorControl::doStep_restart_dropsTheAnswersStillToCome()
{
    QVERIFY(m_Control->Arm(R"({"kind":"delay","method":"getMode","delay":1500})") != 0);
    QDBusMessage call = QDBusMessage::createMethodCall(kServiceName, kHmiPath, kInterfaceName, "Request");
    call.setArguments({"getMode", "{}"});
    const QDBusPendingCall reply = QDBusConnection::systemBus().asyncCall(call);
    QVERIFY(m_Control->WaitForCalls("getMode", 1));
    QVERIFY(m_Control->Do(R"({"do":"restart"})"));
    QVERIFY(m_Control->AddStep(R"({"after":2000,"do":"disarmFaults"})"));
    QVERIFY(m_Control->Tell("WaitForSteps", {30000u}));
    QCOMPARE(Gist(m_Control->Log()),
             (QStringList{"request hmi getMode {}", "fault delay getMode", "service left", "step restart",
                          "service came", "step disarmFaults"}));
    QTRY_VERIFY(reply.isFinished());
    QVERIFY(reply.isError());
}

void tst_SimulatorControl::doStep_stopAnsweringForGood_endsAnEarlierTime()
{
    QVERIFY(m_Control->Do(R"({"do":"stopAnswering","milliseconds":1500})"));
    QVERIFY(m_Control->Do(R"({"do":"stopAnswering"})"));
    QVERIFY(m_Control->AddStep(R"({"after":2000,"do":"disarmFaults"})"));
    QVERIFY(m_Control->Tell("WaitForSteps", {30000u}));
    QVERIFY(m_Control->Do(R"({"do":"answerAgain"})"));
    QCOMPARE(Gist(m_Control->Log()),
             (QStringList{"service stops answering", "step stopAnswering", "service stops answering",
                          "step stopAnswering", "step disarmFaults", "service answers again",
                          "step answerAgain"}));
}

void tst_SimulatorControl::addStep_waitsForItsCalls()
{
    QVERIFY(
        m_Control->AddStep(R"({"when":{"method":"a","role":"hmi","calls":2},"do":"addMode","mode":"Tape"})"));
    QVERIFY(m_Control->AddStep(R"({"after":100,"do":"addMode","mode":"CD"})"));
    Send("a", "{}");
    Send("a", "{}", kAppPath);
    QVERIFY(!m_Control->Tell("WaitForSteps", {0u}));
    QCOMPARE(m_Control->Error(), kTimeout);
    Send("a", "{}");
    QVERIFY(m_Control->Tell("WaitForSteps", {30000u}));
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    QCOMPARE(Send("getModeList", R"({"destination":"all","sessionId":1})"),
             QString(R"({"modeList":["Radio","Bluetooth","Tape","CD"]})"));
}

void tst_SimulatorControl::loadScenario_everyMember_isPlayed()
{
    QVERIFY2(m_Control->Tell("LoadScenario", {R"({"$schema":"x","description":"all of them",
        "modes":{"Rear":["Video"]},"refuse":["Ads"],"lock":["Alarm"],"present":false,"delay":200,
        "faults":[{"kind":"errCode","method":"x"}],"steps":[{"do":"addMode","mode":"Film"}]})"}),
             qPrintable(m_Control->Error()));
    QVERIFY(m_Control->Tell("WaitForSteps", {30000u}));
    QVERIFY(!QDBusConnection::systemBus().interface()->isServiceRegistered(kServiceName)); // "present"
    QVERIFY(m_Control->Do(R"({"do":"return"})"));
    QVERIFY(Send("x", "{}").contains("simulated refusal")); // "faults"
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    QCOMPARE(Send("getModeList", R"({"destination":"all","sessionId":1})"),
             QString(R"({"modeList":["Video","Film"]})"));

    QVERIFY(!m_Control->Tell("StartStream", {"Ads", "Media", "transient"})); // "refuse"
    QVERIFY2(m_Control->Error().startsWith(kImpossible), qPrintable(m_Control->Error()));
    QVERIFY(m_Control->Tell("StartStream", {"Alarm", "Media", "transient"}));
    QVERIFY(!m_Control->Tell("StartStream", {"Call", "Media", "transient"})); // "lock"
    double request = 0;
    for (const QString& line : m_Control->Log()) { // "delay", of the last answer
        const QJsonObject record = LogObject(line);
        request = record.value("kind") == "request" ? record.value("time").toDouble() : request;
        QVERIFY2(record.value("kind") != "answer" || record.value("time").toDouble() - request >= 200,
                 qPrintable(line));
    }
}

void tst_SimulatorControl::loadScenario_wrongText_changesNothing()
{
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    QVERIFY(!m_Control->Tell("LoadScenario", {R"({"modes":{}})"}));
    QCOMPARE(m_Control->Error(), kInvalid +
                                     "scenario:1: \"modes\": expected an object with a member for each "
                                     "destination, found an object");
    QCOMPARE(Send("getMode", R"({"destination":"all","sessionId":1})"),
             QString(R"({"currentMode":["Radio"]})"));
}

void tst_SimulatorControl::loadScenario_nameTaken_isImpossible()
{
    QVERIFY(m_Control->Do(R"({"do":"leave"})"));
    QVERIFY(QDBusConnection::systemBus().registerService(kServiceName));
    for (const char* const method : {"LoadScenario", "Reset"}) {
        const QVariantList arguments = method == QLatin1String("Reset") ? QVariantList() : QVariantList{"{}"};
        QVERIFY(!m_Control->Tell(method, arguments));
        QCOMPARE(m_Control->Error(), kImpossible + "the service's bus name is taken");
    }
    QVERIFY(!m_Control->Do(R"({"do":"return"})"));
    QCOMPARE(m_Control->Error(), kImpossible + "the service's bus name is taken");
    QVERIFY(QDBusConnection::systemBus().unregisterService(kServiceName));
    QVERIFY(m_Control->Do(R"({"do":"return"})"));
    QVERIFY(!Send("x", "{}").isEmpty());
}

void tst_SimulatorControl::reset_playsAnew()
{
    HmiClient screen("/hmi");
    QCOMPARE(screen.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QVERIFY(m_Control->Tell("AddMode", {"Tape", ""}));
    QVERIFY(m_Control->Arm(R"({"kind":"noAnswer","times":"always"})") != 0);
    QVERIFY(m_Control->AddStep(R"({"after":600000,"do":"crash"})"));
    QStringList owners;
    QDBusServiceWatcher watcher(kServiceName, QDBusConnection::systemBus());
    connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [&owners](const QString&, const QString&, const QString& owner) {
                owners.append(owner.isEmpty() ? "nobody" : "somebody");
            });

    QVERIFY(m_Control->Tell("Reset"));
    QTRY_COMPARE_WITH_TIMEOUT(owners, (QStringList{"nobody", "somebody"}), kPatience);
    QCOMPARE(m_Control->CallCount(QString()), 0u);
    QCOMPARE(m_Control->Log(), QStringList());
    QVERIFY(m_Control->Tell("WaitForSteps", {0u}));
    QVERIFY(!screen.hmi.GetMode(QString())); // answered: there is no session 1
    screen.hmi.HandleCloseSessionReply(false, {});
    QVERIFY(screen.hmi.OpenSession());
    QVERIFY(screen.hmi.GetModeList(QString()));
    QCOMPARE(screen.hmi.ModeList(), (QStringList{"Radio", "Bluetooth"}));
    screen.hmi.Powerdown();
}

void tst_SimulatorControl::waitForCalls_isAnsweredInTime()
{
    QVERIFY(m_Control->Tell("WaitForCalls", {"a", 0u, 0u}));
    QVERIFY(!m_Control->Tell("WaitForCalls", {"a", 1u, 50u}));
    QCOMPARE(m_Control->Error(), kTimeout);

    QDBusPendingCallWatcher early(m_Control->Start("WaitForCalls", {"a", 2u, 30000u}));
    QDBusPendingCallWatcher any(m_Control->Start("WaitForCalls", {"", 3u, 30000u}));
    Send("a", "{}");
    Send("b", "{}", kAppPath);
    QVERIFY(!m_Control->Tell("WaitForCalls", {"a", 2u, 0u}));
    QVERIFY(!early.isFinished() && !any.isFinished());
    Send("a", "{}");
    QTRY_VERIFY_WITH_TIMEOUT(early.isFinished() && any.isFinished(), kPatience);
    QCOMPARE(early.reply().arguments(), QVariantList{2u});
    QCOMPARE(any.reply().arguments(), QVariantList{3u});
    QCOMPARE(m_Control->Call("WaitForCalls", {"a", 1u, 0u}), QVariantList{2u}); // there were more
    QCOMPARE(m_Control->CallCount("b"), 1u);
    QCOMPARE(m_Control->CallCount("c"), 0u);
}

void tst_SimulatorControl::waitForSteps_isAnsweredInTime()
{
    QVERIFY(m_Control->Tell("WaitForSteps", {0u}));
    QVERIFY(m_Control->AddStep(R"({"when":{"method":"go"},"do":"disarmFaults"})"));
    QVERIFY(!m_Control->Tell("WaitForSteps", {50u}));
    QCOMPARE(m_Control->Error(), kTimeout);
    QDBusPendingCallWatcher done(m_Control->Start("WaitForSteps", {30000u}));
    Send("go", "{}");
    QTRY_VERIFY_WITH_TIMEOUT(done.isFinished(), kPatience);
    QVERIFY(!done.isError());
}

void tst_SimulatorControl::readLog_givesExactLines()
{
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    QVERIFY(m_Control->Do(R"({"do":"disarmFaults"})"));
    const QString me = QDBusConnection::systemBus().baseService();
    QStringList lines = m_Control->Log();
    lines.replaceInStrings(QRegularExpression("\"time\":\\d+"), "\"time\":T").replaceInStrings(me, "ME");
    const QStringList expected{
        R"({"kind":"request","name":"openSession","payload":"{\"busName\":\"\",\"objectPath\":\"/x\"}",)"
        R"("peer":"ME","role":"hmi","time":T})",
        R"({"kind":"answer","name":"openSession","payload":"{\"sessionId\":1}","peer":"ME","role":"hmi","time":T})",
        R"({"kind":"step","name":"disarmFaults","time":T})"};
    QCOMPARE(lines, expected);
    QCOMPARE(m_Control->Log(2).size(), 1);
    QCOMPARE(m_Control->Call("ReadLog", {3u}), (QVariantList{QStringList(), 3u}));
    QCOMPARE(m_Control->Call("ReadLog", {9u}), (QVariantList{QStringList(), 9u}));
}

void tst_SimulatorControl::readLog_longLog_comesInParts()
{
    QVERIFY(m_Control->Arm(R"({"kind":"hugeAnswer","bytes":3000000,"times":"always"})") != 0);
    for (int i = 0; i < 5; ++i) {
        QVERIFY(Send("x", "{}").size() > 3000000);
    }
    quint32 next = 0;
    const QStringList first = m_Control->ReadLog(next); // a request, the fault, the answer
    QCOMPARE(first.size(), 9);
    QCOMPARE(next, 9u);
    QCOMPARE(m_Control->ReadLog(next).size(), 6);
    QCOMPARE(next, 15u);
    QCOMPARE(m_Control->ReadLog(next), QStringList());
    QCOMPARE(m_Control->Log().size(), 15);
}

void tst_SimulatorControl::control_isThere_whileTheServiceIsNot_data()
{
    QTest::addColumn<QString>("away");
    QTest::addColumn<QString>("back");
    QTest::newRow("mute") << R"({"do":"stopAnswering"})"
                          << R"({"do":"answerAgain"})";
    QTest::newRow("away") << R"({"do":"leave"})"
                          << R"({"do":"return"})";
    QTest::newRow("restarting") << R"({"do":"restart","milliseconds":600000})"
                                << R"({"do":"return"})";
}

void tst_SimulatorControl::control_isThere_whileTheServiceIsNot()
{
    QFETCH(QString, away);
    QFETCH(QString, back);
    QVERIFY(m_Control->Do(away));
    QVERIFY(m_Control->Tell("AddMode", {"Tape", ""}));
    QCOMPARE(m_Control->CallCount(QString()), 0u);
    QVERIFY(!m_Control->Log().isEmpty());
    QVERIFY(m_Control->Arm(R"({"kind":"noAnswer","method":"never"})") != 0);
    QVERIFY2(m_Control->Do(back), qPrintable(m_Control->Error()));
    Send("openSession", R"({"busName":"","objectPath":"/x"})");
    QCOMPARE(Send("getModeList", R"({"destination":"all","sessionId":1})"),
             QString(R"({"modeList":["Radio","Bluetooth","Tape"]})"));
}

KIV_BUS_TEST_MAIN(tst_SimulatorControl)
#include "tst_SimulatorControl.moc"
