// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "LogTexts.h"
#include "ServiceProviderAdaptor.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QSignalSpy>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kServiceToWatch = "com.example.watched";
const QString kObjectPath = kClientPath + "/ServiceProviderClient";
const QString kOpenArguments =
    R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})";

const LogRecord kStarted = Debug("ServiceProviderClient::HandleInitializeProxy");
const LogRecord kCreating =
    Debug("ServiceProviderClient::HandleInitializeProxy -- Creating ServiceProviderAdaptor");
const LogRecord kSuccess = Debug("ServiceProviderClient::HandleInitializeProxy -- SUCCESS");
const LogRecord kFailed = Debug("ServiceProviderClient::HandleInitializeProxy -- FAILED");

/** Exports that note how many adaptors the object has by then. */
class CountingConnection : public FakeAdaptorConnection
{
public:
    bool RegisterObject(const QString& busName, const QString& objectPath, QObject* object) override
    {
        m_AdaptorCounts.append(int(object->findChildren<ServiceProviderAdaptor*>().size()));
        return FakeAdaptorConnection::RegisterObject(busName, objectPath, object);
    }

    QVector<int> m_AdaptorCounts;
};

/** A client that notes in which session its own work is asked for. */
class NotingClient : public OpenedSessionClient
{
public:
    using OpenedSessionClient::OpenedSessionClient;

    bool HandleInitialize() override
    {
        m_SessionsAtInitialize.append(SessionId());
        return OpenedSessionClient::HandleInitialize();
    }

    QVector<quint32> m_SessionsAtInitialize;
};

struct Fixture
{
    Fixture()
    {
        client.Open(0);
        fakes.Exchange().Answer("openSession", R"({"sessionId":7})");
        log.Clear();
    }

    ~Fixture()
    {
        client.m_SessionId = 0;
        client.Powerdown();
    }

    QVector<RecordedRequest> Requests() { return fakes.Exchange().Requests(); }
    int AdaptorCount() const { return int(client.findChildren<ServiceProviderAdaptor*>().size()); }

    LogCapture log;
    FakeSurroundings fakes;
    CountingConnection connection;
    NotingClient client{fakes.registrator, kServiceToWatch, kClientPath,
                        connection,        QString(),       fakes.factory};
    QSignalSpy initCompleted{&client, &KivBaseClient::SignalInitCompleted};
};

QVector<LogRecord> SessionRecords()
{
    return {RequestBegins("openSession", kOpenArguments), RequestSucceeds("openSession"),
            Debug(R"(QMap(("sessionId", QVariant(int, 7))))"), Debug("SessionID = 7")};
}

const QVector<RecordedRequest> kOneOpenSession{{true, "openSession", kOpenArguments}};

} // namespace

class tst_InboundCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initializeProxy_succeeds();
    void initializeProxy_exportsTheClientWithItsAdaptor();
    void initializeProxy_exportFails_opensNoSession();
    void initializeProxy_sessionNotOpened_doesNoWorkOfItsOwn_data();
    void initializeProxy_sessionNotOpened_doesNoWorkOfItsOwn();
    void initializeProxy_sessionAlreadyOpen_fails();
    void initializeProxy_ownWorkFails_failsWithTheSessionOpen();
    void initializeProxy_twice_makesTwoAdaptors();

    void initialize_returnsTheStateAsItStandsAfterwards_data();
    void initialize_returnsTheStateAsItStandsAfterwards();
    void initialize_withoutTheService_waits();

    void request_isRecordedAndAnsweredWithAnEmptyObject_data();
    void request_isRecordedAndAnsweredWithAnEmptyObject();
    void request_throughTheAdaptor_reachesTheClient();
    void request_overridden_answersThroughTheAdaptor();

    void powerdown_closesTheSessionBeforeTheProxyGoes();
    void handlePowerdown_twice_closesOnce();
    void handlePowerdown_withoutSession_onlyWritesTheCloseLine();
    void powerdown_keepsAdaptorAndExport();
};

void tst_InboundCalls::initializeProxy_succeeds()
{
    Fixture fixture;

    QCOMPARE(fixture.client.HandleInitializeProxy(), KivBaseClient::INIT_STATE_SUCCESS);

    QCOMPARE(fixture.client.m_InitState, KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.client.m_SessionsAtInitialize, QVector<quint32>{7});
    QCOMPARE(fixture.Requests(), kOneOpenSession);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{kStarted, kCreating} + SessionRecords() + QVector<LogRecord>{kSuccess}));
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_InboundCalls::initializeProxy_exportsTheClientWithItsAdaptor()
{
    Fixture fixture;

    fixture.client.HandleInitializeProxy();

    const QVector<FakeAdaptorConnection::Export> exports = fixture.connection.Exports();
    QCOMPARE(exports.size(), 1);
    QCOMPARE(exports[0].busName, kClientName);
    QCOMPARE(exports[0].objectPath, kObjectPath);
    QCOMPARE(exports[0].object, &fixture.client);
    QCOMPARE(fixture.connection.m_AdaptorCounts, QVector<int>{1});
}

