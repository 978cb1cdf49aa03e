// SPDX-License-Identifier: MIT
#include "BothClients.h"
#include "BusProbe.h"
#include "Nightly.h"
#include "TestMain.h"

#include <QDBusReply>
#include <QLoggingCategory>

#include <functional>

#include <malloc.h>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const int kMatchRuleLimit = 128;
const int kRequests = 64;

/** The service, when there is to be one, and surroundings like those of a program. */
struct Surroundings
{
    Surroundings()
    {
        service.Answer("openSession", R"({"sessionId":7})");
        service.Answer("getModeList", R"({"modeList":["A"]})");
    }

    FakeService service;
    QDBusConnection bus = QDBusConnection::systemBus();
};

/** A client's whole company, made and destroyed with it. */
struct Company
{
    explicit Company(Surroundings& on)
        : registrator(on.bus, kClientName),
          connection(on.bus)
    {
    }

    ServiceRegistrator registrator;
    AdaptorConnection connection;
    ServiceProviderProxyHmiFactory hmiFactory;
    ServiceProviderProxyAppFactory appFactory;
};

struct Hmi : Company
{
    explicit Hmi(Surroundings& on)
        : Company(on),
          client(registrator, kClientPath, connection, QString(), hmiFactory, false)
    {
    }

    void Request() { client.GetModeAsync(QString()); }

    static constexpr const char* method = "getMode";

    OpenedHmi client;
};

struct App : Company
{
    explicit App(Surroundings& on)
        : Company(on),
          client(registrator, kClientPath, "Player", connection, QString(), true, QString(), appFactory, true)
    {
    }

    void Request() { client.AudioActiveAsync(true); }

    static constexpr const char* method = "audioActive";

    OpenedApp client;
};

void Expect(bool isTrue, const char* what)
{
    if (!isTrue) {
        qFatal("%s", what);
    }
}

template <typename Kind>
void NeverInitialised(Surroundings& on)
{
    const Kind kind(on);
    Expect(kind.client.CurrentInitState() == KivBaseClient::INIT_STATE_NOT_CALLED, "initialised by itself");
}

template <typename Kind>
void Waiting(Surroundings& on)
{
    Kind kind(on);
    Expect(kind.client.Initialize() == KivBaseClient::INIT_STATE_WAITING_FOR_KIV, "does not wait");
}

template <typename Kind>
void WithoutPowerdown(Surroundings& on)
{
    Kind kind(on);
    Expect(kind.client.Initialize() == KivBaseClient::INIT_STATE_SUCCESS, "does not initialise");
}

template <typename Kind>
void PoweredDown(Surroundings& on)
{
    Kind kind(on);
    Expect(kind.client.Initialize() == KivBaseClient::INIT_STATE_SUCCESS, "does not initialise");
    kind.client.Powerdown();
}

template <typename Kind>
void RequestsPending(Surroundings& on)
{
    on.service.Hold(Kind::method);
    const int before = int(on.service.ArgumentsOf(Kind::method).size());
    {
        Kind kind(on);
        Expect(kind.client.Initialize() == KivBaseClient::INIT_STATE_SUCCESS, "does not initialise");
        for (int i = 0; i < kRequests; ++i) {
            kind.Request();
        }
    }
    Expect(on.service.WaitForCalls(Kind::method, before + kRequests), "requests are missing");
    on.service.Release(Kind::method);                                     // answers that nobody waits for
    on.service.CallClient(on.bus.baseService(), "/nobody", "ping", "{}"); // arrives behind them
}

/** What a process uses, as it and the bus count it. */
struct Usage
{
    int descriptors;
    int matchRules;
    QStringList names;
    qint64 heap;
};

QDBusMessage CallBus(const QDBusConnection& bus, const QString& method, const QString& argument)
{
    QDBusMessage call =
        QDBusMessage::createMethodCall("org.freedesktop.DBus", "/", "org.freedesktop.DBus", method);
    call.setArguments({argument});
    return bus.call(call);
}

/** How many match rules the process has on the bus: as many as it cannot add any more. */
int CountMatchRules()
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    const QString rule = "type='signal',member='Room%1'";
    int room = 0;
    while (CallBus(bus, "AddMatch", rule.arg(room)).type() == QDBusMessage::ReplyMessage) {
        ++room;
    }
    for (int i = 0; i < room; ++i) {
        CallBus(bus, "RemoveMatch", rule.arg(i));
    }
    return kMatchRuleLimit - room;
}

