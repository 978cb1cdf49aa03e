// SPDX-License-Identifier: MIT
#include "BusSurroundings.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "TestMain.h"

#include <QSignalSpy>

#include <functional>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

using Parameters = QMap<QString, QVariant>;

const QString kObjectPath = kClientPath + "/ServiceProviderClient";
const QString kOpenArguments =
    R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})";
const QString kCloseArguments = R"({"sessionId":7})";
const QString kAbsentText =
    "The name com.quorvantel.service.AudioManagement was not provided by any .service files";
const QString kUnknownObject = "org.freedesktop.DBus.Error.UnknownObject";

LogRecord AsyncCall(const QString& methodName, const QString& arguments)
{
    return Debug(
        QStringLiteral("ConcreteServiceProvider::AsyncRequest -- Calling method %1 with parameters %2")
            .arg(Streamed(methodName), Streamed(arguments)));
}

LogRecord ReplyError(const QString& name, const QString& text)
{
    return Critical(QStringLiteral("KivBaseClient::HandleReply -- Received error: QDBusError(%1, %2)")
                        .arg(Streamed(name), Streamed(text)));
}

const LogRecord kAbsentReply = ReplyError("org.freedesktop.DBus.Error.ServiceUnknown", kAbsentText);

LogRecord CloseRecord(quint32 sessionId)
{
    return Debug(QStringLiteral("ServiceProviderClient::CloseSession \"%1\" %2")
                     .arg(kObjectPath, QString::number(sessionId)));
}

/** What a blocking request writes when the service is not there. */
QVector<LogRecord> AbsentRequest(const QString& methodName, const QString& arguments)
{
    return {RequestBegins(methodName, arguments),
            Critical("ConcreteServiceProviderProxy::Request -- D-Bus error: " + Streamed(kAbsentText)),
            RequestFails(methodName, arguments, R"({ "errCode" : 0 })")};
}

/** A client that does as the test says when the service calls it. */
class ObedientClient : public OpenedSessionClient
{
public:
    using OpenedSessionClient::OpenedSessionClient;

    void HandleNotify(const QString& aSignalName, const QString& aPayload) override
    {
        OpenedSessionClient::HandleNotify(aSignalName, aPayload);
        const auto order = m_OnNotify; // which may delete this
        order();
    }

    void HandleRequest(const QString& methodName, const QString& arguments) override
    {
        OpenedSessionClient::HandleRequest(methodName, arguments);
        const auto order = m_OnRequest; // which may delete this
        order();
    }

    std::function<void()> m_OnNotify = [] {};
    std::function<void()> m_OnRequest = [] {};
};

/** A client with an open session on the bus. */
struct Fixture
{
    Fixture()
    {
        on.service->Answer("openSession", R"({"sessionId":7})");
        on.service->Appear();
        on.Settle();
        if (client->Initialize() != KivBaseClient::INIT_STATE_SUCCESS) {
            qFatal("the client does not initialise");
        }
        log.Clear();
    }

    ~Fixture()
    {
        if (client) {
            client->m_SessionId = 0;
            client->Powerdown();
        }
    }

    QDBusMessage Call(const QString& methodName, const QString& arguments = "{}")
    {
        return on.service->CallClient(kClientName, kObjectPath, methodName, arguments);
    }

    LogCapture log;
    BusSurroundings on;
    std::unique_ptr<ObedientClient> client = std::make_unique<ObedientClient>(
        on.registrator, kServiceName, kClientPath, on.connection, QString(), on.factory);
    QSignalSpy opened{client.get(), &ServiceProviderClient::SignalOpenSessionCompleted};
    QSignalSpy closed{client.get(), &ServiceProviderClient::SignalCloseSessionCompleted};
};

QVector<QVariantList> Emissions(const QSignalSpy& spy)
{
    return spy.toVector();
}

/** A client beside others in one process. */
struct Neighbour
{
    Neighbour(BusSurroundings& on, const IServiceRegistrator& registrator, const QString& name)
        : connection(on.bus),
          client(registrator, kServiceName, "/com/example/" + name, connection, QString(), on.factory)
    {
    }

    QDBusMessage Call(const BusSurroundings& on, const QString& methodName) const
    {
        return on.service->CallClient(kClientName, client.m_ObjPath, methodName, "{}");
    }

    AdaptorConnection connection;
    OpenedSessionClient client;
};

