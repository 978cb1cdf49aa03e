// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "LogTexts.h"
#include "MediaApp.h"
#include "TestMain.h"

#include <QDBusPendingCallWatcher>

using namespace KivTest;

Q_DECLARE_METATYPE(KivTest::RecordedRequest)

namespace {

const QString kReason = "user";

/** An application client among fakes, with the session 7. */
struct App : FakeSurroundings
{
    App() { client.Open(7); }

    ~App() { client.Powerdown(); }

    OpenedApp client{registrator, kClientPath, "Player", connection, QString(),
                     true,        QString(),   factory,  false};
    AppEvents events{client};
};

LogRecord BlockingRequestRecord(const AppRequest& request)
{
    return Debug(Streamed("KivBaseClient::ServiceRequest -- Time:", QString("mm:ss.zzz"), request.method,
                          request.arguments));
}

LogRecord BlockingErrorRecord(const AppRequest& request, const QString& result)
{
    return Critical(Streamed("KivBaseClient::ServiceRequest -- Request error:", request.method,
                             request.arguments, "result:", result));
}

} // namespace

class tst_FocusRequests : public QObject
{
    Q_OBJECT

private:
    void AddRequests();

private Q_SLOTS:
    void blocking_accepted_data() { AddRequests(); }
    void blocking_accepted();
    void blocking_replyIsNotRead_data() { AddRequests(); }
    void blocking_replyIsNotRead();
    void blocking_errCode_fails_data() { AddRequests(); }
    void blocking_errCode_fails();
    void blocking_busError_fails_data() { AddRequests(); }
    void blocking_busError_fails();
    void blocking_withoutSession_isRefusedSilently_data() { AddRequests(); }
    void blocking_withoutSession_isRefusedSilently();
    void blocking_withoutProxy_fails_data() { AddRequests(); }
    void blocking_withoutProxy_fails();

    void start_sendsWithoutWaiting_data() { AddRequests(); }
    void start_sendsWithoutWaiting();
    void start_withoutSession_isRefused_data() { AddRequests(); }
    void start_withoutSession_isRefused();
    void start_withoutProxy_isRefused_data() { AddRequests(); }
    void start_withoutProxy_isRefused();

    void async_accepted_data() { AddRequests(); }
    void async_accepted();
    void async_replyIsIgnored_data() { AddRequests(); }
    void async_replyIsIgnored();
    void async_errCode_completesWithFalse_data() { AddRequests(); }
    void async_errCode_completesWithFalse();
    void async_busError_completesWithFalse_data() { AddRequests(); }
    void async_busError_completesWithFalse();
    void async_withoutSession_isRefused_data() { AddRequests(); }
    void async_withoutSession_isRefused();
    void async_withoutProxy_isRefused_data() { AddRequests(); }
    void async_withoutProxy_isRefused();
    void async_refusedByTheProxy_isRefused_data() { AddRequests(); }
    void async_refusedByTheProxy_isRefused();
    void async_allInFlight_completeEachWithTheirOwnSignalAndId();

    void requestAudioFocus_withoutArgument_executesTheSwitch();
    void invokedByName_data();
    void invokedByName();
    void abandonAudioFocusAsync_afterAnEmptyReason_isTheFirstRequest();

    void abandonAudioFocus_emptyReason_isReported_data();
    void abandonAudioFocus_emptyReason_isReported();
    void startAbandonAudioFocusRequest_emptyReason_isRefused_data();
    void startAbandonAudioFocusRequest_emptyReason_isRefused();
    void abandonAudioFocusAsync_emptyReason_isRefused_data();
    void abandonAudioFocusAsync_emptyReason_isRefused();
    void abandonAudioFocus_reasonIsPassedOnUnchanged_data();
    void abandonAudioFocus_reasonIsPassedOnUnchanged();
    void sessionIdentifier_isSentAsAnUnsignedNumber_data() { AddRequests(); }
    void sessionIdentifier_isSentAsAnUnsignedNumber();
};

