// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "FakeService.h"
#include "HmiSignals.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QSignalSpy>

#include <functional>
#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

using Records = QVector<LogRecord>;

namespace {

const QString kText = "K\u00fcche \"1\"\\\n/";
const QString kTextInJson = R"(Küche \"1\"\\\n/)";

/** An asynchronous operation of an HMI client. */
struct Operation
{
    quint32 (AudioManagerHmi::*call)(const QString&);
    void (AudioManagerHmi::*completed)(quint32, bool);
    const char* name;
    const char* completedName;
    const char* methodName;
    const char* arguments; ///< With %1 for the text.
};

const Operation kSetMode{&AudioManagerHmi::SetModeAsync,
                         &AudioManagerHmi::SignalSetModeCompleted,
                         "SetModeAsync",
                         "SignalSetModeCompleted",
                         "setMode",
                         R"({"newMode":"%1","sessionId":7})"};
const Operation kGetModeList{&AudioManagerHmi::GetModeListAsync,
                             &AudioManagerHmi::SignalGetModeListCompleted,
                             "GetModeListAsync",
                             "SignalGetModeListCompleted",
                             "getModeList",
                             R"({"destination":"%1","sessionId":7})"};
const Operation kGetMode{&AudioManagerHmi::GetModeAsync,
                         &AudioManagerHmi::SignalGetModeCompleted,
                         "GetModeAsync",
                         "SignalGetModeCompleted",
                         "getMode",
                         R"({"destination":"%1","sessionId":7})"};

/** A client whose operations cannot be found by their names. */
class NamelessHmi : public OpenedHmi
{
public:
    using OpenedHmi::OpenedHmi;
    const QMetaObject* metaObject() const override { return &QObject::staticMetaObject; }
};

/** A service that is there before the client is, so that the client is not told of its arrival. */
struct ReadyService : FakeService
{
    ReadyService()
    {
        Answer("openSession", R"({"sessionId":7})");
        Appear();
    }
};

/** A client in a session 7 with a service, both on the bus. */
template <typename Client>
struct OnBus
{
    OnBus()
    {
        state = hmi.Initialize();
        hmi.m_ModeList = QStringList{kText};
        log.Clear();
    }

    ~OnBus() { hmi.Powerdown(); }

    OnBus(const OnBus&) = delete;
    OnBus& operator=(const OnBus&) = delete;

    /** The argument texts that the service received for an operation. */
    QStringList ArgumentsOf(const Operation& operation) const
    {
        return service.ArgumentsOf(operation.methodName);
    }

    LogCapture log;
    ReadyService service;
    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyHmiFactory factory;
    Client hmi{registrator, kClientPath, connection, QString(), factory, false};
    HmiSignals heard{&hmi};
    KivBaseClient::InitState state = KivBaseClient::INIT_STATE_NOT_CALLED;
};

/** A call on a thread of its own. */
class ForeignCall
{
public:
    explicit ForeignCall(std::function<quint32()> call)
        : m_Thread(QThread::create([this, call = std::move(call)] { m_Result = call(); }))
    {
        m_ThreadName = Streamed(m_Thread.get());
        m_Thread->start();
    }

    ~ForeignCall() { m_Thread->wait(); }

    ForeignCall(const ForeignCall&) = delete;
    ForeignCall& operator=(const ForeignCall&) = delete;

    /** Waits for the end of the call, with the event loop running. */
    bool Wait() const
    {
        return QTest::qWaitFor([this] { return m_Thread->isFinished(); }, 30000);
    }

    quint32 Result() const { return m_Result; }

    /** The thread, as a record names it. */
    QString ThreadName() const { return m_ThreadName; }

private:
    quint32 m_Result = 0xdead;
    QString m_ThreadName;
    std::unique_ptr<QThread> m_Thread;
};

LogRecord Forwarding(const Operation& operation, const ForeignCall& call)
{
    return Debug(QString("AudioManagerHmi::%1 -- Forwarding invokation on thread %2 to thread %3")
                     .arg(operation.name, call.ThreadName(), Streamed(QThread::currentThread())));
}

LogRecord Sending(const Operation& operation, const QString& arguments)
{
    return Debug(Streamed("ConcreteServiceProvider::AsyncRequest -- Calling method",
                          QString(operation.methodName), "with parameters", arguments));
}

void AddOperations()
{
    QTest::addColumn<Operation>("operation");
    QTest::newRow("SetModeAsync") << kSetMode;
    QTest::newRow("GetModeListAsync") << kGetModeList;
    QTest::newRow("GetModeAsync") << kGetMode;
}

} // namespace

