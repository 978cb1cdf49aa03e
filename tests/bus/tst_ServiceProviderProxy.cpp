// SPDX-License-Identifier: MIT
#include "BusProbe.h"
#include "ConcreteServiceProviderProxy.h"
#include "FakeService.h"
#include "LogCapture.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QDBusPendingCallWatcher>
#include <QDebug>
#include <QPointer>
#include <QSignalSpy>

#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

using Records = QVector<LogRecord>;

namespace {

const QString kFailure = "{ \"errCode\" : 0 }";

// A text as the message logger shows it.
QString Quoted(const QString& text)
{
    QString quoted;
    QDebug(&quoted).nospace() << text;
    return quoted;
}

LogRecord Calling(const QString& methodName, const QString& arguments)
{
    return Debug("ConcreteServiceProvider::AsyncRequest -- Calling method " + Quoted(methodName) +
                 " with parameters " + Quoted(arguments));
}

LogRecord BusError(const QString& message)
{
    return Critical("ConcreteServiceProviderProxy::Request -- D-Bus error: " + Quoted(message));
}

LogRecord Result(const QString& methodName, const QString& result)
{
    return Debug("ConcreteServiceProviderProxy::Request: " + Quoted(methodName) +
                 " Result: " + Quoted(result));
}

LogRecord ServiceError(const QString& methodName, const QString& arguments, const QString& result)
{
    return Critical("ConcreteServiceProviderProxy::Request -- Error: " + Quoted(methodName) + " " +
                    Quoted(arguments) + " Result: " + Quoted(result));
}

// The bus's own words for a call that fails, learned without the proxy.
QString MessageOfFailingCall(const QString& methodName)
{
    ComQuorvantelServiceProviderInterface interface(kServiceName, kHmiPath, QDBusConnection::systemBus());
    QDBusPendingReply<QString> reply = interface.Request(methodName, QString());
    reply.waitForFinished();
    return reply.error().message();
}

// Bytes of both texts of a request.
constexpr int kTextLimit = 32 * 1024 * 1024 - 64 * 1024;

QString Refusal(int size)
{
    return QString("The request takes %1 bytes, more than the %2 that fit into a message")
        .arg(size)
        .arg(kTextLimit);
}

// A proxy with its embedded object in the open.
class OpenedProxy : public ConcreteServiceProviderProxy
{
public:
    using ConcreteServiceProviderProxy::ConcreteServiceProviderProxy;
    using ConcreteServiceProviderProxy::m_Interface;
};

} // namespace

Q_DECLARE_METATYPE(std::shared_ptr<IServiceProviderProxyFactory>)

class tst_ServiceProviderProxy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup();

    void request_success_returnsTheAnswer_data();
    void request_success_returnsTheAnswer();
    void request_errCodeAnywhere_isLoggedAndReturned_data();
    void request_errCodeAnywhere_isLoggedAndReturned();
    void request_serviceAbsent_isTheFailureText();
    void request_dbusError_isTheFailureText();
    void request_wrongSignature_isTheFailureText();
    void request_serviceComesBack_isAnswered();

    void longestRequest_isAnswered_data();
    void longestRequest_isAnswered();
    void tooLongRequest_isRefusedAndHarmsNothing_data();
    void tooLongRequest_isRefusedAndHarmsNothing();
    void tooLongOperation_returnsZero();

    void asyncRequest_returnsBeforeTheReply();
    void asyncRequest_lateError_showsInTheReply();
    void asyncRequest_serviceAbsent_showsInTheReply();
    void asyncRequest_errCode_isNotLookedAt();

    void notification_isPassedOnUnchanged_data();
    void notification_isPassedOnUnchanged();
    void notification_inOrderAndOncePerEmission();
    void notification_ofTheOtherObject_doesNotArrive();
    void notification_slot_emitsTheSignal();
    void notification_reachesAClient();

    void construction_proxyHasNoParentButItsObjectHas();
    void construction_withoutParent();
    void construction_writesNoRecord();
    void deletion_removesTheEmbeddedObject();

    void factory_addressesTheService_data();
    void factory_addressesTheService();
    void factory_makesANewProxyEachTime();
};

// What the bus still has to say about one test's service must not surprise the next one's proxies.
void tst_ServiceProviderProxy::cleanup()
{
    QVERIFY(HandleArrivedEvents(QDBusConnection::systemBus()));
}