void RunNeighbours(BusSurroundings& on, Neighbour& left, Neighbour& right)
{
    on.service->Appear();
    on.Settle();
    on.service->Answer("openSession", R"({"sessionId":1})");
    QCOMPARE(left.client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    on.service->Answer("openSession", R"({"sessionId":2})");
    QCOMPARE(right.client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(
        on.service->ArgumentsOf("openSession"),
        (QStringList{
            R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/example/left/ServiceProviderClient"})",
            R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/example/right/ServiceProviderClient"})"}));

    QCOMPARE(left.Call(on, "toLeft").arguments(), QVariantList{"{}"});
    QCOMPARE(right.Call(on, "toRight").arguments(), QVariantList{"{}"});
    QCOMPARE(left.client.m_Requests, QStringList{"toLeft {}"});
    QCOMPARE(right.client.m_Requests, QStringList{"toRight {}"});

    on.service->Notify(kHmiPath, "toBoth", "{}");
    on.Settle();
    QCOMPARE(left.client.m_Notifications, QStringList{"toBoth {}"});
    QCOMPARE(right.client.m_Notifications, QStringList{"toBoth {}"});

    left.client.Powerdown();
    QCOMPARE(on.service->ArgumentsOf("closeSession"), QStringList{R"({"sessionId":1})"});
    QCOMPARE(left.client.SessionId(), 0u);
    QCOMPARE(right.client.SessionId(), 2u);
    QCOMPARE(right.Call(on, "again").arguments(), QVariantList{"{}"});
    QCOMPARE(right.client.m_Requests, (QStringList{"toRight {}", "again {}"}));
    QString result;
    QCOMPARE(right.client.ServiceRequest("still", "{}", result), true);

    right.client.Powerdown();
    QCOMPARE(on.service->ArgumentsOf("closeSession"),
             (QStringList{R"({"sessionId":1})", R"({"sessionId":2})"}));
}

} // namespace

class tst_Session : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wholeLife_closesAndOpensAgain();
    void sharedName_oneRegistratorForBoth();
    void sharedName_oneRegistratorEach_nameLivesAsLongAsTheLast();

    void handleReply_unfinishedReply_isWaitedFor();
    void handleReply_unfinishedError_isWaitedFor();
    void asyncRequest_wrongSignature_completesWithFalse();
    void asyncRequest_busError_completesWithFalse();

    void serviceGone_blockingRequestsFail();
    void serviceGone_closeSessionForgetsTheSession();
    void serviceGone_asyncRequestsCompleteWithFalseOnce();
    void serviceKilledWhileAsyncRequestsWait_theyCompleteWithFalseOnce();
    void serviceRestarted_newSessionAfterForgettingTheOldOne();

    void inboundCall_unknownMethod_isAnsweredWithAnEmptyObject();
    void inboundCall_ofAnotherInterface_isRefused();
    void inboundCall_handlerMayUseBlockingRequests();

    void powerdown_closesOnceAndStaysExportedUntilTheConnectionGoes();
    void powerdown_serviceRefuses_isQuietAfterwards();
    void destroyedWithoutPowerdown_closesNothing();
    void destroyedClient_isNoLongerExported();
    void destroyedWhileAsyncRequestWaits_completesNothing();

    void completionSlot_deletesTheClient();
    void completionSlot_powersTheClientDown();
    void notification_deletesTheClient();
    void notification_powersTheClientDown();
    void inboundCall_deletesTheClient();
    void inboundCall_powersTheClientDown();
};

void tst_Session::wholeLife_closesAndOpensAgain()
{
    Fixture fixture;

    QCOMPARE(fixture.client->CloseSessionAsync(), 1u);
    QVERIFY(fixture.closed.wait());
    QCOMPARE(fixture.client->SessionId(), 0u);
    fixture.on.service->Answer("openSession", R"({"sessionId":8})");
    QCOMPARE(fixture.client->OpenSessionAsync(), 2u);
    QVERIFY(fixture.opened.wait());
    QCOMPARE(fixture.client->SessionId(), 8u);
    fixture.client->Powerdown();

    QCOMPARE(Emissions(fixture.closed), (QVector<QVariantList>{{1u, true}}));
    QCOMPARE(Emissions(fixture.opened), (QVector<QVariantList>{{2u, true}}));
    QCOMPARE(fixture.on.service->ArgumentsOf("openSession"), (QStringList{kOpenArguments, kOpenArguments}));
    QCOMPARE(fixture.on.service->ArgumentsOf("closeSession"),
             (QStringList{kCloseArguments, R"({"sessionId":8})"}));
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{AsyncCall("closeSession", kCloseArguments),
                                 AsyncCall("openSession", kOpenArguments),
                                 Debug("ServiceProviderClient::HandleOpenSessionReply -- Session ID: 8"),
                                 CloseRecord(8), RequestBegins("closeSession", R"({"sessionId":8})"),
                                 ProxyAnswered("closeSession", "{}"), RequestSucceeds("closeSession")}));
}

