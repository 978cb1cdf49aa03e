// SPDX-License-Identifier: MIT
#include "AudioManagerHmi.h"
#include "CallRecorder.h"
#include "FakeAdaptorConnection.h"
#include "FakeServiceProviderProxy.h"
#include "FakeServiceProviderProxyFactory.h"
#include "FakeServiceRegistrator.h"
#include "ForkedProcess.h"
#include "OpenedBaseClient.h"
#include "PeerConnection.h"

#include <QCoreApplication>
#include <QDBusPendingCallWatcher>
#include <QProcess>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <sys/resource.h>

#include <memory>

using namespace Audio::Utils::Kiv::QtDbus;
using namespace Audio::Utils::Kiv::QtDbus::Testing;

namespace {

const QString kFailed = "{ \"errCode\" : 0 }";
const QString kOpen =
    R"(openSession {"busName":"com.quorvantel.audioclient.panel","objectPath":"/panel/ServiceProviderClient"})";

/** An HMI client with all four fakes, which record in one list. */
struct Panel
{
    Panel()
    {
        factory.Exchange().Answer("openSession", R"({"sessionId":7})");
        factory.Exchange().Answer("closeSession", "{}");
    }

    KivBaseClient::InitState Start()
    {
        hmi.Initialize();
        return factory.ServiceAppears(hmi);
    }

    CallRecorder calls;
    FakeServiceRegistrator registrator{"com.quorvantel.audioclient.panel", &calls};
    FakeAdaptorConnection connection{&calls};
    FakeServiceProviderProxyFactory factory{&calls};
    AudioManagerHmi hmi{registrator, "/panel", connection, QString(), factory, false};
    QSignalSpy initCompleted{&hmi, &KivBaseClient::SignalInitCompleted};
    QSignalSpy getModeCompleted{&hmi, &AudioManagerHmi::SignalGetModeCompleted};
};

/** What becomes of an asynchronous request: its answer, or its error as "name: text". */
QString Outcome(const QDBusPendingReply<QString>& reply)
{
    return reply.isError() ? reply.error().name() + ": " + reply.error().message() : reply.value();
}

bool WaitFor(const QDBusPendingReply<QString>& reply)
{
    return QTest::qWaitFor([&reply] { return reply.isFinished(); }, 30000);
}

/** How this program ended when it was told to make a mistake. */
struct Ending
{
    bool hasCrashed;
    QString errors;
};

Ending MakeMistake(const QString& mistake)
{
    KivTest::ForkedProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_LOGGING_RULES", "default.debug=false");
    environment.insert("QT_FORCE_STDERR_LOGGING", "1");
    environment.remove("QT_MESSAGE_PATTERN");
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {"--mistake", mistake});
    if (!process.waitForFinished(60000)) {
        return {false, "did not end"};
    }
    QString errors = QString::fromUtf8(process.readAllStandardError());
    errors.remove(QRegularExpression("qemu: uncaught target signal .*\n$")); // under qemu-user
    return {process.exitStatus() == QProcess::CrashExit, errors};
}

} // namespace

class tst_Fakes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void recorder_keepsOrderUntilCleared();
    void registrator_givesItsNameEachTime();
    void adaptorConnection_recordsAndReturnsWhatItIsTold();
    void factory_makesProxiesUntilItIsEmpty();

    void blocking_isAnsweredAsTold_data();
    void blocking_isAnsweredAsTold();
    void async_isAnsweredAsTold_data();
    void async_isAnsweredAsTold();
    void refused_hasFailedAtOnce();
    void firstAsyncRequest_handlesNoEventOfTheProgram();
    void firstAsyncRequests_areAnsweredInOrder();
    void laterAnswer_replacesTheEarlierOne();
    void answerOthers_leavesOtherAnswersAlone();
    void held_isAnsweredInOrderOnRelease();
    void held_isAnsweredAsToldOnRelease();
    void unanswered_endsAsErrorWithTheExchange_data();
    void unanswered_endsAsErrorWithTheExchange();
    void requests_areRecordedInOrder();
    void request_isShownAsText();

    void mistake_endsTheProgram_data();
    void mistake_endsTheProgram();

    void serviceAppears_client_isInitialised();
    void serviceAppears_clientOfAnotherKind_getsProxyAndState();
    void serviceAppears_exportFails_fails();
    void serviceAppears_withoutProxy_goesOnWaiting();
    void serviceAppears_clientDoesNotWait_changesNothing();
    void fourFakes_recordInOneOrder();
    void asyncOperation_completesAsTold_data();
    void asyncOperation_completesAsTold();
    void withoutRecorder_nothingIsNeeded();
};