void tst_ServiceProviderProxy::request_success_returnsTheAnswer_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("empty object") << "{}";
    QTest::newRow("object") << R"({"sessionId":7,"text":"a \"b\" \\ ö 音 😀"})";
    QTest::newRow("empty") << "";
    QTest::newRow("not JSON") << "nonsense\n\t";
    QTest::newRow("other case") << R"({"ErrCode":1,"errcode":2,"ERRCODE":3})";
    QTest::newRow("cut word") << R"({"errCod":1,"rrCode":2,"err Code":3})";
}

void tst_ServiceProviderProxy::request_success_returnsTheAnswer()
{
    QFETCH(const QString, answer);
    FakeService service;
    service.Appear();
    service.Answer("method", answer);
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;

    QCOMPARE(proxy.Request("method", R"({"a":"ö"})"), answer);

    QCOMPARE(log.Records(), Records{Result("method", answer)});
    QCOMPARE(service.Calls().size(), 1);
    QCOMPARE(service.Calls().first().path, kHmiPath);
    QCOMPARE(service.Calls().first().methodName, "method");
    QCOMPARE(service.Calls().first().arguments, R"({"a":"ö"})");
}

void tst_ServiceProviderProxy::request_errCodeAnywhere_isLoggedAndReturned_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("key") << R"({"errCode":5})";
    QTest::newRow("value 0") << R"({"errCode":0})";
    QTest::newRow("among others") << R"({"a":1,"errCode":"text","z":2})";
    QTest::newRow("within a text") << R"({"text":"no errCode here"})";
    QTest::newRow("within a key") << R"({"lasterrCodes":[]})";
    QTest::newRow("not JSON") << "errCode";
}

void tst_ServiceProviderProxy::request_errCodeAnywhere_isLoggedAndReturned()
{
    QFETCH(const QString, answer);
    FakeService service;
    service.Appear();
    service.Answer("method", answer);
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;

    QCOMPARE(proxy.Request("method", R"({"a":1})"), answer);

    QCOMPARE(log.Records(),
             (Records{Result("method", answer), ServiceError("method", R"({"a":1})", answer)}));
}

void tst_ServiceProviderProxy::request_serviceAbsent_isTheFailureText()
{
    const QString message = MessageOfFailingCall("method");
    QVERIFY(!message.isEmpty());
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;

    QCOMPARE(proxy.Request("method", "{}"), kFailure);

    QCOMPARE(kFailure.size(), 17);
    QCOMPARE(log.Records(), Records{BusError(message)});
}

void tst_ServiceProviderProxy::request_dbusError_isTheFailureText()
{
    FakeService service;
    service.Appear();
    service.Fail("method", "com.quorvantel.Error.Test", "ö \"does not\" work");
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;
    QCOMPARE(proxy.Request("method", "{}"), kFailure);
    QCOMPARE(log.Records(), Records{BusError("ö \"does not\" work")});
    QCOMPARE(service.Calls().size(), 1); // no second try
}

void tst_ServiceProviderProxy::request_wrongSignature_isTheFailureText()
{
    FakeService service;
    service.Appear();
    service.AnswerWithWrongSignature("method");
    const QString message = MessageOfFailingCall("method");
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;
    QCOMPARE(proxy.Request("method", "{}"), kFailure);
    QCOMPARE(log.Records(), Records{BusError(message)});
}

void tst_ServiceProviderProxy::request_serviceComesBack_isAnswered()
{
    FakeService service;
    service.Appear();
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    QCOMPARE(proxy.Request("method", ""), "{}");
    service.Leave();
    QCOMPARE(proxy.Request("method", ""), kFailure);
    service.Appear();
    QCOMPARE(proxy.Request("method", ""), "{}");
    QCOMPARE(service.Calls().size(), 2);
}

void tst_ServiceProviderProxy::longestRequest_isAnswered_data()
{
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QString>("arguments");
    QTest::newRow("ASCII") << "method" << QString(kTextLimit - 6, 'x');
    QTest::newRow("two bytes a character") << "method" << QString((kTextLimit - 6) / 2, QChar(0xf6));
    QTest::newRow("three bytes a character") << "name" << QString((kTextLimit - 4) / 3, QChar(0x97f3));
    QTest::newRow("a long name") << QString(kTextLimit - 2, 'm') << "{}";
}

void tst_ServiceProviderProxy::longestRequest_isAnswered()
{
    QFETCH(const QString, methodName);
    QFETCH(const QString, arguments);
    FakeService service;
    service.Appear();
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;

    QCOMPARE(proxy.Request(methodName, arguments), "{}");
    QDBusPendingReply<QString> reply = proxy.AsyncRequest(methodName, arguments);
    reply.waitForFinished();
    QVERIFY(!reply.isError());
    QCOMPARE(log.Records(), (Records{Result(methodName, "{}"), Calling(methodName, arguments)}));
}