void tst_Session::sharedName_oneRegistratorForBoth()
{
    LogCapture log;
    BusSurroundings on;
    Neighbour left(on, on.registrator, "left");
    Neighbour right(on, on.registrator, "right");
    log.Clear();

    RunNeighbours(on, left, right);

    QVERIFY(log.Complaints().isEmpty());
}

void tst_Session::sharedName_oneRegistratorEach_nameLivesAsLongAsTheLast()
{
    LogCapture log;
    BusSurroundings on;
    auto second = std::make_unique<ServiceRegistrator>(on.bus, kClientName);
    {
        Neighbour left(on, on.registrator, "left");
        Neighbour right(on, *second, "right");
        log.Clear();
        RunNeighbours(on, left, right);
        QVERIFY(log.Complaints().isEmpty());
    }

    second.reset();
    QCOMPARE(on.bus.interface()->serviceOwner(kClientName).value(), on.bus.baseService());
}

void tst_Session::handleReply_unfinishedReply_isWaitedFor()
{
    Fixture fixture;
    fixture.on.service->Answer("slow", R"({"a":1})");
    Parameters received;
    const auto handler = [&received](bool failed, const Parameters& parameters, unsigned int) {
        received = parameters;
        return !failed;
    };

    const QDBusPendingReply<QString> reply = fixture.client->StartRequest("slow", QString("{}"));
    QCOMPARE(KivBaseClient::HandleReply(reply, handler, 5), true);

    QVERIFY(reply.isFinished());
    QCOMPARE(received, (Parameters{{"a", 1}}));
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Session::handleReply_unfinishedError_isWaitedFor()
{
    Fixture fixture;
    fixture.on.service->Fail("slow", "com.example.Error", "too slow");
    bool hasFailed = false;
    const auto handler = [&hasFailed](bool failed, const Parameters&, unsigned int) {
        return hasFailed = failed;
    };

    const QDBusPendingReply<QString> reply = fixture.client->StartRequest("slow", QString("{}"));
    QCOMPARE(KivBaseClient::HandleReply(reply, handler, 5), true);

    QVERIFY(reply.isFinished());
    QVERIFY(hasFailed);
    QCOMPARE(fixture.log.Complaints(), (QVector<LogRecord>{ReplyError("com.example.Error", "too slow")}));
}

void tst_Session::asyncRequest_wrongSignature_completesWithFalse()
{
    Fixture fixture;
    fixture.on.service->AnswerWithWrongSignature("closeSession");

    QCOMPARE(fixture.client->CloseSessionAsync(), 1u);
    QVERIFY(fixture.closed.wait());

    QCOMPARE(Emissions(fixture.closed), (QVector<QVariantList>{{1u, false}}));
    QCOMPARE(fixture.client->SessionId(), 7u);
    QCOMPARE(fixture.log.Complaints(),
             (QVector<LogRecord>{ReplyError("org.freedesktop.DBus.Error.InvalidSignature",
                                            "Unexpected reply signature: got \"as\", expected \"s\"")}));
}

void tst_Session::asyncRequest_busError_completesWithFalse()
{
    Fixture fixture;
    fixture.on.service->Fail("closeSession", "com.example.Error", "no such thing");

    QCOMPARE(fixture.client->CloseSessionAsync(), 1u);
    QVERIFY(fixture.closed.wait());

    QCOMPARE(Emissions(fixture.closed), (QVector<QVariantList>{{1u, false}}));
    QCOMPARE(fixture.log.Complaints(),
             (QVector<LogRecord>{ReplyError("com.example.Error", "no such thing")}));
}

void tst_Session::serviceGone_blockingRequestsFail()
{
    Fixture fixture;
    fixture.on.service->Leave();
    fixture.on.Settle();
    fixture.log.Clear();
    QString result = "old";

    QCOMPARE(fixture.client->ServiceRequest("getMode", R"({"a":1})", result), false);

    QCOMPARE(result, R"({ "errCode" : 0 })");
    QCOMPARE(Timeless(fixture.log.Records()), AbsentRequest("getMode", R"({"a":1})"));
    QCOMPARE(fixture.client->SessionId(), 7u);
    QCOMPARE(fixture.client->OpenSession(), false);
}

void tst_Session::serviceGone_closeSessionForgetsTheSession()
{
    Fixture fixture;
    fixture.on.service->Leave();
    fixture.on.Settle();
    fixture.log.Clear();

    fixture.client->Powerdown();

    QCOMPARE(fixture.client->SessionId(), 0u);
    QCOMPARE(Timeless(fixture.log.Records()),
             QVector<LogRecord>{CloseRecord(7)} + AbsentRequest("closeSession", kCloseArguments));
}

void tst_Session::serviceGone_asyncRequestsCompleteWithFalseOnce()
{
    Fixture fixture;
    fixture.on.service->Leave();
    fixture.on.Settle();
    fixture.log.Clear();

    QCOMPARE(fixture.client->CloseSessionAsync(), 1u);
    QVERIFY(fixture.closed.wait());
    fixture.on.Settle();

    QCOMPARE(Emissions(fixture.closed), (QVector<QVariantList>{{1u, false}}));
    QCOMPARE(fixture.opened.size(), 0);
    QCOMPARE(fixture.client->SessionId(), 7u);
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{AsyncCall("closeSession", kCloseArguments), kAbsentReply}));
}

