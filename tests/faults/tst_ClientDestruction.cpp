// SPDX-License-Identifier: MIT
#include "BothClients.h"
#include "HmiSignals.h"
#include "LogTexts.h"
#include "MediaApp.h"
#include "TestMain.h"

#include <QAbstractEventDispatcher>
#include <QSemaphore>
#include <QSet>

#include <functional>
#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

using Records = QVector<LogRecord>;

namespace {

const int kManyRequests = 64;
const QString kUnknownObject = "org.freedesktop.DBus.Error.UnknownObject";

const QString kFocusEvent = R"({"streamName":"s","streamModeName":"m","focusType":"f","streamType":"t",)"
                            R"("destination":"d","newFocus":"lost"})";

/** Something that makes a client emit a signal. */
struct Trigger
{
    const char* tag;
    bool isOfHmi;
    const char* signal; ///< The name in the meta-object.
    std::function<void(BothClients&)> pull;
};

void Call(BothClients& on, const QString& object, const QString& methodName, const QString& arguments)
{
    if (on.Call(object, methodName, arguments) != QLatin1String("{}")) {
        qFatal("a call of the service was not answered");
    }
}

QVector<Trigger> SessionTriggers(bool isOfHmi)
{
    const auto client = [isOfHmi](BothClients& on) -> ServiceProviderClient& {
        return isOfHmi ? static_cast<ServiceProviderClient&>(*on.hmi) : *on.app;
    };
    return {{"session opened", isOfHmi, "SignalOpenSessionCompleted",
             [client](BothClients& on) {
                 client(on).HandleCloseSessionReply(false, {});
                 client(on).OpenSessionAsync();
             }},
            {"session refused", isOfHmi, "SignalOpenSessionCompleted",
             [client](BothClients& on) {
                 on.service->Answer("openSession", "{}");
                 client(on).HandleCloseSessionReply(false, {});
                 client(on).OpenSessionAsync();
             }},
            {"session closed", isOfHmi, "SignalCloseSessionCompleted",
             [client](BothClients& on) { client(on).CloseSessionAsync(); }}};
}

QVector<Trigger> HmiTriggers()
{
    return {
        {"mode set", true, "SignalSetModeCompleted", [](BothClients& on) { on.hmi->SetModeAsync("B"); }},
        {"mode refused", true, "SignalSetModeCompleted",
         [](BothClients& on) {
             on.service->Fail("setMode", "com.example.Refused", "no");
             on.hmi->SetModeAsync("B");
         }},
        {"stored mode set", true, "SignalSetModeCompleted",
         [](BothClients& on) {
             on.hmi->SetModeAsync("X");
             Call(on, kHmiObject, "onModeListChange", R"({"sessionId":7,"action":"add","mode":"X"})");
         }},
        {"stored mode replaced", true, "SignalSetModeCompleted",
         [](BothClients& on) {
             on.hmi->SetModeAsync("X");
             on.hmi->SetModeAsync("Y");
         }},
        {"mode list", true, "SignalGetModeListCompleted",
         [](BothClients& on) { on.hmi->GetModeListAsync(QString()); }},
        {"mode", true, "SignalGetModeCompleted", [](BothClients& on) { on.hmi->GetModeAsync(QString()); }},
        {"mode changed", true, "SignalModeChanged",
         [](BothClients& on) {
             Call(on, kHmiObject, "onModeChange", R"({"sessionId":7,"activeMode":"B"})");
         }},
        {"mode added", true, "SignalModeListChanged",
         [](BothClients& on) {
             Call(on, kHmiObject, "onModeListChange", R"({"sessionId":7,"action":"add","mode":"X"})");
         }},
        {"mode removed", true, "SignalModeListChanged",
         [](BothClients& on) {
             Call(on, kHmiObject, "onModeListChange", R"({"sessionId":7,"action":"remove","mode":"A"})");
         }},
        {"focus of a stream", true, "SignalAudioFocusChange",
         [](BothClients& on) { on.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent); }}};
}