Q_DECLARE_METATYPE(Operation)

class tst_HmiThreads : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ownThread_isNotForwarded_data() { AddOperations(); }
    void ownThread_isNotForwarded();
    void foreignThread_isForwarded_data() { AddOperations(); }
    void foreignThread_isForwarded();
    void foreignThread_withoutSession_returnsZero_data() { AddOperations(); }
    void foreignThread_withoutSession_returnsZero();
    void foreignThread_serviceFails_completesWithFalse_data() { AddOperations(); }
    void foreignThread_serviceFails_completesWithFalse();
    void foreignThread_unlistedMode_returnsTheStoredIdentifier();
    void foreignThreads_atOnce_getDifferentIdentifiers_data() { AddOperations(); }
    void foreignThreads_atOnce_getDifferentIdentifiers();
    void foreignThread_cannotInvoke_returnsZero_data() { AddOperations(); }
    void foreignThread_cannotInvoke_returnsZero();
};

void tst_HmiThreads::ownThread_isNotForwarded()
{
    QFETCH(Operation, operation);
    OnBus<OpenedHmi> f;
    QCOMPARE(f.state, KivBaseClient::INIT_STATE_SUCCESS);
    QSignalSpy completed(&f.hmi, operation.completed);

    QCOMPARE((f.hmi.*operation.call)(kText), 1u);
    const QString arguments = QString(operation.arguments).arg(kTextInJson);
    QCOMPARE(f.log.Records(), Records{Sending(operation, arguments)});
    QVERIFY(completed.wait());

    QCOMPARE(f.heard.List(), QStringList{QString("%1 1 true").arg(operation.completedName)});
    QCOMPARE(f.ArgumentsOf(operation), QStringList{arguments});
    QCOMPARE(f.log.Complaints(), Records{});
}

void tst_HmiThreads::foreignThread_isForwarded()
{
    QFETCH(Operation, operation);
    OnBus<OpenedHmi> f;
    f.hmi.m_RequestId = 40;
    QThread* threadOfSignal = nullptr;
    connect(
        &f.hmi, operation.completed, &f.hmi, [&] { threadOfSignal = QThread::currentThread(); },
        Qt::DirectConnection);

    f.service.Hold(operation.methodName);
    const ForeignCall call([&] { return (f.hmi.*operation.call)(kText); });
    QVERIFY(call.Wait());
    QCOMPARE(call.Result(), 41u);
    const QString arguments = QString(operation.arguments).arg(kTextInJson);
    QCOMPARE(f.log.Records(), (Records{Forwarding(operation, call), Sending(operation, arguments)}));
    QCOMPARE(f.heard.List(), QStringList());

    QVERIFY(f.service.WaitForCalls(operation.methodName, 1));
    f.service.Release(operation.methodName);
    QTRY_COMPARE(f.heard.List(), QStringList{QString("%1 41 true").arg(operation.completedName)});
    QCOMPARE(threadOfSignal, QThread::currentThread());
    QCOMPARE(f.ArgumentsOf(operation), QStringList{arguments});
    QCOMPARE(f.hmi.m_RequestId, 41u);
    QCOMPARE(f.log.Complaints(), Records{});
}

void tst_HmiThreads::foreignThread_withoutSession_returnsZero()
{
    QFETCH(Operation, operation);
    OnBus<OpenedHmi> f;
    f.hmi.m_SessionId = 0;
    const ForeignCall call([&] { return (f.hmi.*operation.call)(kText); });
    QVERIFY(call.Wait());
    QCOMPARE(call.Result(), 0u);
    const QString name = QString(operation.name).chopped(5); // without "Async"
    QCOMPARE(
        f.log.Records().mid(0, 2),
        (Records{Forwarding(operation, call),
                 Critical(QString("AudioManagerHmi::Start%1Request -- Session is not open").arg(name))}));
    QCOMPARE(f.log.Complaints().size(), 1);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.ArgumentsOf(operation), QStringList());
}

