// SPDX-License-Identifier: MIT
#include "BusProbe.h"
#include "BusSurroundings.h"
#include "LogCapture.h"
#include "TestMain.h"
#include "session/SessionKeeper.h"

#include <QTimer>

#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;
using Audio::Utils::Kiv::Models::SessionKeeper;

namespace {

const QString kExportedPath = kClientPath + "/ServiceProviderClient";
const QString kRefusal = R"({"errCode":99})";

/** A client with its keeper, and what the keeper says, in order. */
struct Kept
{
    explicit Kept(const QString& path = kClientPath)
        : client(registrator, path, connection, QString(), factory, false)
    {
        Note(&SessionKeeper::Opened, "opened");
        Note(&SessionKeeper::Closed, "closed");
        Note(&SessionKeeper::Refused, "refused");
    }

    ~Kept() { client.HandleCloseSessionReply(false, {}); }

    void Note(void (SessionKeeper::*signal)(), const char* word)
    {
        QObject::connect(&keeper, signal, &keeper, [this, word] { heard.append(word); });
    }

    /** The delay before the service is asked again, which is now. */
    int HurryRetry()
    {
        auto* retry = keeper.findChild<QTimer*>();
        const int delay = retry->isActive() ? retry->interval() : -1;
        retry->start(0);
        return delay;
    }

    LogCapture log;
    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyHmiFactory factory;
    OpenedHmi client;
    SessionKeeper keeper{client, bus};
    QStringList heard;
};

/** A service that gives this session. It is not on the bus yet. */
std::unique_ptr<FakeService> Service(int sessionId)
{
    auto service = std::make_unique<FakeService>();
    service->Answer("openSession", QStringLiteral(R"({"sessionId":%1})").arg(sessionId));
    return service;
}

/** Likewise, and it is on the bus. */
std::unique_ptr<FakeService> PresentService(int sessionId)
{
    auto service = Service(sessionId);
    service->Appear();
    return service;
}

/** A service that gives no session. It is not on the bus yet. */
std::unique_ptr<FakeService> RefusingService()
{
    auto service = std::make_unique<FakeService>();
    service->Answer("openSession", kRefusal);
    return service;
}

int Openings(const FakeService& service)
{
    return static_cast<int>(service.ArgumentsOf("openSession").size());
}

} // namespace

/** A session that outlives the service. */
class tst_SessionKeeper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void start_serviceThere_opensAtOnce();
    void start_twice_opensOnce();
    void start_serviceLate_opensWhenItComes();
    void start_refused_retriesUntilThereIsASession();
    void refused_isAskedAgain_slowerAndSlower();
    void late_refused_retries();
    void restart_closesAndOpens();
    void restart_isNoticed_withoutASession();
    void restart_withOpenRequestOnItsWay_opensAtTheNewOwnerOnce();
    void leaves_whileRefusing_isNotAskedAgain();
    void handOver_closesAndOpens();
    void handOver_oldOwnerAnswersLate_isIgnored_data();
    void handOver_oldOwnerAnswersLate_isIgnored();
    void handOver_oldOwnerRefusesLate_isIgnored();
    void pathTaken_opensNoSession_untilItIsFree();
    void pathNotValid_isRefused();
};

void tst_SessionKeeper::cleanup()
{
    HandleArrivedEvents(QDBusConnection::systemBus());
}

void tst_SessionKeeper::start_serviceThere_opensAtOnce()
{
    const auto service = PresentService(7);
    Kept kept;
    kept.keeper.Start();
    QCOMPARE(kept.heard, QStringList{"opened"});
    QVERIFY(kept.keeper.IsOpen());
    QCOMPARE(kept.client.SessionId(), 7u);
    QVERIFY(HandleArrivedEvents(kept.bus)); // the news that the service has appeared
    QCOMPARE(kept.heard, QStringList{"opened"});
    QCOMPARE(service->Calls().size(), 1);
}

void tst_SessionKeeper::start_twice_opensOnce()
{
    const auto service = PresentService(7);
    Kept kept;
    kept.keeper.Start();
    kept.keeper.Start();
    QCOMPARE(kept.heard, QStringList{"opened"});
    QCOMPARE(kept.log.Complaints().size(), 1); // of the bus name that was taken
}

void tst_SessionKeeper::start_serviceLate_opensWhenItComes()
{
    const auto service = Service(7);
    Kept kept;
    kept.keeper.Start();
    QVERIFY(HandleArrivedEvents(kept.bus));
    QCOMPARE(kept.heard, QStringList());
    QVERIFY(!kept.keeper.IsOpen());
    service->Appear();
    QTRY_COMPARE_WITH_TIMEOUT(kept.heard, QStringList{"opened"}, 30000);
    QVERIFY(HandleArrivedEvents(kept.bus));
    QCOMPARE(kept.heard, QStringList{"opened"});
    QCOMPARE(Openings(*service), 1);
}