QVector<Trigger> AppTriggers()
{
    return {{"stream registered", false, "SignalRegisterAudioStreamCompleted",
             [](BothClients& on) { on.app->RegisterAudioStreamAsync(); }},
            {"focus request accepted", false, "SignalRequestAudioFocusCompleted",
             [](BothClients& on) { on.app->RequestAudioFocusAsync(); }},
            {"playing accepted", false, "SignalAudioActiveCompleted",
             [](BothClients& on) { on.app->AudioActiveAsync(true); }},
            {"focus given back", false, "SignalAbandonAudioFocusCompleted",
             [](BothClients& on) { on.app->AbandonAudioFocusAsync("end"); }},
            {"focus changed", false, "SignalAudioFocusChanged",
             [](BothClients& on) {
                 Call(on, kAppObject, "onAudioFocusChange", R"({"sessionId":7,"newFocus":"lost"})");
             }},
            {"focus decided", false, "SignalResponseToAudioFocusRequest", [](BothClients& on) {
                 Call(on, kAppObject, "onRequestAudioFocusResult", R"({"sessionId":7,"newFocus":"granted"})");
             }}};
}

const QVector<Trigger>& Triggers()
{
    static const QVector<Trigger> triggers =
        HmiTriggers() + SessionTriggers(true) + AppTriggers() + SessionTriggers(false);
    return triggers;
}

/** Does something the first time that a signal comes, and counts how often it came. */
class Actor : public QObject
{
    Q_OBJECT

public:
    /** @param signal the name of one signal of the client. */
    Actor(const QObject& client, const char* signal, std::function<void()> act)
        : m_Act(std::move(act))
    {
        const QMetaObject& meta = *client.metaObject();
        const QMetaMethod slot = metaObject()->method(metaObject()->indexOfSlot("Act()"));
        for (int index = 0; index < meta.methodCount(); ++index) {
            if (meta.method(index).name() == signal) {
                connect(&client, meta.method(index), this, slot);
            }
        }
    }

    int Count() const { return m_Count; }

public Q_SLOTS:
    void Act()
    {
        if (++m_Count == 1) {
            m_Act();
        }
    }

private:
    std::function<void()> m_Act;
    int m_Count = 0;
};

/** Starts requests that the service does not answer before they are released, and counts the answers. */
void StartRequests(BothClients& on, KivBaseClient& client, int count, int& answered)
{
    on.service->Hold("pending");
    for (int i = 0; i < count; ++i) {
        client.WatchReply(
            client.StartRequest("pending", "{}"),
            [&answered](bool, const QMap<QString, QVariant>&, unsigned int) { return ++answered != 0; }, 0);
    }
    if (!on.service->WaitForCalls("pending", count)) {
        qFatal("requests are missing");
    }
}

/** The …Async operations of a client. */
using Operations = QVector<std::function<quint32()>>;

Operations OperationsOf(OpenedHmi& hmi)
{
    return {[&hmi] { return hmi.SetModeAsync("A"); }, [&hmi] { return hmi.GetModeListAsync(QString()); },
            [&hmi] { return hmi.GetModeAsync(QString()); }, [&hmi] { return hmi.CloseSessionAsync(); }};
}

Operations OperationsOf(OpenedApp& app)
{
    return {[&app] { return app.RegisterAudioStreamAsync(); },
            [&app] { return app.RequestAudioFocusAsync(); }, [&app] { return app.AudioActiveAsync(true); },
            [&app] { return app.AbandonAudioFocusAsync("end"); }, [&app] { return app.CloseSessionAsync(); }};
}

/** A client that deletes itself inside one of the functions that a derived class overrides. */
template <typename Client>
class Suicidal : public Client
{
public:
    using Client::Client;

    void HandleNotify(const QString& name, const QString& payload) override
    {
        Client::HandleNotify(name, payload);
        End("HandleNotify");
    }

    void HandleRequest(const QString& methodName, const QString& arguments) override
    {
        Client::HandleRequest(methodName, arguments);
        End("HandleRequest");
    }

