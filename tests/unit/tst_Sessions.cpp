// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "LogTexts.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QMetaMethod>
#include <QSignalSpy>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::IServiceRegistrator;
using Audio::Utils::Kiv::QtDbus::ServiceProviderClient;

namespace {

using Parameters = QMap<QString, QVariant>;

const QString kServiceToWatch = "com.example.watched";
const QString kObjectPath = kClientPath + "/ServiceProviderClient";
const QString kOpenArguments =
    R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})";
const QString kBusErrorAnswer = R"({ "errCode" : 0 })";

/** A session client with a proxy, and everything that it does. */
struct Fixture
{
    explicit Fixture(quint32 sessionId = 0, const QString& destination = QString())
        : client(fakes.registrator, kServiceToWatch, kClientPath, fakes.connection, destination,
                 fakes.factory)
    {
        client.Open(sessionId);
        log.Clear();
    }

    ~Fixture()
    {
        client.m_SessionId = 0;
        client.Powerdown();
    }

    FakeExchange& Exchange() { return fakes.Exchange(); }
    QVector<RecordedRequest> Requests() { return fakes.Exchange().Requests(); }

    /** Waits until everything that was sent before has been answered and handled. */
    bool Settle()
    {
        bool isSettled = false;
        client.WatchReply(
            client.StartRequest("settle", QString("{}")),
            [&isSettled](bool, const Parameters&, unsigned int) { return isSettled = true; }, 9999);
        return QTest::qWaitFor([&isSettled] { return isSettled; }, 30000);
    }

    LogCapture log;
    FakeSurroundings fakes;
    OpenedSessionClient client;
    QSignalSpy opened{&client, &ServiceProviderClient::SignalOpenSessionCompleted};
    QSignalSpy closed{&client, &ServiceProviderClient::SignalCloseSessionCompleted};
};

QVector<QVariantList> Emissions(const QSignalSpy& spy)
{
    return spy.toVector();
}

LogRecord CloseRecord(quint32 sessionId)
{
    return Debug(QStringLiteral("ServiceProviderClient::CloseSession \"%1\" %2")
                     .arg(kObjectPath, QString::number(sessionId)));
}

LogRecord OpenedRecord(quint32 sessionId)
{
    return Debug(
        QStringLiteral("ServiceProviderClient::HandleOpenSessionReply -- Session ID: %1").arg(sessionId));
}

const LogRecord kNoKeyRecord =
    Critical(R"(ServiceProviderClient::HandleOpenSessionReply -- Reply does not contain key "sessionId")");
const LogRecord kAlreadyOpenRecord =
    Critical("ServiceProviderClient::StartOpenSessionRequest -- Session is already open");
const LogRecord kNotOpenRecord =
    Critical("ServiceProviderClient::StartCloseSessionRequest -- Session is not open");
const LogRecord kNoProxyRecord = Critical("KivBaseClient::StartRequest -- Missing KIv service proxy");

QStringList SignaturesOf(const QMetaObject& metaObject)
{
    QStringList signatures;
    for (int index = metaObject.methodOffset(); index < metaObject.methodCount(); ++index) {
        const QMetaMethod method = metaObject.method(index);
        signatures.append(method.typeName() + (' ' + method.methodSignature()) + ' ' +
                          method.parameterNames().join(','));
    }
    return signatures;
}

} // namespace