void tst_InboundCalls::initializeProxy_exportFails_opensNoSession()
{
    Fixture fixture;
    fixture.connection.SetResult(false);

    QCOMPARE(fixture.client.HandleInitializeProxy(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(fixture.client.m_InitState, KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(fixture.client.SessionId(), 0u);
    QVERIFY(fixture.client.m_SessionsAtInitialize.isEmpty());
    QVERIFY(fixture.Requests().isEmpty());
    QCOMPARE(fixture.AdaptorCount(), 1);
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{
                 kStarted, kCreating,
                 Critical(QStringLiteral("Connection Register error: \"%1\"").arg(kObjectPath)), kFailed}));
}

void tst_InboundCalls::initializeProxy_sessionNotOpened_doesNoWorkOfItsOwn_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QVector<LogRecord>>("records");
    QTest::newRow("errCode") << R"({"errCode":5})"
                             << QVector<LogRecord>{
                                    RequestFails("openSession", kOpenArguments, R"({"errCode":5})")};
    QTest::newRow("no sessionId") << "{}"
                                  << QVector<LogRecord>{RequestSucceeds("openSession"), Debug("QMap()")};
    QTest::newRow("sessionId 0") << R"({"sessionId":0})"
                                 << QVector<LogRecord>{RequestSucceeds("openSession"),
                                                       Debug(R"(QMap(("sessionId", QVariant(int, 0))))"),
                                                       Debug("SessionID = 0")};
}

void tst_InboundCalls::initializeProxy_sessionNotOpened_doesNoWorkOfItsOwn()
{
    QFETCH(QString, answer);
    QFETCH(QVector<LogRecord>, records);
    Fixture fixture;
    fixture.fakes.Exchange().Answer("openSession", answer);

    QCOMPARE(fixture.client.HandleInitializeProxy(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(fixture.client.m_InitState, KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(fixture.client.SessionId(), 0u);
    QVERIFY(fixture.client.m_SessionsAtInitialize.isEmpty());
    QCOMPARE(fixture.Requests(), kOneOpenSession);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{kStarted, kCreating, RequestBegins("openSession", kOpenArguments)} +
              records + QVector<LogRecord>{kFailed}));
}

void tst_InboundCalls::initializeProxy_sessionAlreadyOpen_fails()
{
    Fixture fixture;
    fixture.client.m_SessionId = 5;

    QCOMPARE(fixture.client.HandleInitializeProxy(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(fixture.client.SessionId(), 5u);
    QVERIFY(fixture.client.m_SessionsAtInitialize.isEmpty());
    QVERIFY(fixture.Requests().isEmpty());
    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{kStarted, kCreating, kFailed}));
}

void tst_InboundCalls::initializeProxy_ownWorkFails_failsWithTheSessionOpen()
{
    Fixture fixture;
    fixture.client.m_InitializeResult = false;

    QCOMPARE(fixture.client.HandleInitializeProxy(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(fixture.client.m_InitState, KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.client.m_SessionsAtInitialize, QVector<quint32>{7});
    QCOMPARE(fixture.Requests(), kOneOpenSession);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{kStarted, kCreating} + SessionRecords() + QVector<LogRecord>{kFailed}));
}

void tst_InboundCalls::initializeProxy_twice_makesTwoAdaptors()
{
    Fixture fixture;

    fixture.client.HandleInitializeProxy();
    QCOMPARE(fixture.AdaptorCount(), 1);
    fixture.client.m_SessionId = 0;
    QCOMPARE(fixture.client.HandleInitializeProxy(), KivBaseClient::INIT_STATE_SUCCESS);

    QCOMPARE(fixture.AdaptorCount(), 2);
    QCOMPARE(fixture.connection.m_AdaptorCounts, (QVector<int>{1, 2}));
    QCOMPARE(fixture.client.m_InitializeCount, 2);
}

void tst_InboundCalls::initialize_returnsTheStateAsItStandsAfterwards_data()
{
    QTest::addColumn<KivBaseClient::InitState>("state");
    QTest::newRow("waiting") << KivBaseClient::INIT_STATE_WAITING_FOR_KIV;
    QTest::newRow("failed") << KivBaseClient::INIT_STATE_FAILED;
    QTest::newRow("success") << KivBaseClient::INIT_STATE_SUCCESS;
    QTest::newRow("max") << KivBaseClient::INIT_STATE_MAX;
}

void tst_InboundCalls::initialize_returnsTheStateAsItStandsAfterwards()
{
    QFETCH(KivBaseClient::InitState, state);
    Fixture fixture;
    fixture.client.m_InitState = state;

    QCOMPARE(fixture.client.Initialize(), state);

    QCOMPARE(fixture.client.m_InitState, state);
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{Debug("KivBaseClient::Initialize"),
                                 Warning("KivBaseClient::Initialize() is being called more than once!")}));
}

