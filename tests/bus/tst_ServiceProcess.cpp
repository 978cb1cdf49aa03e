// SPDX-License-Identifier: MIT
#include "BusProbe.h"
#include "FakeService.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

#include <QSet>
#include <QThread>

#include <csignal>
#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

/** What becomes of a client when the service's process is killed, restarted, started late, or never there. */
class tst_ServiceProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void neverThere_waitsSilently();
    void startedLate_initialisesOnce();
    void killedAndRestarted_stateAndSessionStay();
    void killedAndRestarted_newSessionAfterForgettingTheOldOne();
    void killedDuringABlockingRequest_theRequestFails();
    void killedWithRequestsInFlight_eachCompletesOnceWithFalse();
    void twoClientsOfOneName_bothLearnOfModes();
};

namespace {

const QString kPath = "/com/quorvantel/audioclient/test";

/** A client that is ready, with the service's process. */
struct Ready
{
    Ready()
    {
        if (!service->WaitUntilReady() || client.hmi.Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
            qFatal("the client does not become ready");
        }
    }

    ~Ready() { client.hmi.HandleCloseSessionReply(false, {}); }

    /** Kills the service and waits until the bus knows. */
    bool Kill()
    {
        service.reset();
        return QTest::qWaitFor([this] { return !client.hmi.IsKivServiceRunning(); }, kPatience);
    }

    bool Restart()
    {
        service = std::make_unique<SimulatorProcess>(QStringList());
        return service->WaitUntilReady();
    }

    LogCapture log;
    std::unique_ptr<SimulatorProcess> service = std::make_unique<SimulatorProcess>(QStringList());
    HmiClient client{kPath};
    QSignalSpy initCompleted{&client.hmi, &KivBaseClient::SignalInitCompleted};
};

} // namespace

void tst_ServiceProcess::cleanup()
{
    HandleArrivedEvents(QDBusConnection::systemBus());
}