    QString Request(const QString& methodName, const QString& arguments) override
    {
        if (m_Fatal != QLatin1String("Request")) {
            return Client::Request(methodName, arguments);
        }
        const QString answer = Client::Request(methodName, arguments);
        End("Request");
        return answer;
    }

    QString m_Fatal;

private:
    void End(const char* function)
    {
        if (m_Fatal == QLatin1String(function)) {
            delete this;
        }
    }
};

/** Of a thread that never runs: tells when something was posted to it. */
class Dispatcher : public QAbstractEventDispatcher
{
    Q_OBJECT

public:
    explicit Dispatcher(QSemaphore& posted)
        : m_Posted(posted)
    {
    }

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    using Interval = int;
    bool hasPendingEvents() override
    {
        return false;
    }
    void flush() override {}
#else
    using Interval = qint64;
#endif
    bool processEvents(QEventLoop::ProcessEventsFlags) override
    {
        return false;
    }
    void registerSocketNotifier(QSocketNotifier*) override {}
    void unregisterSocketNotifier(QSocketNotifier*) override {}
    void registerTimer(int, Interval, Qt::TimerType, QObject*) override {}
    bool unregisterTimer(int) override
    {
        return true;
    }
    bool unregisterTimers(QObject*) override
    {
        return true;
    }
    QList<TimerInfo> registeredTimers(QObject*) const override
    {
        return {};
    }
    int remainingTime(int) override
    {
        return -1;
    }
    void wakeUp() override
    {
        m_Posted.release();
    }
    void interrupt() override {}

private:
    QSemaphore& m_Posted;
};

void AddKinds()
{
    QTest::addColumn<bool>("isHmi");
    QTest::newRow("HMI") << true;
    QTest::newRow("application") << false;
}

} // namespace

class tst_ClientDestruction : public QObject
{
    Q_OBJECT

private:
    void CheckAction(const std::function<void(BothClients&, ServiceProviderClient*)>& act, int answered,
                     bool isGone);
    template <typename Client>
    void CheckSuicide(BothClients& on, Suicidal<Client>* client);
    void CheckForeignCaller(ServiceProviderClient* client, const std::function<quint32()>& operation);

private Q_SLOTS:
    void requestsPending_completeNothing_data();
    void requestsPending_completeNothing();

    void everySignal_isTriggered();
    void deletedInsideASignal_data() { AddTriggers(); }
    void deletedInsideASignal();
    void poweredDownAndDeletedInsideASignal_data() { AddTriggers(); }
    void poweredDownAndDeletedInsideASignal();
    void poweredDownInsideASignal_data() { AddTriggers(); }
    void poweredDownInsideASignal();
    void otherClientDeletedInsideASignal_data() { AddTriggers(); }
    void otherClientDeletedInsideASignal();
    void initCompleted_powerdownInside_data() { AddKinds(); }
    void initCompleted_powerdownInside();
    void initCompleted_deleteLaterInside_data() { AddKinds(); }
    void initCompleted_deleteLaterInside();

    void deletedInsideAHandler_data();
    void deletedInsideAHandler();
    void deletedInsideAReplyHandler_data() { AddKinds(); }
    void deletedInsideAReplyHandler();

    void deletedWithAForeignCallPending_callerGetsZero_data() { AddKinds(); }
    void deletedWithAForeignCallPending_callerGetsZero();
    void movedBeforeInitialize_waitsForTheConstructingThread_data() { AddKinds(); }
    void movedBeforeInitialize_waitsForTheConstructingThread();

    void twoClientsOnOnePath_secondFailsFirstGoesOn_data() { AddKinds(); }
    void twoClientsOnOnePath_secondFailsFirstGoesOn();

private:
    static void AddTriggers();
};

void tst_ClientDestruction::AddTriggers()
{
    QTest::addColumn<int>("index");
    for (int index = 0; index < Triggers().size(); ++index) {
        const Trigger& trigger = Triggers().at(index);
        QTest::addRow("%s, %s", trigger.isOfHmi ? "HMI" : "application", trigger.tag) << index;
    }
}