void tst_Session::serviceKilledWhileAsyncRequestsWait_theyCompleteWithFalseOnce()
{
    Fixture fixture;
    fixture.on.service->Hold("closeSession");
    QCOMPARE(fixture.client->CloseSessionAsync(), 1u);
    QCOMPARE(fixture.client->CloseSessionAsync(), 2u);
    QVERIFY(fixture.on.service->WaitForCalls("closeSession", 2));
    QCOMPARE(fixture.closed.size(), 0);
    fixture.log.Clear();

    fixture.on.service = nullptr;
    QTRY_COMPARE(fixture.closed.size(), 2);
    fixture.on.service = std::make_unique<FakeService>();
    fixture.on.Settle();

    // The bus does not say in which order it gives waiting calls up.
    QCOMPARE(fixture.closed.size(), 2);
    QCOMPARE(fixture.closed.count(QVariantList{1u, false}), 1);
    QCOMPARE(fixture.closed.count(QVariantList{2u, false}), 1);
    QCOMPARE(fixture.client->SessionId(), 7u);
    const LogRecord noReply = ReplyError("org.freedesktop.DBus.Error.NoReply",
                                         "Message recipient disconnected from message bus without replying");
    QCOMPARE(fixture.log.Complaints(), (QVector<LogRecord>{noReply, noReply}));
}

void tst_Session::serviceRestarted_newSessionAfterForgettingTheOldOne()
{
    Fixture fixture;
    const IServiceProviderProxy* proxy = fixture.client->m_ServiceProxy;
    fixture.on.service = nullptr;
    fixture.on.service = std::make_unique<FakeService>();
    fixture.on.service->Answer("openSession", R"({"sessionId":8})");
    fixture.on.service->Appear();
    fixture.on.Settle();
    QVERIFY(fixture.on.service->Calls().isEmpty());
    QCOMPARE(fixture.client->SessionId(), 7u);

    QCOMPARE(fixture.client->OpenSessionAsync(), 0u);
    QCOMPARE(fixture.client->HandleCloseSessionReply(false, {}), true);
    QCOMPARE(fixture.client->OpenSessionAsync(), 1u);
    QVERIFY(fixture.opened.wait());

    QCOMPARE(Emissions(fixture.opened), (QVector<QVariantList>{{1u, true}}));
    QCOMPARE(fixture.client->SessionId(), 8u);
    QCOMPARE(fixture.client->m_ServiceProxy, proxy);
    QCOMPARE(fixture.on.service->Calls().size(), 1);
    QCOMPARE(fixture.on.service->ArgumentsOf("openSession"), QStringList{kOpenArguments});
    QCOMPARE(fixture.Call("hello").arguments(), QVariantList{"{}"});
    fixture.on.service->Notify(kHmiPath, "event", "{}");
    fixture.on.Settle();
    QCOMPARE(fixture.client->m_Notifications, QStringList{"event {}"});
}

