// SPDX-License-Identifier: MIT
#include "BusProbe.h"
#include "FakeService.h"
#include "KivctlProcess.h"
#include "TestMain.h"

#include <memory>
#include <vector>

using namespace KivTest;

namespace {

const QString kRunning = "service running\nmodes Radio, Bluetooth\nmode Radio\n";
const QString kWaiting = "kivctl: waiting for the service\n";

std::unique_ptr<SimulatorProcess> StartSimulator(const QStringList& arguments = QStringList())
{
    auto simulator = std::make_unique<SimulatorProcess>(arguments);
    return simulator->WaitUntilReady() ? std::move(simulator) : nullptr;
}

/** Kills the service; the bus knows afterwards. */
bool Kill(std::unique_ptr<SimulatorProcess>& simulator)
{
    simulator.reset();
    const BusProbe probe;
    return QTest::qWaitFor([&] { return probe.Owner(kServiceName).isEmpty(); }, kPatience);
}

} // namespace

class tst_KivctlHmi : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // modes, mode, set-mode
    void modes_areThoseOfTheDestination();
    void mode_isThatOfTheDestination();
    void modes_noneOffered_printsNothing();
    void setMode_isSetAtTheDestination();
    void setModeWait_setsAModeThatAnApplicationAddsLater();
    void setModeWait_withoutAService_waitsForBoth();
    void setModeWait_outlastsARestart();
    void setModeWait_modeThatIsThereAfterARestart_isSet();

    // call
    void call_keepsASessionIdThatIsGiven();
    void call_addsTheSessionId();

    // monitor
    void monitor_printsEveryEventOfTheService();
    void monitor_waitsForTheService();
    void monitor_survivesTwentyRestarts();
    void monitor_serviceThatFailsWhileOpening_waitsForTheNext();
    void monitor_takenOverService_opensANewSession();

    // side by side
    void severalAtOnce_doNotDisturbEachOther();
    void addressOption_goesBeforeTheEnvironment();
    void sessionOption_takesTheSessionBus();
};

void tst_KivctlHmi::modes_areThoseOfTheDestination()
{
    const auto simulator = StartSimulator({"--modes", "Radio,Phone", "--modes", "Rear=Video"});
    KivctlProcess rear({"modes", "--destination", "Rear"});
    QCOMPARE(rear.WaitForExit(), 0);
    QCOMPARE(rear.Output(), "Video\n");
    KivctlProcess all({"modes"});
    QCOMPARE(all.WaitForExit(), 0);
    QCOMPARE(all.Output(), "Radio\nPhone\nVideo\n");
}

void tst_KivctlHmi::mode_isThatOfTheDestination()
{
    const auto simulator = StartSimulator({"--modes", "Radio,Phone", "--modes", "Rear=Video"});
    KivctlProcess rear({"mode", "--destination", "Rear"});
    QCOMPARE(rear.WaitForExit(), 0);
    QCOMPARE(rear.Output(), "Video\n");
}

void tst_KivctlHmi::modes_noneOffered_printsNothing()
{
    FakeService service;
    service.Answer("openSession", R"({"sessionId":7})");
    service.Answer("getModeList", R"({"modeList":[]})");
    service.Appear();
    KivctlProcess process({"modes"});
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(process.Output(), QString());
}

void tst_KivctlHmi::setMode_isSetAtTheDestination()
{
    const auto simulator = StartSimulator({"--modes", "Radio,Phone", "--modes", "Rear=Video,Phone"});
    KivctlProcess set({"set-mode", "Phone", "--destination", "Rear"});
    QCOMPARE(set.WaitForExit(), 0);
    QCOMPARE(set.Output(), "Phone\n");
    KivctlProcess rear({"mode", "--destination", "Rear"});
    QCOMPARE(rear.WaitForExit(), 0);
    QCOMPARE(rear.Output(), "Phone\n");
    KivctlProcess cabin({"mode", "--destination", "Cabin"});
    QCOMPARE(cabin.WaitForExit(), 0);
    QCOMPARE(cabin.Output(), "Radio\n");
}

void tst_KivctlHmi::setModeWait_setsAModeThatAnApplicationAddsLater()
{
    const auto simulator = StartSimulator();
    KivctlProcess set({"set-mode", "Podcast", "--wait"});
    const QString waiting = "kivctl: waiting for the mode \"Podcast\"\n";
    QCOMPARE(set.WaitForErrors(waiting), waiting);
    KivctlProcess stream({"stream", "--name", "N", "--mode-name", "Podcast", "--hold"});
    QCOMPARE(set.WaitForExit(), 0);
    QCOMPARE(set.Output(), "Podcast\n");
    QCOMPARE(set.Errors(), waiting);
    KivctlProcess mode({"mode"});
    QCOMPARE(mode.WaitForExit(), 0);
    QCOMPARE(mode.Output(), "Podcast\n");
}