// Pending requests

void tst_ClientDestruction::requestsPending_completeNothing_data()
{
    QTest::addColumn<bool>("isHmi");
    QTest::addColumn<int>("count");
    QTest::addColumn<bool>("powersDown");
    for (const bool isHmi : {true, false}) {
        for (const int count : {0, 1, kManyRequests}) {
            for (const bool powersDown : {true, false}) {
                QTest::addRow("%s, %d requests, %s", isHmi ? "HMI" : "application", count,
                              powersDown ? "powered down" : "without Powerdown")
                    << isHmi << count << powersDown;
            }
        }
    }
}

void tst_ClientDestruction::requestsPending_completeNothing()
{
    QFETCH(bool, isHmi);
    QFETCH(int, count);
    QFETCH(bool, powersDown);
    BothClients on;
    const HmiSignals hmiSignals(on.hmi);
    const AppEvents appSignals(*on.app);
    const QStringList methods{"setMode",           "getModeList", "getMode",          "registerAudioStream",
                              "requestAudioFocus", "audioActive", "abandonAudioFocus"};
    for (const QString& method : methods) {
        on.service->Hold(method);
    }
    ServiceProviderClient* const client = isHmi ? static_cast<ServiceProviderClient*>(on.hmi) : on.app;
    Operations operations = isHmi ? OperationsOf(*on.hmi) : OperationsOf(*on.app);
    operations.removeLast(); // closeSession: Powerdown() is to have an answer to it
    const int before = int(on.service->Calls().size());
    for (int i = 0; i < count; ++i) {
        QCOMPARE(operations.at(i % operations.size())(), static_cast<quint32>(i + 1));
    }
    if (powersDown) {
        client->Powerdown();
    }
    on.log.Clear();

    delete client;
    QTRY_COMPARE(on.service->Calls().size(), before + count + (powersDown ? 1 : 0));
    for (const QString& method : methods) {
        on.service->Release(method);
    }
    on.Settle();

    QCOMPARE(hmiSignals.List(), QStringList());
    QCOMPARE(appSignals.All(), QStringList());
    QCOMPARE(on.log.Records(),
             powersDown ? Records()
                        : Records{Debug("KivBaseClient::Powerdown was not called before destructor!")});
    QCOMPARE(on.Call(isHmi ? kHmiObject : kAppObject, "ping", "{}"), kUnknownObject);
}

// Inside a signal

void tst_ClientDestruction::everySignal_isTriggered()
{
    for (const QMetaObject* meta : {&AudioManagerHmi::staticMetaObject, &AudioManagerApp::staticMetaObject}) {
        const bool isHmi = meta == &AudioManagerHmi::staticMetaObject;
        QSet<QByteArray> declared;
        for (int index = QObject::staticMetaObject.methodCount(); index < meta->methodCount(); ++index) {
            if (meta->method(index).methodType() == QMetaMethod::Signal) {
                declared.insert(meta->method(index).name());
            }
        }
        QSet<QByteArray> triggered{"SignalInitCompleted"}; // the one in which deletion is not allowed
        for (const Trigger& trigger : Triggers()) {
            if (trigger.isOfHmi == isHmi) {
                triggered.insert(trigger.signal);
            }
        }
        QCOMPARE(triggered, declared);
    }
}

/**
 * Does something inside the signal of the row, with 64 requests pending.
 *
 * @param answered how many of them complete.
 * @param isGone whether the client of the signal is gone then.
 */