class tst_Sessions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constructor_recordsWhoTheClientIs_data();
    void constructor_recordsWhoTheClientIs();
    void constructor_readsTheBusNameOnceAndSendsNothing();
    void metaObject_listsSignalsAndInvokablesInOrder();
    void sessionId_andIsSessionOpen_tellWhetherThereIsASession();

    void openSession_succeeds();
    void openSession_destination_isSentBetweenNameAndPath();
    void openSession_whileOpen_isFalseAndSendsNothing();
    void openSession_answerWithoutUsableIdentifier_isFalse_data();
    void openSession_answerWithoutUsableIdentifier_isFalse();
    void openSession_answerWithoutKey_logsTheMapOnly_data();
    void openSession_answerWithoutKey_logsTheMapOnly();
    void openSession_refused_isFalse_data();
    void openSession_refused_isFalse();
    void openSession_withoutProxy_isFalse();
    void openSession_identifierAsText_isConverted();

    void closeSession_withoutSession_onlyWritesItsLine();
    void closeSession_sendsTheIdentifierAndForgetsIt();
    void closeSession_refused_forgetsTheIdentifierAllTheSame();
    void closeSession_withoutProxy_forgetsTheIdentifierAllTheSame();

    void startOpenSession_whileOpen_hasFailedAlready();
    void startOpenSession_sendsTheParameters();
    void startCloseSession_whileClosed_hasFailedAlready();
    void startCloseSession_keepsTheIdentifier();

    void openSessionAsync_succeeds();
    void openSessionAsync_destination_isSent();
    void openSessionAsync_whileOpen_startsNothing();
    void openSessionAsync_withoutProxy_startsNothing();
    void openSessionAsync_failure_completesWithFalse_data();
    void openSessionAsync_failure_completesWithFalse();
    void openSessionAsync_busError_completesWithFalse();
    void openSessionAsync_twice_takesBothReplies();

    void closeSessionAsync_succeeds();
    void closeSessionAsync_whileClosed_startsNothing();
    void closeSessionAsync_withoutProxy_startsNothing();
    void closeSessionAsync_errCode_keepsTheSession();
    void closeSessionAsync_busError_keepsTheSession();

    void handleOpenSessionReply_failed_keepsEverything();
    void handleOpenSessionReply_identifier_decides_data();
    void handleOpenSessionReply_identifier_decides();
    void handleOpenSessionReply_withoutKey_isCritical();
    void handleCloseSessionReply_failed_keepsTheIdentifier();
    void handleCloseSessionReply_forgetsTheIdentifierWhateverTheMapSays();

    void destructor_doesNotCloseTheSession();
};

void tst_Sessions::constructor_recordsWhoTheClientIs_data()
{
    QTest::addColumn<QString>("prefix");
    QTest::addColumn<QString>("destination");
    QTest::addColumn<QString>("objectPath");
    QTest::newRow("usual") << "/com/example"
                           << ""
                           << "/com/example/ServiceProviderClient";
    QTest::newRow("with destination") << "/com/example"
                                      << "Cabin"
                                      << "/com/example/ServiceProviderClient";
    QTest::newRow("empty prefix") << ""
                                  << ""
                                  << "/ServiceProviderClient";
}

void tst_Sessions::constructor_recordsWhoTheClientIs()
{
    QFETCH(QString, prefix);
    QFETCH(QString, destination);
    QFETCH(QString, objectPath);
    FakeSurroundings fakes;
    QObject parent;
    LogCapture log;
    const OpenedSessionClient client(fakes.registrator, kServiceToWatch, prefix, fakes.connection,
                                     destination, fakes.factory, &parent);

    QCOMPARE(log.Records(),
             (QVector<LogRecord>{
                 Debug("KivBaseClient::KivBaseClient --  \n   m_ServiceName: \"com.example.watched\""),
                 Debug(QStringLiteral("ServiceProviderClient::ServiceProviderClient --  \n   m_DbusName: "
                                      "\"com.quorvantel.audioclient.test\" \n   m_ObjPath: \"%1\" \n   "
                                      "m_Destination: \"%2\" \n   m_SessionId: 0")
                           .arg(objectPath, destination))}));
    QCOMPARE(client.m_ObjPath, objectPath);
    QCOMPARE(client.m_Destination, destination);
    QCOMPARE(client.m_DbusName, kClientName);
    QCOMPARE(client.m_ServiceName, kServiceToWatch);
    QCOMPARE(client.parent(), &parent);
}