void tst_SessionKeeper::start_refused_retriesUntilThereIsASession()
{
    const auto service = RefusingService();
    service->Appear();
    Kept kept;
    kept.keeper.Start();
    QCOMPARE(kept.heard, QStringList{"refused"});
    QCOMPARE(kept.keeper.Problem(), "The audio service gives no session.");
    QVERIFY(service->WaitForCalls("openSession", 3));
    QVERIFY(!kept.keeper.IsOpen());
    service->Answer("openSession", R"({"sessionId":8})");
    QTRY_COMPARE_WITH_TIMEOUT(kept.heard, (QStringList{"refused", "opened"}), 30000);
    QCOMPARE(kept.client.SessionId(), 8u);
    QVERIFY(!kept.keeper.findChild<QTimer*>()->isActive());
}

void tst_SessionKeeper::refused_isAskedAgain_slowerAndSlower()
{
    const auto service = Service(7);
    service->Fail("openSession", "com.example.Busy", "later");
    service->Appear();
    Kept kept;
    kept.keeper.Start();
    QVERIFY(
        HandleArrivedEvents(kept.bus)); // the news that the service has appeared, which has it asked again
    QList<int> delays;
    for (int calls = Openings(*service); delays.size() < 8; ++calls) {
        QVERIFY(service->WaitForCalls("openSession", calls));
        QTRY_VERIFY_WITH_TIMEOUT(kept.keeper.findChild<QTimer*>()->isActive(), 30000);
        delays.append(kept.HurryRetry());
    }
    QCOMPARE(delays, (QList<int>{100, 200, 400, 800, 1600, 3200, 5000, 5000}));
    QCOMPARE(kept.heard, QStringList{"refused"});
}

void tst_SessionKeeper::late_refused_retries()
{
    const auto service = RefusingService();
    Kept kept;
    kept.keeper.Start();
    service->Appear();
    QVERIFY(service->WaitForCalls("openSession", 3));
    QCOMPARE(kept.heard, QStringList{"refused"});
    service->Answer("openSession", R"({"sessionId":8})");
    QTRY_COMPARE_WITH_TIMEOUT(kept.heard, (QStringList{"refused", "opened"}), 30000);
}

void tst_SessionKeeper::restart_closesAndOpens()
{
    auto service = PresentService(7);
    Kept kept;
    kept.keeper.Start();
    service.reset();
    QTRY_COMPARE_WITH_TIMEOUT(kept.heard, (QStringList{"opened", "closed"}), 30000);
    QVERIFY(!kept.keeper.IsOpen());
    QCOMPARE(kept.client.SessionId(), 0u);
    service = PresentService(8);
    QTRY_COMPARE_WITH_TIMEOUT(kept.heard, (QStringList{"opened", "closed", "opened"}), 30000);
    QCOMPARE(kept.client.SessionId(), 8u);
    QCOMPARE(Openings(*service), 1);
    QCOMPARE(service->Calls().size(), 1); // nothing was closed
}

void tst_SessionKeeper::restart_isNoticed_withoutASession()
{
    auto service = RefusingService();
    service->Appear();
    Kept kept;
    kept.keeper.Start();
    service.reset();
    QVERIFY(HandleArrivedEvents(kept.bus));
    service = PresentService(8);
    QTRY_COMPARE_WITH_TIMEOUT(kept.heard, (QStringList{"refused", "opened"}), 30000);
}

void tst_SessionKeeper::restart_withOpenRequestOnItsWay_opensAtTheNewOwnerOnce()
{
    auto service = PresentService(7);
    Kept kept;
    kept.keeper.Start();
    service->Leave();
    QTRY_VERIFY_WITH_TIMEOUT(!kept.keeper.IsOpen(), 30000);
    service->Hold("openSession");
    service->Appear();
    QVERIFY(service->WaitForCalls("openSession", 2));
    service.reset(); // does not answer any more
    service = PresentService(8);
    QTRY_VERIFY_WITH_TIMEOUT(kept.keeper.IsOpen(), 30000);
    QVERIFY(HandleArrivedEvents(kept.bus));
    QCOMPARE(kept.client.SessionId(), 8u);
    QCOMPARE(Openings(*service), 1);
    QCOMPARE(kept.heard.filter("opened").size(), 2);
    QCOMPARE(kept.heard.filter("closed").size(), 1);
}

void tst_SessionKeeper::leaves_whileRefusing_isNotAskedAgain()
{
    const auto service = RefusingService();
    service->Appear();
    Kept kept;
    kept.keeper.Start();
    service->Leave();
    QTRY_VERIFY_WITH_TIMEOUT(!kept.keeper.findChild<QTimer*>()->isActive(), 30000);
    QVERIFY(HandleArrivedEvents(kept.bus));
    QVERIFY(!kept.keeper.findChild<QTimer*>()->isActive());
    QCOMPARE(kept.heard, QStringList{"refused"});
}

void tst_SessionKeeper::handOver_closesAndOpens()
{
    const auto first = Service(7);
    const auto second = Service(8);
    first->AppearReplaceable();
    Kept kept;
    kept.keeper.Start();
    second->TakeOver();
    QTRY_COMPARE_WITH_TIMEOUT(kept.heard, (QStringList{"opened", "closed", "opened"}), 30000);
    QCOMPARE(kept.client.SessionId(), 8u);
    QCOMPARE(Openings(*second), 1);
}

