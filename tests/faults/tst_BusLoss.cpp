// SPDX-License-Identifier: MIT
#include "BusProbe.h"
#include "FakeService.h"
#include "ForkedProcess.h"
#include "HmiSignals.h"
#include "LogCapture.h"
#include "MediaApp.h"
#include "Nightly.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QSet>
#include <QThread>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include <unistd.h>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

// A process has one system bus connection in its life. So each test is a process of its own, this program with the name
// of a role, which does its role on a bus of its own and prints what it sees.

namespace {

// ms, where a request without an answer takes 25 s; at night the second in which a program learns that its bus has gone
const int kFarBelowTheTimeOut = Nightly(1000, 10000);

void Print(const QString& line)
{
    fprintf(stdout, "%s\n", qPrintable(line));
    fflush(stdout);
}

void Print(const char* what, bool is)
{
    Print(QStringLiteral("%1: %2").arg(what, is ? "yes" : "no"));
}

/** Waits with the event loop running. */
bool WaitUntil(const std::function<bool()>& condition)
{
    return QTest::qWaitFor(condition, kPatience);
}

/** A bus, a service on it, and a thread that ends the process when it takes too long. */
struct World
{
    World()
    {
        service = std::make_unique<FakeService>();
        service->Answer("openSession", R"({"sessionId":7})");
        service->Answer("getModeList", R"({"modeList":["Radio"]})");
        service->Answer("getMode", R"({"currentMode":["Radio"]})");
        service->Appear();
        std::thread([this] {
            ::sleep(60);
            bus.Signal(SIGCONT); // a stopped daemon would stay for ever
            ::_exit(9);
        }).detach();
    }

    /** On a thread of its own, does something to the bus when the service has a request. */
    void WhenRequested(const QString& method, const std::function<void()>& act)
    {
        helper.reset(QThread::create([this, method, act] {
            service->WaitForCalls(method, 1);
            act();
        }));
        helper->start();
    }

    PrivateBus bus;
    std::unique_ptr<FakeService> service;
    std::unique_ptr<QThread> helper;
    QElapsedTimer sinceTheEnd;
};

/** Kills the bus when the service has got "openSession", which it does not answer, and tells when everybody must know. */
void KillTheBusInTheFirstRequest(World& world)
{
    world.service->Hold("openSession");
    world.helper.reset(QThread::create([&world] {
        BusProbe probe;
        world.service->WaitForCalls("openSession", 1);
        world.sinceTheEnd.start();
        world.bus.Signal(SIGKILL);
        if (WaitUntil([&probe] { return !probe.Connection().isConnected(); })) {
            Print("the bus has gone");
        }
    }));
    world.helper->start();
}

/** Initialises a client, in whose first request the bus goes. */
void StartIntoTheEnd(World& world)
{
    HmiClient client("/hmi");
    KillTheBusInTheFirstRequest(world);
    const KivBaseClient::InitState state = client.hmi.Initialize();
    const qint64 elapsed = world.sinceTheEnd.elapsed();
    fprintf(stderr, "from the end of the bus to the end of the request: %lld ms\n", elapsed);
    world.helper->wait();
    Print("initialised: " + KivBaseClient::InitStateToString(state));
    Print("far below the time-out", elapsed < kFarBelowTheTimeOut);
    client.hmi.Powerdown();
}

int RunOnce(const std::function<void()>& start)
{
    QTimer::singleShot(0, QCoreApplication::instance(), [start] {
        start();
        QCoreApplication::quit();
    });
    return QCoreApplication::exec();
}

// Ways to start a client

int StartAfterTheConnection()
{
    World world;
    QDBusConnection::systemBus();
    return RunOnce([&world] { StartIntoTheEnd(world); });
}

int StartOnAWorker()
{
    World world;
    const std::unique_ptr<QThread> worker(QThread::create([&world] { StartIntoTheEnd(world); }));
    return RunOnce([&worker] {
        worker->start();
        worker->wait();
    });
}

int StartAfterAHelperThread()
{
    World world;
    const std::unique_ptr<QThread> first(QThread::create([] { QDBusConnection::systemBus(); }));
    first->start();
    first->wait();
    StartIntoTheEnd(world);
    return 0;
}

int StartWithoutALoop()
{
    World world;
    StartIntoTheEnd(world);
    return 0;
}

int StartInTheTurnOfTheConnection()
{
    World world;
    return RunOnce([&world] { StartIntoTheEnd(world); });
}

// What happens to a client that is ready

/** An HMI and a player that are ready, and what they tell. */
struct Ready
{
    Ready()
    {
        QDBusConnection::systemBus();
        QCoreApplication::processEvents();
        hmi = std::make_unique<HmiClient>("/hmi");
        music = std::make_unique<AppClient>("/music", "Music", true);
        const bool isReady =
            hmi->hmi.Initialize() == KivBaseClient::INIT_STATE_SUCCESS && music->Initialize();
        Print("ready", isReady);
        screen = std::make_unique<HmiSignals>(&hmi->hmi);
        player = std::make_unique<AppEvents>(music->app);
    }