Usage CurrentUsage()
{
    const QDBusConnection bus = QDBusConnection::systemBus();
    Expect(HandleArrivedEvents(bus), "the bus is silent");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QStringList names = bus.interface()->registeredServiceNames().value();
    names.sort();
    const int matchRules = CountMatchRules();
    const struct mallinfo2 heap = ::mallinfo2();
    return {
        int(QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size()),
        matchRules, names, static_cast<qint64>(heap.uordblks + heap.hblkhd)};
}

using Life = std::function<void(Surroundings&)>;

/** Leads a life a number of times, with a service that is there for these alone. */
void Repeat(const Life& life, bool isServiceThere, int rounds)
{
    Surroundings on;
    if (isServiceThere) {
        on.service.Appear();
    }
    Expect(HandleArrivedEvents(on.bus), "the bus is silent");
    for (int i = 0; i < rounds; ++i) {
        life(on);
        QCoreApplication::processEvents();
    }
    Expect(HandleArrivedEvents(on.bus), "the bus is silent");
}

} // namespace

Q_DECLARE_METATYPE(Life)

class tst_ClientResources : public QObject
{
    Q_OBJECT

private:
    template <typename Kind>
    static void AddLives(const QString& kind);

private Q_SLOTS:
    void initTestCase();
    void matchRules_areCounted();
    void createdAndDestroyed_leavesNothingBehind_data();
    void createdAndDestroyed_leavesNothingBehind();
};

void tst_ClientResources::initTestCase()
{
    QLoggingCategory::setFilterRules("default.debug=false\ndefault.warning=false\ndefault.critical=false");
}

void tst_ClientResources::matchRules_areCounted()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    const int before = CurrentUsage().matchRules;
    {
        const QDBusServiceWatcher watcher("test.Name", bus);
        QVERIFY(CurrentUsage().matchRules > before);
    }
    QCOMPARE(CurrentUsage().matchRules, before);
}

template <typename Kind>
void tst_ClientResources::AddLives(const QString& kind)
{
    const auto add = [&kind](const char* end, const Life& life, bool isServiceThere, int requests, int usual,
                             int nightly) {
        QTest::newRow(qPrintable(kind + ", " + end))
            << life << isServiceThere << requests << Nightly(nightly, usual);
    };
    add("powered down", &PoweredDown<Kind>, true, 0, 300, 10000);
    add("without Powerdown", &WithoutPowerdown<Kind>, true, 0, 50, 1000);
    add("64 requests pending", &RequestsPending<Kind>, true, kRequests, 20, 200);
    add("waiting for the service", &Waiting<Kind>, false, 0, 50, 1000);
    add("never initialised", &NeverInitialised<Kind>, true, 0, 50, 1000);
}

void tst_ClientResources::createdAndDestroyed_leavesNothingBehind_data()
{
    QTest::addColumn<Life>("life");
    QTest::addColumn<bool>("isServiceThere");
    QTest::addColumn<int>("requests");
    QTest::addColumn<int>("rounds");
    AddLives<Hmi>("HMI");
    AddLives<App>("application");
}

void tst_ClientResources::createdAndDestroyed_leavesNothingBehind()
{
    QFETCH(Life, life);
    QFETCH(bool, isServiceThere);
    QFETCH(int, rounds);
    QFETCH(int, requests);
    const qint64 bytesOfNoise = 48 * 1024; // what allocators and tables keep, however many clients there were
    const qint64 bytesEach = 16;           // less than the smallest block of a client or a request
    const qint64 allowed = bytesOfNoise + rounds * (1 + requests) * bytesEach;
    Repeat(life, isServiceThere, qMax(20, rounds / 2)); // what is made once

    qint64 growth = allowed;
    for (int i = 0; i < 5 && growth >= allowed; ++i) { // noise comes now and then, a leak each time
        const Usage before = CurrentUsage();
        Repeat(life, isServiceThere, rounds);
        const Usage after = CurrentUsage();
        QCOMPARE(after.descriptors, before.descriptors);
        QCOMPARE(after.matchRules, before.matchRules);
        QCOMPARE(after.names, before.names);
        QVERIFY(!after.names.contains(kClientName));
        growth = after.heap - before.heap;
    }
    QVERIFY2(growth < allowed, qPrintable(QString("%1 bytes more").arg(growth)));
}

int main(int argc, char** argv)
{
    const PrivateBus bus(
        QString(R"(<limit name="max_match_rules_per_connection">%1</limit>)").arg(kMatchRuleLimit));
    const QCoreApplication application(argc, argv);
    tst_ClientResources test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ClientResources.moc"