void tst_ClientDestruction::CheckAction(const std::function<void(BothClients&, ServiceProviderClient*)>& act,
                                        int answered, bool isGone)
{
    QFETCH(int, index);
    const Trigger& trigger = Triggers().at(index);
    BothClients on;
    const QPointer<ServiceProviderClient> client =
        trigger.isOfHmi ? static_cast<ServiceProviderClient*>(on.hmi) : on.app;
    int answers = 0;
    StartRequests(on, *client, kManyRequests, answers);
    const Actor actor(*client, trigger.signal, [&] {
        act(on, client);
        on.log.Clear();
    });

    trigger.pull(on);
    QTRY_COMPARE(actor.Count(), 1);
    on.service->Release("pending");
    on.Settle();

    QCOMPARE(answers, answered);
    QCOMPARE(actor.Count(), 1);
    QCOMPARE(client.isNull(), isGone);
    QCOMPARE(on.log.Complaints(), Records());
    QCOMPARE(on.Call(trigger.isOfHmi ? kHmiObject : kAppObject, "ping", R"({"sessionId":1})"),
             isGone ? kUnknownObject : QString("{}"));
    QVERIFY(on.app.isNull() || trigger.isOfHmi == false || on.app->AudioActive(true));
    QVERIFY(on.hmi.isNull() || trigger.isOfHmi || on.hmi->SetMode("A"));
}

void tst_ClientDestruction::deletedInsideASignal()
{
    CheckAction([](BothClients&, ServiceProviderClient* client) { delete client; }, 0, true);
}

void tst_ClientDestruction::poweredDownAndDeletedInsideASignal()
{
    const auto act = [](BothClients&, ServiceProviderClient* client) {
        client->Powerdown();
        delete client;
    };
    CheckAction(act, 0, true);
}

void tst_ClientDestruction::poweredDownInsideASignal()
{
    CheckAction([](BothClients&, ServiceProviderClient* client) { client->Powerdown(); }, kManyRequests,
                false);
}

void tst_ClientDestruction::otherClientDeletedInsideASignal()
{
    const auto act = [](BothClients& on, ServiceProviderClient* client) {
        delete (client == on.hmi ? static_cast<ServiceProviderClient*>(on.app) : on.hmi);
    };
    CheckAction(act, kManyRequests, false);
}

/** A client that waits for the service; a slot that does something when its initialisation has ended. */
struct WaitingClient
{
    explicit WaitingClient(bool isHmi)
    {
        on.service->Answer("openSession", R"({"sessionId":7})");
        if (isHmi) {
            client = new OpenedHmi(on.registrator, kClientPath, on.connection, QString(), on.factory, false);
        } else {
            client = new OpenedApp(on.registrator, kClientPath, "Player", on.connection, QString(), true,
                                   QString(), appFactory, false);
        }
    }

    ~WaitingClient() { delete client; }

    WaitingClient(const WaitingClient&) = delete;
    WaitingClient& operator=(const WaitingClient&) = delete;

    LogCapture log;
    BusSurroundings on;
    ServiceProviderProxyAppFactory appFactory;
    QPointer<ServiceProviderClient> client;
};

void tst_ClientDestruction::initCompleted_powerdownInside()
{
    QFETCH(bool, isHmi);
    WaitingClient f(isHmi);
    const Actor actor(*f.client, "SignalInitCompleted", [&] {
        f.client->Powerdown();
        f.log.Clear();
    });
    QCOMPARE(f.client->Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);

    f.on.service->Appear();
    QTRY_COMPARE(actor.Count(), 1);
    f.on.Settle();

    QCOMPARE(f.client->SessionId(), 0u);
    QCOMPARE(f.on.service->ArgumentsOf("closeSession"), QStringList{R"({"sessionId":7})"});
    QCOMPARE(f.log.Complaints(), Records());
}

void tst_ClientDestruction::initCompleted_deleteLaterInside()
{
    QFETCH(bool, isHmi);
    WaitingClient f(isHmi);
    const Actor actor(*f.client, "SignalInitCompleted", [&] {
        f.client->deleteLater();
        f.log.Clear();
    });
    QCOMPARE(f.client->Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);

    f.on.service->Appear();
    QTRY_COMPARE(actor.Count(), 1);
    QTRY_VERIFY(f.client.isNull());

    QCOMPARE(f.log.Complaints(), Records());
}

// Inside a function that is overridden, or given