void tst_Fakes::recorder_keepsOrderUntilCleared()
{
    CallRecorder calls;
    QCOMPARE(calls.Calls(), QStringList());
    calls.Record("b");
    calls.Record("a");
    calls.Record("b");
    QCOMPARE(calls.Calls(), (QStringList{"b", "a", "b"}));
    calls.Clear();
    calls.Record("c");
    QCOMPARE(calls.Calls(), QStringList{"c"});
}

void tst_Fakes::registrator_givesItsNameEachTime()
{
    CallRecorder calls;
    const FakeServiceRegistrator registrator("com.quorvantel.audioclient.panel", &calls);
    QCOMPARE(calls.Calls(), QStringList());
    QCOMPARE(registrator.GetServiceName(), "com.quorvantel.audioclient.panel");
    QCOMPARE(registrator.GetServiceName(), "com.quorvantel.audioclient.panel");
    QCOMPARE(calls.Calls(), (QStringList{"GetServiceName", "GetServiceName"}));
}

void tst_Fakes::adaptorConnection_recordsAndReturnsWhatItIsTold()
{
    CallRecorder calls;
    FakeAdaptorConnection connection(&calls);
    QObject first;
    QObject second;
    QCOMPARE(connection.RegisterObject("com.example.a", "/a", &first), true);
    connection.SetResult(false);
    QCOMPARE(connection.RegisterObject("com.example.b", "/b", &second), false);

    const QVector<FakeAdaptorConnection::Export> exports = connection.Exports();
    QCOMPARE(exports.size(), 2);
    QCOMPARE(exports[0].busName, "com.example.a");
    QCOMPARE(exports[0].objectPath, "/a");
    QCOMPARE(exports[0].object, &first);
    QCOMPARE(exports[1].busName, "com.example.b");
    QCOMPARE(exports[1].objectPath, "/b");
    QCOMPARE(exports[1].object, &second);
    QCOMPARE(calls.Calls(),
             (QStringList{"RegisterObject com.example.a /a", "RegisterObject com.example.b /b"}));
}

void tst_Fakes::factory_makesProxiesUntilItIsEmpty()
{
    CallRecorder calls;
    FakeServiceProviderProxyFactory factory(&calls);
    QObject first;
    QObject second;
    std::unique_ptr<IServiceProviderProxy> proxy(factory.CreateProxy(&first));
    QVERIFY(proxy);
    QCOMPARE(factory.Exchange().ProxyCount(), 1);
    factory.SetEmpty(true);
    QCOMPARE(factory.CreateProxy(&second), nullptr);
    proxy.reset();
    QCOMPARE(factory.Exchange().ProxyCount(), 0);
    QCOMPARE(factory.Parents(), (QVector<QObject*>{&first, &second}));
    QCOMPARE(calls.Calls(), (QStringList{"CreateProxy", "CreateProxy"}));
}

void tst_Fakes::blocking_isAnsweredAsTold_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("expected");
    QTest::newRow("answer") << "answered"
                            << R"({"a":1})";
    QTest::newRow("empty answer") << "empty"
                                  << "";
    QTest::newRow("error") << "failed" << kFailed;
    QTest::newRow("refusal") << "refused" << kFailed;
}

void tst_Fakes::blocking_isAnsweredAsTold()
{
    QFETCH(QString, method);
    FakeExchange exchange;
    exchange.Answer("answered", R"({"a":1})");
    exchange.Answer("empty", "");
    exchange.Fail("failed", "broken");
    exchange.Refuse("refused", "not sent");
    FakeServiceProviderProxy proxy(exchange);
    QTEST(proxy.Request(method, "{}"), "expected");
}

