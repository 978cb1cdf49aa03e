// SPDX-License-Identifier: MIT
#include "FakeServiceProviderProxyFactory.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "OpenedBaseClient.h"
#include "TestMain.h"

#include <QDBusPendingCallWatcher>
#include <QTime>

#include <functional>
#include <limits>
#include <memory>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::KivBaseClient;

namespace {

using Parameters = QMap<QString, QVariant>;

/** One run of a reply handler. */
struct Handled
{
    bool failed;
    Parameters parameters;
    unsigned int requestId;

    bool operator==(const Handled& other) const
    {
        return failed == other.failed && parameters == other.parameters && requestId == other.requestId;
    }
};

/** A reply handler that keeps what it is given. */
class Recorder
{
public:
    KivBaseClient::ReplyHandler Handler(bool verdict = true)
    {
        return [this, verdict](bool failed, const Parameters& parameters, unsigned int requestId) {
            runs.append({failed, parameters, requestId});
            threads.append(QThread::currentThread());
            return verdict;
        };
    }

    QVector<Handled> runs;
    QVector<QThread*> threads;
};

struct Fixture
{
    Fixture()
    {
        Exchange().AnswerOthers("{}");
        client->Open();
        log.Clear();
    }

    ~Fixture()
    {
        if (client) {
            client->Powerdown();
        }
    }

    FakeExchange& Exchange() { return factory.Exchange(); }

    int WatcherCount() const { return int(client->findChildren<QDBusPendingCallWatcher*>().size()); }

    quint32 Watch(const QString& methodName, const KivBaseClient::ReplyHandler& handler, unsigned int id = 0)
    {
        return client->WatchReply(client->StartRequest(methodName, QString("{}")), handler, id);
    }

    /** Waits until everything that was sent before has been answered and handled. */
    bool Settle()
    {
        if (!settler) {
            settler = std::make_unique<OpenedBaseClient>("com.example.settler", factory);
            settler->Open();
        }
        bool isSettled = false;
        settler->WatchReply(
            settler->StartRequest("settle", QString("{}")),
            [&isSettled](bool, const Parameters&, unsigned int) { return isSettled = true; }, 0);
        const bool result = QTest::qWaitFor([&isSettled] { return isSettled; }, 30000);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return result;
    }

    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    std::unique_ptr<OpenedBaseClient> client =
        std::make_unique<OpenedBaseClient>("com.example.watched", factory);
    std::unique_ptr<OpenedBaseClient> settler;
};

const QString kErrorRecord = "KivBaseClient::HandleReply -- Received error: %1";

/** A reply that has arrived, in answer to a call over a peer connection. */
class ArrivedReply
{
public:
    explicit ArrivedReply(const std::function<QDBusMessage(const QDBusMessage&)>& answer)
        : m_Peer([answer](const QDBusMessage& call, const QDBusConnection& connection) {
              connection.send(answer(call));
          }),
          m_Reply(m_Peer.Call("anything", "{}"))
    {
        if (!QTest::qWaitFor([this] { return m_Reply.isFinished(); }, 30000)) {
            qFatal("the reply does not arrive");
        }
    }

    explicit ArrivedReply(const QString& text)
        : ArrivedReply([text](const QDBusMessage& call) { return call.createReply(text); })
    {
    }

    QDBusPendingReply<QString> Reply() const { return m_Reply; }

private:
    PeerConnection m_Peer;
    QDBusPendingReply<QString> m_Reply;
};

} // namespace