void tst_Session::inboundCall_unknownMethod_isAnsweredWithAnEmptyObject()
{
    Fixture fixture;

    const QDBusMessage answer = fixture.Call("unheardOf", R"({"a":1})");

    QCOMPARE(answer.type(), QDBusMessage::ReplyMessage);
    QCOMPARE(answer.arguments(), QVariantList{"{}"});
    QCOMPARE(fixture.client->m_Requests, QStringList{R"(unheardOf {"a":1})"});
    QCOMPARE(
        fixture.log.Records(),
        (QVector<LogRecord>{Debug(QStringLiteral("ServiceProviderClient::Request \"%1\" \"unheardOf\" %2")
                                      .arg(kObjectPath, Streamed(QString(R"({"a":1})"))))}));
    QCOMPARE(fixture.on.service->Calls().size(), 1);
}

void tst_Session::inboundCall_ofAnotherInterface_isRefused()
{
    Fixture fixture;

    // The client's own slots and invokables are not exported, only its adaptor.
    for (const char* method : {"Notification", "OpenSessionAsync", "CloseSessionAsync", "deleteLater"}) {
        const QDBusMessage call = QDBusMessage::createMethodCall(kClientName, kObjectPath,
                                                                 "com.quorvantel.ServiceProvider", method);
        QDBusPendingCall answer = fixture.on.bus.asyncCall(call);
        QTRY_VERIFY(answer.isFinished());
        QCOMPARE(answer.error().type(), QDBusError::UnknownMethod);
    }
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Session::inboundCall_handlerMayUseBlockingRequests()
{
    Fixture fixture;
    QString result;
    fixture.on.service->Answer("getMode", R"({"currentMode":"A"})");
    fixture.client->m_OnRequest = [&] { fixture.client->ServiceRequest("getMode", "{}", result); };

    QCOMPARE(fixture.Call("ask").arguments(), QVariantList{"{}"});

    QCOMPARE(result, R"({"currentMode":"A"})");
}

void tst_Session::powerdown_closesOnceAndStaysExportedUntilTheConnectionGoes()
{
    LogCapture log;
    BusSurroundings on;
    auto connection = std::make_unique<AdaptorConnection>(on.bus);
    OpenedSessionClient client(on.registrator, kServiceName, kClientPath, *connection, QString(), on.factory);
    on.service->Answer("openSession", R"({"sessionId":7})");
    on.service->Appear();
    on.Settle();
    QCOMPARE(client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    client.Powerdown();
    client.Powerdown();
    QCOMPARE(on.service->ArgumentsOf("closeSession"), QStringList{kCloseArguments});
    QCOMPARE(client.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(on.service->CallClient(kClientName, kObjectPath, "late", "{}").arguments(), QVariantList{"{}"});
    QCOMPARE(client.m_Requests, QStringList{"late {}"});

    connection = nullptr;
    QCOMPARE(on.service->CallClient(kClientName, kObjectPath, "later", "{}").errorName(), kUnknownObject);
    QCOMPARE(client.m_Requests, QStringList{"late {}"});
}

void tst_Session::powerdown_serviceRefuses_isQuietAfterwards()
{
    Fixture fixture;
    const QString answer = R"({"errCode":3})";
    fixture.on.service->Answer("closeSession", answer);

    fixture.client->Powerdown();
    fixture.client->Powerdown();

    QCOMPARE(fixture.client->SessionId(), 0u);
    QCOMPARE(
        Timeless(fixture.log.Records()),
        (QVector<LogRecord>{
            CloseRecord(7), RequestBegins("closeSession", kCloseArguments),
            ProxyAnswered("closeSession", answer),
            Critical(QStringLiteral("ConcreteServiceProviderProxy::Request -- Error: \"closeSession\" %1 "
                                    "Result: %2")
                         .arg(Streamed(kCloseArguments), Streamed(answer))),
            RequestFails("closeSession", kCloseArguments, answer), CloseRecord(0)}));
}

void tst_Session::destroyedWithoutPowerdown_closesNothing()
{
    Fixture fixture;

    fixture.client.reset();
    fixture.on.service->Notify(kHmiPath, "late", "{}");
    fixture.on.Settle();

    QVERIFY(fixture.on.service->ArgumentsOf("closeSession").isEmpty());
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{Debug("KivBaseClient::Powerdown was not called before destructor!")}));
}

void tst_Session::destroyedClient_isNoLongerExported()
{
    Fixture fixture;
    QCOMPARE(fixture.Call("early").arguments(), QVariantList{"{}"});

    fixture.client->Powerdown();
    fixture.client.reset();

    QCOMPARE(fixture.Call("late").errorName(), kUnknownObject);
}

void tst_Session::destroyedWhileAsyncRequestWaits_completesNothing()
{
    Fixture fixture;
    fixture.on.service->Hold("closeSession");
    QCOMPARE(fixture.client->CloseSessionAsync(), 1u);
    QVERIFY(fixture.on.service->WaitForCalls("closeSession", 1));

    fixture.client.reset();
    fixture.on.service->Release("closeSession");
    fixture.on.Settle();

    QCOMPARE(fixture.closed.size(), 0);
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Session::completionSlot_deletesTheClient()
{
    Fixture fixture;
    int completions = 0;
    connect(fixture.client.get(), &ServiceProviderClient::SignalCloseSessionCompleted, this, [&] {
        ++completions;
        fixture.client.reset();
    });
    QCOMPARE(fixture.client->CloseSessionAsync(), 1u);
    QCOMPARE(fixture.client->CloseSessionAsync(), 2u);

    QTRY_COMPARE(completions, 1);
    fixture.on.Settle();

    QCOMPARE(completions, 1);
    QVERIFY(!fixture.client);
    QCOMPARE(fixture.on.service->ArgumentsOf("closeSession").size(), 2);
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Session::completionSlot_powersTheClientDown()
{
    Fixture fixture;
    fixture.client->m_SessionId = 0;
    connect(fixture.client.get(), &ServiceProviderClient::SignalOpenSessionCompleted, fixture.client.get(),
            [&] { fixture.client->Powerdown(); });

    QCOMPARE(fixture.client->OpenSessionAsync(), 1u);
    QVERIFY(fixture.opened.wait());

    QCOMPARE(Emissions(fixture.opened), (QVector<QVariantList>{{1u, true}}));
    QCOMPARE(fixture.on.service->ArgumentsOf("closeSession"), QStringList{kCloseArguments});
    QCOMPARE(fixture.client->SessionId(), 0u);
    QCOMPARE(fixture.client->m_ServiceProxy, nullptr);
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Session::notification_deletesTheClient()
{
    Fixture fixture;
    int notifications = 0;
    fixture.client->m_OnNotify = [&] {
        ++notifications;
        fixture.client.reset();
    };

    fixture.on.service->Notify(kHmiPath, "first", "{}");
    fixture.on.service->Notify(kHmiPath, "second", "{}");
    fixture.on.Settle();

    QCOMPARE(notifications, 1);
    QVERIFY(!fixture.client);
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Session::notification_powersTheClientDown()
{
    Fixture fixture;
    fixture.client->m_OnNotify = [&] { fixture.client->Powerdown(); };

    fixture.on.service->Notify(kHmiPath, "first", "{}");
    fixture.on.service->Notify(kHmiPath, "second", "{}");
    fixture.on.Settle();

    QCOMPARE(fixture.client->m_Notifications, QStringList{"first {}"});
    QCOMPARE(fixture.client->m_ServiceProxy, nullptr);
    QCOMPARE(fixture.on.service->ArgumentsOf("closeSession"), QStringList{kCloseArguments});
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Session::inboundCall_deletesTheClient()
{
    Fixture fixture;
    fixture.client->m_OnRequest = [&] { fixture.client.reset(); };

    const QDBusMessage answer = fixture.Call("last");

    QCOMPARE(answer.arguments(), QVariantList{"{}"});
    QVERIFY(!fixture.client);
    QCOMPARE(fixture.Call("late").errorName(), kUnknownObject);
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Session::inboundCall_powersTheClientDown()
{
    Fixture fixture;
    fixture.client->m_OnRequest = [&] { fixture.client->Powerdown(); };

    QCOMPARE(fixture.Call("last").arguments(), QVariantList{"{}"});

    QCOMPARE(fixture.client->SessionId(), 0u);
    QCOMPARE(fixture.client->m_ServiceProxy, nullptr);
    QCOMPARE(fixture.on.service->ArgumentsOf("closeSession"), QStringList{kCloseArguments});
    QVERIFY(fixture.log.Complaints().isEmpty());
}

KIV_BUS_TEST_MAIN(tst_Session)
#include "tst_Session.moc"
