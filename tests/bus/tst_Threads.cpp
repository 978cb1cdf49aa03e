// SPDX-License-Identifier: MIT
#include "BusSurroundings.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "TestMain.h"

#include <QAtomicPointer>
#include <QDeadlineTimer>
#include <QMutex>
#include <QTimer>

#include <algorithm>
#include <functional>
#include <vector>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kOpenArguments =
    R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})";
const QString kCloseArguments = R"({"sessionId":7})";

using AsyncOperation = quint32 (ServiceProviderClient::*)();

/** One of the two operations that may be called from any thread. */
struct Operation
{
    QString name;
    QString methodName;
    QString arguments;
    AsyncOperation start;
    void (ServiceProviderClient::*completed)(quint32, bool);
    quint32 sessionBefore;
    quint32 sessionAfter;
};

const Operation kOpen{"OpenSessionAsync",
                      "openSession",
                      kOpenArguments,
                      &ServiceProviderClient::OpenSessionAsync,
                      &ServiceProviderClient::SignalOpenSessionCompleted,
                      0,
                      7};
const Operation kClose{"CloseSessionAsync",
                       "closeSession",
                       kCloseArguments,
                       &ServiceProviderClient::CloseSessionAsync,
                       &ServiceProviderClient::SignalCloseSessionCompleted,
                       7,
                       0};

void AddOperations()
{
    QTest::addColumn<bool>("opens");
    QTest::newRow("OpenSessionAsync") << true;
    QTest::newRow("CloseSessionAsync") << false;
}

const Operation& FetchOperation()
{
    QFETCH(bool, opens);
    return opens ? kOpen : kClose;
}

LogRecord Forwarding(const QString& operation, const QThread* from, const QThread* to)
{
    return Debug(
        QStringLiteral("ServiceProviderClient::%1 -- Forwarding invokation on thread %2 to thread %3")
            .arg(operation, Streamed(from), Streamed(to)));
}

LogRecord AsyncCall(const Operation& operation)
{
    return Debug(
        QStringLiteral("ConcreteServiceProvider::AsyncRequest -- Calling method %1 with parameters %2")
            .arg(Streamed(operation.methodName), Streamed(operation.arguments)));
}

/** What a successful operation writes on the client's thread. */
QVector<LogRecord> Carried(const Operation& operation)
{
    QVector<LogRecord> records{AsyncCall(operation)};
    if (operation.sessionAfter != 0) {
        records += Debug("ServiceProviderClient::HandleOpenSessionReply -- Session ID: 7");
    }
    return records;
}

/** A completion signal as it arrived. */
struct Completion
{
    quint32 requestId;
    bool result;
    QThread* thread;

    bool operator==(const Completion& other) const
    {
        return requestId == other.requestId && result == other.result && thread == other.thread;
    }
};

/** Collects completion signals where they are emitted. */
class Completions
{
public:
    void Watch(ServiceProviderClient& client, const Operation& operation)
    {
        QObject::connect(&client, operation.completed, [this](quint32 requestId, bool result) {
            const QMutexLocker lock(&m_Lock);
            m_All.append({requestId, result, QThread::currentThread()});
        });
    }

    QVector<Completion> All() const
    {
        const QMutexLocker lock(&m_Lock);
        return m_All;
    }

private:
    mutable QMutex m_Lock;
    QVector<Completion> m_All;
};

/** A thread with an event loop, in which the test can have things done. */
class Worker
{
public:
    Worker()
    {
        m_Anchor.moveToThread(&m_Thread);
        m_Thread.start();
    }

    ~Worker()
    {
        m_Thread.quit();
        m_Thread.wait();
    }

    /** Runs a function on the thread and waits for its end. */
    void Do(const std::function<void()>& function)
    {
        QMetaObject::invokeMethod(&m_Anchor, function, Qt::BlockingQueuedConnection);
    }

    QThread* Thread() { return &m_Thread; }

private:
    QThread m_Thread;
    QObject m_Anchor;
};

/** Runs a function on a thread without an event loop, while the event loop of the caller's thread runs. */
class Helper
{
public:
    explicit Helper(const std::function<void()>& function)
        : m_Thread(QThread::create(function))
    {
        m_Thread->start();
    }