void tst_KivctlHmi::setModeWait_withoutAService_waitsForBoth()
{
    KivctlProcess set({"set-mode", "Bluetooth", "--wait"});
    QCOMPARE(set.WaitForErrors(kWaiting), kWaiting);
    const auto simulator = StartSimulator();
    QCOMPARE(set.WaitForExit(), 0);
    QCOMPARE(set.Output(), "Bluetooth\n");
}

void tst_KivctlHmi::setModeWait_outlastsARestart()
{
    auto simulator = StartSimulator();
    KivctlProcess set({"set-mode", "Podcast", "--wait"});
    const QString waiting = "kivctl: waiting for the mode \"Podcast\"\n";
    QCOMPARE(set.WaitForErrors(waiting), waiting);
    QVERIFY(Kill(simulator));
    simulator = StartSimulator();
    QCOMPARE(set.WaitForErrors(waiting + waiting), waiting + waiting);
    KivctlProcess stream({"stream", "--name", "N", "--mode-name", "Podcast", "--hold"});
    QCOMPARE(set.WaitForExit(), 0);
    QCOMPARE(set.Output(), "Podcast\n");
}

void tst_KivctlHmi::setModeWait_modeThatIsThereAfterARestart_isSet()
{
    auto simulator = StartSimulator();
    KivctlProcess set({"set-mode", "Podcast", "--wait"});
    const QString waiting = "kivctl: waiting for the mode \"Podcast\"\n";
    QCOMPARE(set.WaitForErrors(waiting), waiting);
    QVERIFY(Kill(simulator));
    simulator = StartSimulator({"--modes", "Radio,Podcast"});
    QCOMPARE(set.WaitForExit(), 0);
    QCOMPARE(set.Output(), "Podcast\n");
}

void tst_KivctlHmi::call_keepsASessionIdThatIsGiven()
{
    FakeService service;
    service.Answer("openSession", R"({"sessionId":7})");
    service.Appear();
    KivctlProcess process({"call", "anything", R"({"b":1, "sessionId":3, "a":2.5})"});
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(service.ArgumentsOf("anything"), QStringList(R"({"b":1, "sessionId":3, "a":2.5})"));
    QCOMPARE(service.Calls().value(1).path, kHmiPath);
}

void tst_KivctlHmi::call_addsTheSessionId()
{
    FakeService service;
    service.Answer("openSession", R"({"sessionId":7})");
    service.Appear();
    KivctlProcess process({"call", "--app", "anything", R"({"a":["x"]})"});
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(service.ArgumentsOf("anything"), QStringList(R"({"a":["x"],"sessionId":7})"));
    QCOMPARE(service.Calls().value(1).path, kAppPath);
}

void tst_KivctlHmi::monitor_printsEveryEventOfTheService()
{
    const auto simulator = StartSimulator();
    KivctlProcess monitor({"monitor"});
    QCOMPARE(monitor.WaitForOutput(kRunning), kRunning);
    KivctlProcess set({"set-mode", "Bluetooth"});
    QCOMPARE(set.WaitForExit(), 0);
    KivctlProcess stream({"stream", "--name", "N", "--mode-name", "Podcast", "--request"});
    QCOMPARE(stream.WaitForExit(), 0);
    const QString expected = kRunning + "mode Bluetooth\n"
                                        "modes Radio, Bluetooth, Podcast (added Podcast)\n"
                                        "focus gained N (permanent, Media, all)\n"
                                        "focus lost N (permanent, Media, all)\n"
                                        "modes Radio, Bluetooth (removed Podcast)\n";
    QCOMPARE(monitor.WaitForOutput(expected), expected);
    QCOMPARE(monitor.Errors(), QString());
}

void tst_KivctlHmi::monitor_waitsForTheService()
{
    KivctlProcess monitor({"monitor"});
    QCOMPARE(monitor.WaitForErrors(kWaiting), kWaiting);
    QCOMPARE(monitor.Output(), QString());
    const auto simulator = StartSimulator();
    QCOMPARE(monitor.WaitForOutput(kRunning), kRunning);
}