void tst_ServiceProviderProxy::tooLongRequest_isRefusedAndHarmsNothing_data()
{
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("size");
    QTest::newRow("ASCII") << "method" << QString(kTextLimit - 5, 'x') << kTextLimit + 1;
    QTest::newRow("two bytes a character")
        << "method" << QString((kTextLimit - 4) / 2, QChar(0xf6)) << kTextLimit + 2;
    QTest::newRow("three bytes a character")
        << "method" << QString((kTextLimit - 4) / 3, QChar(0x97f3)) << kTextLimit + 2;
    QTest::newRow("a long name") << QString(kTextLimit - 1, 'm') << "{}" << kTextLimit + 1;
    QTest::newRow("longer than any message")
        << "method" << QString(4 * kTextLimit, 'x') << 4 * kTextLimit + 6;
}

void tst_ServiceProviderProxy::tooLongRequest_isRefusedAndHarmsNothing()
{
    QFETCH(const QString, methodName);
    QFETCH(const QString, arguments);
    QFETCH(const int, size);
    FakeService service;
    service.Appear();
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;
    const QString message = Refusal(size);

    QCOMPARE(proxy.Request(methodName, arguments), kFailure);
    const QDBusPendingReply<QString> reply = proxy.AsyncRequest(methodName, arguments);
    QVERIFY(reply.isFinished());
    QCOMPARE(reply.error().type(), QDBusError::LimitsExceeded);
    QCOMPARE(reply.error().message(), message);

    QCOMPARE(log.Records(),
             (Records{BusError(message), Calling(methodName, arguments),
                      Critical("ConcreteServiceProvider::AsyncRequest -- D-Bus error: " + Quoted(message))}));
    QVERIFY(QDBusConnection::systemBus().isConnected());
    QCOMPARE(proxy.Request("method", "{}"), "{}");
    QCOMPARE(service.Calls().size(), 1);
}

void tst_ServiceProviderProxy::tooLongOperation_returnsZero()
{
    FakeService service;
    service.Appear();
    service.Answer("openSession", R"({"sessionId":7})");
    FakeSurroundings fakes;
    ServiceProviderProxyHmiFactory factory;
    OpenedHmi hmi(fakes.registrator, kClientPath, fakes.connection, QString(), factory, false);
    QCOMPARE(hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const QString tooLong(kTextLimit, 'x');
    hmi.m_ModeList = QStringList(tooLong);
    QSignalSpy completed(&hmi, &AudioManagerHmi::SignalSetModeCompleted);

    QCOMPARE(hmi.SetModeAsync(tooLong), 0U);
    QVERIFY(!hmi.SetMode(tooLong));
    QVERIFY(HandleArrivedEvents(QDBusConnection::systemBus()));

    QCOMPARE(completed.size(), 0);
    QCOMPARE(service.Calls().size(), 1);
    hmi.Powerdown();
}

void tst_ServiceProviderProxy::asyncRequest_returnsBeforeTheReply()
{
    FakeService service;
    service.Appear();
    service.Hold("method");
    service.Answer("method", R"({"a":1})");
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;

    QDBusPendingReply<QString> reply = proxy.AsyncRequest("method", R"({"b":"ö"})");
    QCOMPARE(log.Records(), Records{Calling("method", R"({"b":"ö"})")});
    QVERIFY(service.WaitForCalls("method", 1));
    QVERIFY(!reply.isFinished());
    service.Release("method");
    reply.waitForFinished();

    QCOMPARE(reply.value(), R"({"a":1})");
    QCOMPARE(log.Records(), Records{Calling("method", R"({"b":"ö"})")});
    QCOMPARE(service.ArgumentsOf("method"), QStringList(R"({"b":"ö"})"));
}

void tst_ServiceProviderProxy::asyncRequest_lateError_showsInTheReply()
{
    FakeService service;
    service.Appear();
    service.Hold("method");
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;

    QDBusPendingReply<QString> reply = proxy.AsyncRequest("method", "{}");
    QVERIFY(service.WaitForCalls("method", 1));
    QVERIFY(!reply.isError());
    service.Fail("method", "com.quorvantel.Error.Late", "too late");
    service.Release("method");
    reply.waitForFinished();

    QVERIFY(reply.isError());
    QCOMPARE(reply.error().name(), "com.quorvantel.Error.Late");
    QCOMPARE(reply.error().message(), "too late");
    QCOMPARE(log.Records(), Records{Calling("method", "{}")});
}

void tst_ServiceProviderProxy::asyncRequest_serviceAbsent_showsInTheReply()
{
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;
    QDBusPendingReply<QString> reply = proxy.AsyncRequest("method", "");
    reply.waitForFinished();
    QCOMPARE(reply.error().type(), QDBusError::ServiceUnknown);
    QCOMPARE(log.Records(), Records{Calling("method", "")});
}

void tst_ServiceProviderProxy::asyncRequest_errCode_isNotLookedAt()
{
    FakeService service;
    service.Appear();
    service.Answer("method", R"({"errCode":5})");
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    const LogCapture log;
    QDBusPendingReply<QString> reply = proxy.AsyncRequest("method", "{}");
    reply.waitForFinished();
    QVERIFY(!reply.isError());
    QCOMPARE(reply.value(), R"({"errCode":5})");
    QCOMPARE(log.Records(), Records{Calling("method", "{}")});
}

void tst_ServiceProviderProxy::notification_isPassedOnUnchanged_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("payload");
    QTest::newRow("plain") << "audioFocusChangeEvent"
                           << R"({"newFocus":"gained"})";
    QTest::newRow("non-ASCII") << "Ereignis ö"
                               << R"({"k":"音 😀"})";
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("not JSON") << "a b"
                              << "nonsense \"\\\n";
}