void tst_InboundCalls::initialize_withoutTheService_waits()
{
    Fixture fixture;

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);

    QVERIFY(fixture.connection.Exports().isEmpty());
    QVERIFY(fixture.Requests().isEmpty());
    QCOMPARE(fixture.AdaptorCount(), 0);
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_InboundCalls::request_isRecordedAndAnsweredWithAnEmptyObject_data()
{
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QString>("arguments");
    QTest::newRow("usual") << "onModeChange"
                           << R"({"mode":"A"})";
    QTest::newRow("unknown") << "unheardOf"
                             << "{}";
    QTest::newRow("not JSON") << "onModeChange"
                              << "nonsense";
    QTest::newRow("empty") << ""
                           << "";
}

void tst_InboundCalls::request_isRecordedAndAnsweredWithAnEmptyObject()
{
    QFETCH(QString, methodName);
    QFETCH(QString, arguments);
    Fixture fixture;

    QCOMPARE(fixture.client.Request(methodName, arguments), "{}");

    QCOMPARE(fixture.client.m_Requests, QStringList{methodName + ' ' + arguments});
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{
                 Debug(QStringLiteral("ServiceProviderClient::Request %1 %2 %3")
                           .arg(Streamed(kObjectPath), Streamed(methodName), Streamed(arguments)))}));
    QVERIFY(fixture.Requests().isEmpty());
}

void tst_InboundCalls::request_throughTheAdaptor_reachesTheClient()
{
    Fixture fixture;
    fixture.client.HandleInitializeProxy();
    auto* adaptor = fixture.client.findChild<ServiceProviderAdaptor*>();
    QVERIFY(adaptor != nullptr);

    QCOMPARE(adaptor->Request("onModeChange", R"({"mode":"A"})"), "{}");

    QCOMPARE(fixture.client.m_Requests, QStringList{R"(onModeChange {"mode":"A"})"});
}

void tst_InboundCalls::request_overridden_answersThroughTheAdaptor()
{
    class Answering : public OpenedSessionClient
    {
    public:
        using OpenedSessionClient::OpenedSessionClient;

        QString Request(const QString& methodName, const QString& arguments) override
        {
            return methodName + '/' + arguments;
        }
    };
    LogCapture log;
    FakeSurroundings fakes;
    Answering client(fakes.registrator, kServiceToWatch, kClientPath, fakes.connection, QString(),
                     fakes.factory);
    ServiceProviderAdaptor adaptor(&client);

    QCOMPARE(adaptor.Request("a", "b"), "a/b");
    QVERIFY(client.m_Requests.isEmpty());
}

void tst_InboundCalls::powerdown_closesTheSessionBeforeTheProxyGoes()
{
    Fixture fixture;
    fixture.client.m_SessionId = 7;

    fixture.client.Powerdown();

    QCOMPARE(fixture.Requests(), (QVector<RecordedRequest>{{true, "closeSession", R"({"sessionId":7})"}}));
    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(fixture.fakes.Exchange().ProxyCount(), 0);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{
                 Debug(QStringLiteral("ServiceProviderClient::CloseSession \"%1\" 7").arg(kObjectPath)),
                 RequestBegins("closeSession", R"({"sessionId":7})"), RequestSucceeds("closeSession")}));
}

void tst_InboundCalls::handlePowerdown_twice_closesOnce()
{
    Fixture fixture;
    fixture.client.m_SessionId = 7;

    fixture.client.HandlePowerdown();
    fixture.client.HandlePowerdown();

    QCOMPARE(fixture.Requests(), (QVector<RecordedRequest>{{true, "closeSession", R"({"sessionId":7})"}}));
    QCOMPARE(fixture.fakes.Exchange().ProxyCount(), 1);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{
                 Debug(QStringLiteral("ServiceProviderClient::CloseSession \"%1\" 7").arg(kObjectPath)),
                 RequestBegins("closeSession", R"({"sessionId":7})"), RequestSucceeds("closeSession"),
                 Debug(QStringLiteral("ServiceProviderClient::CloseSession \"%1\" 0").arg(kObjectPath))}));
}

void tst_InboundCalls::handlePowerdown_withoutSession_onlyWritesTheCloseLine()
{
    Fixture fixture;

    fixture.client.HandlePowerdown();

    QVERIFY(fixture.Requests().isEmpty());
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{
                 Debug(QStringLiteral("ServiceProviderClient::CloseSession \"%1\" 0").arg(kObjectPath))}));
}

void tst_InboundCalls::powerdown_keepsAdaptorAndExport()
{
    Fixture fixture;
    fixture.client.HandleInitializeProxy();

    fixture.client.Powerdown();

    QCOMPARE(fixture.AdaptorCount(), 1);
    QCOMPARE(fixture.connection.Exports().size(), 1);
    QCOMPARE(fixture.client.m_InitState, KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(fixture.client.Request("late", "{}"), "{}");
    QCOMPARE(fixture.client.m_Requests, QStringList{"late {}"});
}

KIV_UNIT_TEST_MAIN(tst_InboundCalls)
#include "tst_InboundCalls.moc"