void tst_Sessions::constructor_readsTheBusNameOnceAndSendsNothing()
{
    class Renamable : public IServiceRegistrator
    {
    public:
        const QString& GetServiceName() const override { return name; }

        QString name = "com.example.first";
    };
    LogCapture log;
    FakeSurroundings fakes;
    Renamable registrator;
    const OpenedSessionClient client(registrator, kServiceToWatch, kClientPath, fakes.connection, QString(),
                                     fakes.factory);
    registrator.name = "com.example.second";

    QCOMPARE(client.m_DbusName, "com.example.first");
    QCOMPARE(client.m_SessionId, 0u);
    QCOMPARE(client.parent(), nullptr);
    QVERIFY(fakes.Exchange().Requests().isEmpty());
    QVERIFY(fakes.connection.Exports().isEmpty());
    QVERIFY(fakes.factory.Parents().isEmpty());
}

void tst_Sessions::metaObject_listsSignalsAndInvokablesInOrder()
{
    const QMetaObject& metaObject = ServiceProviderClient::staticMetaObject;
    QCOMPARE(metaObject.className(), "Audio::Utils::Kiv::QtDbus::ServiceProviderClient");
    QCOMPARE(SignaturesOf(metaObject),
             (QStringList{"void SignalOpenSessionCompleted(uint,bool) aRequestId,aResult",
                          "void SignalCloseSessionCompleted(uint,bool) aRequestId,aResult",
                          "uint OpenSessionAsync() ", "uint CloseSessionAsync() "}));
}

void tst_Sessions::sessionId_andIsSessionOpen_tellWhetherThereIsASession()
{
    Fixture fixture;
    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(fixture.client.IsSessionOpen(), false);

    fixture.client.m_SessionId = 4294967295u;
    QCOMPARE(fixture.client.SessionId(), 4294967295u);
    QCOMPARE(fixture.client.IsSessionOpen(), true);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Sessions::openSession_succeeds()
{
    Fixture fixture;
    fixture.Exchange().Answer("openSession", R"({"sessionId":7,"more":true})");

    QCOMPARE(fixture.client.OpenSession(), true);

    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.client.IsSessionOpen(), true);
    QCOMPARE(fixture.Requests(), (QVector<RecordedRequest>{{true, "openSession", kOpenArguments}}));
    QCOMPARE(
        Timeless(fixture.log.Records()),
        (QVector<LogRecord>{RequestBegins("openSession", kOpenArguments), RequestSucceeds("openSession"),
                            Debug(R"(QMap(("more", QVariant(bool, true))("sessionId", QVariant(int, 7))))"),
                            Debug("SessionID = 7")}));
    QCOMPARE(fixture.opened.size(), 0);
}

void tst_Sessions::openSession_destination_isSentBetweenNameAndPath()
{
    Fixture fixture(0, "Cabin");
    fixture.Exchange().Answer("openSession", R"({"sessionId":7})");

    QCOMPARE(fixture.client.OpenSession(), true);

    QCOMPARE(
        fixture.Requests(),
        (QVector<RecordedRequest>{
            {true, "openSession",
             R"({"busName":"com.quorvantel.audioclient.test","destination":"Cabin","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})"}}));
}

void tst_Sessions::openSession_whileOpen_isFalseAndSendsNothing()
{
    Fixture fixture(7);

    QCOMPARE(fixture.client.OpenSession(), false);

    QCOMPARE(fixture.client.SessionId(), 7u);
    QVERIFY(fixture.Requests().isEmpty());
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Sessions::openSession_answerWithoutUsableIdentifier_isFalse_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("map");
    QTest::newRow("zero") << R"({"sessionId":0})"
                          << R"(QMap(("sessionId", QVariant(int, 0))))";
    QTest::newRow("text") << R"({"sessionId":"x"})"
                          << R"(QMap(("sessionId", QVariant(QString, "x"))))";
    QTest::newRow("null") << R"({"sessionId":null})"
                          << R"(QMap(("sessionId", QVariant(QString, ""))))";
}

void tst_Sessions::openSession_answerWithoutUsableIdentifier_isFalse()
{
    QFETCH(QString, answer);
    QFETCH(QString, map);
    Fixture fixture;
    fixture.Exchange().Answer("openSession", answer);

    QCOMPARE(fixture.client.OpenSession(), false);

    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{RequestBegins("openSession", kOpenArguments), RequestSucceeds("openSession"),
                                 Debug(map), Debug("SessionID = 0")}));
}