class tst_RequestMachinery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nextRequestId_countsFromOne();
    void nextRequestId_wrapsToZero();

    void serviceRequest_succeeds_givesTheAnswerAndTwoRecords();
    void serviceRequest_timeStamps_areTheMinuteSecondAndMillisecondOfTheCall();
    void serviceRequest_withoutProxy_failsWithEmptyResult();
    void serviceRequest_errCodeAnywhere_failsAndKeepsTheAnswer_data();
    void serviceRequest_errCodeAnywhere_failsAndKeepsTheAnswer();
    void serviceRequest_almostErrCode_succeeds_data();
    void serviceRequest_almostErrCode_succeeds();
    void serviceRequest_busError_failsLikeErrCode();

    void startRequest_text_isSentAsItIs();
    void startRequest_map_isSentAsJson_data();
    void startRequest_map_isSentAsJson();
    void startRequest_withoutProxy_hasFailedAlready();
    void startRequest_mapWithoutProxy_hasFailedAlready();

    void watchReply_alreadyFailed_givesZeroAndRunsNothing();
    void watchReply_withoutProxy_givesZeroAndRunsNothing();
    void watchReply_issuesIdentifiersInOrder();
    void watchReply_givenIdentifier_isUsedAndCountsNothing();
    void watchReply_handlerRunsOnceLaterOnTheClientsThread();
    void watchReply_alreadySucceeded_runsTheHandlerLater();
    void watchReply_qtTellsTwice_runsTheHandlerOnce();
    void watchReply_busError_reachesTheHandler();
    void watchReply_errCode_reachesTheHandler();
    void watchReply_watcherIsAChildUntilTheReplyIsHandled();
    void watchReply_repliesOfManyRequests_reachTheirOwnHandlers();
    void watchReply_handlerHoldsACopy();
    void watchReply_clientDestroyedFirst_handlerNeverRuns();
    void watchReply_clientPoweredDownFirst_handlerRunsAllTheSame();
    void watchReply_handlerDeletesTheClient();
    void watchReply_handlerPowersTheClientDown();
    void watchReply_handlerStartsAnotherRequest();

    void handleReply_passesOnMapIdentifierAndVerdict_data();
    void handleReply_passesOnMapIdentifierAndVerdict();
    void handleReply_error_givesAnEmptyMap_data();
    void handleReply_error_givesAnEmptyMap();
    void handleReply_errCode_isAFailureWithTheMap_data();
    void handleReply_errCode_isAFailureWithTheMap();
    void handleReply_notAnObject_isASuccess_data();
    void handleReply_notAnObject_isASuccess();
    void handleReply_errCodeOnlyInAValue_isASuccess();
    void handleReply_wrongSignature_isAnError();
    void handleReply_emptyHandler_throws_data();
    void handleReply_emptyHandler_throws();

    void notification_isRecordedAndHandedOn_data();
    void notification_isRecordedAndHandedOn();
};