void tst_SessionKeeper::handOver_oldOwnerAnswersLate_isIgnored_data()
{
    QTest::addColumn<bool>("isNewOwnerFirst");
    QTest::newRow("before the new owner") << false;
    QTest::newRow("after the new owner") << true;
}

// An answer of the old owner names a session that the new one does not know.
void tst_SessionKeeper::handOver_oldOwnerAnswersLate_isIgnored()
{
    QFETCH(bool, isNewOwnerFirst);
    const auto first = Service(7);
    const auto second = Service(8);
    Kept kept;
    first->AppearReplaceable();
    kept.keeper.Start();
    first->Leave();
    QTRY_VERIFY_WITH_TIMEOUT(!kept.keeper.IsOpen(), 30000);
    first->Hold("openSession");
    second->Hold("openSession");
    first->AppearReplaceable();
    QVERIFY(first->WaitForCalls("openSession", 2));
    second->TakeOver();
    QVERIFY(second->WaitForCalls("openSession", 1));

    QSignalSpy completed(&kept.client, &ServiceProviderClient::SignalOpenSessionCompleted);
    (isNewOwnerFirst ? second : first)->Release("openSession");
    QTRY_COMPARE_WITH_TIMEOUT(completed.size(), 1, 30000);
    QCOMPARE(kept.client.SessionId(), isNewOwnerFirst ? 8u : 0u);
    (isNewOwnerFirst ? first : second)->Release("openSession");
    QTRY_COMPARE_WITH_TIMEOUT(completed.size(), 2, 30000);
    QCOMPARE(kept.client.SessionId(), 8u);
    QVERIFY(HandleArrivedEvents(kept.bus));
    QCOMPARE(kept.heard, (QStringList{"opened", "closed", "opened"}));
    QCOMPARE(completed.size(), 2);
    QCOMPARE(Openings(*second), 1);
}

void tst_SessionKeeper::handOver_oldOwnerRefusesLate_isIgnored()
{
    const auto first = Service(7);
    const auto second = Service(8);
    Kept kept;
    first->AppearReplaceable();
    kept.keeper.Start();
    first->Leave();
    QTRY_VERIFY_WITH_TIMEOUT(!kept.keeper.IsOpen(), 30000);
    first->Answer("openSession", kRefusal);
    first->Hold("openSession");
    first->AppearReplaceable();
    QVERIFY(first->WaitForCalls("openSession", 2));
    second->TakeOver();
    QTRY_VERIFY_WITH_TIMEOUT(kept.keeper.IsOpen(), 30000);
    QSignalSpy completed(&kept.client, &ServiceProviderClient::SignalOpenSessionCompleted);
    first->Release("openSession");
    QTRY_COMPARE_WITH_TIMEOUT(completed.size(), 1, 30000);
    QCOMPARE(kept.heard, (QStringList{"opened", "closed", "opened"}));
    QCOMPARE(kept.client.SessionId(), 8u);
    QVERIFY(!kept.keeper.findChild<QTimer*>()->isActive());
}

// The service would call the object that has the path.
void tst_SessionKeeper::pathTaken_opensNoSession_untilItIsFree()
{
    const auto service = PresentService(7);
    Kept kept;
    QObject other;
    QVERIFY(kept.bus.registerObject(kExportedPath, &other));
    kept.keeper.Start();
    QCOMPARE(kept.heard, QStringList{"refused"});
    QCOMPARE(kept.keeper.Problem(), "The object path " + kExportedPath + " is taken or not valid.");
    for (int i = 0; i < 3; ++i) {
        kept.HurryRetry();
        QTRY_VERIFY_WITH_TIMEOUT(kept.keeper.findChild<QTimer*>()->interval() != 0, 30000);
    }
    QCOMPARE(kept.heard, QStringList{"refused"});
    QCOMPARE(service->Calls().size(), 0);

    kept.bus.unregisterObject(kExportedPath);
    QTRY_COMPARE_WITH_TIMEOUT(kept.heard, (QStringList{"refused", "opened"}), 30000);
    const QDBusMessage answer = service->CallClient(kept.bus.baseService(), kExportedPath, "onModeChange",
                                                    R"({"sessionId":7,"activeMode":"Tape"})");
    QCOMPARE(answer.arguments(), QVariantList{"{}"});
    QCOMPARE(kept.client.CurrentMode(), "Tape");
}

void tst_SessionKeeper::pathNotValid_isRefused()
{
    const auto service = PresentService(7);
    Kept kept("no path");
    kept.keeper.Start();
    QCOMPARE(kept.heard, QStringList{"refused"});
    QCOMPARE(kept.keeper.Problem(), "The object path no path/ServiceProviderClient is taken or not valid.");
    QCOMPARE(service->Calls().size(), 0);
}

KIV_BUS_TEST_MAIN(tst_SessionKeeper)
#include "tst_SessionKeeper.moc"