void tst_Sessions::openSession_answerWithoutKey_logsTheMapOnly_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("map");
    QTest::newRow("empty object") << "{}"
                                  << "QMap()";
    QTest::newRow("not JSON") << "nonsense"
                              << "QMap()";
    QTest::newRow("other key") << R"({"sessionid":7})"
                               << R"(QMap(("sessionid", QVariant(int, 7))))";
}

void tst_Sessions::openSession_answerWithoutKey_logsTheMapOnly()
{
    QFETCH(QString, answer);
    QFETCH(QString, map);
    Fixture fixture;
    fixture.Exchange().Answer("openSession", answer);

    QCOMPARE(fixture.client.OpenSession(), false);

    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{RequestBegins("openSession", kOpenArguments), RequestSucceeds("openSession"),
                                 Debug(map)}));
}

void tst_Sessions::openSession_refused_isFalse_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("errCode") << R"({"errCode":5})";
    QTest::newRow("errCode beside an identifier") << R"({"errCode":0,"sessionId":7})";
    QTest::newRow("bus error") << kBusErrorAnswer;
}

void tst_Sessions::openSession_refused_isFalse()
{
    QFETCH(QString, answer);
    Fixture fixture;
    fixture.Exchange().Answer("openSession", answer);

    QCOMPARE(fixture.client.OpenSession(), false);

    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{RequestBegins("openSession", kOpenArguments),
                                 RequestFails("openSession", kOpenArguments, answer)}));
}

void tst_Sessions::openSession_withoutProxy_isFalse()
{
    Fixture fixture;
    fixture.client.Powerdown();
    fixture.log.Clear();

    QCOMPARE(fixture.client.OpenSession(), false);

    QCOMPARE(
        Timeless(fixture.log.Records()),
        (QVector<LogRecord>{
            RequestBegins("openSession", kOpenArguments),
            Critical("KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!")}));
}

void tst_Sessions::openSession_identifierAsText_isConverted()
{
    Fixture fixture;
    fixture.Exchange().Answer("openSession", R"({"sessionId":"4294967295"})");

    QCOMPARE(fixture.client.OpenSession(), true);
    QCOMPARE(fixture.client.SessionId(), 4294967295u);
    QCOMPARE(fixture.log.Records().last(), Debug("SessionID = 4294967295"));
}

void tst_Sessions::closeSession_withoutSession_onlyWritesItsLine()
{
    Fixture fixture;

    fixture.client.CloseSession();

    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{CloseRecord(0)});
    QVERIFY(fixture.Requests().isEmpty());
}

void tst_Sessions::closeSession_sendsTheIdentifierAndForgetsIt()
{
    Fixture fixture(4294967295u);

    fixture.client.CloseSession();

    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(fixture.Requests(),
             (QVector<RecordedRequest>{{true, "closeSession", R"({"sessionId":4294967295})"}}));
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{CloseRecord(4294967295u),
                                 RequestBegins("closeSession", R"({"sessionId":4294967295})"),
                                 RequestSucceeds("closeSession")}));
    QCOMPARE(fixture.closed.size(), 0);
}

void tst_Sessions::closeSession_refused_forgetsTheIdentifierAllTheSame()
{
    Fixture fixture(7);
    fixture.Exchange().Answer("closeSession", R"({"errCode":1})");

    fixture.client.CloseSession();

    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{CloseRecord(7), RequestBegins("closeSession", R"({"sessionId":7})"),
                                 RequestFails("closeSession", R"({"sessionId":7})", R"({"errCode":1})")}));
}

void tst_Sessions::closeSession_withoutProxy_forgetsTheIdentifierAllTheSame()
{
    Fixture fixture;
    fixture.client.Powerdown();
    fixture.client.m_SessionId = 7;
    fixture.log.Clear();

    fixture.client.CloseSession();

    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(
        Timeless(fixture.log.Records()),
        (QVector<LogRecord>{
            CloseRecord(7), RequestBegins("closeSession", R"({"sessionId":7})"),
            Critical("KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!")}));
}

