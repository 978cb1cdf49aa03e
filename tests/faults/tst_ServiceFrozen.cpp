// SPDX-License-Identifier: MIT
#include "BusProbe.h"
#include "HmiSignals.h"
#include "LogCapture.h"
#include "Nightly.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

#include <QElapsedTimer>

#include <csignal>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const int kReplyTimeOut = Nightly(25000, 2000); // ms; at night the bus library's own, as on a device
const int kFarAboveTheTimeOut = kReplyTimeOut + 20000;

/** An HMI that is ready, with a service that does not run any more although it has not ended. */
struct Frozen
{
    Frozen()
    {
        if (!service.WaitUntilReady() || client.hmi.Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
            qFatal("the client does not become ready");
        }
        service.Signal(SIGSTOP);
        clock.start();
    }

    ~Frozen() { client.hmi.HandleCloseSessionReply(false, {}); }

    /** Whether the time since the service stopped is that of a request without an answer; timers may be 5 % early. */
    bool HasTakenTheTimeOut() const
    {
        const qint64 elapsed = clock.elapsed();
        fprintf(stderr, "time-out of %d ms: over after %lld ms\n", kReplyTimeOut, elapsed);
        return elapsed > kReplyTimeOut * 9 / 10 && elapsed < kFarAboveTheTimeOut;
    }

    LogCapture log;
    SimulatorProcess service{QStringList()};
    HmiClient client{"/screen"};
    HmiSignals signalled{&client.hmi};
    QElapsedTimer clock;
};

} // namespace

/** What becomes of requests to a service that is stopped, not killed: its bus name stays. */
class tst_ServiceFrozen : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void blockingRequest_failsAtTheTimeOut();
    void powerdown_returnsAtTheTimeOut();
    void initialisation_failsAtTheTimeOut();
    void asyncRequests_eachCompletesOnceWithFalseAtTheTimeOut();
    void asyncRequests_serviceGoesOnInTime_eachCompletesOnceWithTrue();
    void lateAnswers_areNobodys();
};

void tst_ServiceFrozen::cleanup()
{
    HandleArrivedEvents(QDBusConnection::systemBus());
}

void tst_ServiceFrozen::blockingRequest_failsAtTheTimeOut()
{
    Frozen with;
    QVERIFY(!with.client.hmi.SetMode("Bluetooth"));
    QVERIFY(with.HasTakenTheTimeOut());
    QVERIFY(with.client.hmi.IsKivServiceRunning());
    with.service.Signal(SIGCONT);
    QVERIFY(with.client.hmi.GetMode(QString()));
    QVERIFY(with.client.hmi.IsSessionOpen());
}

void tst_ServiceFrozen::powerdown_returnsAtTheTimeOut()
{
    Frozen with;
    with.client.hmi.Powerdown();
    QVERIFY(with.HasTakenTheTimeOut());
    QVERIFY(!with.client.hmi.IsSessionOpen());
}

void tst_ServiceFrozen::initialisation_failsAtTheTimeOut()
{
    Frozen with;
    HmiClient late("/late");
    QCOMPARE(late.hmi.Initialize(), KivBaseClient::INIT_STATE_FAILED);
    QVERIFY(with.HasTakenTheTimeOut());
    QVERIFY(!late.hmi.IsSessionOpen());
}

void tst_ServiceFrozen::asyncRequests_eachCompletesOnceWithFalseAtTheTimeOut()
{
    Frozen with;
    QStringList expected;
    for (quint32 id = 1; id <= 100; ++id) {
        QCOMPARE(with.client.hmi.GetModeAsync(QString()), id);
        expected.append(QStringLiteral("SignalGetModeCompleted %1 false").arg(id));
    }
    QCOMPARE(with.signalled.List(), QStringList());
    QTRY_COMPARE_WITH_TIMEOUT(with.signalled.List().size(), 100, kFarAboveTheTimeOut);
    QVERIFY(with.HasTakenTheTimeOut());
    QVERIFY(HandleArrivedEvents(with.client.bus));
    QStringList completed = with.signalled.List();
    completed.sort();
    expected.sort();
    QCOMPARE(completed, expected);
}

void tst_ServiceFrozen::asyncRequests_serviceGoesOnInTime_eachCompletesOnceWithTrue()
{
    Frozen with;
    QCOMPARE(with.client.hmi.GetModeListAsync(QString()), 1u);
    QCOMPARE(with.client.hmi.GetModeAsync(QString()), 2u);
    QVERIFY(HandleArrivedEvents(with.client.bus)); // the bus has both, and the event loop goes on
    QCOMPARE(with.signalled.List(), QStringList());
    with.service.Signal(SIGCONT);
    const QStringList expected{"SignalGetModeListCompleted 1 true", "SignalGetModeCompleted 2 true"};
    QTRY_COMPARE_WITH_TIMEOUT(with.signalled.List(), expected, kPatience);
    QVERIFY(HandleArrivedEvents(with.client.bus));
    QCOMPARE(with.signalled.List(), expected);
}

void tst_ServiceFrozen::lateAnswers_areNobodys()
{
    Frozen with;
    const QStringList failed{"SignalGetModeListCompleted 1 false"};
    QCOMPARE(with.client.hmi.GetModeListAsync(QString()), 1u);
    QTRY_COMPARE_WITH_TIMEOUT(with.signalled.List(), failed, kFarAboveTheTimeOut);
    with.service.Signal(SIGCONT);
    QVERIFY(with.client.hmi.GetMode(QString())); // answered after the late answer
    QVERIFY(HandleArrivedEvents(with.client.bus));
    QCOMPARE(with.signalled.List(), failed);
    QCOMPARE(with.client.hmi.ModeList(), (QStringList{"Radio", "Bluetooth"}));
}

int main(int argc, char** argv)
{
    LimitTestFunctions(120);
    // Without a limit on the bus, the bus library of the client gives up after 25 s.
    const PrivateBus bus(
        IsNightly() ? QString()
                    : QStringLiteral(R"(<limit name="reply_timeout">%1</limit>)").arg(kReplyTimeOut));
    const QCoreApplication application(argc, argv);
    tst_ServiceFrozen test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ServiceFrozen.moc"