    ~Helper() { m_Thread->wait(); }

    bool Finish()
    {
        return QTest::qWaitFor([this] { return m_Thread->isFinished(); }, 30000);
    }
    const QThread* Thread() const { return m_Thread.get(); }

private:
    std::unique_ptr<QThread> m_Thread;
};

/** Waits on a thread without an event loop until a method was requested. */
bool AwaitCall(const FakeService& service, const QString& methodName)
{
    QDeadlineTimer watchdog(30000);
    while (service.ArgumentsOf(methodName).isEmpty() && !watchdog.hasExpired()) {
        QThread::yieldCurrentThread();
    }
    return !service.ArgumentsOf(methodName).isEmpty();
}

struct Fixture
{
    Fixture()
    {
        on.service->Answer("openSession", R"({"sessionId":7})");
        on.service->Appear();
        on.Settle();
    }

    LogCapture log;
    BusSurroundings on;
};

/** A client on the test's thread. */
struct LocalFixture : Fixture
{
    LocalFixture()
    {
        if (client.Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
            qFatal("the client does not initialise");
        }
        log.Clear();
    }

    ~LocalFixture() { client.Powerdown(); }

    void Prepare(const Operation& operation)
    {
        client.m_SessionId = operation.sessionBefore;
        completions.Watch(client, operation);
    }

    OpenedSessionClient client{on.registrator, kServiceName, kClientPath,
                               on.connection,  QString(),    on.factory};
    Completions completions;
};

/** A client that was made, lives and ends on a thread of its own. */
struct RemoteFixture : Fixture
{
    RemoteFixture()
    {
        worker.Do([this] {
            client = std::make_unique<OpenedSessionClient>(on.registrator, kServiceName, kClientPath,
                                                           on.connection, QString(), on.factory);
            if (client->Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
                qFatal("the client does not initialise");
            }
        });
        log.Clear();
    }

    ~RemoteFixture()
    {
        worker.Do([this] {
            client->Powerdown();
            client.reset();
        });
    }

    void Prepare(const Operation& operation)
    {
        worker.Do([this, &operation] { client->m_SessionId = operation.sessionBefore; });
        completions.Watch(*client, operation);
    }

    quint32 SessionId()
    {
        quint32 sessionId = 0;
        worker.Do([this, &sessionId] { sessionId = client->SessionId(); });
        return sessionId;
    }

    Worker worker;
    std::unique_ptr<OpenedSessionClient> client;
    Completions completions;
};

/** A client whose operations cannot be found by their name. */
class NamelessClient : public OpenedSessionClient
{
public:
    using OpenedSessionClient::OpenedSessionClient;

    const QMetaObject* metaObject() const override { return &QObject::staticMetaObject; }
};

} // namespace

class tst_Threads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ownThread_isNotForwarded_data() { AddOperations(); }
    void ownThread_isNotForwarded();
    void calledFromAWorker_isForwardedToTheMainThread_data() { AddOperations(); }
    void calledFromAWorker_isForwardedToTheMainThread();
    void calledFromMain_isForwardedToTheWorker_data() { AddOperations(); }
    void calledFromMain_isForwardedToTheWorker();
    void calledOnTheWorker_isNotForwarded_data() { AddOperations(); }
    void calledOnTheWorker_isNotForwarded();
    void movedClient_isForwardedToItsNewThread();

    void foreignThread_refused_givesZeroAndNoSignal_data() { AddOperations(); }
    void foreignThread_refused_givesZeroAndNoSignal();
    void foreignThread_failure_completesWithFalse_data() { AddOperations(); }
    void foreignThread_failure_completesWithFalse();
    void manyForeignThreads_getIdentifiersOfTheirOwn();
    void cannotInvokeSelf_givesZero_data() { AddOperations(); }
    void cannotInvokeSelf_givesZero();

    void foreignCaller_isNotBlockedUntilTheReply_data() { AddOperations(); }
    void foreignCaller_isNotBlockedUntilTheReply();
    void asyncCall_leavesTheEventLoopRunning_data() { AddOperations(); }
    void asyncCall_leavesTheEventLoopRunning();
    void blockingRequest_stopsTheEventLoop();

    void workerClient_lateInitialisation_isOnItsThread();
    void workerClient_inboundCallsAndNotifications_areOnItsThread();
};