void tst_RequestMachinery::nextRequestId_countsFromOne()
{
    Fixture fixture;
    QCOMPARE(fixture.client->GetNextRequestId(), 1u);
    QCOMPARE(fixture.client->GetNextRequestId(), 2u);
    QCOMPARE(fixture.client->GetNextRequestId(), 3u);
    QCOMPARE(fixture.client->m_RequestId, 3u);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_RequestMachinery::nextRequestId_wrapsToZero()
{
    Fixture fixture;
    fixture.client->m_RequestId = std::numeric_limits<quint32>::max() - 1;
    QCOMPARE(fixture.client->GetNextRequestId(), std::numeric_limits<quint32>::max());
    QCOMPARE(fixture.client->GetNextRequestId(), 0u);
    QCOMPARE(fixture.client->GetNextRequestId(), 1u);
}

void tst_RequestMachinery::serviceRequest_succeeds_givesTheAnswerAndTwoRecords()
{
    Fixture fixture;
    fixture.Exchange().Answer("getMode", R"({"currentMode":"A"})");
    QString result = "something old";

    QCOMPARE(fixture.client->ServiceRequest("getMode", R"({"sessionId":7})", result), true);

    QCOMPARE(result, R"({"currentMode":"A"})");
    QCOMPARE(fixture.Exchange().Requests(),
             (QVector<RecordedRequest>{{true, "getMode", R"({"sessionId":7})"}}));
    QCOMPARE(
        Timeless(fixture.log.Records()),
        (QVector<LogRecord>{RequestBegins("getMode", R"({"sessionId":7})"), RequestSucceeds("getMode")}));
    QCOMPARE(fixture.client->m_RequestId, 0u);
}

void tst_RequestMachinery::serviceRequest_timeStamps_areTheMinuteSecondAndMillisecondOfTheCall()
{
    Fixture fixture;
    const auto timeOf = [](const LogRecord& record) {
        return QTime::fromString(record.text.section('"', 1, 1), "mm:ss.zzz");
    };
    const auto withoutHour = [](const QTime& time) {
        return QTime(0, time.minute(), time.second(), time.msec());
    };
    QString result;

    const QTime before = withoutHour(QTime::currentTime());
    fixture.client->ServiceRequest("getMode", "{}", result);
    const QTime after = withoutHour(QTime::currentTime());

    const QVector<LogRecord> records = fixture.log.Records();
    QCOMPARE(records.size(), 2);
    if (before <= after) { // else an hour has ended meanwhile
        QVERIFY(before <= timeOf(records[0]));
        QVERIFY(timeOf(records[0]) <= timeOf(records[1]));
        QVERIFY(timeOf(records[1]) <= after);
    }
}

void tst_RequestMachinery::serviceRequest_withoutProxy_failsWithEmptyResult()
{
    Fixture fixture;
    fixture.client->Powerdown();
    QString result = "something old";

    QCOMPARE(fixture.client->ServiceRequest("getMode", "{}", result), false);

    QCOMPARE(result, QString());
    QCOMPARE(
        Timeless(fixture.log.Records()),
        (QVector<LogRecord>{
            RequestBegins("getMode", "{}"),
            Critical("KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!")}));
    QVERIFY(fixture.Exchange().Requests().isEmpty());
}

void tst_RequestMachinery::serviceRequest_errCodeAnywhere_failsAndKeepsTheAnswer_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("as a key") << R"({"errCode":5})";
    QTest::newRow("with the value 0") << R"({"errCode":0})";
    QTest::newRow("inside a value") << R"({"note":"there is no errCode here"})";
    QTest::newRow("inside a longer key") << R"({"myerrCodes":1})";
    QTest::newRow("not JSON") << "errCode";
}

void tst_RequestMachinery::serviceRequest_errCodeAnywhere_failsAndKeepsTheAnswer()
{
    QFETCH(QString, answer);
    Fixture fixture;
    fixture.Exchange().Answer("getMode", answer);
    QString result;

    QCOMPARE(fixture.client->ServiceRequest("getMode", R"({"a":1})", result), false);

    QCOMPARE(result, answer);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{RequestBegins("getMode", R"({"a":1})"),
                                 RequestFails("getMode", R"({"a":1})", answer)}));
}

void tst_RequestMachinery::serviceRequest_almostErrCode_succeeds_data()
{
    QTest::addColumn<QString>("answer");
    QTest::newRow("upper case") << R"({"ERRCODE":5})";
    QTest::newRow("lower case") << R"({"errcode":5})";
    QTest::newRow("cut") << R"({"errCod":5})";
    QTest::newRow("not JSON") << "nonsense";
    QTest::newRow("empty") << "";
}

void tst_RequestMachinery::serviceRequest_almostErrCode_succeeds()
{
    QFETCH(QString, answer);
    Fixture fixture;
    fixture.Exchange().Answer("getMode", answer);
    QString result;

    QCOMPARE(fixture.client->ServiceRequest("getMode", "{}", result), true);

    QCOMPARE(result, answer);
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{RequestBegins("getMode", "{}"), RequestSucceeds("getMode")}));
}

void tst_RequestMachinery::serviceRequest_busError_failsLikeErrCode()
{
    Fixture fixture;
    fixture.Exchange().Fail("getMode", "no answer");
    QString result;

    QCOMPARE(fixture.client->ServiceRequest("getMode", "{}", result), false);

    QCOMPARE(result, R"({ "errCode" : 0 })");
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{RequestBegins("getMode", "{}"),
                                 RequestFails("getMode", "{}", R"({ "errCode" : 0 })")}));
}

