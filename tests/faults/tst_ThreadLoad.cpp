// SPDX-License-Identifier: MIT
#include "BothClients.h"
#include "BusProbe.h"
#include "LogTexts.h"
#include "Nightly.h"
#include "TestMain.h"

#include <QLoggingCategory>
#include <QMap>
#include <QSemaphore>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <vector>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const int kThreads = 8;

/** Runs a function on a number of threads at once, while this one handles events. */
class Crew
{
public:
    explicit Crew(int size, const std::function<void()>& work)
    {
        for (int i = 0; i < size; ++i) {
            m_Threads.emplace_back(QThread::create(work));
            m_Threads.back()->start();
        }
    }

    ~Crew()
    {
        for (const auto& thread : m_Threads) {
            thread->wait();
        }
    }

    bool IsDone() const
    {
        for (const auto& thread : m_Threads) {
            if (!thread->isFinished()) {
                return false;
            }
        }
        return true;
    }

private:
    std::vector<std::unique_ptr<QThread>> m_Threads;
};

/** Counts completions by request identifier. */
struct Completions
{
    template <typename Client, typename Signal>
    void Watch(const Client& client, Signal signal)
    {
        QObject::connect(&client, signal, [this](quint32 requestId, bool result) {
            ++byIdentifier[requestId];
            successes += result ? 1 : 0;
            total += 1;
        });
    }

    QMap<quint32, int> byIdentifier;
    int successes = 0;
    int total = 0;
};

/** Each of the identifiers 1 to count, once. */
QMap<quint32, int> EachOnce(int count)
{
    QMap<quint32, int> once;
    for (int i = 1; i <= count; ++i) {
        once.insert(once.constEnd(), static_cast<quint32>(i), 1);
    }
    return once;
}

const QString kSharedName = kClientName + ".shared";

/** Written whenever the first registrator of a name succeeds. */
LogRecord NameTaken()
{
    return Warning("ServiceRegistrator::ServiceRegistrator -- register count is less than 1 for service: \"" +
                   kSharedName + '"');
}

using Operation = std::function<quint32(BothClients&)>;

/** Waits on a thread without an event loop. */
bool Await(const std::function<bool()>& condition)
{
    const QDeadlineTimer watchdog(60000);
    while (!condition() && !watchdog.hasExpired()) {
        QThread::yieldCurrentThread();
    }
    return condition();
}

/** Handles events until a condition holds, without the pauses of QTRY_VERIFY: each caller waits for its turn. */
bool HandleEventsUntil(const std::function<bool()>& condition)
{
    QTimer heartbeat;
    heartbeat.start(100); // ms; the end of a thread is no event
    const QDeadlineTimer watchdog(300000);
    while (!condition() && !watchdog.hasExpired()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return condition();
}

} // namespace

Q_DECLARE_METATYPE(Operation)

class tst_ThreadLoad : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eightThreads_everyRequestCompletesOnce_data();
    void eightThreads_everyRequestCompletesOnce();
    void eightThreads_clientIsDeletedWhileTheyCallAnother();
    void blockingRequest_foreignCallerWaitsUntilItIsThrough_data();
    void blockingRequest_foreignCallerWaitsUntilItIsThrough();
    void eightThreads_ownClients_liveAndEndSideBySide();
};

void tst_ThreadLoad::eightThreads_everyRequestCompletesOnce_data()
{
    QTest::addColumn<bool>("isHmi");
    QTest::newRow("HMI") << true;
    QTest::newRow("application") << false;
}

void tst_ThreadLoad::eightThreads_everyRequestCompletesOnce()
{
    QFETCH(bool, isHmi);
    const int rounds = Nightly(10000, 500);
    const int count = kThreads * rounds;
    BothClients on;
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, false);
    Completions completions;
    completions.Watch(*on.hmi, &AudioManagerHmi::SignalGetModeCompleted);
    completions.Watch(*on.hmi, &AudioManagerHmi::SignalSetModeCompleted);
    completions.Watch(*on.app, &AudioManagerApp::SignalAudioActiveCompleted);
    completions.Watch(*on.app, &AudioManagerApp::SignalAbandonAudioFocusCompleted);
    QMutex lock;
    QMap<quint32, int> issued;
    const auto call = [&](int i) {
        return isHmi ? (i % 2 == 0 ? on.hmi->GetModeAsync("all") : on.hmi->SetModeAsync("A"))
                     : (i % 2 == 0 ? on.app->AudioActiveAsync(true) : on.app->AbandonAudioFocusAsync("end"));
    };
    const Crew crew(kThreads, [&] {
        for (int i = 0; i < rounds; ++i) {
            const quint32 requestId = call(i);
            const QMutexLocker locker(&lock);
            ++issued[requestId];
        }
    });

    QVERIFY(HandleEventsUntil([&] { return crew.IsDone() && completions.total >= count; }));
    on.Settle();

    QCOMPARE(issued, EachOnce(count));
    QCOMPARE(completions.byIdentifier, EachOnce(count));
    QCOMPARE(completions.successes, count);
    const QStringList methods =
        isHmi ? QStringList{"getMode", "setMode"} : QStringList{"audioActive", "abandonAudioFocus"};
    const int atStart = isHmi ? 1 : 0; // the "getMode" of initialisation
    QCOMPARE(on.service->ArgumentsOf(methods.first()).size(), count / 2 + atStart);
    QCOMPARE(on.service->ArgumentsOf(methods.last()).size(), count / 2);
    QCOMPARE(on.log.Complaints(), QVector<LogRecord>());
}