void tst_FocusRequests::AddRequests()
{
    QTest::addColumn<AppRequest>("request");
    for (const AppRequest& request : AppRequests()) {
        QTest::newRow(request.tag) << request;
    }
}

void tst_FocusRequests::blocking_accepted()
{
    QFETCH(AppRequest, request);
    App app;
    const LogCapture log;

    QCOMPARE(request.block(app.client), true);

    QCOMPARE(app.Exchange().Requests(),
             (QVector<RecordedRequest>{{true, request.method, request.arguments}}));
    const QVector<LogRecord> expected{
        BlockingRequestRecord(request),
        Debug(Streamed("KivBaseClient::ServiceRequest -- Time:", QString("mm:ss.zzz"),
                       "Request:", request.method, "Result:", true, QThread::currentThread()))};
    QCOMPARE(Timeless(log.Records()), expected);
    QCOMPARE(app.events.All(), QStringList());
    QCOMPARE(app.client.GetNextRequestId(), 1u);
}

void tst_FocusRequests::blocking_replyIsNotRead()
{
    QFETCH(AppRequest, request);
    App app;
    const LogCapture log;

    for (const char* answer : {"", "no JSON", R"({"newFocus":"lost","result":false,"sessionId":9})"}) {
        app.Exchange().Answer(request.method, answer);
        QCOMPARE(request.block(app.client), true);
    }

    QCOMPARE(log.Complaints(), QVector<LogRecord>());
    QCOMPARE(app.client.m_SessionId, 7u);
    QCOMPARE(app.client.LastFocus(), QString());
}

void tst_FocusRequests::blocking_errCode_fails()
{
    QFETCH(AppRequest, request);
    App app;
    app.Exchange().Answer(request.method, R"({"errCode":5})");
    const LogCapture log;

    QCOMPARE(request.block(app.client), false);

    QCOMPARE(app.Exchange().Requests(),
             (QVector<RecordedRequest>{{true, request.method, request.arguments}}));
    const QVector<LogRecord> expected{BlockingRequestRecord(request),
                                      BlockingErrorRecord(request, R"({"errCode":5})")};
    QCOMPARE(Timeless(log.Records()), expected);
    QCOMPARE(app.events.All(), QStringList());
}

void tst_FocusRequests::blocking_busError_fails()
{
    QFETCH(AppRequest, request);
    App app;
    app.Exchange().Fail(request.method, "gone");
    const LogCapture log;

    QCOMPARE(request.block(app.client), false);

    QCOMPARE(log.Complaints(), QVector<LogRecord>{BlockingErrorRecord(request, R"({ "errCode" : 0 })")});
}

void tst_FocusRequests::blocking_withoutSession_isRefusedSilently()
{
    QFETCH(AppRequest, request);
    App app;
    app.client.m_SessionId = 0;
    const LogCapture log;

    QCOMPARE(request.block(app.client), false);

    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>());
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_FocusRequests::blocking_withoutProxy_fails()
{
    QFETCH(AppRequest, request);
    App app;
    app.client.Powerdown();
    app.client.m_SessionId = 7;
    const LogCapture log;

    QCOMPARE(request.block(app.client), false);

    const QVector<LogRecord> expected{
        BlockingRequestRecord(request),
        Critical("KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!")};
    QCOMPARE(Timeless(log.Records()), expected);
}

void tst_FocusRequests::start_sendsWithoutWaiting()
{
    QFETCH(AppRequest, request);
    App app;
    app.Exchange().Answer(request.method, "the answer");
    const LogCapture log;

    const QDBusPendingReply<QString> reply = request.start(app.client);

    QVERIFY(!reply.isFinished());
    QCOMPARE(app.Exchange().Requests(),
             (QVector<RecordedRequest>{{false, request.method, request.arguments}}));
    QTRY_VERIFY(reply.isFinished());
    QCOMPARE(reply.value(), QString("the answer"));
    QCOMPARE(log.Records(), QVector<LogRecord>());
    QCOMPARE(app.events.All(), QStringList());
    QCOMPARE(app.client.GetNextRequestId(), 1u);
}