void tst_Threads::ownThread_isNotForwarded()
{
    const Operation& operation = FetchOperation();
    LocalFixture fixture;
    fixture.Prepare(operation);

    QCOMPARE((fixture.client.*operation.start)(), 1u);

    QTRY_COMPARE(fixture.completions.All(), (QVector<Completion>{{1, true, QThread::currentThread()}}));
    QCOMPARE(fixture.log.Records(), Carried(operation));
    QCOMPARE(fixture.client.SessionId(), operation.sessionAfter);
}

void tst_Threads::calledFromAWorker_isForwardedToTheMainThread()
{
    const Operation& operation = FetchOperation();
    LocalFixture fixture;
    fixture.Prepare(operation);
    quint32 requestId = 0;

    Helper helper([&] { requestId = (fixture.client.*operation.start)(); });
    QVERIFY(helper.Finish());

    QCOMPARE(requestId, 1u);
    QTRY_COMPARE(fixture.completions.All(),
                 (QVector<Completion>{{requestId, true, QThread::currentThread()}}));
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{Forwarding(operation.name, helper.Thread(), QThread::currentThread())} +
              Carried(operation)));
    QCOMPARE(fixture.client.SessionId(), operation.sessionAfter);
    QCOMPARE(fixture.on.service->ArgumentsOf(operation.methodName).last(), operation.arguments);
}

void tst_Threads::calledFromMain_isForwardedToTheWorker()
{
    const Operation& operation = FetchOperation();
    RemoteFixture fixture;
    fixture.Prepare(operation);

    const quint32 requestId = (fixture.client.get()->*operation.start)();

    QCOMPARE(requestId, 1u);
    QTRY_COMPARE(fixture.completions.All(),
                 (QVector<Completion>{{requestId, true, fixture.worker.Thread()}}));
    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{Forwarding(operation.name, QThread::currentThread(),
                                                                   fixture.worker.Thread())} +
                                     Carried(operation)));
    QCOMPARE(fixture.SessionId(), operation.sessionAfter);
}

void tst_Threads::calledOnTheWorker_isNotForwarded()
{
    const Operation& operation = FetchOperation();
    RemoteFixture fixture;
    fixture.Prepare(operation);
    quint32 requestId = 0;

    fixture.worker.Do([&] { requestId = (fixture.client.get()->*operation.start)(); });

    QCOMPARE(requestId, 1u);
    QTRY_COMPARE(fixture.completions.All(), (QVector<Completion>{{1, true, fixture.worker.Thread()}}));
    QCOMPARE(fixture.log.Records(), Carried(operation));
}

void tst_Threads::movedClient_isForwardedToItsNewThread()
{
    LocalFixture fixture;
    Worker worker;
    fixture.Prepare(kClose);
    fixture.client.moveToThread(worker.Thread());

    const quint32 requestId = fixture.client.CloseSessionAsync();

    QCOMPARE(requestId, 1u);
    QTRY_COMPARE(fixture.completions.All(), (QVector<Completion>{{requestId, true, worker.Thread()}}));
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{Forwarding("CloseSessionAsync", QThread::currentThread(), worker.Thread()),
                                 AsyncCall(kClose)}));
    QThread* const home = QThread::currentThread();
    worker.Do([&] { fixture.client.moveToThread(home); });
}

void tst_Threads::foreignThread_refused_givesZeroAndNoSignal()
{
    const Operation& operation = FetchOperation();
    RemoteFixture fixture;
    fixture.Prepare(operation);
    fixture.worker.Do([&] { fixture.client->m_SessionId = operation.sessionAfter; });

    QCOMPARE((fixture.client.get()->*operation.start)(), 0u);

    const QString reason = operation.sessionAfter != 0
                               ? "ServiceProviderClient::StartOpenSessionRequest -- Session is already open"
                               : "ServiceProviderClient::StartCloseSessionRequest -- Session is not open";
    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{Forwarding(operation.name, QThread::currentThread(),
                                                                   fixture.worker.Thread()),
                                                        Critical(reason)}));
    fixture.worker.Do([] { QCoreApplication::processEvents(); });
    QVERIFY(fixture.completions.All().isEmpty());
}

