// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "FakeService.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "MediaApp.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceRegistrator.h"
#include "TestMain.h"

#include <memory>
#include <vector>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

/** An application client whose operations cannot be found by name. */
class NamelessApp : public OpenedApp
{
public:
    using OpenedApp::OpenedApp;

    const QMetaObject* metaObject() const override { return &QObject::staticMetaObject; }
};

/** An application client on the bus, on this thread, with the session 7. */
template <typename Client>
struct App
{
    App() { client.Open(7); }

    ~App() { client.Powerdown(); }

    /** A service that is there before the client, which sees nothing of its coming. */
    struct EarlyService : FakeService
    {
        EarlyService() { Appear(); }
    };

    EarlyService service;
    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyAppFactory factory;
    Client client{registrator, kClientPath, "Player", connection, QString(), true, QString(), factory, false};
};

/** Runs a request on a thread of its own while this one handles events. */
struct ForeignCall
{
    ForeignCall(const AppRequest& request, AudioManagerApp& app)
        : thread(QThread::create([this, &request, &app] { requestId = request.async(app); }))
    {
        thread->start();
    }

    bool IsDone() const
    {
        return QTest::qWaitFor([this] { return thread->isFinished(); }, 30000) && thread->wait(30000);
    }

    quint32 requestId = 4711;
    std::unique_ptr<QThread> thread;
};

LogRecord ForwardingRecord(const AppRequest& request, const QThread* from, const QThread* to)
{
    const QByteArray text =
        "AudioManagerApp::" + request.operation.toUtf8() + "Async -- Forwarding invokation on thread";
    return Debug(Streamed(text.constData(), from, "to thread", to));
}

LogRecord CallRecord(const AppRequest& request)
{
    return Debug(Streamed("ConcreteServiceProvider::AsyncRequest -- Calling method", request.method,
                          "with parameters", request.arguments));
}

} // namespace

class tst_AppThreads : public QObject
{
    Q_OBJECT

private:
    void AddRequests();

private Q_SLOTS:
    void ownThread_isNotForwarded_data() { AddRequests(); }
    void ownThread_isNotForwarded();
    void foreignThread_isForwarded_data() { AddRequests(); }
    void foreignThread_isForwarded();
    void foreignThread_returnsBeforeTheReply_data() { AddRequests(); }
    void foreignThread_returnsBeforeTheReply();
    void foreignThread_serviceAnswersError_completesWithFalse_data() { AddRequests(); }
    void foreignThread_serviceAnswersError_completesWithFalse();
    void foreignThread_withoutSession_isRefused_data() { AddRequests(); }
    void foreignThread_withoutSession_isRefused();
    void foreignThread_emptyReason_isRefused();
    void foreignThread_notInvokable_isReported_data() { AddRequests(); }
    void foreignThread_notInvokable_isReported();
    void foreignThreads_manyAtOnce_getIdentifiersOfTheirOwn();
};

void tst_AppThreads::AddRequests()
{
    QTest::addColumn<AppRequest>("request");
    for (const AppRequest& request : AppRequests()) {
        QTest::newRow(request.tag) << request;
    }
}

void tst_AppThreads::ownThread_isNotForwarded()
{
    QFETCH(AppRequest, request);
    App<OpenedApp> app;
    const AppEvents events(app.client);
    const LogCapture log;

    QCOMPARE(request.async(app.client), 1u);
    QTRY_COMPARE(events.All(), QStringList{request.Completed(1, true)});

    QCOMPARE(events.Threads(), QVector<QThread*>{QThread::currentThread()});
    QCOMPARE(log.Records(), QVector<LogRecord>{CallRecord(request)});
    QCOMPARE(app.service.ArgumentsOf(request.method), QStringList{request.arguments});
}

void tst_AppThreads::foreignThread_isForwarded()
{
    QFETCH(AppRequest, request);
    App<OpenedApp> app;
    app.client.m_RequestId = 41;
    const AppEvents events(app.client);
    const LogCapture log;

    const ForeignCall call(request, app.client);
    QVERIFY(call.IsDone());
    QCOMPARE(call.requestId, 42u);
    QTRY_COMPARE(events.All(), QStringList{request.Completed(call.requestId, true)});

    QCOMPARE(events.Threads(), QVector<QThread*>{app.client.thread()});
    const QVector<LogRecord> expected{ForwardingRecord(request, call.thread.get(), app.client.thread()),
                                      CallRecord(request)};
    QCOMPARE(log.Records(), expected);
    QCOMPARE(app.service.Calls().size(), 1);
    QCOMPARE(app.service.ArgumentsOf(request.method), QStringList{request.arguments});
}

void tst_AppThreads::foreignThread_returnsBeforeTheReply()
{
    QFETCH(AppRequest, request);
    App<OpenedApp> app;
    app.service.Hold(request.method);
    const AppEvents events(app.client);

    const ForeignCall call(request, app.client);
    QVERIFY(call.IsDone());
    QCOMPARE(call.requestId, 1u);
    QVERIFY(app.service.WaitForCalls(request.method, 1));
    QCOMPARE(events.All(), QStringList());

    app.service.Release(request.method);
    QTRY_COMPARE(events.All(), QStringList{request.Completed(1, true)});
}