void tst_FocusRequests::start_withoutSession_isRefused()
{
    QFETCH(AppRequest, request);
    App app;
    app.client.m_SessionId = 0;
    const LogCapture log;

    const QDBusPendingReply<QString> reply = request.start(app.client);

    QVERIFY(reply.isFinished());
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::Other);
    QCOMPARE(reply.error().message(), QString("Session is already open"));
    QCOMPARE(log.Records(), QVector<LogRecord>{Critical(request.NoSessionText())});
    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>());
}

void tst_FocusRequests::start_withoutProxy_isRefused()
{
    QFETCH(AppRequest, request);
    App app;
    app.client.Powerdown();
    app.client.m_SessionId = 7;
    const LogCapture log;

    const QDBusPendingReply<QString> reply = request.start(app.client);

    QVERIFY(reply.isFinished());
    QCOMPARE(reply.error().type(), QDBusError::Failed);
    QCOMPARE(reply.error().message(), QString("Missing KIv service proxy"));
    QCOMPARE(log.Records(),
             QVector<LogRecord>{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")});
}

void tst_FocusRequests::async_accepted()
{
    QFETCH(AppRequest, request);
    App app;
    app.client.m_RequestId = 41;
    const LogCapture log;

    QCOMPARE(request.async(app.client), 42u);
    QCOMPARE(app.events.All(), QStringList());
    QTRY_COMPARE(app.events.All(), QStringList{request.Completed(42, true)});

    QCOMPARE(app.events.Threads(), QVector<QThread*>{app.client.thread()});
    QTRY_VERIFY(app.client.findChildren<QDBusPendingCallWatcher*>().isEmpty());
    QCOMPARE(app.Exchange().Requests(),
             (QVector<RecordedRequest>{{false, request.method, request.arguments}}));
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_FocusRequests::async_replyIsIgnored()
{
    QFETCH(AppRequest, request);
    App app;
    const LogCapture log;
    app.Exchange().Answer(request.method, R"({"newFocus":"lost","result":false,"sessionId":9})");
    QCOMPARE(request.async(app.client), 1u);
    QTRY_COMPARE(app.events.All(), QStringList{request.Completed(1, true)});

    app.Exchange().Answer(request.method, "no JSON");
    QCOMPARE(request.async(app.client), 2u);
    QTRY_COMPARE(app.events.All(), (QStringList{request.Completed(1, true), request.Completed(2, true)}));

    QCOMPARE(app.client.m_SessionId, 7u);
    QCOMPARE(app.client.LastFocus(), QString());
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_FocusRequests::async_errCode_completesWithFalse()
{
    QFETCH(AppRequest, request);
    App app;
    app.Exchange().Answer(request.method, R"({"errCode":"why"})");
    const LogCapture log;

    QCOMPARE(request.async(app.client), 1u);
    QTRY_COMPARE(app.events.All(), QStringList{request.Completed(1, false)});

    QCOMPARE(log.Records(),
             QVector<LogRecord>{
                 Critical(R"(KivBaseClient::HandleReply -- Received error code: QVariant(QString, "why"))")});
}

void tst_FocusRequests::async_busError_completesWithFalse()
{
    QFETCH(AppRequest, request);
    App app;
    app.Exchange().Fail(request.method, "gone");
    const LogCapture log;

    QCOMPARE(request.async(app.client), 1u);
    QTRY_COMPARE(app.events.All(), QStringList{request.Completed(1, false)});

    QCOMPARE(
        log.Records(),
        QVector<LogRecord>{Critical(
            R"(KivBaseClient::HandleReply -- Received error: QDBusError("org.freedesktop.DBus.Error.Failed", "gone"))")});
}

void tst_FocusRequests::async_withoutSession_isRefused()
{
    QFETCH(AppRequest, request);
    App app;
    app.client.m_SessionId = 0;
    {
        const LogCapture log;
        QCOMPARE(request.async(app.client), 0u);
        QCOMPARE(log.Records(), QVector<LogRecord>{Critical(request.NoSessionText())});
    }
    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>());

    // The next request is the first, and the only one that completes.
    app.client.m_SessionId = 7;
    QCOMPARE(request.async(app.client), 1u);
    QTRY_COMPARE(app.events.All(), QStringList{request.Completed(1, true)});
}

void tst_FocusRequests::async_withoutProxy_isRefused()
{
    QFETCH(AppRequest, request);
    App app;
    app.client.Powerdown();
    app.client.m_SessionId = 7;
    const LogCapture log;

    QCOMPARE(request.async(app.client), 0u);

    QCoreApplication::processEvents();
    QCOMPARE(app.events.All(), QStringList());
    QCOMPARE(log.Records(),
             QVector<LogRecord>{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")});
}

void tst_FocusRequests::async_refusedByTheProxy_isRefused()
{
    QFETCH(AppRequest, request);
    App app;
    app.Exchange().Refuse(request.method, "no");
    const LogCapture log;

    QCOMPARE(request.async(app.client), 0u);

    QCoreApplication::processEvents();
    QCOMPARE(app.events.All(), QStringList());
    QCOMPARE(log.Records(), QVector<LogRecord>());
    QCOMPARE(app.client.GetNextRequestId(), 1u);
}

void tst_FocusRequests::async_allInFlight_completeEachWithTheirOwnSignalAndId()
{
    App app;
    app.Exchange().Answer("audioActive", R"({"errCode":1})");
    app.Exchange().Hold();
    QVector<RecordedRequest> requests;
    QStringList completions;
    for (const AppRequest& request : AppRequests()) {
        const quint32 requestId = request.async(app.client);
        requests.append({false, request.method, request.arguments});
        completions.append(request.Completed(requestId, request.method != "audioActive"));
    }
    QCOMPARE(app.Exchange().Requests(), requests);
    QCOMPARE(app.events.All(), QStringList());

    app.Exchange().Release();

    QTRY_COMPARE(app.events.All(), completions);
    QCOMPARE(app.events.All().last(), QString("AbandonAudioFocusCompleted(6,true)"));
}

void tst_FocusRequests::requestAudioFocus_withoutArgument_executesTheSwitch()
{
    App app;

    QCOMPARE(app.client.RequestAudioFocus(), true);
    QVERIFY(!app.client.StartRequestAudioFocusRequest().isError());
    QCOMPARE(app.client.RequestAudioFocusAsync(), 1u);
    QTRY_COMPARE(app.events.All(), QStringList{"RequestAudioFocusCompleted(1,true)"});

    const QString arguments = R"({"requestType":"request","sessionId":7})";
    QCOMPARE(app.Exchange().Requests(), (QVector<RecordedRequest>{{true, "requestAudioFocus", arguments},
                                                                  {false, "requestAudioFocus", arguments},
                                                                  {false, "requestAudioFocus", arguments}}));
}

void tst_FocusRequests::invokedByName_data()
{
    QTest::addColumn<QByteArray>("operation");
    QTest::addColumn<QVariant>("argument");
    QTest::addColumn<RecordedRequest>("request");
    QTest::addColumn<QString>("event");

    QTest::newRow("registration") << QByteArray("RegisterAudioStreamAsync") << QVariant()
                                  << RecordedRequest{false, "registerAudioStream",
                                                     AppRequests().front().arguments}
                                  << "RegisterAudioStreamCompleted(1,true)";
    QTest::newRow("focus, no argument")
        << QByteArray("RequestAudioFocusAsync") << QVariant()
        << RecordedRequest{false, "requestAudioFocus", R"({"requestType":"request","sessionId":7})"}
        << "RequestAudioFocusCompleted(1,true)";
    QTest::newRow("focus, request") << QByteArray("RequestAudioFocusAsync") << QVariant(true)
                                    << RecordedRequest{false, "requestAudioFocus",
                                                       R"({"requestType":"request","sessionId":7})"}
                                    << "RequestAudioFocusCompleted(1,true)";
    QTest::newRow("focus, query") << QByteArray("RequestAudioFocusAsync") << QVariant(false)
                                  << RecordedRequest{false, "requestAudioFocus",
                                                     R"({"requestType":"query","sessionId":7})"}
                                  << "RequestAudioFocusCompleted(1,true)";
    QTest::newRow("playing") << QByteArray("AudioActiveAsync") << QVariant(true)
                             << RecordedRequest{false, "audioActive", R"({"playing":true,"sessionId":7})"}
                             << "AudioActiveCompleted(1,true)";
    QTest::newRow("release") << QByteArray("AbandonAudioFocusAsync") << QVariant("user")
                             << RecordedRequest{false, "abandonAudioFocus",
                                                R"({"reason":"user","sessionId":7})"}
                             << "AbandonAudioFocusCompleted(1,true)";
}

void tst_FocusRequests::invokedByName()
{
    QFETCH(QByteArray, operation);
    QFETCH(QVariant, argument);
    QFETCH(RecordedRequest, request);
    QFETCH(QString, event);
    App app;
    quint32 requestId = 0;
    const QGenericArgument generic =
        argument.isValid() ? QGenericArgument(argument.typeName(), argument.constData()) : QGenericArgument();

    QVERIFY(QMetaObject::invokeMethod(&app.client, operation.constData(), Q_RETURN_ARG(quint32, requestId),
                                      generic));

    QCOMPARE(requestId, 1u);
    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>{request});
    QTRY_COMPARE(app.events.All(), QStringList{event});
}

void tst_FocusRequests::abandonAudioFocusAsync_afterAnEmptyReason_isTheFirstRequest()
{
    App app;

    QCOMPARE(app.client.AbandonAudioFocusAsync(QString()), 0u);
    QCOMPARE(app.client.AbandonAudioFocusAsync(kReason), 1u);

    QTRY_COMPARE(app.events.All(), QStringList{"AbandonAudioFocusCompleted(1,true)"});
    QCOMPARE(app.Exchange().Requests(),
             (QVector<RecordedRequest>{{false, "abandonAudioFocus", R"({"reason":"user","sessionId":7})"}}));
}

void tst_FocusRequests::abandonAudioFocus_emptyReason_isReported_data()
{
    QTest::addColumn<quint32>("sessionId");
    QTest::addColumn<QString>("reason");

    QTest::newRow("with a session") << 7u << "";
    QTest::newRow("without a session") << 0u << "";
    QTest::newRow("null, with a session") << 7u << QString();
}

void tst_FocusRequests::abandonAudioFocus_emptyReason_isReported()
{
    QFETCH(quint32, sessionId);
    QFETCH(QString, reason);
    App app;
    app.client.m_SessionId = sessionId;
    const LogCapture log;

    QCOMPARE(app.client.AbandonAudioFocus(reason), false);

    QCOMPARE(log.Records(),
             QVector<LogRecord>{Critical(
                 "AudioManagerApp::AbandonAudioFocus -- a_Reason is empty, but it must be provided")});
    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>());
}

void tst_FocusRequests::startAbandonAudioFocusRequest_emptyReason_isRefused_data()
{
    QTest::addColumn<quint32>("sessionId");
    QTest::addColumn<QString>("record");
    QTest::addColumn<QString>("errorText");

    QTest::newRow("with a session")
        << 7u << "AudioManagerApp::StartAbandonAudioFocusRequest -- No reason was provided"
        << "No reason was provided";
    QTest::newRow("without a session")
        << 0u << "AudioManagerApp::StartAbandonAudioFocusRequest -- Session is not open"
        << "Session is already open";
}

void tst_FocusRequests::startAbandonAudioFocusRequest_emptyReason_isRefused()
{
    QFETCH(quint32, sessionId);
    QFETCH(QString, record);
    App app;
    app.client.m_SessionId = sessionId;
    const LogCapture log;

    const QDBusPendingReply<QString> reply = app.client.StartAbandonAudioFocusRequest(QString(""));

    QVERIFY(reply.isFinished());
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::Other);
    QTEST(reply.error().message(), "errorText");
    QCOMPARE(log.Records(), QVector<LogRecord>{Critical(record)});
    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>());
}

void tst_FocusRequests::abandonAudioFocusAsync_emptyReason_isRefused_data()
{
    startAbandonAudioFocusRequest_emptyReason_isRefused_data();
}

void tst_FocusRequests::abandonAudioFocusAsync_emptyReason_isRefused()
{
    QFETCH(quint32, sessionId);
    QFETCH(QString, record);
    App app;
    app.client.m_SessionId = sessionId;
    const LogCapture log;

    QCOMPARE(app.client.AbandonAudioFocusAsync(QString("")), 0u);

    QCoreApplication::processEvents();
    QCOMPARE(app.events.All(), QStringList());
    QCOMPARE(log.Records(), QVector<LogRecord>{Critical(record)});
    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>());
    QCOMPARE(app.client.GetNextRequestId(), 1u);
}