void tst_Fakes::async_isAnsweredAsTold_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("expected");
    QTest::newRow("answer") << "answered"
                            << R"({"a":1})";
    QTest::newRow("empty answer") << "empty"
                                  << "";
    QTest::newRow("error") << "failed"
                           << "org.freedesktop.DBus.Error.Failed: broken";
}

void tst_Fakes::async_isAnsweredAsTold()
{
    QFETCH(QString, method);
    FakeExchange exchange;
    exchange.Answer("answered", R"({"a":1})");
    exchange.Answer("empty", "");
    exchange.Fail("failed", "broken");
    FakeServiceProviderProxy proxy(exchange);
    const QDBusPendingReply<QString> reply = proxy.AsyncRequest(method, "{}");
    QVERIFY2(!reply.isFinished(), "answered before the event loop runs");
    QVERIFY(WaitFor(reply));
    QTEST(Outcome(reply), "expected");
}

void tst_Fakes::refused_hasFailedAtOnce()
{
    FakeExchange exchange;
    exchange.Refuse("refused", "not sent");
    const QDBusPendingReply<QString> reply = FakeServiceProviderProxy(exchange).AsyncRequest("refused", "{}");
    QVERIFY(reply.isFinished());
    QCOMPARE(Outcome(reply), "org.freedesktop.DBus.Error.Failed: not sent");
}

void tst_Fakes::firstAsyncRequest_handlesNoEventOfTheProgram()
{
    FakeExchange exchange;
    exchange.Answer("method", "{}");
    bool isHandled = false;
    QTimer::singleShot(0, this, [&isHandled] { isHandled = true; });
    QMetaObject::invokeMethod(
        this, [&isHandled] { isHandled = true; }, Qt::QueuedConnection);

    const QDBusPendingReply<QString> reply = FakeServiceProviderProxy(exchange).AsyncRequest("method", "{}");

    QVERIFY(!isHandled);
    QVERIFY(WaitFor(reply));
    QVERIFY(isHandled);
}

void tst_Fakes::firstAsyncRequests_areAnsweredInOrder()
{
    // Often: what could go wrong is a race.
    for (int round = 0; round < 100; ++round) {
        FakeExchange exchange;
        exchange.AnswerOthers("{}");
        FakeServiceProviderProxy proxy(exchange);
        const QDBusPendingCallWatcher first(proxy.AsyncRequest("first", "{}"));
        const QDBusPendingCallWatcher second(proxy.AsyncRequest("second", "{}"));
        QStringList order;
        connect(&first, &QDBusPendingCallWatcher::finished, this, [&order] { order.append("first"); });
        connect(&second, &QDBusPendingCallWatcher::finished, this, [&order] { order.append("second"); });
        QVERIFY(QTest::qWaitFor([&order] { return order.size() == 2; }, 30000));
        QCOMPARE(order, (QStringList{"first", "second"}));
    }
}

void tst_Fakes::laterAnswer_replacesTheEarlierOne()
{
    FakeExchange exchange;
    FakeServiceProviderProxy proxy(exchange);
    exchange.Fail("method", "broken");
    QCOMPARE(proxy.Request("method", "{}"), kFailed);
    exchange.Answer("method", "mended");
    QCOMPARE(proxy.Request("method", "{}"), "mended");
}

void tst_Fakes::answerOthers_leavesOtherAnswersAlone()
{
    FakeExchange exchange;
    FakeServiceProviderProxy proxy(exchange);
    exchange.Answer("method", "own");
    exchange.AnswerOthers("other");
    QCOMPARE(proxy.Request("method", "{}"), "own");
    QCOMPARE(proxy.Request("unheard of", "{}"), "other");
    const QDBusPendingReply<QString> reply = proxy.AsyncRequest("unheard of", "{}");
    QVERIFY(WaitFor(reply));
    QCOMPARE(Outcome(reply), "other");
}