void tst_Sessions::startOpenSession_whileOpen_hasFailedAlready()
{
    Fixture fixture(7);

    const QDBusPendingReply<QString> reply = fixture.client.StartOpenSessionRequest();

    QVERIFY(reply.isFinished());
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::Other);
    QCOMPARE(reply.error().name(), QDBusError::errorString(QDBusError::Other));
    QCOMPARE(reply.error().message(), "Session is already open");
    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{kAlreadyOpenRecord});
    QVERIFY(fixture.Requests().isEmpty());
    QCOMPARE(fixture.client.SessionId(), 7u);
}

void tst_Sessions::startOpenSession_sendsTheParameters()
{
    Fixture fixture;

    QDBusPendingReply<QString> reply = fixture.client.StartOpenSessionRequest();

    QCOMPARE(fixture.Requests(), (QVector<RecordedRequest>{{false, "openSession", kOpenArguments}}));
    QTRY_VERIFY(reply.isFinished());
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Sessions::startCloseSession_whileClosed_hasFailedAlready()
{
    Fixture fixture;

    const QDBusPendingReply<QString> reply = fixture.client.StartCloseSessionRequest();

    QVERIFY(reply.isFinished());
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::Other);
    QCOMPARE(reply.error().name(), QDBusError::errorString(QDBusError::Other));
    QCOMPARE(reply.error().message(), "Session is not open");
    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{kNotOpenRecord});
    QVERIFY(fixture.Requests().isEmpty());
}

void tst_Sessions::startCloseSession_keepsTheIdentifier()
{
    Fixture fixture(7);

    QDBusPendingReply<QString> reply = fixture.client.StartCloseSessionRequest();

    QCOMPARE(fixture.Requests(), (QVector<RecordedRequest>{{false, "closeSession", R"({"sessionId":7})"}}));
    QTRY_VERIFY(reply.isFinished());
    QCOMPARE(fixture.client.SessionId(), 7u);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Sessions::openSessionAsync_succeeds()
{
    Fixture fixture;
    fixture.Exchange().Answer("openSession", R"({"sessionId":7})");

    QCOMPARE(fixture.client.OpenSessionAsync(), 1u);
    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(fixture.opened.size(), 0);

    QVERIFY(fixture.Settle());
    QCOMPARE(Emissions(fixture.opened), (QVector<QVariantList>{{1u, true}}));
    QCOMPARE(fixture.closed.size(), 0);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.Requests().first(), (RecordedRequest{false, "openSession", kOpenArguments}));
    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{OpenedRecord(7)});
}

void tst_Sessions::openSessionAsync_destination_isSent()
{
    Fixture fixture(0, "Cabin");

    QCOMPARE(fixture.client.OpenSessionAsync(), 1u);

    QCOMPARE(
        fixture.Requests(),
        (QVector<RecordedRequest>{
            {false, "openSession",
             R"({"busName":"com.quorvantel.audioclient.test","destination":"Cabin","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})"}}));
}

void tst_Sessions::openSessionAsync_whileOpen_startsNothing()
{
    Fixture fixture(7);

    QCOMPARE(fixture.client.OpenSessionAsync(), 0u);

    QVERIFY(fixture.Requests().isEmpty());
    QVERIFY(fixture.Settle());
    QCOMPARE(fixture.opened.size(), 0);
    QCOMPARE(fixture.client.m_RequestId, 0u);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{kAlreadyOpenRecord});
}

void tst_Sessions::openSessionAsync_withoutProxy_startsNothing()
{
    Fixture fixture;
    fixture.client.Powerdown();
    fixture.log.Clear();

    QCOMPARE(fixture.client.OpenSessionAsync(), 0u);

    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{kNoProxyRecord});
    QCoreApplication::processEvents();
    QCOMPARE(fixture.opened.size(), 0);
    QCOMPARE(fixture.client.m_RequestId, 0u);
}