void tst_RequestMachinery::startRequest_text_isSentAsItIs()
{
    Fixture fixture;
    fixture.Exchange().Answer("getMode", R"({"currentMode":"A"})");

    QDBusPendingReply<QString> reply = fixture.client->StartRequest("getMode", QString("not even JSON"));

    QCOMPARE(fixture.Exchange().Requests(), (QVector<RecordedRequest>{{false, "getMode", "not even JSON"}}));
    QTRY_VERIFY(reply.isFinished());
    QCOMPARE(reply.value(), R"({"currentMode":"A"})");
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_RequestMachinery::startRequest_map_isSentAsJson_data()
{
    QTest::addColumn<Parameters>("parameters");
    QTest::addColumn<QString>("json");
    QTest::newRow("empty") << Parameters{} << "{}";
    QTest::newRow("two") << Parameters{{"sessionId", 7u}, {"newMode", "A"}}
                         << R"({"newMode":"A","sessionId":7})";
}

void tst_RequestMachinery::startRequest_map_isSentAsJson()
{
    QFETCH(Parameters, parameters);
    QFETCH(QString, json);
    Fixture fixture;

    QDBusPendingReply<QString> reply = fixture.client->StartRequest("setMode", parameters);

    QCOMPARE(fixture.Exchange().Requests(), (QVector<RecordedRequest>{{false, "setMode", json}}));
    QTRY_VERIFY(reply.isFinished());
    QCOMPARE(reply.value(), "{}");
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_RequestMachinery::startRequest_withoutProxy_hasFailedAlready()
{
    Fixture fixture;
    fixture.client->Powerdown();

    const QDBusPendingReply<QString> reply = fixture.client->StartRequest("getMode", QString("{}"));

    QVERIFY(reply.isFinished());
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::Failed);
    QCOMPARE(reply.error().name(), "org.freedesktop.DBus.Error.Failed");
    QCOMPARE(reply.error().message(), "Missing KIv service proxy");
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")}));
    QVERIFY(fixture.Exchange().Requests().isEmpty());
}

void tst_RequestMachinery::startRequest_mapWithoutProxy_hasFailedAlready()
{
    Fixture fixture;
    fixture.client->Powerdown();

    const QDBusPendingReply<QString> reply = fixture.client->StartRequest("getMode", Parameters{});

    QVERIFY(reply.isError());
    QCOMPARE(reply.error().name(), "org.freedesktop.DBus.Error.Failed");
    QCOMPARE(reply.error().message(), "Missing KIv service proxy");
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")}));
}

void tst_RequestMachinery::watchReply_alreadyFailed_givesZeroAndRunsNothing()
{
    Fixture fixture;
    Recorder recorder;
    fixture.Exchange().Refuse("getMode", "not sent");

    QCOMPARE(fixture.Watch("getMode", recorder.Handler()), 0u);
    QCOMPARE(fixture.Watch("getMode", recorder.Handler(), 42), 0u);

    QCOMPARE(fixture.WatcherCount(), 0);
    QCOMPARE(fixture.client->m_RequestId, 0u);
    QVERIFY(fixture.Settle());
    QVERIFY(recorder.runs.isEmpty());
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_RequestMachinery::watchReply_withoutProxy_givesZeroAndRunsNothing()
{
    Fixture fixture;
    Recorder recorder;
    fixture.client->Powerdown();

    QCOMPARE(fixture.Watch("getMode", recorder.Handler()), 0u);

    QCOMPARE(fixture.WatcherCount(), 0);
    QCOMPARE(fixture.client->m_RequestId, 0u);
    QVERIFY(fixture.Settle());
    QVERIFY(recorder.runs.isEmpty());
    QCOMPARE(fixture.log.Complaints(),
             (QVector<LogRecord>{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")}));
}

void tst_RequestMachinery::watchReply_issuesIdentifiersInOrder()
{
    Fixture fixture;
    Recorder recorder;

    QCOMPARE(fixture.Watch("getMode", recorder.Handler()), 1u);
    QCOMPARE(fixture.Watch("getMode", recorder.Handler()), 2u);

    QVERIFY(fixture.Settle());
    QCOMPARE(recorder.runs, (QVector<Handled>{{false, {}, 1}, {false, {}, 2}}));
}

void tst_RequestMachinery::watchReply_givenIdentifier_isUsedAndCountsNothing()
{
    Fixture fixture;
    Recorder recorder;

    QCOMPARE(fixture.Watch("getMode", recorder.Handler(), 42), 42u);
    QCOMPARE(fixture.Watch("getMode", recorder.Handler(), 1), 1u);
    QCOMPARE(fixture.client->m_RequestId, 0u);
    QCOMPARE(fixture.client->GetNextRequestId(), 1u);

    QVERIFY(fixture.Settle());
    QCOMPARE(recorder.runs, (QVector<Handled>{{false, {}, 42}, {false, {}, 1}}));
}

void tst_RequestMachinery::watchReply_handlerRunsOnceLaterOnTheClientsThread()
{
    Fixture fixture;
    Recorder recorder;
    fixture.Exchange().Answer("getMode", R"({"currentMode":"A"})");

    QCOMPARE(fixture.Watch("getMode", recorder.Handler()), 1u);
    QVERIFY(recorder.runs.isEmpty());

    QVERIFY(fixture.Settle());
    QCOMPARE(recorder.runs, (QVector<Handled>{{false, {{"currentMode", "A"}}, 1}}));
    QCOMPARE(recorder.threads, QVector<QThread*>{fixture.client->thread()});
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_RequestMachinery::watchReply_alreadySucceeded_runsTheHandlerLater()
{
    Fixture fixture;
    Recorder recorder;
    const ArrivedReply arrived(R"({"a":1})");

    QCOMPARE(fixture.client->WatchReply(arrived.Reply(), recorder.Handler(), 0), 1u);
    QVERIFY(recorder.runs.isEmpty());

    QTRY_COMPARE(recorder.runs, (QVector<Handled>{{false, {{"a", 1}}, 1}}));
}

void tst_RequestMachinery::watchReply_qtTellsTwice_runsTheHandlerOnce()
{
    Fixture fixture;
    Recorder recorder;
    const ArrivedReply arrived(R"({"a":1})");
    fixture.client->WatchReply(arrived.Reply(), recorder.Handler(), 0);
    auto* watcher = fixture.client->findChild<QDBusPendingCallWatcher*>();

    // What Qt's threads do, one each, when the reply comes just while the watcher is made.
    for (int thread = 0; thread < 2; ++thread) {
        QVERIFY(QMetaObject::invokeMethod(watcher, "_q_finished", Qt::QueuedConnection));
    }

    QVERIFY(fixture.Settle());
    QCOMPARE(recorder.runs, (QVector<Handled>{{false, {{"a", 1}}, 1}}));
    QCOMPARE(fixture.WatcherCount(), 0);
}

void tst_RequestMachinery::watchReply_busError_reachesTheHandler()
{
    Fixture fixture;
    Recorder recorder;
    fixture.Exchange().Fail("getMode", "out of order");

    QCOMPARE(fixture.Watch("getMode", recorder.Handler()), 1u);

    QVERIFY(fixture.Settle());
    QCOMPARE(recorder.runs, (QVector<Handled>{{true, {}, 1}}));
    QCOMPARE(fixture.log.Complaints(),
             (QVector<LogRecord>{Critical(
                 kErrorRecord.arg(R"(QDBusError("org.freedesktop.DBus.Error.Failed", "out of order"))"))}));
}

void tst_RequestMachinery::watchReply_errCode_reachesTheHandler()
{
    Fixture fixture;
    Recorder recorder;
    fixture.Exchange().Answer("getMode", R"({"errCode":5})");

    QCOMPARE(fixture.Watch("getMode", recorder.Handler(), 9), 9u);

    QVERIFY(fixture.Settle());
    QCOMPARE(recorder.runs, (QVector<Handled>{{true, {{"errCode", 5}}, 9}}));
    QCOMPARE(fixture.log.Complaints(),
             (QVector<LogRecord>{
                 Critical("KivBaseClient::HandleReply -- Received error code: QVariant(int, 5)")}));
}

void tst_RequestMachinery::watchReply_watcherIsAChildUntilTheReplyIsHandled()
{
    Fixture fixture;
    Recorder recorder;
    fixture.Exchange().Hold();

    fixture.Watch("getMode", recorder.Handler());
    QCOMPARE(fixture.WatcherCount(), 1);
    fixture.Exchange().Release();

    QTRY_COMPARE(recorder.runs.size(), 1);
    QTRY_COMPARE(fixture.WatcherCount(), 0);
}

void tst_RequestMachinery::watchReply_repliesOfManyRequests_reachTheirOwnHandlers()
{
    Fixture fixture;
    Recorder first;
    Recorder second;
    fixture.Exchange().Answer("one", R"({"n":1})");
    fixture.Exchange().Answer("two", R"({"n":2})");
    fixture.Exchange().Hold();

    const quint32 secondId = fixture.Watch("two", second.Handler());
    const quint32 firstId = fixture.Watch("one", first.Handler());
    fixture.Exchange().Release();

    QVERIFY(fixture.Settle());
    QCOMPARE(first.runs, (QVector<Handled>{{false, {{"n", 1}}, firstId}}));
    QCOMPARE(second.runs, (QVector<Handled>{{false, {{"n", 2}}, secondId}}));
    QVERIFY(firstId != secondId);
}

void tst_RequestMachinery::watchReply_handlerHoldsACopy()
{
    Fixture fixture;
    Recorder recorder;
    KivBaseClient::ReplyHandler handler = recorder.Handler();

    fixture.Watch("getMode", handler);
    QVERIFY(handler);
    handler = nullptr;

    QVERIFY(fixture.Settle());
    QCOMPARE(recorder.runs.size(), 1);
}

void tst_RequestMachinery::watchReply_clientDestroyedFirst_handlerNeverRuns()
{
    Fixture fixture;
    Recorder recorder;
    fixture.Exchange().Hold();
    QCOMPARE(fixture.Watch("getMode", recorder.Handler()), 1u);

    fixture.client.reset();
    fixture.Exchange().Release();

    QVERIFY(fixture.Settle());
    QVERIFY(recorder.runs.isEmpty());
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_RequestMachinery::watchReply_clientPoweredDownFirst_handlerRunsAllTheSame()
{
    Fixture fixture;
    Recorder recorder;
    fixture.Exchange().Answer("getMode", R"({"a":1})");
    fixture.Exchange().Hold();
    fixture.Watch("getMode", recorder.Handler());

    fixture.client->Powerdown();
    fixture.Exchange().Release();

    QVERIFY(fixture.Settle());
    QCOMPARE(recorder.runs, (QVector<Handled>{{false, {{"a", 1}}, 1}}));
}

void tst_RequestMachinery::watchReply_handlerDeletesTheClient()
{
    Fixture fixture;
    int runs = 0;
    const auto deleteClient = [&](bool, const Parameters&, unsigned int) {
        ++runs;
        fixture.client.reset();
        return true;
    };
    Recorder other;
    fixture.Exchange().Hold();
    fixture.Watch("getMode", deleteClient);
    fixture.Watch("getMode", other.Handler());
    fixture.Exchange().Release();

    QVERIFY(fixture.Settle());
    QCOMPARE(runs, 1);
    QVERIFY(!fixture.client);
    QVERIFY(other.runs.isEmpty());
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_RequestMachinery::watchReply_handlerPowersTheClientDown()
{
    Fixture fixture;
    int runs = 0;
    fixture.Watch("getMode", [&](bool, const Parameters&, unsigned int) {
        ++runs;
        fixture.client->Powerdown();
        return true;
    });

    QTRY_COMPARE(runs, 1);
    QCOMPARE(fixture.client->m_ServiceProxy, nullptr);
    QCOMPARE(fixture.Exchange().ProxyCount(), 0);
    QTRY_COMPARE(fixture.WatcherCount(), 0);
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_RequestMachinery::watchReply_handlerStartsAnotherRequest()
{
    Fixture fixture;
    Recorder second;
    quint32 secondId = 0;
    fixture.Watch("one", [&](bool, const Parameters&, unsigned int) {
        secondId = fixture.Watch("two", second.Handler());
        return true;
    });

    QTRY_COMPARE(second.runs, (QVector<Handled>{{false, {}, 2}}));
    QCOMPARE(secondId, 2u);
    QTRY_COMPARE(fixture.WatcherCount(), 0);
}

void tst_RequestMachinery::handleReply_passesOnMapIdentifierAndVerdict_data()
{
    QTest::addColumn<bool>("verdict");
    QTest::newRow("true") << true;
    QTest::newRow("false") << false;
}

void tst_RequestMachinery::handleReply_passesOnMapIdentifierAndVerdict()
{
    QFETCH(bool, verdict);
    const ArrivedReply arrived(R"({"a":1,"b":["x"]})");
    Recorder recorder;
    LogCapture log;

    QCOMPARE(KivBaseClient::HandleReply(arrived.Reply(), recorder.Handler(verdict), 17), verdict);

    QCOMPARE(recorder.runs, (QVector<Handled>{{false, {{"a", 1}, {"b", QStringList{"x"}}}, 17}}));
    QVERIFY(log.Records().isEmpty());
}

void tst_RequestMachinery::handleReply_error_givesAnEmptyMap_data()
{
    handleReply_passesOnMapIdentifierAndVerdict_data();
}

void tst_RequestMachinery::handleReply_error_givesAnEmptyMap()
{
    QFETCH(bool, verdict);
    const QDBusPendingReply<QString> reply =
        QDBusPendingCall::fromError(QDBusError(QDBusError::NoReply, "asleep"));
    Recorder recorder;
    LogCapture log;

    QCOMPARE(KivBaseClient::HandleReply(reply, recorder.Handler(verdict), 0), verdict);

    QCOMPARE(recorder.runs, (QVector<Handled>{{true, {}, 0}}));
    QCOMPARE(log.Records(), (QVector<LogRecord>{Critical(kErrorRecord.arg(
                                R"(QDBusError("org.freedesktop.DBus.Error.NoReply", "asleep"))"))}));
}

void tst_RequestMachinery::handleReply_errCode_isAFailureWithTheMap_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Parameters>("parameters");
    QTest::addColumn<QString>("logged");
    QTest::newRow("5") << R"({"errCode":5})" << Parameters{{"errCode", 5}} << "QVariant(int, 5)";
    QTest::newRow("0") << R"({ "errCode" : 0 })" << Parameters{{"errCode", 0}} << "QVariant(int, 0)";
    QTest::newRow("text") << R"({"a":true,"errCode":"why"})" << Parameters{{"a", true}, {"errCode", "why"}}
                          << R"(QVariant(QString, "why"))";
    QTest::newRow("null") << R"({"errCode":null})" << Parameters{{"errCode", QString()}}
                          << R"(QVariant(QString, ""))";
}

void tst_RequestMachinery::handleReply_errCode_isAFailureWithTheMap()
{
    QFETCH(QString, text);
    QFETCH(Parameters, parameters);
    QFETCH(QString, logged);
    const ArrivedReply arrived(text);
    Recorder recorder;
    LogCapture log;

    QCOMPARE(KivBaseClient::HandleReply(arrived.Reply(), recorder.Handler(false), 3), false);

    QCOMPARE(recorder.runs, (QVector<Handled>{{true, parameters, 3}}));
    QCOMPARE(log.Records(),
             (QVector<LogRecord>{Critical("KivBaseClient::HandleReply -- Received error code: " + logged)}));
}

void tst_RequestMachinery::handleReply_notAnObject_isASuccess_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Parameters>("parameters");
    QTest::newRow("not JSON") << "nonsense" << Parameters{};
    QTest::newRow("not JSON with the word") << "errCode" << Parameters{};
    QTest::newRow("empty") << "" << Parameters{};
    QTest::newRow("a number") << "5" << Parameters{};
    QTest::newRow("an array") << R"(["errCode"])" << Parameters{{"", "errCode"}};
}

void tst_RequestMachinery::handleReply_notAnObject_isASuccess()
{
    QFETCH(QString, text);
    QFETCH(Parameters, parameters);
    const ArrivedReply arrived(text);
    Recorder recorder;
    LogCapture log;

    QCOMPARE(KivBaseClient::HandleReply(arrived.Reply(), recorder.Handler(), 3), true);

    QCOMPARE(recorder.runs, (QVector<Handled>{{false, parameters, 3}}));
    QVERIFY(log.Records().isEmpty());
}

void tst_RequestMachinery::handleReply_errCodeOnlyInAValue_isASuccess()
{
    const ArrivedReply arrived(R"({"note":"errCode","errcode":1})");
    Recorder recorder;
    LogCapture log;

    QCOMPARE(KivBaseClient::HandleReply(arrived.Reply(), recorder.Handler(), 3), true);

    QCOMPARE(recorder.runs, (QVector<Handled>{{false, {{"note", "errCode"}, {"errcode", 1}}, 3}}));
    QVERIFY(log.Records().isEmpty());
}

void tst_RequestMachinery::handleReply_wrongSignature_isAnError()
{
    const ArrivedReply arrived([](const QDBusMessage& call) {
        return call.createReply(QStringList{"not", "one text"});
    });
    const QString name = "org.freedesktop.DBus.Error.InvalidSignature";
    const QString message = "Unexpected reply signature: got \"as\", expected \"s\"";
    Recorder recorder;
    LogCapture log;

    QCOMPARE(KivBaseClient::HandleReply(arrived.Reply(), recorder.Handler(false), 3), false);

    QCOMPARE(recorder.runs, (QVector<Handled>{{true, {}, 3}}));
    const QString error = QStringLiteral("QDBusError(%1, %2)").arg(Streamed(name), Streamed(message));
    QCOMPARE(log.Records(), (QVector<LogRecord>{Critical(kErrorRecord.arg(error))}));
}

void tst_RequestMachinery::handleReply_emptyHandler_throws_data()
{
    QTest::addColumn<bool>("isError");
    QTest::newRow("error") << true;
    QTest::newRow("answer") << false;
}

void tst_RequestMachinery::handleReply_emptyHandler_throws()
{
    QFETCH(bool, isError);
    const ArrivedReply arrived([isError](const QDBusMessage& call) {
        return isError ? call.createErrorReply(QDBusError::Failed, "no") : call.createReply("{}");
    });
    LogCapture log;

    QVERIFY_EXCEPTION_THROWN(KivBaseClient::HandleReply(arrived.Reply(), {}, 3), std::bad_function_call);
}

void tst_RequestMachinery::notification_isRecordedAndHandedOn_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("payload");
    QTest::newRow("usual") << "audioFocusChangeEvent"
                           << R"({"newFocus":"lost"})";
    QTest::newRow("unknown, not JSON") << "unheardOf"
                                       << "\u00e9 nonsense";
    QTest::newRow("empty") << ""
                           << "";
}

void tst_RequestMachinery::notification_isRecordedAndHandedOn()
{
    QFETCH(QString, name);
    QFETCH(QString, payload);
    Fixture fixture;

    QVERIFY(QMetaObject::invokeMethod(fixture.client.get(), "Notification", Q_ARG(QString, name),
                                      Q_ARG(QString, payload)));

    QCOMPARE(fixture.client->m_Notifications, QStringList{name + ' ' + payload});
    QCOMPARE(
        fixture.log.Records(),
        (QVector<LogRecord>{Debug(
            QStringLiteral("KivBaseClient::Notification %1 %2").arg(Streamed(name), Streamed(payload)))}));
}

KIV_UNIT_TEST_MAIN(tst_RequestMachinery)
#include "tst_RequestMachinery.moc"