void tst_ClientDestruction::deletedInsideAHandler_data()
{
    QTest::addColumn<bool>("isHmi");
    QTest::addColumn<QString>("function");
    for (const bool isHmi : {true, false}) {
        for (const char* function : {"HandleNotify", "HandleRequest", "Request"}) {
            QTest::addRow("%s, %s", isHmi ? "HMI" : "application", function) << isHmi << QString(function);
        }
    }
}

/** Has the service reach a client in every way, with 64 requests pending. */
template <typename Client>
void tst_ClientDestruction::CheckSuicide(BothClients& on, Suicidal<Client>* client)
{
    QFETCH(QString, function);
    const QPointer<Suicidal<Client>> guarded = client;
    const QString object = kClientPath + "/third/ServiceProviderClient";
    QCOMPARE(client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    int answers = 0;
    StartRequests(on, *client, kManyRequests, answers);
    client->m_Fatal = function;

    if (function == QLatin1String("HandleNotify")) {
        on.service->Notify(kHmiPath, "event", "{}");
        on.service->Notify(kAppPath, "event", "{}");
    } else {
        QCOMPARE(on.Call(object, "ping", "{}"), QString("{}"));
    }
    on.service->Release("pending");
    on.Settle();

    QVERIFY(guarded.isNull());
    QCOMPARE(answers, 0);
    QCOMPARE(on.Call(object, "ping", "{}"), kUnknownObject);
    QVERIFY(on.hmi->SetMode("A"));
    QVERIFY(on.app->AudioActive(true));
}

void tst_ClientDestruction::deletedInsideAHandler()
{
    QFETCH(bool, isHmi);
    BothClients on;
    AdaptorConnection connection(on.bus);
    const QString path = kClientPath + "/third";
    if (isHmi) {
        CheckSuicide(on,
                     new Suicidal<OpenedHmi>(on.registrator, path, connection, QString(), on.factory, false));
    } else {
        CheckSuicide(on, new Suicidal<OpenedApp>(on.registrator, path, "Player", connection, QString(), true,
                                                 QString(), on.appFactory, false));
    }
}

void tst_ClientDestruction::deletedInsideAReplyHandler()
{
    QFETCH(bool, isHmi);
    BothClients on;
    const QPointer<ServiceProviderClient> client =
        isHmi ? static_cast<ServiceProviderClient*>(on.hmi) : on.app;
    int answers = 0;
    int ends = 0;
    const auto end = [&](bool, const QMap<QString, QVariant>&, unsigned int) {
        delete client;
        return ++ends != 0;
    };
    StartRequests(on, *client, kManyRequests, answers);
    client->WatchReply(client->StartRequest("last", "{}"), end, 0);
    QTRY_COMPARE(ends, 1);
    on.service->Release("pending");
    on.Settle();

    QVERIFY(client.isNull());
    QCOMPARE(answers, 0);
    QCOMPARE(on.log.Complaints(), Records());
}

// Threads

/** Deletes a client while another thread waits for an …Async operation of it to begin. */
void tst_ClientDestruction::CheckForeignCaller(ServiceProviderClient* client,
                                               const std::function<quint32()>& operation)
{
    QSemaphore posted;
    QThread idle; // never runs, and so does not delete its dispatcher
    const auto dispatcher = std::make_unique<Dispatcher>(posted);
    idle.setEventDispatcher(dispatcher.get());
    client->moveToThread(&idle);
    posted.acquire(posted.available());
    quint32 requestId = 4711;
    const std::unique_ptr<QThread> caller(QThread::create([&] { requestId = operation(); }));
    caller->start();
    QVERIFY(posted.tryAcquire(1, 30000));
    QVERIFY(!caller->isFinished());

    delete client;

    QVERIFY(caller->wait(30000));
    QCOMPARE(requestId, 0u);
}

void tst_ClientDestruction::deletedWithAForeignCallPending_callerGetsZero()
{
    QFETCH(bool, isHmi);
    const LogCapture log;
    FakeSurroundings fakes;
    const int count = isHmi ? 4 : 5;
    for (int index = 0; index < count; ++index) {
        if (isHmi) {
            auto* hmi = new OpenedHmi(fakes.registrator, kClientPath, fakes.connection, QString(),
                                      fakes.factory, false);
            QCOMPARE(OperationsOf(*hmi).size(), count);
            CheckForeignCaller(hmi, OperationsOf(*hmi).at(index));
        } else {
            auto* app = new OpenedApp(fakes.registrator, kClientPath, "Player", fakes.connection, QString(),
                                      true, QString(), fakes.factory, false);
            QCOMPARE(OperationsOf(*app).size(), count);
            CheckForeignCaller(app, OperationsOf(*app).at(index));
        }
    }
    QCOMPARE(fakes.Exchange().Requests().size(), 0);
    QCOMPARE(log.Complaints(), Records());
}

void tst_ClientDestruction::movedBeforeInitialize_waitsForTheConstructingThread()
{
    QFETCH(bool, isHmi);
    WaitingClient f(isHmi);
    QThread thread;
    QObject anchor;
    anchor.moveToThread(&thread);
    f.client->moveToThread(&thread);
    thread.start();
    const auto onThread = [&anchor](const std::function<void()>& function) {
        QMetaObject::invokeMethod(&anchor, function, Qt::BlockingQueuedConnection);
    };
    QAtomicPointer<QThread> completedOn;
    connect(f.client.data(), &KivBaseClient::SignalInitCompleted,
            [&completedOn] { completedOn.storeRelease(QThread::currentThread()); });
    KivBaseClient::InitState state = KivBaseClient::INIT_STATE_MAX;
    onThread([&] { state = f.client->Initialize(); });
    QCOMPARE(state, KivBaseClient::INIT_STATE_WAITING_FOR_KIV);

    f.on.service->Appear();
    onThread([&] { // all that the bus has sent is there, but this thread handles no events
        QDBusConnection::systemBus().interface()->isServiceRegistered(kServiceName);
        QCoreApplication::processEvents();
    });
    QCOMPARE(completedOn.loadAcquire(), static_cast<QThread*>(nullptr));
    QCOMPARE(f.on.service->Calls().size(), 0);

    QTRY_COMPARE(completedOn.loadAcquire(), &thread);
    onThread([&] {
        f.client->Powerdown();
        delete f.client;
    });
    thread.quit();
    QVERIFY(thread.wait(30000));
}

// Two clients

void tst_ClientDestruction::twoClientsOnOnePath_secondFailsFirstGoesOn()
{
    QFETCH(bool, isHmi);
    BothClients on;
    {
        AdaptorConnection connection(on.bus);
        OpenedHmi second(on.registrator, kClientPath + (isHmi ? "/hmi" : "/app"), connection, QString(),
                         on.factory, true);
        QCOMPARE(second.Initialize(), KivBaseClient::INIT_STATE_FAILED);
        QCOMPARE(on.log.Complaints(),
                 Records{Critical(Streamed("Connection Register error:", isHmi ? kHmiObject : kAppObject))});
        QCOMPARE(second.SessionId(), 0u);
        second.Powerdown();
        QCOMPARE(on.Call(kHmiObject, "onModeChange", R"({"sessionId":7,"activeMode":"B"})"), "{}");
        QCOMPARE(on.Call(kAppObject, "onAudioFocusChange", R"({"sessionId":7,"newFocus":"lost"})"), "{}");
        QCOMPARE(on.hmi->CurrentMode(), "B");
        QCOMPARE(on.app->LastFocus(), "lost");
    }
    // The second one's connection takes the path away from the first one, as AdaptorConnection says.
    QCOMPARE(on.Call(isHmi ? kHmiObject : kAppObject, "ping", "{}"), kUnknownObject);
    QCOMPARE(on.Call(isHmi ? kAppObject : kHmiObject, "ping", "{}"), "{}");
}

KIV_BUS_TEST_MAIN(tst_ClientDestruction)
#include "tst_ClientDestruction.moc"