    bool WaitForTheEnd()
    {
        return WaitUntil([this] { return !hmi->bus.isConnected(); });
    }

    bool WaitForSignals(int count)
    {
        return WaitUntil([this, count] { return screen->List().size() + player->All().size() >= count; });
    }

    /** What both clients can still do: nothing, but they know at once. */
    void PrintWhatWorks()
    {
        QElapsedTimer clock;
        clock.start();
        Print("service runs", hmi->hmi.IsKivServiceRunning());
        Print("mode set", hmi->hmi.SetMode("Radio"));
        Print("mode list read", hmi->hmi.GetModeList(QString()));
        Print("focus requested", music->app.RequestAudioFocus());
        hmi->hmi.Powerdown();
        music->app.Powerdown();
        Print("session open", hmi->hmi.IsSessionOpen() || music->app.IsSessionOpen());
        Print("far below the time-out", clock.elapsed() < kFarBelowTheTimeOut);
    }

    void PrintSignals() const
    {
        QStringList signalled = screen->List() + player->All();
        signalled.sort();
        Print(QStringLiteral("%1 signals:").arg(signalled.size()));
        for (const QString& line : signalled) {
            Print(line);
        }
    }

    /** Sends a request of each kind. @return how many have an identifier. */
    int StartAll()
    {
        int sent = 0;
        AudioManagerHmi& client = hmi->hmi;
        for (const quint32 id :
             {client.GetModeListAsync(QString()), client.GetModeAsync(QString()),
              client.SetModeAsync("Radio"), music->app.AudioActiveAsync(true),
              music->app.RequestAudioFocusAsync(), music->app.AbandonAudioFocusAsync("end")}) {
            sent += id != 0 ? 1 : 0;
        }
        return sent;
    }

    std::unique_ptr<HmiClient> hmi;
    std::unique_ptr<AppClient> music;
    std::unique_ptr<HmiSignals> screen;
    std::unique_ptr<AppEvents> player;
};

const QStringList kAllMethods{"getModeList", "getMode",           "setMode",
                              "audioActive", "requestAudioFocus", "abandonAudioFocus"};

void HoldAll(World& world)
{
    for (const QString& method : kAllMethods) {
        world.service->Hold(method);
    }
}

int NeverThere()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/kiv-test-bus");
    HmiClient client("/hmi");
    const HmiSignals signalled(&client.hmi);
    Print("initialised: " + KivBaseClient::InitStateToString(client.hmi.Initialize()));
    Print("session opened", client.hmi.OpenSession());
    Print("mode set", client.hmi.SetMode("Radio"));
    Print(QStringLiteral("identifier: %1").arg(client.hmi.OpenSessionAsync()));
    QCoreApplication::processEvents();
    client.hmi.Powerdown();
    Print(QStringLiteral("signals: %1").arg(signalled.List().size()));
    return 0;
}

int GoneWhileIdle()
{
    World world;
    Ready clients;
    world.bus.Kill();
    Print("bus noticed as gone", clients.WaitForTheEnd());
    clients.PrintWhatWorks();
    return 0;
}

int GoneThenAsynchronous()
{
    World world;
    Ready clients;
    world.bus.Kill();
    Print("bus noticed as gone", clients.WaitForTheEnd());
    const int sent = clients.StartAll();
    Print("each that has an identifier completes", clients.WaitForSignals(sent));
    QCoreApplication::processEvents();
    const QStringList signalled = clients.screen->List() + clients.player->All();
    Print("and once",
          signalled.size() == sent && QSet<QString>(signalled.cbegin(), signalled.cend()).size() == sent);
    Print("with false", signalled.filter("false").size() == sent);
    return 0;
}