void tst_ServiceProviderProxy::notification_isPassedOnUnchanged()
{
    QFETCH(const QString, name);
    QFETCH(const QString, payload);
    FakeService service;
    service.Appear();
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    QSignalSpy notified(&proxy, &ConcreteServiceProviderProxy::Notify);
    const LogCapture log;

    service.Notify(kHmiPath, name, payload);
    QTRY_COMPARE(notified.size(), 1);

    QCOMPARE(notified.first(), (QVariantList{name, payload}));
    QCOMPARE(log.Records(), Records());
}

void tst_ServiceProviderProxy::notification_inOrderAndOncePerEmission()
{
    FakeService service;
    service.Appear();
    ConcreteServiceProviderProxy proxy(kServiceName, kAppPath);
    QSignalSpy notified(&proxy, &ConcreteServiceProviderProxy::Notify);
    for (int i = 0; i < 20; ++i) {
        service.Notify(kAppPath, "same", QString::number(i));
    }
    service.Notify(kAppPath, "last", "");
    QTRY_VERIFY(!notified.isEmpty() && notified.last().first() == "last");

    QStringList payloads;
    for (const QVariantList& arguments : qAsConst(notified)) {
        payloads.append(arguments.at(1).toString());
    }
    QStringList expected;
    for (int i = 0; i < 20; ++i) {
        expected.append(QString::number(i));
    }
    QCOMPARE(payloads, expected + QStringList(""));
}

void tst_ServiceProviderProxy::notification_ofTheOtherObject_doesNotArrive()
{
    FakeService service;
    service.Appear();
    ConcreteServiceProviderProxy hmi(kServiceName, kHmiPath);
    ConcreteServiceProviderProxy app(kServiceName, kAppPath);
    QSignalSpy hmiNotified(&hmi, &ConcreteServiceProviderProxy::Notify);
    QSignalSpy appNotified(&app, &ConcreteServiceProviderProxy::Notify);

    service.Notify(kHmiPath, "for the HMI", "");
    service.Notify(kAppPath, "for the application", "");
    QTRY_COMPARE(appNotified.size(), 1);
    QTRY_COMPARE(hmiNotified.size(), 1);

    QCOMPARE(hmiNotified.first(), (QVariantList{"for the HMI", ""}));
    QCOMPARE(appNotified.first(), (QVariantList{"for the application", ""}));
}

void tst_ServiceProviderProxy::notification_slot_emitsTheSignal()
{
    ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    QSignalSpy notified(&proxy, &ConcreteServiceProviderProxy::Notify);
    proxy.Notification("name ö", "payload");
    QCOMPARE(notified.size(), 1);
    QCOMPARE(notified.first(), (QVariantList{"name ö", "payload"}));
}