void tst_Sessions::openSessionAsync_failure_completesWithFalse_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QVector<LogRecord>>("records");
    QTest::newRow("errCode") << R"({"errCode":5,"sessionId":7})"
                             << QVector<LogRecord>{Critical(
                                    "KivBaseClient::HandleReply -- Received error code: QVariant(int, 5)")};
    QTest::newRow("no key") << "{}" << QVector<LogRecord>{kNoKeyRecord};
    QTest::newRow("not JSON") << "nonsense" << QVector<LogRecord>{kNoKeyRecord};
    QTest::newRow("zero") << R"({"sessionId":0})" << QVector<LogRecord>{OpenedRecord(0)};
    QTest::newRow("text") << R"({"sessionId":"x"})" << QVector<LogRecord>{OpenedRecord(0)};
}

void tst_Sessions::openSessionAsync_failure_completesWithFalse()
{
    QFETCH(QString, answer);
    QFETCH(QVector<LogRecord>, records);
    Fixture fixture;
    fixture.Exchange().Answer("openSession", answer);

    QCOMPARE(fixture.client.OpenSessionAsync(), 1u);

    QVERIFY(fixture.Settle());
    QCOMPARE(Emissions(fixture.opened), (QVector<QVariantList>{{1u, false}}));
    QCOMPARE(fixture.closed.size(), 0);
    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(fixture.log.Records(), records);
}

void tst_Sessions::openSessionAsync_busError_completesWithFalse()
{
    Fixture fixture;
    fixture.Exchange().Fail("openSession", "out of order");

    QCOMPARE(fixture.client.OpenSessionAsync(), 1u);

    QVERIFY(fixture.Settle());
    QCOMPARE(Emissions(fixture.opened), (QVector<QVariantList>{{1u, false}}));
    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(
        fixture.log.Records(),
        (QVector<LogRecord>{Critical(R"(KivBaseClient::HandleReply -- Received error: )"
                                     R"(QDBusError("org.freedesktop.DBus.Error.Failed", "out of order"))")}));
}

void tst_Sessions::openSessionAsync_twice_takesBothReplies()
{
    Fixture fixture;
    fixture.Exchange().Answer("openSession", R"({"sessionId":7})");

    QCOMPARE(fixture.client.OpenSessionAsync(), 1u);
    QCOMPARE(fixture.client.OpenSessionAsync(), 2u);

    QVERIFY(fixture.Settle());
    QCOMPARE(Emissions(fixture.opened), (QVector<QVariantList>{{1u, true}, {2u, true}}));
    QCOMPARE(fixture.client.SessionId(), 7u);
}

void tst_Sessions::closeSessionAsync_succeeds()
{
    Fixture fixture(7);

    QCOMPARE(fixture.client.CloseSessionAsync(), 1u);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.closed.size(), 0);

    QVERIFY(fixture.Settle());
    QCOMPARE(Emissions(fixture.closed), (QVector<QVariantList>{{1u, true}}));
    QCOMPARE(fixture.opened.size(), 0);
    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(fixture.Requests().first(), (RecordedRequest{false, "closeSession", R"({"sessionId":7})"}));
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Sessions::closeSessionAsync_whileClosed_startsNothing()
{
    Fixture fixture;

    QCOMPARE(fixture.client.CloseSessionAsync(), 0u);

    QVERIFY(fixture.Requests().isEmpty());
    QVERIFY(fixture.Settle());
    QCOMPARE(fixture.closed.size(), 0);
    QCOMPARE(fixture.client.m_RequestId, 0u);
    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{kNotOpenRecord});
}

void tst_Sessions::closeSessionAsync_withoutProxy_startsNothing()
{
    Fixture fixture;
    fixture.client.Powerdown();
    fixture.client.m_SessionId = 7;
    fixture.log.Clear();

    QCOMPARE(fixture.client.CloseSessionAsync(), 0u);

    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{kNoProxyRecord});
    QCoreApplication::processEvents();
    QCOMPARE(fixture.closed.size(), 0);
    QCOMPARE(fixture.client.SessionId(), 7u);
}