void tst_AppThreads::foreignThread_serviceAnswersError_completesWithFalse()
{
    QFETCH(AppRequest, request);
    App<OpenedApp> app;
    app.service.Answer(request.method, R"({"errCode":5})");
    const AppEvents events(app.client);
    const LogCapture log;

    const ForeignCall call(request, app.client);
    QVERIFY(call.IsDone());
    QCOMPARE(call.requestId, 1u);
    QTRY_COMPARE(events.All(), QStringList{request.Completed(1, false)});

    QCOMPARE(events.Threads(), QVector<QThread*>{app.client.thread()});
    QCOMPARE(log.Complaints(), QVector<LogRecord>{Critical(
                                   "KivBaseClient::HandleReply -- Received error code: QVariant(int, 5)")});
}

void tst_AppThreads::foreignThread_withoutSession_isRefused()
{
    QFETCH(AppRequest, request);
    App<OpenedApp> app;
    app.client.m_SessionId = 0;
    const AppEvents events(app.client);
    const LogCapture log;

    const ForeignCall call(request, app.client);
    QVERIFY(call.IsDone());

    QCOMPARE(call.requestId, 0u);
    const QVector<LogRecord> expected{ForwardingRecord(request, call.thread.get(), app.client.thread()),
                                      Critical(request.NoSessionText())};
    QCOMPARE(log.Records(), expected);
    QCOMPARE(events.All(), QStringList());
    QCOMPARE(app.service.Calls().size(), 0);
    QCOMPARE(app.client.GetNextRequestId(), 1u);
}

void tst_AppThreads::foreignThread_emptyReason_isRefused()
{
    App<OpenedApp> app;
    AppRequest request = AppRequests().back();
    request.async = [](AudioManagerApp& client) { return client.AbandonAudioFocusAsync(QString()); };
    const AppEvents events(app.client);
    const LogCapture log;

    const ForeignCall call(request, app.client);
    QVERIFY(call.IsDone());

    QCOMPARE(call.requestId, 0u);
    const QVector<LogRecord> expected{
        ForwardingRecord(request, call.thread.get(), app.client.thread()),
        Critical("AudioManagerApp::StartAbandonAudioFocusRequest -- No reason was provided")};
    QCOMPARE(log.Records(), expected);
    QCOMPARE(events.All(), QStringList());
    QCOMPARE(app.service.Calls().size(), 0);
}

void tst_AppThreads::foreignThread_notInvokable_isReported()
{
    QFETCH(AppRequest, request);
    App<NamelessApp> app;
    const AppEvents events(app.client);
    const LogCapture log;

    const ForeignCall call(request, app.client);
    QVERIFY(call.IsDone());

    QCOMPARE(call.requestId, 0u);
    const QVector<LogRecord> records = log.Records();
    QCOMPARE(records.size(), 3);
    QCOMPARE(records.first(), ForwardingRecord(request, call.thread.get(), app.client.thread()));
    const QString qtText =
        QString("QMetaObject::invokeMethod: No such method QObject::%1Async(").arg(request.operation);
    QCOMPARE(records.at(1).level, QtWarningMsg);
    QCOMPARE(records.at(1).text.left(qtText.size()), qtText);
    QCOMPARE(records.last(),
             Critical(QString("AudioManagerApp::%1Async -- Unable to invoke self").arg(request.operation)));
    QCOMPARE(events.All(), QStringList());
    QCOMPARE(app.service.Calls().size(), 0);
    QCOMPARE(app.client.GetNextRequestId(), 1u);
}

void tst_AppThreads::foreignThreads_manyAtOnce_getIdentifiersOfTheirOwn()
{
    App<OpenedApp> app;
    const AppEvents events(app.client);
    QStringList completions;
    {
        std::vector<std::unique_ptr<ForeignCall>> calls;
        for (const AppRequest& request : AppRequests()) {
            calls.push_back(std::make_unique<ForeignCall>(request, app.client));
        }
        for (std::size_t index = 0; index < calls.size(); ++index) {
            QVERIFY(calls.at(index)->IsDone());
            completions.append(AppRequests().at(index).Completed(calls.at(index)->requestId, true));
        }
    }
    completions.sort();
    const auto sortedEvents = [&events] {
        QStringList sorted = events.All();
        sorted.sort();
        return sorted;
    };

    QTRY_COMPARE(sortedEvents(), completions);

    QCOMPARE(app.client.GetNextRequestId(), 7u);
    QCOMPARE(events.Threads(), QVector<QThread*>(6, app.client.thread()));
    QCOMPARE(app.service.Calls().size(), 6);
}

KIV_BUS_TEST_MAIN(tst_AppThreads)
#include "tst_AppThreads.moc"