void tst_ThreadLoad::eightThreads_clientIsDeletedWhileTheyCallAnother()
{
    const int rounds = Nightly(2000, 100);
    BothClients on;
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, false);
    Completions completions;
    completions.Watch(*on.app, &AudioManagerApp::SignalAudioActiveCompleted);
    const Crew crew(kThreads, [&] {
        for (int i = 0; i < rounds; ++i) {
            on.app->AudioActiveAsync(true);
        }
    });
    on.service->Hold("getMode");
    for (int i = 0; i < 64; ++i) {
        on.hmi->GetModeAsync(QString());
    }
    QTRY_VERIFY(completions.total > rounds);
    delete on.hmi;
    on.service->Release("getMode");

    QVERIFY(HandleEventsUntil([&] { return crew.IsDone() && completions.total >= kThreads * rounds; }));
    on.Settle();
    QCOMPARE(completions.byIdentifier, EachOnce(kThreads * rounds));
    QCOMPARE(completions.successes, kThreads * rounds);
}

void tst_ThreadLoad::blockingRequest_foreignCallerWaitsUntilItIsThrough_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<QString>("method");
    const auto add = [](const char* method, const Operation& operation) {
        QTest::newRow(method) << operation << QString(method);
    };
    add("setMode", [](BothClients& on) { return on.hmi->SetModeAsync("B"); });
    add("getModeList", [](BothClients& on) { return on.hmi->GetModeListAsync("x"); });
    add("closeSession", [](BothClients& on) { return on.hmi->CloseSessionAsync(); });
    add("registerAudioStream", [](BothClients& on) { return on.app->RegisterAudioStreamAsync(); });
    add("requestAudioFocus", [](BothClients& on) { return on.app->RequestAudioFocusAsync(); });
    add("abandonAudioFocus", [](BothClients& on) { return on.app->AbandonAudioFocusAsync("end"); });
}

void tst_ThreadLoad::blockingRequest_foreignCallerWaitsUntilItIsThrough()
{
    QFETCH(Operation, operation);
    QFETCH(QString, method);
    BothClients on;
    const int before = int(on.service->ArgumentsOf(method).size());
    on.service->Hold("audioActive");
    std::atomic<bool> hasReturned{false};
    std::atomic<quint32> requestId{0};
    bool isCallSeen = false;
    const auto isForwarding = [&] {
        return !on.log.Texts(QtDebugMsg).filter("Forwarding invokation on thread").isEmpty();
    };

    const Crew caller(1, [&] {
        Await([&] { return !on.service->ArgumentsOf("audioActive").isEmpty(); });
        requestId = operation(on);
        hasReturned = true;
    });
    const Crew releaser(1, [&] {
        isCallSeen = Await(isForwarding);
        on.service->Release("audioActive");
    });
    QVERIFY(on.app->AudioActive(true)); // blocks, and comes back although another thread waits

    QVERIFY(!hasReturned);
    QCOMPARE(on.service->ArgumentsOf(method).size(), before);
    QTRY_VERIFY(hasReturned && releaser.IsDone());
    QVERIFY(isCallSeen);
    QCOMPARE(requestId.load(), 1u);
    QTRY_COMPARE(on.service->ArgumentsOf(method).size(), before + 1);
}

void tst_ThreadLoad::eightThreads_ownClients_liveAndEndSideBySide()
{
    const int rounds = Nightly(500, 20);
    LogCapture log;
    BusSurroundings on;
    QLoggingCategory::defaultCategory()->setEnabled(QtDebugMsg, false);
    on.service->Answer("openSession", R"({"sessionId":7})");
    on.service->Answer("getModeList", R"({"modeList":["A"]})");
    on.service->Appear();
    on.Settle();
    log.Clear();
    std::atomic<int> number{0};
    std::atomic<int> failures{0};
    const auto live = [&] {
        const QString path = QString("%1/c%2").arg(kClientPath).arg(++number);
        const ServiceRegistrator registrator(on.bus, kSharedName);
        AdaptorConnection connection(on.bus);
        OpenedHmi client(registrator, path, connection, QString(), on.factory, true);
        const bool isReady = client.Initialize() == KivBaseClient::INIT_STATE_SUCCESS;
        QSignalSpy completed(&client, &AudioManagerHmi::SignalSetModeCompleted);
        const bool isSent = client.SetModeAsync("A") == 1 && (!completed.isEmpty() || completed.wait(30000));
        client.Powerdown();
        failures += isReady && isSent && completed == QList<QVariantList>({{1u, true}}) ? 0 : 1;
    };
    const Crew crew(kThreads, [&] {
        for (int i = 0; i < rounds; ++i) {
            live();
        }
    });

    QVERIFY(HandleEventsUntil([&crew] { return crew.IsDone(); }));

    QCOMPARE(failures.load(), 0);
    for (const char* method : {"openSession", "getModeList", "getMode", "setMode", "closeSession"}) {
        QCOMPARE(on.service->ArgumentsOf(method).size(), kThreads * rounds);
    }
    QVERIFY(!on.bus.interface()->isServiceRegistered(kSharedName).value());
    QVector<LogRecord> complaints = log.Complaints(); // that a name is taken is told of as if it were wrong
    complaints.erase(std::remove(complaints.begin(), complaints.end(), NameTaken()), complaints.end());
    QCOMPARE(complaints, QVector<LogRecord>());
}

// As many requests as there are may wait: how many do depends on how quick the service is.
int main(int argc, char** argv)
{
    const PrivateBus bus(R"(<limit name="max_replies_per_connection">200000</limit>)");
    const QCoreApplication application(argc, argv);
    LimitTestFunctions(600);
    tst_ThreadLoad test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ThreadLoad.moc"