void tst_ServiceProviderProxy::notification_reachesAClient()
{
    FakeService service;
    service.Appear();
    service.Answer("openSession", R"({"sessionId":7})");
    FakeSurroundings fakes;
    ServiceProviderProxyHmiFactory factory;
    OpenedSessionClient client(fakes.registrator, kServiceName, kClientPath, fakes.connection, QString(),
                               factory);
    QCOMPARE(client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    service.Notify(kHmiPath, "Ereignis ö", R"({"k":"音"})");
    service.Notify(kHmiPath, "", "");
    QTRY_COMPARE(client.m_Notifications.size(), 2);

    QCOMPARE(client.m_Notifications, (QStringList{R"(Ereignis ö {"k":"音"})", " "}));
    client.Powerdown();
}

void tst_ServiceProviderProxy::construction_proxyHasNoParentButItsObjectHas()
{
    QObject parent;
    const OpenedProxy proxy(kServiceName, kHmiPath, &parent);
    QCOMPARE(proxy.parent(), nullptr);
    QCOMPARE(proxy.m_Interface.parent(), &parent);
    QCOMPARE(parent.children().size(), 1);
    QCOMPARE(parent.children().first(), &proxy.m_Interface);
    QCOMPARE(proxy.m_Interface.connection().name(), QDBusConnection::systemBus().name());
    QCOMPARE(proxy.m_Interface.service(), kServiceName);
    QCOMPARE(proxy.m_Interface.path(), kHmiPath);
    QCOMPARE(proxy.m_Interface.interface(), kInterfaceName);
}

void tst_ServiceProviderProxy::construction_withoutParent()
{
    const OpenedProxy proxy(kServiceName, kHmiPath);
    QCOMPARE(proxy.parent(), nullptr);
    QCOMPARE(proxy.m_Interface.parent(), nullptr);
}

void tst_ServiceProviderProxy::construction_writesNoRecord()
{
    const LogCapture log;
    {
        const ConcreteServiceProviderProxy proxy(kServiceName, kHmiPath);
    }
    QCOMPARE(log.Records(), Records());
}

void tst_ServiceProviderProxy::deletion_removesTheEmbeddedObject()
{
    QObject parent;
    auto proxy = std::make_unique<OpenedProxy>(kServiceName, kHmiPath, &parent);
    const QPointer<QObject> embedded = &proxy->m_Interface;
    std::unique_ptr<IServiceProviderProxy> owned = std::move(proxy);
    QVERIFY(!embedded.isNull());

    owned.reset();

    QVERIFY(embedded.isNull());
    QCOMPARE(parent.children(), QObjectList());
}

void tst_ServiceProviderProxy::factory_addressesTheService_data()
{
    QTest::addColumn<std::shared_ptr<IServiceProviderProxyFactory>>("factory");
    QTest::addColumn<QString>("path");
    using Factory = std::shared_ptr<IServiceProviderProxyFactory>;
    QTest::newRow("HMI") << Factory(std::make_shared<ServiceProviderProxyHmiFactory>())
                         << "/com/kiv/service/AudioManagement/HmiMode";
    QTest::newRow("application") << Factory(std::make_shared<ServiceProviderProxyAppFactory>())
                                 << "/com/kiv/service/AudioManagement/AudioApplication";
}

void tst_ServiceProviderProxy::factory_addressesTheService()
{
    QFETCH(const std::shared_ptr<IServiceProviderProxyFactory>, factory);
    QFETCH(const QString, path);
    FakeService service;
    service.Appear();
    QObject parent;
    const std::unique_ptr<IServiceProviderProxy> proxy(factory->CreateProxy(&parent));

    auto* const concrete = dynamic_cast<ConcreteServiceProviderProxy*>(proxy.get());
    QVERIFY(concrete != nullptr);
    QCOMPARE(concrete->parent(), nullptr);
    const auto embedded = parent.findChildren<ComQuorvantelServiceProviderInterface*>();
    QCOMPARE(embedded.size(), 1);
    QCOMPARE(embedded.first()->service(), "com.quorvantel.service.AudioManagement");
    QCOMPARE(embedded.first()->path(), path);
    QCOMPARE(embedded.first()->connection().name(), QDBusConnection::systemBus().name());

    QCOMPARE(proxy->Request("method", "{}"), "{}");
    QCOMPARE(service.Calls().size(), 1);
    QCOMPARE(service.Calls().first().path, path);
    QCOMPARE(service.Calls().first().methodName, "method");
}

void tst_ServiceProviderProxy::factory_makesANewProxyEachTime()
{
    ServiceProviderProxyHmiFactory hmiFactory;
    ServiceProviderProxyAppFactory appFactory;
    QObject parent;
    for (IServiceProviderProxyFactory* factory : {static_cast<IServiceProviderProxyFactory*>(&hmiFactory),
                                                  static_cast<IServiceProviderProxyFactory*>(&appFactory)}) {
        const std::unique_ptr<IServiceProviderProxy> first(factory->CreateProxy(&parent));
        const std::unique_ptr<IServiceProviderProxy> second(factory->CreateProxy(&parent));
        QVERIFY(first != second);
        QCOMPARE(parent.children().size(), 2);
    }
    QCOMPARE(parent.children(), QObjectList());
}

KIV_BUS_TEST_MAIN(tst_ServiceProviderProxy)
#include "tst_ServiceProviderProxy.moc"