int GoneWhileWaiting()
{
    World world;
    world.service->Leave();
    QDBusConnection::systemBus();
    QCoreApplication::processEvents();
    HmiClient client("/hmi");
    const HmiSignals signalled(&client.hmi);
    Print("initialised: " + KivBaseClient::InitStateToString(client.hmi.Initialize()));
    world.bus.Kill();
    Print("bus noticed as gone", WaitUntil([&client] { return !client.bus.isConnected(); }));
    Print("state: " + KivBaseClient::InitStateToString(client.hmi.CurrentInitState()));
    client.hmi.Powerdown();
    Print(QStringLiteral("signals: %1").arg(signalled.List().size()));
    return 0;
}

int GoneDuringABlockingRequest()
{
    World world;
    Ready clients;
    world.service->Hold("setMode");
    world.WhenRequested("setMode", [&world] {
        world.sinceTheEnd.start();
        world.bus.Signal(SIGKILL);
    });
    Print("mode set", clients.hmi->hmi.SetMode("Radio"));
    const qint64 elapsed = world.sinceTheEnd.elapsed();
    fprintf(stderr, "from the end of the bus to the end of the request: %lld ms\n", elapsed);
    Print("far below the time-out", elapsed < kFarBelowTheTimeOut);
    world.helper->wait();
    return 0;
}

int GoneWithRequestsInFlight()
{
    World world;
    Ready clients;
    HoldAll(world);
    Print(QStringLiteral("sent: %1").arg(clients.StartAll()));
    Print("all are there", world.service->WaitForCalls("abandonAudioFocus", 1));
    world.bus.Kill();
    Print("all have completed", clients.WaitForSignals(6));
    Print("bus noticed as gone", clients.WaitForTheEnd());
    QCoreApplication::processEvents();
    clients.PrintSignals();
    return 0;
}

int FrozenWithRequestsInFlight()
{
    World world;
    Ready clients;
    world.bus.Signal(SIGSTOP);
    QElapsedTimer clock;
    clock.start();
    Print(QStringLiteral("sent: %1").arg(clients.StartAll()));
    Print("without waiting", clock.elapsed() < kFarBelowTheTimeOut);
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&ticks] { ++ticks; });
    timer.start(10);
    Print("event loop runs", WaitUntil([&ticks] { return ticks >= 10; }));
    Print(QStringLiteral("requests at the service: %1").arg(world.service->ArgumentsOf("setMode").size()));
    clients.PrintSignals();
    world.bus.Signal(SIGCONT);
    Print("all have completed", clients.WaitForSignals(6));
    HandleArrivedEvents(clients.hmi->bus);
    clients.PrintSignals();
    return 0;
}

// At night the bus stays frozen until the bus library gives up; otherwise it goes on when the client waits.
int FrozenDuringABlockingRequest()
{
    World world;
    Ready clients;
    const LogCapture log;
    QElapsedTimer clock;
    clock.start();
    world.bus.Signal(SIGSTOP);
    if (!IsNightly()) {
        world.helper.reset(QThread::create([&world, &log] {
            while (log.Records().isEmpty()) {
                QThread::yieldCurrentThread();
            }
            world.bus.Signal(SIGCONT);
        }));
        world.helper->start();
    }
    const bool isSet = clients.hmi->hmi.SetMode("Radio");
    const qint64 elapsed = clock.elapsed();
    world.bus.Signal(SIGCONT);
    fprintf(stderr, "a request over a frozen bus: %lld ms\n", elapsed);
    Print("answered, or given up after 25 s",
          IsNightly() ? !isSet && elapsed >= 24000 && elapsed < 45000 : isSet);
    if (world.helper) {
        world.helper->wait();
    }
    Print("mode set afterwards", clients.hmi->hmi.SetMode("Radio"));
    return 0;
}

const std::map<QString, int (*)()> kRoles{
    {"after-the-connection", StartAfterTheConnection},
    {"on-a-worker", StartOnAWorker},
    {"after-a-helper-thread", StartAfterAHelperThread},
    {"without-a-loop", StartWithoutALoop},
    {"in-the-turn-of-the-connection", StartInTheTurnOfTheConnection},
    {"never-there", NeverThere},
    {"gone-while-idle", GoneWhileIdle},
    {"gone-then-asynchronous", GoneThenAsynchronous},
    {"gone-while-waiting", GoneWhileWaiting},
    {"gone-during-a-blocking-request", GoneDuringABlockingRequest},
    {"gone-with-requests-in-flight", GoneWithRequestsInFlight},
    {"frozen-with-requests-in-flight", FrozenWithRequestsInFlight},
    {"frozen-during-a-blocking-request", FrozenDuringABlockingRequest},
};