void tst_Fakes::held_isAnsweredInOrderOnRelease()
{
    FakeExchange exchange;
    exchange.AnswerOthers("{}");
    FakeServiceProviderProxy proxy(exchange);
    exchange.Hold();
    const QDBusPendingCallWatcher first(proxy.AsyncRequest("first", "{}"));
    const QDBusPendingCallWatcher second(proxy.AsyncRequest("second", "{}"));
    QStringList order;
    connect(&first, &QDBusPendingCallWatcher::finished, this, [&order] { order.append("first"); });
    connect(&second, &QDBusPendingCallWatcher::finished, this, [&order] { order.append("second"); });

    // Another exchange's answer: by then, those of this one would have come.
    FakeExchange other;
    other.AnswerOthers("{}");
    const QDBusPendingReply<QString> ping = FakeServiceProviderProxy(other).AsyncRequest("ping", "{}");
    QVERIFY(WaitFor(ping));
    QCOMPARE(proxy.Request("blocking", "{}"), "{}");
    QCOMPARE(order, QStringList());

    exchange.Release();
    QTRY_COMPARE_WITH_TIMEOUT(order, (QStringList{"first", "second"}), 30000);
    const QDBusPendingReply<QString> third = proxy.AsyncRequest("third", "{}");
    QVERIFY(WaitFor(third));
    QCOMPARE(Outcome(third), "{}");
}

void tst_Fakes::held_isAnsweredAsToldOnRelease()
{
    FakeExchange exchange;
    exchange.Answer("method", "early");
    FakeServiceProviderProxy proxy(exchange);
    exchange.Hold();
    const QDBusPendingReply<QString> reply = proxy.AsyncRequest("method", "{}");
    exchange.Fail("method", "late");
    exchange.Release();
    QVERIFY(WaitFor(reply));
    QCOMPARE(Outcome(reply), "org.freedesktop.DBus.Error.Failed: late");
}

void tst_Fakes::unanswered_endsAsErrorWithTheExchange_data()
{
    QTest::addColumn<bool>("hasArrived");
    QTest::addColumn<QString>("outcome");
    QTest::newRow("held") << true << "org.freedesktop.DBus.Error.NoReply: the peer connection has ended";
    QTest::newRow("still on its way")
        << false << "org.freedesktop.DBus.Error.UnknownObject: No such object path '/'";
}

void tst_Fakes::unanswered_endsAsErrorWithTheExchange()
{
    QFETCH(bool, hasArrived);
    auto exchange = std::make_unique<FakeExchange>();
    exchange->AnswerOthers("{}");
    exchange->Hold();
    const QDBusPendingReply<QString> reply = FakeServiceProviderProxy(*exchange).AsyncRequest("method", "{}");
    if (hasArrived) {
        FakeExchange other;
        other.AnswerOthers("{}");
        QVERIFY(WaitFor(FakeServiceProviderProxy(other).AsyncRequest("ping", "{}")));
    }
    exchange.reset();
    QVERIFY(WaitFor(reply));
    QTEST(Outcome(reply), "outcome");
}

void tst_Fakes::requests_areRecordedInOrder()
{
    CallRecorder calls;
    FakeExchange exchange(&calls);
    exchange.AnswerOthers("{}");
    FakeServiceProviderProxy first(exchange);
    FakeServiceProviderProxy second(exchange);
    const QDBusPendingReply<QString> reply = first.AsyncRequest("a", R"({"x":1})");
    second.Request("b", "");
    first.Request("a", "no JSON");
    QVERIFY(WaitFor(reply));

    QCOMPARE(exchange.Requests(),
             (QVector<RecordedRequest>{{false, "a", R"({"x":1})"}, {true, "b", ""}, {true, "a", "no JSON"}}));
    QCOMPARE(calls.Calls(), (QStringList{R"(AsyncRequest a {"x":1})", "Request b ", "Request a no JSON"}));
}

void tst_Fakes::request_isShownAsText()
{
    const std::unique_ptr<char[]> blocking(toString(RecordedRequest{true, "getMode", "{}"}));
    const std::unique_ptr<char[]> async(toString(RecordedRequest{false, "setMode", R"({"newMode":"Ü"})"}));
    QCOMPARE(QString::fromUtf8(blocking.get()), "blocking getMode {}");
    QCOMPARE(QString::fromUtf8(async.get()), R"(async setMode {"newMode":"Ü"})");
}