void tst_HmiThreads::foreignThread_serviceFails_completesWithFalse()
{
    QFETCH(Operation, operation);
    OnBus<OpenedHmi> f;
    f.service.Fail(operation.methodName, "com.example.Refused", "not today");
    const ForeignCall call([&] { return (f.hmi.*operation.call)(kText); });
    QVERIFY(call.Wait());
    QCOMPARE(call.Result(), 1u);
    QTRY_COMPARE(f.heard.List(), QStringList{QString("%1 1 false").arg(operation.completedName)});
    const LogRecord received = Critical("KivBaseClient::HandleReply -- Received error: "
                                        "QDBusError(\"com.example.Refused\", \"not today\")");
    const QString request = operation.name == kSetMode.name ? "Request 1 failed" : "Request failed";
    QCOMPARE(f.log.Complaints(), (Records{received, Warning("AudioManagerHmi::HandleSetModeReply -- " +
                                                            request + " with reply QMap()")}));
}

void tst_HmiThreads::foreignThread_unlistedMode_returnsTheStoredIdentifier()
{
    OnBus<OpenedHmi> f;
    f.hmi.m_RequestId = 40;
    for (int i = 0; i < 2; ++i) {
        const ForeignCall call([&] { return f.hmi.SetModeAsync("Unlisted"); });
        QVERIFY(call.Wait());
        QCOMPARE(call.Result(), 41u);
        QCOMPARE(f.log.Records().first(), Forwarding(kSetMode, call));
        QCOMPARE(f.log.Records().last(), Debug("AudioManagerHmi::SetModeAsync -- Request is pending"));
        f.log.Clear();
    }
    QCOMPARE(f.hmi.m_PendingSetModeRequestId, 41u);
    QCOMPARE(f.hmi.m_PendingMode, "Unlisted");

    const ForeignCall other([&] { return f.hmi.SetModeAsync("Other"); });
    QVERIFY(other.Wait());
    QCOMPARE(other.Result(), 42u);
    QCOMPARE(f.heard.List(), QStringList{"SignalSetModeCompleted 41 false"});
    QCOMPARE(f.ArgumentsOf(kSetMode), QStringList());
}

void tst_HmiThreads::foreignThreads_atOnce_getDifferentIdentifiers()
{
    QFETCH(Operation, operation);
    OnBus<OpenedHmi> f;
    const auto call = [&] { return (f.hmi.*operation.call)(kText); };
    const ForeignCall first(call);
    const ForeignCall second(call);
    const ForeignCall third(call);
    QVERIFY(first.Wait() && second.Wait() && third.Wait());

    QStringList expected;
    for (const quint32 requestId : {first.Result(), second.Result(), third.Result()}) {
        expected.append(QString("%1 %2 true").arg(operation.completedName).arg(requestId));
    }
    expected.sort();
    QCOMPARE(expected.first(), QString("%1 1 true").arg(operation.completedName));
    QCOMPARE(expected.last(), QString("%1 3 true").arg(operation.completedName));
    QTRY_COMPARE(f.heard.List().size(), 3);
    QStringList heard = f.heard.List();
    heard.sort();
    QCOMPARE(heard, expected);
}

void tst_HmiThreads::foreignThread_cannotInvoke_returnsZero()
{
    QFETCH(Operation, operation);
    OnBus<NamelessHmi> f;
    QCOMPARE(f.state, KivBaseClient::INIT_STATE_SUCCESS);
    const ForeignCall call([&] { return (f.hmi.*operation.call)(kText); });
    QVERIFY(call.Wait());
    QCOMPARE(call.Result(), 0u);
    // Qt complains of the missing name as well, in its own words.
    Records records = f.log.Records();
    QCOMPARE(records.size(), 3);
    QVERIFY(records.at(1).text.startsWith(
        QString("QMetaObject::invokeMethod: No such method QObject::%1(").arg(operation.name)));
    records.remove(1);
    QCOMPARE(
        records,
        (Records{Forwarding(operation, call),
                 Critical(QString("AudioManagerHmi::%1 -- Unable to invoke self").arg(operation.name))}));
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.ArgumentsOf(operation), QStringList());
    QCOMPARE(f.hmi.m_RequestId, 0u);
}

KIV_BUS_TEST_MAIN(tst_HmiThreads)
#include "tst_HmiThreads.moc"