int Play(const QString& role)
{
    QLoggingCategory::setFilterRules("default=false");
    const int code = kRoles.at(role)();
    fflush(stdout);
    ::_exit(code); // the watchdog's thread sleeps still
}

/** This program in a role. */
class Actor
{
public:
    explicit Actor(const QString& role)
    {
        m_Process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_Process.start(QCoreApplication::applicationFilePath(), {"--role", role});
    }

    ~Actor()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    /** What it has printed when it has ended; its end, if that was not as it should be. */
    QStringList Report()
    {
        if (!m_Process.waitForFinished(90000) || m_Process.exitStatus() != QProcess::NormalExit ||
            m_Process.exitCode() != 0) {
            return {QStringLiteral("ended with %1").arg(m_Process.exitCode()), Output()};
        }
        return Output().split('\n', Qt::SkipEmptyParts);
    }

    QString Output()
    {
        m_Output += m_Process.readAllStandardOutput();
        return QString::fromUtf8(m_Output);
    }

    bool EndsWithin(int milliseconds) { return m_Process.waitForFinished(milliseconds); }

private:
    ForkedProcess m_Process;
    QByteArray m_Output;
};

} // namespace

/** What becomes of clients whose bus is not there, ends, or is frozen. */
class tst_BusLoss : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void started_busEndsInTheFirstRequest_initialisationFails_data();
    void started_busEndsInTheFirstRequest_initialisationFails();
    void startedTooEarly_busEndsInTheFirstRequest_neverReturns_data();
    void startedTooEarly_busEndsInTheFirstRequest_neverReturns();
    void example_busEndsInItsFirstRequest_endsItself_data();
    void example_busEndsInItsFirstRequest_endsItself();
    void neverThere_everythingFailsAtOnce();
    void goneWhileIdle_blockingOperationsFailAtOnce();
    void goneWhileIdle_asyncOperationsWithAnIdentifierCompleteOnceWithFalse();
    void goneWhileWaitingForTheService_nothingHappens();
    void goneDuringABlockingRequest_theRequestFails();
    void goneWithRequestsInFlight_eachCompletesOnceWithFalse();
    void frozen_asyncRequests_doNotBlockAndCompleteOnceAfterwards();
    void frozen_blockingRequest_waitsNoLongerThanTheTimeOut();
};

void tst_BusLoss::started_busEndsInTheFirstRequest_initialisationFails_data()
{
    QTest::addColumn<QString>("role");
    for (const char* const role : {"after-the-connection", "on-a-worker", "after-a-helper-thread"}) {
        QTest::addRow("%s", role) << role;
    }
}

void tst_BusLoss::started_busEndsInTheFirstRequest_initialisationFails()
{
    QFETCH(QString, role);
    Actor actor(role);
    QCOMPARE(actor.Report(), (QStringList{"the bus has gone", "initialised: INIT_STATE_FAILED",
                                          "far below the time-out: yes"}));
}

void tst_BusLoss::startedTooEarly_busEndsInTheFirstRequest_neverReturns_data()
{
    QTest::addColumn<QString>("role");
    for (const char* const role : {"without-a-loop", "in-the-turn-of-the-connection"}) {
        QTest::addRow("%s", role) << role;
    }
}

// Not a guarantee, but why there is a rule how to start: Qt tells nobody that the bus has gone before the event loop has
// had a turn after the first use of the connection on the main thread.
void tst_BusLoss::startedTooEarly_busEndsInTheFirstRequest_neverReturns()
{
    QFETCH(QString, role);
    Actor actor(role);
    const auto hasTold = [&actor] {
        actor.EndsWithin(0);
        return actor.Output() == "the bus has gone\n";
    };
    QTRY_VERIFY_WITH_TIMEOUT(hasTold(), kPatience);
    QVERIFY(!actor.EndsWithin(Nightly(30000, 1000)));
    QCOMPARE(actor.Output(), "the bus has gone\n");
}

void tst_BusLoss::example_busEndsInItsFirstRequest_endsItself_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("lastWords");
    QTest::addRow("HMI") << KIV_HMI_CONSOLE << QStringList() << "the audio service gives no session\n";
    QTest::addRow("player") << KIV_MEDIA_CONSOLE << QStringList{"music"}
                            << "the audio service takes no stream\n";
}