void tst_ServiceProcess::neverThere_waitsSilently()
{
    LogCapture log;
    HmiClient client(kPath);
    QSignalSpy initCompleted(&client.hmi, &KivBaseClient::SignalInitCompleted);
    log.Clear();

    QCOMPARE(client.hmi.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    HandleArrivedEvents(client.bus);

    QCOMPARE(client.hmi.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(initCompleted.size(), 0);
    QCOMPARE(client.hmi.SetModeAsync("Radio"), 0u);
    QCOMPARE(log.Complaints(),
             (QVector<LogRecord>{Critical("AudioManagerHmi::StartSetModeRequest -- Session is not open")}));
}

void tst_ServiceProcess::startedLate_initialisesOnce()
{
    HmiClient client(kPath);
    QSignalSpy initCompleted(&client.hmi, &KivBaseClient::SignalInitCompleted);
    QCOMPARE(client.hmi.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);

    SimulatorProcess service({});
    QVERIFY(service.WaitUntilReady());
    QTRY_COMPARE(initCompleted.size(), 1);
    HandleArrivedEvents(client.bus);

    QCOMPARE(initCompleted.size(), 1);
    QCOMPARE(initCompleted.first().first().value<KivBaseClient::InitState>(),
             KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(client.hmi.ModeList(), (QStringList{"Radio", "Bluetooth"}));
    QCOMPARE(client.hmi.CurrentMode(), "Radio");
    client.hmi.Powerdown();
}

void tst_ServiceProcess::killedAndRestarted_stateAndSessionStay()
{
    Ready ready;
    const quint32 session = ready.client.hmi.SessionId();

    QVERIFY(ready.Kill());
    QVERIFY(!ready.client.hmi.GetMode(QString()));
    QVERIFY(ready.Restart());
    HandleArrivedEvents(ready.client.bus);

    QCOMPARE(ready.client.hmi.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(ready.client.hmi.SessionId(), session);
    QCOMPARE(ready.initCompleted.size(), 0);
    QVERIFY(!ready.client.hmi.GetMode(QString())); // the new process does not know the session
}

void tst_ServiceProcess::killedAndRestarted_newSessionAfterForgettingTheOldOne()
{
    Ready ready;
    QSignalSpy opened(&ready.client.hmi, &ServiceProviderClient::SignalOpenSessionCompleted);
    QVERIFY(ready.Kill());
    QVERIFY(ready.Restart());

    QVERIFY(ready.client.hmi.HandleCloseSessionReply(false, {}));
    const quint32 id = ready.client.hmi.OpenSessionAsync();
    QTRY_COMPARE(opened.size(), 1);
    QCOMPARE(opened.first(), (QVariantList{id, true}));

    // In both directions: a request, and the event that it causes.
    const quint32 setMode = ready.client.hmi.SetModeAsync("Bluetooth");
    QTRY_COMPARE(ready.client.modeChanged.size(), 1);
    QTRY_COMPARE(ready.client.setModeCompleted.size(), 1);
    QCOMPARE(ready.client.setModeCompleted.first(), (QVariantList{setMode, true}));
    QCOMPARE(ready.client.hmi.CurrentMode(), "Bluetooth");
}

void tst_ServiceProcess::killedDuringABlockingRequest_theRequestFails()
{
    Ready ready;
    ready.service->Signal(SIGSTOP);
    ready.log.Clear();
    // The client's thread handles no events while it waits: another one kills the service when the request is out.
    const std::unique_ptr<QThread> killer(QThread::create([&ready] {
        while (ready.log.Records().isEmpty()) {
            QThread::yieldCurrentThread();
        }
        const BusProbe probe;
        probe.Owner(kServiceName); // the bus has had time for the request
        ready.service->Signal(SIGKILL);
    }));

    killer->start();
    const bool isRead = ready.client.hmi.GetMode(QString());
    QVERIFY(killer->wait(kPatience));

    QVERIFY(!isRead);
    const QString arguments =
        QStringLiteral(R"({"destination":"all","sessionId":%1})").arg(ready.client.hmi.SessionId());
    QCOMPARE(ready.log.Complaints(),
             (QVector<LogRecord>{
                 Critical("ConcreteServiceProviderProxy::Request -- D-Bus error: \"Message recipient "
                          "disconnected from message bus without replying\""),
                 RequestFails("getMode", arguments, R"({ "errCode" : 0 })"),
                 Critical("AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server")}));
    QCOMPARE(ready.client.hmi.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(ready.client.hmi.CurrentMode(), "Radio");
}

void tst_ServiceProcess::killedWithRequestsInFlight_eachCompletesOnceWithFalse()
{
    Ready ready;
    QSignalSpy completed(&ready.client.hmi, &AudioManagerHmi::SignalGetModeCompleted);
    ready.service->Signal(SIGSTOP); // so that no answer comes
    QSet<quint32> sent;
    for (int i = 0; i < 100; ++i) {
        sent.insert(ready.client.hmi.GetModeAsync(QString()));
    }
    QCOMPARE(sent.size(), 100);
    QVERIFY(!sent.contains(0));

    QVERIFY(ready.Kill());
    QTRY_COMPARE(completed.size(), 100);
    HandleArrivedEvents(ready.client.bus);

    QCOMPARE(completed.size(), 100);
    for (const QVariantList& arguments : qAsConst(completed)) {
        QVERIFY(sent.remove(arguments.at(0).toUInt()));
        QCOMPARE(arguments.at(1).toBool(), false);
    }
}

void tst_ServiceProcess::twoClientsOfOneName_bothLearnOfModes()
{
    Ready ready;
    HmiClient second(kPath + "/second");
    QCOMPARE(second.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    QVERIFY(second.hmi.SetModeAsync("Bluetooth") != 0);
    QTRY_COMPARE(ready.client.modeChanged.size(), 1);
    QTRY_COMPARE(second.modeChanged.size(), 1);

    QCOMPARE(ready.client.modeChanged.first(), QVariantList{"Bluetooth"});
    QCOMPARE(second.modeChanged.first(), QVariantList{"Bluetooth"});
    QVERIFY(ready.client.hmi.SessionId() != second.hmi.SessionId());
    second.hmi.Powerdown();
}

KIV_BUS_TEST_MAIN(tst_ServiceProcess)
#include "tst_ServiceProcess.moc"