void tst_Threads::foreignThread_failure_completesWithFalse()
{
    const Operation& operation = FetchOperation();
    RemoteFixture fixture;
    fixture.Prepare(operation);
    fixture.on.service->Answer(operation.methodName, R"({"errCode":5})");

    const quint32 requestId = (fixture.client.get()->*operation.start)();

    QTRY_COMPARE(fixture.completions.All(),
                 (QVector<Completion>{{requestId, false, fixture.worker.Thread()}}));
    QCOMPARE(fixture.log.Complaints(),
             (QVector<LogRecord>{
                 Critical("KivBaseClient::HandleReply -- Received error code: QVariant(int, 5)")}));
    QCOMPARE(fixture.SessionId(), operation.sessionBefore);
}

void tst_Threads::manyForeignThreads_getIdentifiersOfTheirOwn()
{
    LocalFixture fixture;
    fixture.Prepare(kClose);
    fixture.on.service->Hold("closeSession");
    QVector<quint32> requestIds(4);
    quint32* const slots = requestIds.data();
    std::vector<std::unique_ptr<Helper>> helpers;

    for (int index = 0; index < requestIds.size(); ++index) {
        helpers.push_back(
            std::make_unique<Helper>([&, index] { slots[index] = fixture.client.CloseSessionAsync(); }));
    }
    for (const auto& helper : helpers) {
        QVERIFY(helper->Finish());
    }
    QVERIFY(fixture.completions.All().isEmpty());
    fixture.on.service->Release("closeSession");

    std::sort(requestIds.begin(), requestIds.end());
    QCOMPARE(requestIds, (QVector<quint32>{1, 2, 3, 4}));
    QThread* const main = QThread::currentThread();
    QTRY_COMPARE(fixture.completions.All(),
                 (QVector<Completion>{{1, true, main}, {2, true, main}, {3, true, main}, {4, true, main}}));
}

void tst_Threads::cannotInvokeSelf_givesZero()
{
    const Operation& operation = FetchOperation();
    Fixture fixture;
    NamelessClient client(fixture.on.registrator, kServiceName, kClientPath, fixture.on.connection, QString(),
                          fixture.on.factory);
    Completions completions;
    completions.Watch(client, operation);
    client.Open(operation.sessionBefore);
    fixture.log.Clear();
    quint32 requestId = 99;

    Helper helper([&] { requestId = (client.*operation.start)(); });
    QVERIFY(helper.Finish());
    fixture.on.Settle();

    QCOMPARE(requestId, 0u);
    QCOMPARE(
        fixture.log.Records(),
        (QVector<LogRecord>{
            Forwarding(operation.name, helper.Thread(), QThread::currentThread()),
            Warning(QStringLiteral("QMetaObject::invokeMethod: No such method QObject::%1()")
                        .arg(operation.name)),
            Critical(
                QStringLiteral("ServiceProviderClient::%1 -- Unable to invoke self").arg(operation.name))}));
    QVERIFY(completions.All().isEmpty());
    QVERIFY(fixture.on.service->Calls().isEmpty());
    client.m_SessionId = 0;
    client.Powerdown();
}

void tst_Threads::foreignCaller_isNotBlockedUntilTheReply()
{
    const Operation& operation = FetchOperation();
    RemoteFixture fixture;
    fixture.Prepare(operation);
    fixture.on.service->Hold(operation.methodName);

    // It returns: nobody releases the answer before.
    const quint32 requestId = (fixture.client.get()->*operation.start)();

    QCOMPARE(requestId, 1u);
    fixture.worker.Do([] { QCoreApplication::processEvents(); });
    QVERIFY(fixture.completions.All().isEmpty());
    QCOMPARE(fixture.SessionId(), operation.sessionBefore);
    fixture.on.service->Release(operation.methodName);
    QTRY_COMPARE(fixture.completions.All(),
                 (QVector<Completion>{{requestId, true, fixture.worker.Thread()}}));
}

void tst_Threads::asyncCall_leavesTheEventLoopRunning()
{
    const Operation& operation = FetchOperation();
    LocalFixture fixture;
    fixture.Prepare(operation);
    fixture.on.service->Hold(operation.methodName);
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&ticks] { ++ticks; });

    QCOMPARE((fixture.client.*operation.start)(), 1u);
    timer.start(0);

    QTRY_VERIFY(ticks >= 10);
    QVERIFY(fixture.completions.All().isEmpty());
    fixture.on.service->Release(operation.methodName);
    QTRY_COMPARE(fixture.completions.All().size(), 1);
}