void tst_BusLoss::example_busEndsInItsFirstRequest_endsItself()
{
    QFETCH(QString, program);
    QFETCH(QStringList, arguments);
    QFETCH(QString, lastWords);
    PrivateBus bus;
    FakeService service;
    service.Hold("openSession");
    service.Appear();
    ForkedProcess example;
    example.start(program, arguments);
    QVERIFY(service.WaitForCalls("openSession", 1));
    bus.Kill();
    const bool hasEnded = example.waitForFinished(kFarBelowTheTimeOut);
    example.kill();
    example.waitForFinished();
    QVERIFY(hasEnded);
    QCOMPARE(QString::fromUtf8(example.readAllStandardOutput()), lastWords);
    QCOMPARE(example.exitCode(), 1);
}

void tst_BusLoss::neverThere_everythingFailsAtOnce()
{
    Actor actor("never-there");
    QCOMPARE(actor.Report(), (QStringList{"initialised: INIT_STATE_WAITING_FOR_KIV", "session opened: no",
                                          "mode set: no", "identifier: 0", "signals: 0"}));
}

void tst_BusLoss::goneWhileIdle_blockingOperationsFailAtOnce()
{
    Actor actor("gone-while-idle");
    QCOMPARE(actor.Report(), (QStringList{"ready: yes", "bus noticed as gone: yes", "service runs: no",
                                          "mode set: no", "mode list read: no", "focus requested: no",
                                          "session open: no", "far below the time-out: yes"}));
}

void tst_BusLoss::goneWhileIdle_asyncOperationsWithAnIdentifierCompleteOnceWithFalse()
{
    Actor actor("gone-then-asynchronous");
    QCOMPARE(actor.Report(),
             (QStringList{"ready: yes", "bus noticed as gone: yes",
                          "each that has an identifier completes: yes", "and once: yes", "with false: yes"}));
}

void tst_BusLoss::goneWhileWaitingForTheService_nothingHappens()
{
    Actor actor("gone-while-waiting");
    QCOMPARE(actor.Report(),
             (QStringList{"initialised: INIT_STATE_WAITING_FOR_KIV", "bus noticed as gone: yes",
                          "state: INIT_STATE_WAITING_FOR_KIV", "signals: 0"}));
}

void tst_BusLoss::goneDuringABlockingRequest_theRequestFails()
{
    Actor actor("gone-during-a-blocking-request");
    QCOMPARE(actor.Report(), (QStringList{"ready: yes", "mode set: no", "far below the time-out: yes"}));
}

void tst_BusLoss::goneWithRequestsInFlight_eachCompletesOnceWithFalse()
{
    Actor actor("gone-with-requests-in-flight");
    QCOMPARE(actor.Report(),
             (QStringList{"ready: yes", "sent: 6", "all are there: yes", "all have completed: yes",
                          "bus noticed as gone: yes", "6 signals:", "AbandonAudioFocusCompleted(3,false)",
                          "AudioActiveCompleted(1,false)", "RequestAudioFocusCompleted(2,false)",
                          "SignalGetModeCompleted 2 false", "SignalGetModeListCompleted 1 false",
                          "SignalSetModeCompleted 3 false"}));
}

void tst_BusLoss::frozen_asyncRequests_doNotBlockAndCompleteOnceAfterwards()
{
    Actor actor("frozen-with-requests-in-flight");
    QCOMPARE(actor.Report(),
             (QStringList{"ready: yes", "sent: 6", "without waiting: yes", "event loop runs: yes",
                          "requests at the service: 0", "0 signals:", "all have completed: yes",
                          "6 signals:", "AbandonAudioFocusCompleted(3,true)", "AudioActiveCompleted(1,true)",
                          "RequestAudioFocusCompleted(2,true)", "SignalGetModeCompleted 2 true",
                          "SignalGetModeListCompleted 1 true", "SignalSetModeCompleted 3 true"}));
}

void tst_BusLoss::frozen_blockingRequest_waitsNoLongerThanTheTimeOut()
{
    Actor actor("frozen-during-a-blocking-request");
    QCOMPARE(actor.Report(), (QStringList{"ready: yes", "answered, or given up after 25 s: yes",
                                          "mode set afterwards: yes"}));
}

int main(int argc, char** argv)
{
    LimitTestFunctions(120);
    const QCoreApplication application(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--role") == 0) {
        return Play(QString::fromLocal8Bit(argv[2]));
    }
    tst_BusLoss test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_BusLoss.moc"