void tst_Sessions::closeSessionAsync_errCode_keepsTheSession()
{
    Fixture fixture(7);
    fixture.Exchange().Answer("closeSession", R"({"errCode":0})");

    QCOMPARE(fixture.client.CloseSessionAsync(), 1u);

    QVERIFY(fixture.Settle());
    QCOMPARE(Emissions(fixture.closed), (QVector<QVariantList>{{1u, false}}));
    QCOMPARE(fixture.opened.size(), 0);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{
                 Critical("KivBaseClient::HandleReply -- Received error code: QVariant(int, 0)")}));
}

void tst_Sessions::closeSessionAsync_busError_keepsTheSession()
{
    Fixture fixture(7);
    fixture.Exchange().Fail("closeSession", "out of order");

    QCOMPARE(fixture.client.CloseSessionAsync(), 1u);

    QVERIFY(fixture.Settle());
    QCOMPARE(Emissions(fixture.closed), (QVector<QVariantList>{{1u, false}}));
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.log.Complaints().size(), 1);
}

void tst_Sessions::handleOpenSessionReply_failed_keepsEverything()
{
    Fixture fixture(5);

    QCOMPARE(fixture.client.HandleOpenSessionReply(true, {{"sessionId", 7}}), false);
    QCOMPARE(fixture.client.SessionId(), 5u);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Sessions::handleOpenSessionReply_identifier_decides_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<quint32>("sessionId");
    QTest::newRow("a number") << QVariant(7) << 7u;
    QTest::newRow("a large number") << QVariant(4294967295u) << 4294967295u;
    QTest::newRow("a text of digits") << QVariant("12") << 12u;
    QTest::newRow("zero") << QVariant(0) << 0u;
    QTest::newRow("a text") << QVariant("x") << 0u;
    QTest::newRow("a list") << QVariant(QStringList{"7", "8"}) << 0u;
    QTest::newRow("nothing") << QVariant() << 0u;
}

void tst_Sessions::handleOpenSessionReply_identifier_decides()
{
    QFETCH(QVariant, value);
    QFETCH(quint32, sessionId);
    Fixture fixture(5);

    QCOMPARE(fixture.client.HandleOpenSessionReply(false, {{"sessionId", value}}), sessionId != 0);
    QCOMPARE(fixture.client.SessionId(), sessionId);
    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{OpenedRecord(sessionId)});
}

void tst_Sessions::handleOpenSessionReply_withoutKey_isCritical()
{
    Fixture fixture(5);

    QCOMPARE(fixture.client.HandleOpenSessionReply(false, {{"sessionid", 7}}), false);
    QCOMPARE(fixture.client.SessionId(), 5u);
    QCOMPARE(fixture.log.Records(), QVector<LogRecord>{kNoKeyRecord});
}

void tst_Sessions::handleCloseSessionReply_failed_keepsTheIdentifier()
{
    Fixture fixture(5);

    QCOMPARE(fixture.client.HandleCloseSessionReply(true, {}), false);
    QCOMPARE(fixture.client.SessionId(), 5u);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Sessions::handleCloseSessionReply_forgetsTheIdentifierWhateverTheMapSays()
{
    Fixture fixture(5);

    QCOMPARE(fixture.client.HandleCloseSessionReply(false, {{"sessionId", 5}, {"errCode", 1}}), true);
    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(fixture.client.HandleCloseSessionReply(false, {}), true);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_Sessions::destructor_doesNotCloseTheSession()
{
    LogCapture log;
    FakeSurroundings fakes;
    {
        OpenedSessionClient client(fakes.registrator, kServiceToWatch, kClientPath, fakes.connection,
                                   QString(), fakes.factory);
        client.Open(7);
        log.Clear();
    }

    QVERIFY(fakes.Exchange().Requests().isEmpty());
    QCOMPARE(fakes.Exchange().ProxyCount(), 0);
    QCOMPARE(log.Records(),
             (QVector<LogRecord>{Debug("KivBaseClient::Powerdown was not called before destructor!")}));
}

KIV_UNIT_TEST_MAIN(tst_Sessions)
#include "tst_Sessions.moc"