void tst_KivctlHmi::monitor_survivesTwentyRestarts()
{
    auto simulator = StartSimulator();
    KivctlProcess monitor({"monitor"});
    QString expected = kRunning;
    QCOMPARE(monitor.WaitForOutput(expected), expected);
    for (int i = 0; i < 20; ++i) {
        QVERIFY(Kill(simulator));
        simulator = StartSimulator();
        expected += "service gone\n" + kRunning;
        QCOMPARE(monitor.WaitForOutput(expected), expected);
    }
    KivctlProcess set({"set-mode", "Bluetooth"}); // the events of the last one are heard
    QCOMPARE(set.WaitForExit(), 0);
    QCOMPARE(monitor.WaitForOutput(expected + "mode Bluetooth\n"), expected + "mode Bluetooth\n");
    QCOMPARE(monitor.Errors(), QString());
    monitor.Signal(SIGINT);
    QCOMPARE(monitor.WaitForExit(), 130);
}

void tst_KivctlHmi::monitor_serviceThatFailsWhileOpening_waitsForTheNext()
{
    KivctlProcess monitor({"monitor"});
    QCOMPARE(monitor.WaitForErrors(kWaiting), kWaiting);
    auto service = std::make_unique<FakeService>();
    service->Hold("openSession");
    service->Appear();
    QVERIFY(service->WaitForCalls("openSession", 1)); // blocked in initialisation
    service.reset();
    service = std::make_unique<FakeService>();
    service->Hold("openSession");
    service->Appear();
    QVERIFY(service->WaitForCalls("openSession", 1)); // asynchronous
    service.reset();
    const auto simulator = StartSimulator();
    QTRY_VERIFY_WITH_TIMEOUT(monitor.Output().endsWith(kRunning), kPatience);
    QVERIFY(monitor.IsRunning());
    QCOMPARE(monitor.Errors(), kWaiting);
}

void tst_KivctlHmi::monitor_takenOverService_opensANewSession()
{
    FakeService first;
    first.Answer("openSession", R"({"sessionId":7})");
    first.Answer("getModeList", R"({"modeList":["Radio","Bluetooth"]})");
    first.Answer("getMode", R"({"currentMode":["Radio"]})");
    first.AppearReplaceable();
    KivctlProcess monitor({"monitor"});
    QCOMPARE(monitor.WaitForOutput(kRunning), kRunning);
    FakeService second;
    second.Answer("openSession", R"({"sessionId":8})");
    second.Answer("getModeList", R"({"modeList":["Video"]})");
    second.Answer("getMode", R"({"currentMode":["Video"]})");
    second.TakeOver();
    const QString expected = kRunning + "service gone\nservice running\nmodes Video\nmode Video\n";
    QCOMPARE(monitor.WaitForOutput(expected), expected);
    monitor.Signal(SIGTERM);
    QCOMPARE(monitor.WaitForExit(), 143);
    QCOMPARE(first.ArgumentsOf("closeSession"), QStringList());
    QCOMPARE(second.ArgumentsOf("closeSession"), QStringList(R"({"sessionId":8})"));
}

void tst_KivctlHmi::severalAtOnce_doNotDisturbEachOther()
{
    const auto simulator = StartSimulator();
    std::vector<std::unique_ptr<KivctlProcess>> monitors;
    for (int i = 0; i < 5; ++i) {
        monitors.push_back(std::make_unique<KivctlProcess>(QStringList("monitor")));
    }
    for (const auto& monitor : monitors) {
        QCOMPARE(monitor->WaitForOutput(kRunning), kRunning);
    }
    KivctlProcess set({"set-mode", "Bluetooth"});
    QCOMPARE(set.WaitForExit(), 0);
    for (const auto& monitor : monitors) {
        QCOMPARE(monitor->WaitForOutput(kRunning + "mode Bluetooth\n"), kRunning + "mode Bluetooth\n");
    }
}

void tst_KivctlHmi::addressOption_goesBeforeTheEnvironment()
{
    const auto simulator = StartSimulator();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    const QString address = environment.value("DBUS_SYSTEM_BUS_ADDRESS");
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    KivctlProcess process({"mode", "--address", address}, environment);
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(process.Output(), "Radio\n");
}

void tst_KivctlHmi::sessionOption_takesTheSessionBus()
{
    const auto simulator = StartSimulator();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", environment.value("DBUS_SYSTEM_BUS_ADDRESS"));
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    KivctlProcess process({"--session", "mode"}, environment);
    QCOMPARE(process.WaitForExit(), 0);
    QCOMPARE(process.Output(), "Radio\n");
}

KIV_BUS_TEST_MAIN(tst_KivctlHmi)
#include "tst_KivctlHmi.moc"