void tst_Fakes::mistake_endsTheProgram_data()
{
    const QString advice =
        "No answer was told for this method; use Answer(), Fail(), Refuse() or AnswerOthers().\n";
    QTest::addColumn<QString>("errors");
    QTest::newRow("blocking") << "FakeExchange: unexpected blocking request setMode {\"newMode\":\"Ü\"}\n" +
                                     advice + "Told: nothing\n";
    QTest::newRow("async") << "FakeExchange: unexpected asynchronous request setMode {}\n" + advice +
                                  "Told: getMode, openSession\n";
    QTest::newRow("powerdown")
        << "FakeExchange: unexpected blocking request closeSession {\"sessionId\":7}\n" + advice +
               "Told: openSession\n";
    QTest::newRow("no application") << "PeerConnection: asynchronous answers need a QCoreApplication\n";
}

void tst_Fakes::mistake_endsTheProgram()
{
    const Ending ending = MakeMistake(QString::fromLatin1(QTest::currentDataTag()));
    QTEST(ending.errors, "errors");
    QVERIFY(ending.hasCrashed);
}

void tst_Fakes::serviceAppears_client_isInitialised()
{
    Panel panel;
    QCOMPARE(panel.hmi.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(panel.initCompleted.size(), 0);

    QCOMPARE(panel.factory.ServiceAppears(panel.hmi), KivBaseClient::INIT_STATE_SUCCESS);

    QCOMPARE(panel.hmi.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(panel.hmi.SessionId(), 7U);
    QCOMPARE(panel.initCompleted.size(), 1);
    QCOMPARE(panel.initCompleted[0][0].value<KivBaseClient::InitState>(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(panel.factory.Parents(), QVector<QObject*>{&panel.hmi});
    QCOMPARE(panel.connection.Exports().size(), 1);
    QCOMPARE(panel.connection.Exports()[0].object, &panel.hmi);
    panel.hmi.Powerdown();
    QCOMPARE(panel.factory.Exchange().ProxyCount(), 0);
}

void tst_Fakes::serviceAppears_clientOfAnotherKind_getsProxyAndState()
{
    FakeServiceProviderProxyFactory factory;
    KivTest::OpenedBaseClient client("com.example.service", factory);
    client.Initialize();
    QCOMPARE(factory.ServiceAppears(client), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(client.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(client.m_InitializeCount, 1);
    QVERIFY(client.m_ServiceProxy != nullptr);
    client.Powerdown();
}

void tst_Fakes::serviceAppears_exportFails_fails()
{
    Panel panel;
    panel.connection.SetResult(false);
    QCOMPARE(panel.Start(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(panel.hmi.CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(panel.initCompleted.size(), 1);
    QCOMPARE(panel.initCompleted[0][0].value<KivBaseClient::InitState>(), KivBaseClient::INIT_STATE_FAILED);
    QVERIFY(panel.factory.Exchange().Requests().isEmpty());
}

void tst_Fakes::serviceAppears_withoutProxy_goesOnWaiting()
{
    Panel panel;
    panel.factory.SetEmpty(true);
    QCOMPARE(panel.Start(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(panel.initCompleted.size(), 0);
    QCOMPARE(panel.calls.Calls(), (QStringList{"GetServiceName", "CreateProxy"}));

    panel.factory.SetEmpty(false);
    QCOMPARE(panel.factory.ServiceAppears(panel.hmi), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(panel.initCompleted.size(), 1);
}

void tst_Fakes::serviceAppears_clientDoesNotWait_changesNothing()
{
    Panel panel;
    QCOMPARE(panel.factory.ServiceAppears(panel.hmi), KivBaseClient::INIT_STATE_NOT_CALLED);
    QCOMPARE(panel.calls.Calls(), QStringList{"GetServiceName"});

    QCOMPARE(panel.Start(), KivBaseClient::INIT_STATE_SUCCESS);
    const QStringList calls = panel.calls.Calls();
    QCOMPARE(panel.factory.ServiceAppears(panel.hmi), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(panel.calls.Calls(), calls);
    QCOMPARE(panel.initCompleted.size(), 1);
}

void tst_Fakes::fourFakes_recordInOneOrder()
{
    Panel panel;
    panel.factory.Exchange().Answer("getMode", R"({"currentMode":["Radio"]})");
    panel.Start();
    QVERIFY(panel.hmi.GetModeAsync(QString()) != 0);
    QVERIFY(panel.getModeCompleted.wait(30000));
    panel.hmi.Powerdown();

    QCOMPARE(panel.calls.Calls(),
             (QStringList{"GetServiceName", "CreateProxy",
                          "RegisterObject com.quorvantel.audioclient.panel /panel/ServiceProviderClient",
                          "Request " + kOpen, R"(AsyncRequest getMode {"destination":"all","sessionId":7})",
                          R"(Request closeSession {"sessionId":7})"}));
}

void tst_Fakes::asyncOperation_completesAsTold_data()
{
    QTest::addColumn<QString>("told");
    QTest::addColumn<bool>("isSent");
    QTest::addColumn<QString>("mode");
    QTest::newRow("answer") << "answer" << true << "Radio";
    QTest::newRow("error") << "error" << true << "";
    QTest::newRow("refusal") << "refusal" << false << "";
}

void tst_Fakes::asyncOperation_completesAsTold()
{
    QFETCH(QString, told);
    QFETCH(bool, isSent);
    QFETCH(QString, mode);
    Panel panel;
    panel.Start();
    FakeExchange& exchange = panel.factory.Exchange();
    exchange.Answer("getMode", R"({"currentMode":["Radio"]})");
    if (told == "error") {
        exchange.Fail("getMode", "broken");
    } else if (told == "refusal") {
        exchange.Refuse("getMode", "not sent");
    }

    const quint32 id = panel.hmi.GetModeAsync(QString());
    QCOMPARE(id != 0, isSent);
    if (isSent) {
        QVERIFY(panel.getModeCompleted.wait(30000));
        QCOMPARE(panel.getModeCompleted[0], (QVariantList{id, !mode.isEmpty()}));
    }
    QCOMPARE(panel.getModeCompleted.size(), isSent ? 1 : 0);
    QCOMPARE(panel.hmi.CurrentMode(), mode);
    panel.hmi.Powerdown();
}

void tst_Fakes::withoutRecorder_nothingIsNeeded()
{
    const FakeServiceRegistrator registrator("com.quorvantel.audioclient.panel");
    FakeAdaptorConnection connection;
    FakeServiceProviderProxyFactory factory;
    factory.Exchange().AnswerOthers(R"({"sessionId":7})");
    AudioManagerHmi hmi(registrator, "/panel", connection, QString(), factory, false);
    hmi.Initialize();
    QCOMPARE(factory.ServiceAppears(hmi), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(factory.Exchange().Requests().size(), 1);
    hmi.Powerdown();
}

namespace {

// What a test may do wrong, in a process of its own.
int Err(const QString& mistake)
{
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    FakeExchange exchange;
    if (mistake == "blocking") {
        FakeServiceProviderProxy(exchange).Request("setMode", R"({"newMode":"Ü"})");
    } else if (mistake == "async") {
        exchange.Answer("openSession", "{}");
        exchange.Fail("getMode", "broken");
        FakeServiceProviderProxy(exchange).AsyncRequest("setMode", "{}");
    } else if (mistake == "powerdown") {
        FakeServiceRegistrator registrator("com.quorvantel.audioclient.panel");
        FakeAdaptorConnection connection;
        FakeServiceProviderProxyFactory factory;
        factory.Exchange().Answer("openSession", R"({"sessionId":7})");
        AudioManagerHmi hmi(registrator, "/panel", connection, QString(), factory, false);
        hmi.Initialize();
        factory.ServiceAppears(hmi);
        hmi.Powerdown();
    } else if (mistake == "no application") {
        exchange.Answer("setMode", "{}");
        FakeServiceProviderProxy(exchange).AsyncRequest("setMode", "{}");
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/kiv-test-bus");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent/kiv-test-bus");
    if (argc == 3 && qstrcmp(argv[1], "--mistake") == 0) {
        const QString mistake = QString::fromUtf8(argv[2]);
        const auto application =
            mistake == "no application" ? nullptr : std::make_unique<QCoreApplication>(argc, argv);
        return Err(mistake);
    }
    const QCoreApplication application(argc, argv);
    tst_Fakes test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_Fakes.moc"