void tst_Threads::blockingRequest_stopsTheEventLoop()
{
    LocalFixture fixture;
    fixture.on.service->Hold("getMode");
    int ticks = 0;
    QTimer timer;
    connect(&timer, &QTimer::timeout, this, [&ticks] { ++ticks; });
    timer.start(0);
    bool isEventHandled = false;
    bool isCallSeen = false;

    // While the answer is held, an event is sent to this thread, which cannot handle it.
    Helper helper([&] {
        isCallSeen = AwaitCall(*fixture.on.service, "getMode");
        QMetaObject::invokeMethod(
            this, [&isEventHandled] { isEventHandled = true; }, Qt::QueuedConnection);
        fixture.on.service->Release("getMode");
    });
    QString result;
    QCOMPARE(fixture.client.ServiceRequest("getMode", "{}", result), true);

    QCOMPARE(ticks, 0);
    QCOMPARE(isEventHandled, false);
    QVERIFY(helper.Finish());
    QVERIFY(isCallSeen);
    QTRY_VERIFY(isEventHandled);
    QTRY_VERIFY(ticks > 0);
}

void tst_Threads::workerClient_lateInitialisation_isOnItsThread()
{
    LogCapture log;
    BusSurroundings on;
    on.service->Answer("openSession", R"({"sessionId":7})");
    Worker worker;
    std::unique_ptr<OpenedSessionClient> client;
    QAtomicPointer<QThread> signalledOn;
    KivBaseClient::InitState early = KivBaseClient::INIT_STATE_MAX;
    worker.Do([&] {
        client = std::make_unique<OpenedSessionClient>(on.registrator, kServiceName, kClientPath,
                                                       on.connection, QString(), on.factory);
        connect(client.get(), &KivBaseClient::SignalInitCompleted,
                [&signalledOn] { signalledOn.storeRelease(QThread::currentThread()); });
        early = client->Initialize();
    });
    QCOMPARE(early, KivBaseClient::INIT_STATE_WAITING_FOR_KIV);

    on.service->Appear();

    QTRY_COMPARE(signalledOn.loadAcquire(), worker.Thread());
    worker.Do([&] {
        early = client->CurrentInitState();
        client->Powerdown();
        client.reset();
    });
    QCOMPARE(early, KivBaseClient::INIT_STATE_SUCCESS);
}

void tst_Threads::workerClient_inboundCallsAndNotifications_areOnItsThread()
{
    class ThreadNoter : public OpenedSessionClient
    {
    public:
        using OpenedSessionClient::OpenedSessionClient;

        void HandleNotify(const QString&, const QString&) override
        {
            m_NotifiedOn.storeRelease(QThread::currentThread());
        }

        void HandleRequest(const QString&, const QString&) override
        {
            m_CalledOn.storeRelease(QThread::currentThread());
        }

        QAtomicPointer<QThread> m_NotifiedOn;
        QAtomicPointer<QThread> m_CalledOn;
    };
    Fixture fixture;
    Worker worker;
    std::unique_ptr<ThreadNoter> client;
    worker.Do([&] {
        client = std::make_unique<ThreadNoter>(fixture.on.registrator, kServiceName, kClientPath,
                                               fixture.on.connection, QString(), fixture.on.factory);
        client->Initialize();
    });

    fixture.on.service->Notify(kHmiPath, "event", "{}");
    const QDBusMessage answer =
        fixture.on.service->CallClient(kClientName, kClientPath + "/ServiceProviderClient", "call", "{}");

    QCOMPARE(answer.arguments(), QVariantList{"{}"});
    QCOMPARE(client->m_CalledOn.loadAcquire(), worker.Thread());
    QTRY_COMPARE(client->m_NotifiedOn.loadAcquire(), worker.Thread());
    worker.Do([&] {
        client->Powerdown();
        client.reset();
    });
}

KIV_BUS_TEST_MAIN(tst_Threads)
#include "tst_Threads.moc"