void tst_FocusRequests::abandonAudioFocus_reasonIsPassedOnUnchanged_data()
{
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("arguments");

    QTest::newRow("word") << "stop"
                          << R"({"reason":"stop","sessionId":7})";
    QTest::newRow("blank") << " "
                           << R"({"reason":" ","sessionId":7})";
    QTest::newRow("capitals and blanks") << " Stop Now "
                                         << R"({"reason":" Stop Now ","sessionId":7})";
    QTest::newRow("umlauts and quotes") << "\"ä\\\n\""
                                        << R"({"reason":"\"ä\\\n\"","sessionId":7})";
}

void tst_FocusRequests::abandonAudioFocus_reasonIsPassedOnUnchanged()
{
    QFETCH(QString, reason);
    QFETCH(QString, arguments);
    App app;

    QCOMPARE(app.client.AbandonAudioFocus(reason), true);
    QVERIFY(!app.client.StartAbandonAudioFocusRequest(reason).isError());
    QCOMPARE(app.client.AbandonAudioFocusAsync(reason), 1u);
    QTRY_COMPARE(app.events.All(), QStringList{"AbandonAudioFocusCompleted(1,true)"});

    QCOMPARE(app.Exchange().Requests(), (QVector<RecordedRequest>{{true, "abandonAudioFocus", arguments},
                                                                  {false, "abandonAudioFocus", arguments},
                                                                  {false, "abandonAudioFocus", arguments}}));
}

void tst_FocusRequests::sessionIdentifier_isSentAsAnUnsignedNumber()
{
    QFETCH(AppRequest, request);
    App app;
    app.client.m_SessionId = 4294967295u;
    const QString arguments =
        QString(request.arguments).replace("\"sessionId\":7", "\"sessionId\":4294967295");

    QCOMPARE(request.block(app.client), true);
    QCOMPARE(request.async(app.client), 1u);
    QTRY_COMPARE(app.events.All(), QStringList{request.Completed(1, true)});

    QCOMPARE(app.Exchange().Requests(), (QVector<RecordedRequest>{{true, request.method, arguments},
                                                                  {false, request.method, arguments}}));
}

KIV_UNIT_TEST_MAIN(tst_FocusRequests)
#include "tst_FocusRequests.moc"
