// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "LogTexts.h"
#include "MediaApp.h"
#include "TestMain.h"

#include <QMetaMethod>

#include <memory>

using namespace KivTest;

namespace {

const AppRequest& Registration()
{
    return AppRequests().front();
}

/** An application client among fakes. */
struct App : FakeSurroundings
{
    explicit App(const AppOptions& options = AppOptions(), QObject* parent = nullptr)
        : client(std::make_unique<OpenedApp>(registrator, options.path, options.sourceName, connection,
                                             options.streamType, options.isPermanent, options.destination,
                                             factory, options.registersOnInitialize, parent)),
          events(*client)
    {
    }

    /** The same with the session 7. */
    static std::unique_ptr<App> Open(const AppOptions& options = AppOptions())
    {
        auto app = std::make_unique<App>(options);
        app->client->Open(7);
        return app;
    }

    std::unique_ptr<OpenedApp> client;
    AppEvents events;
};

QVector<RecordedRequest> Registrations(bool isBlocking, const QString& arguments = Registration().arguments)
{
    return {{isBlocking, "registerAudioStream", arguments}};
}

LogRecord BlockingRequestRecord()
{
    return Debug(Streamed("KivBaseClient::ServiceRequest -- Time:", QString("mm:ss.zzz"),
                          QString("registerAudioStream"), Registration().arguments));
}

LogRecord BlockingSuccessRecord()
{
    return Debug(Streamed("KivBaseClient::ServiceRequest -- Time:", QString("mm:ss.zzz"), "Request:",
                          QString("registerAudioStream"), "Result:", true, QThread::currentThread()));
}

LogRecord BlockingErrorRecord(const QString& result)
{
    return Critical(Streamed("KivBaseClient::ServiceRequest -- Request error:",
                             QString("registerAudioStream"), Registration().arguments, "result:", result));
}

} // namespace

class tst_StreamRegistration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void construction_writesItsRecords_data();
    void construction_writesItsRecords();
    void construction_takesItsArguments();
    void construction_streamTypeAndFocusType_data();
    void construction_streamTypeAndFocusType();
    void construction_asksNothingOfAnyone();
    void metaObject_hasItsMethodsInOrder();
    void metaObject_knowsItsClassAndItsBase();

    void registrationParameters_data();
    void registrationParameters();

    void handleInitialize_withoutRegistration_sendsNothing();
    void handleInitialize_withRegistration_blocksForTheAnswer_data();
    void handleInitialize_withRegistration_blocksForTheAnswer();
    void handleInitialize_withRegistration_withoutSession_failsSilently();
    void handleInitialize_withRegistration_withoutProxy_fails();
    void handleInitializeProxy_registersAfterOpeningTheSession();
    void handleInitializeProxy_registrationRefused_initialisationFails();
    void handleInitializeProxy_sessionRefused_registersNothing();
    void handleInitializeProxy_exportRefused_opensNoSession();

    void registerAudioStream_accepted();
    void registerAudioStream_replyIsNotRead_data();
    void registerAudioStream_replyIsNotRead();
    void registerAudioStream_withoutSession_isRefusedSilently();
    void registerAudioStream_withoutProxy_fails();
    void registerAudioStream_errCode_fails();
    void registerAudioStream_busError_fails();

    void startRegisterAudioStreamRequest_sendsWithoutWaiting();
    void startRegisterAudioStreamRequest_withoutSession_isRefused();
    void startRegisterAudioStreamRequest_withoutProxy_isRefused();

    void registerAudioStreamAsync_completes_data();
    void registerAudioStreamAsync_completes();
    void registerAudioStreamAsync_returnsBeforeTheReply();
    void registerAudioStreamAsync_severalInFlight_completeEachWithTheirOwnId();
    void registerAudioStreamAsync_withoutSession_isRefused();
    void registerAudioStreamAsync_withoutProxy_isRefused();
    void registerAudioStreamAsync_refusedByTheProxy_isRefused();

    void registration_changesNoMember();
    void destructor_sendsNothing();
    void destructor_afterPowerdown_writesNothing();
    void destructor_withRequestInFlight_completesNothing();
    void powerdown_closesTheSessionOnly();
};

void tst_StreamRegistration::construction_writesItsRecords_data()
{
    QTest::addColumn<bool>("isPermanent");
    QTest::addColumn<QString>("streamType");
    QTest::addColumn<bool>("registers");
    QTest::addColumn<QString>("text");

    QTest::newRow("permanent, registers") << true << "" << true
                                          << "AudioManagerApp::AudioManagerApp -- "
                                             "\n   m_SourceName: \"Player\" "
                                             "\n   m_StreamModeName: \"/com/quorvantel/audioclient/test\" "
                                             "\n   m_StreamType: \"Media\" "
                                             "\n   m_FocusType: \"permanent\" "
                                             "\n   m_RegisterDuringInitialization: true";
    QTest::newRow("transient, registers later")
        << false << "Cabin" << false
        << "AudioManagerApp::AudioManagerApp -- "
           "\n   m_SourceName: \"Player\" "
           "\n   m_StreamModeName: \"/com/quorvantel/audioclient/test\" "
           "\n   m_StreamType: \"Cabin\" "
           "\n   m_FocusType: \"transient\" "
           "\n   m_RegisterDuringInitialization: false";
}

void tst_StreamRegistration::construction_writesItsRecords()
{
    QFETCH(bool, isPermanent);
    QFETCH(QString, streamType);
    QFETCH(bool, registers);
    QFETCH(QString, text);
    const LogCapture log;

    const App app({kClientPath, "Player", streamType, isPermanent, "front", registers});

    const QVector<LogRecord> expected{
        Debug("KivBaseClient::KivBaseClient --  \n   m_ServiceName: "
              "\"com.quorvantel.service.AudioManagement\""),
        Debug("ServiceProviderClient::ServiceProviderClient --  "
              "\n   m_DbusName: \"com.quorvantel.audioclient.test\" "
              "\n   m_ObjPath: \"/com/quorvantel/audioclient/test/ServiceProviderClient\" "
              "\n   m_Destination: \"front\" \n   m_SessionId: 0"),
        Debug(text)};
    QCOMPARE(log.Records(), expected);
}

void tst_StreamRegistration::construction_takesItsArguments()
{
    QObject parent;
    FakeSurroundings fakes;
    auto* client = new OpenedApp(fakes.registrator, "/path", "source", fakes.connection, "type", false,
                                 "destination", fakes.factory, true, &parent);

    QCOMPARE(client->m_ServiceName, QString("com.quorvantel.service.AudioManagement"));
    QCOMPARE(client->m_DbusName, kClientName);
    QCOMPARE(client->m_ObjPath, QString("/path/ServiceProviderClient"));
    QCOMPARE(client->m_Destination, QString("destination"));
    QCOMPARE(client->m_SourceName, QString("source"));
    QCOMPARE(client->m_StreamModeName, QString("/path"));
    QCOMPARE(client->m_StreamType, QString("type"));
    QCOMPARE(client->m_FocusType, QString("transient"));
    QCOMPARE(client->m_LastFocus, QString());
    QCOMPARE(client->LastFocus(), QString());
    QCOMPARE(client->m_RegisterDuringInitialization, true);
    QCOMPARE(client->m_SessionId, 0u);
    QCOMPARE(client->CurrentInitState(), KivBaseClient::INIT_STATE_NOT_CALLED);
    QCOMPARE(client->parent(), &parent);
    client->Open(7);
    QCOMPARE(fakes.factory.Parents(), QVector<QObject*>{client});
    client->Powerdown();
}

void tst_StreamRegistration::construction_streamTypeAndFocusType_data()
{
    QTest::addColumn<QString>("given");
    QTest::addColumn<bool>("isPermanent");
    QTest::addColumn<QString>("streamType");
    QTest::addColumn<QString>("focusType");

    QTest::newRow("null type, permanent") << QString() << true << "Media"
                                          << "permanent";
    QTest::newRow("empty type, transient") << "" << false << "Media"
                                           << "transient";
    QTest::newRow("a type, permanent") << "Cabin" << true << "Cabin"
                                       << "permanent";
    QTest::newRow("a blank type, transient") << " " << false << " "
                                             << "transient";
    QTest::newRow("an unknown type") << "media" << true << "media"
                                     << "permanent";
}

void tst_StreamRegistration::construction_streamTypeAndFocusType()
{
    QFETCH(QString, given);
    QFETCH(bool, isPermanent);

    const App app({kClientPath, "Player", given, isPermanent, QString(), false});

    QTEST(app.client->m_StreamType, "streamType");
    QTEST(app.client->m_FocusType, "focusType");
    QCOMPARE(app.client->m_RegisterDuringInitialization, false);
}

void tst_StreamRegistration::construction_asksNothingOfAnyone()
{
    App app({kClientPath, "Player", QString(), true, QString(), true});

    QCOMPARE(app.factory.Parents(), QVector<QObject*>());
    QCOMPARE(app.connection.Exports().size(), 0);
    QCOMPARE(app.Exchange().Requests(), QVector<RecordedRequest>());
    QCOMPARE(app.events.All(), QStringList());
}

void tst_StreamRegistration::metaObject_hasItsMethodsInOrder()
{
    const QMetaObject& meta = AudioManagerApp::staticMetaObject;
    QStringList methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        const QMetaMethod method = meta.method(index);
        const QString kind = method.methodType() == QMetaMethod::Signal ? "signal" : "method";
        methods.append(
            QString("%1 %2 %3 (%4)")
                .arg(kind, method.typeName(), method.methodSignature(), method.parameterNames().join(',')));
    }

    const QStringList expected{
        "signal void SignalRegisterAudioStreamCompleted(uint,bool) (aRequestId,aResult)",
        "signal void SignalRequestAudioFocusCompleted(uint,bool) (aRequestId,aResult)",
        "signal void SignalAudioActiveCompleted(uint,bool) (aRequestId,aResult)",
        "signal void SignalAbandonAudioFocusCompleted(uint,bool) (aRequestId,aResult)",
        "signal void SignalAudioFocusChanged(QString) (a_NewFocus)",
        "signal void SignalResponseToAudioFocusRequest(QString) (a_FocusResponse)",
        "method uint RegisterAudioStreamAsync() ()",
        "method uint RequestAudioFocusAsync(bool) (aExecuteSwitch)",
        "method uint RequestAudioFocusAsync() ()",
        "method uint AudioActiveAsync(bool) (aPlaying)",
        "method uint AbandonAudioFocusAsync(QString) (aReason)"};
    QCOMPARE(methods, expected);
}

void tst_StreamRegistration::metaObject_knowsItsClassAndItsBase()
{
    const App app;
    QObject* object = app.client.get();

    QCOMPARE(AudioManagerApp::staticMetaObject.className(), "Audio::Utils::Kiv::QtDbus::AudioManagerApp");
    QCOMPARE(AudioManagerApp::staticMetaObject.superClass(), &ServiceProviderClient::staticMetaObject);
    QCOMPARE(object->metaObject(), &AudioManagerApp::staticMetaObject);
    QCOMPARE(object->qt_metacast("Audio::Utils::Kiv::QtDbus::AudioManagerApp"), object);
    QCOMPARE(object->qt_metacast("Audio::Utils::Kiv::QtDbus::ServiceProviderClient"), object);
    QCOMPARE(object->qt_metacast("Audio::Utils::Kiv::QtDbus::AudioManagerHmi"), nullptr);
}

void tst_StreamRegistration::registrationParameters_data()
{
    QTest::addColumn<QString>("modeName");
    QTest::addColumn<bool>("isPermanent");
    QTest::addColumn<QString>("streamType");
    QTest::addColumn<QString>("arguments");

    QTest::newRow("permanent, mode, default type")
        << "/a" << true << ""
        << R"({"focusType":"permanent","sessionId":7,"streamModeName":"/a","streamName":"Pläyer \"1\"","streamType":"Media"})";
    QTest::newRow("permanent, mode, type")
        << "/a" << true << "Cabin"
        << R"({"focusType":"permanent","sessionId":7,"streamModeName":"/a","streamName":"Pläyer \"1\"","streamType":"Cabin"})";
    QTest::newRow("permanent, no mode, default type")
        << "" << true << ""
        << R"({"focusType":"permanent","sessionId":7,"streamName":"Pläyer \"1\"","streamType":"Media"})";
    QTest::newRow("permanent, no mode, type")
        << "" << true << "Cabin"
        << R"({"focusType":"permanent","sessionId":7,"streamName":"Pläyer \"1\"","streamType":"Cabin"})";
    QTest::newRow("transient, mode, default type")
        << "/a" << false << ""
        << R"({"focusType":"transient","sessionId":7,"streamName":"Pläyer \"1\"","streamType":"Media"})";
    QTest::newRow("transient, mode, type")
        << "/a" << false << "Cabin"
        << R"({"focusType":"transient","sessionId":7,"streamName":"Pläyer \"1\"","streamType":"Cabin"})";
    QTest::newRow("transient, no mode, default type")
        << "" << false << ""
        << R"({"focusType":"transient","sessionId":7,"streamName":"Pläyer \"1\"","streamType":"Media"})";
    QTest::newRow("transient, no mode, type")
        << "" << false << "Cabin"
        << R"({"focusType":"transient","sessionId":7,"streamName":"Pläyer \"1\"","streamType":"Cabin"})";
}

void tst_StreamRegistration::registrationParameters()
{
    QFETCH(QString, modeName);
    QFETCH(bool, isPermanent);
    QFETCH(QString, streamType);
    QFETCH(QString, arguments);
    const auto app = App::Open({modeName, "Pläyer \"1\"", streamType, isPermanent, "front", false});

    QVERIFY(app->client->RegisterAudioStream());
    QCOMPARE(app->Exchange().Requests(), Registrations(true, arguments));
    QVERIFY(!app->client->StartRegisterAudioStreamRequest().isError());
    QCOMPARE(app->client->RegisterAudioStreamAsync(), 1u);
    QTRY_COMPARE(app->events.All(), QStringList{"RegisterAudioStreamCompleted(1,true)"});

    QCOMPARE(app->Exchange().Requests(), Registrations(true, arguments) + Registrations(false, arguments) +
                                             Registrations(false, arguments));
}

void tst_StreamRegistration::handleInitialize_withoutRegistration_sendsNothing()
{
    const auto app = App::Open();
    app->Exchange().Answer("registerAudioStream", R"({"errCode":1})");
    const LogCapture log;

    QCOMPARE(app->client->HandleInitialize(), true);

    QCOMPARE(app->Exchange().Requests(), QVector<RecordedRequest>());
    QCOMPARE(log.Records(), QVector<LogRecord>());
    QCOMPARE(app->events.All(), QStringList());
}

void tst_StreamRegistration::handleInitialize_withRegistration_blocksForTheAnswer_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("result");

    QTest::newRow("accepted") << "{}" << true;
    QTest::newRow("refused") << R"({"errCode":3})" << false;
}

void tst_StreamRegistration::handleInitialize_withRegistration_blocksForTheAnswer()
{
    QFETCH(QString, answer);
    QFETCH(bool, result);
    const auto app = App::Open({kClientPath, "Player", QString(), true, QString(), true});
    app->Exchange().Answer("registerAudioStream", answer);
    const LogCapture log;

    QCOMPARE(app->client->HandleInitialize(), result);

    QCOMPARE(app->Exchange().Requests(), Registrations(true));
    const QVector<LogRecord> expected{BlockingRequestRecord(),
                                      result ? BlockingSuccessRecord() : BlockingErrorRecord(answer)};
    QCOMPARE(Timeless(log.Records()), expected);
    QCOMPARE(app->events.All(), QStringList());
}

void tst_StreamRegistration::handleInitialize_withRegistration_withoutSession_failsSilently()
{
    const auto app = App::Open({kClientPath, "Player", QString(), true, QString(), true});
    app->client->m_SessionId = 0;
    const LogCapture log;

    QCOMPARE(app->client->HandleInitialize(), false);

    QCOMPARE(app->Exchange().Requests(), QVector<RecordedRequest>());
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_StreamRegistration::handleInitialize_withRegistration_withoutProxy_fails()
{
    App app({kClientPath, "Player", QString(), true, QString(), true});
    app.client->m_SessionId = 7;
    const LogCapture log;

    QCOMPARE(app.client->HandleInitialize(), false);

    QCOMPARE(log.Complaints(),
             QVector<LogRecord>{Critical(
                 "KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!")});
}

void tst_StreamRegistration::handleInitializeProxy_registersAfterOpeningTheSession()
{
    const auto app = App::Open({kClientPath, "Player", QString(), true, QString(), true});
    app->client->m_SessionId = 0;
    app->Exchange().Answer("openSession", R"({"sessionId":7})");
    const LogCapture log;

    QCOMPARE(app->client->HandleInitializeProxy(), KivBaseClient::INIT_STATE_SUCCESS);

    QCOMPARE(app->client->CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(app->connection.Exports().size(), 1);
    QCOMPARE(app->connection.Exports().first().busName, kClientName);
    QCOMPARE(app->connection.Exports().first().objectPath, kClientPath + "/ServiceProviderClient");
    QCOMPARE(app->connection.Exports().first().object, app->client.get());
    const QVector<RecordedRequest> expected{
        {true, "openSession",
         R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})"},
        {true, "registerAudioStream", Registration().arguments}};
    QCOMPARE(app->Exchange().Requests(), expected);
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
    QCOMPARE(app->events.All(), QStringList());
}

void tst_StreamRegistration::handleInitializeProxy_registrationRefused_initialisationFails()
{
    const auto app = App::Open({kClientPath, "Player", QString(), true, QString(), true});
    app->client->m_SessionId = 0;
    app->Exchange().Answer("openSession", R"({"sessionId":7})");
    app->Exchange().Answer("registerAudioStream", R"({"errCode":3})");
    const LogCapture log;

    QCOMPARE(app->client->HandleInitializeProxy(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(app->client->CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(app->client->m_SessionId, 7u);
    QCOMPARE(log.Complaints(), QVector<LogRecord>{BlockingErrorRecord(R"({"errCode":3})")});
    QCOMPARE(log.Records().last(), Debug("ServiceProviderClient::HandleInitializeProxy -- FAILED"));
}

void tst_StreamRegistration::handleInitializeProxy_sessionRefused_registersNothing()
{
    const auto app = App::Open({kClientPath, "Player", QString(), true, QString(), true});
    app->client->m_SessionId = 0;
    app->Exchange().Answer("openSession", R"({"sessionId":0})");

    QCOMPARE(app->client->HandleInitializeProxy(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(app->Exchange().Requests().size(), 1);
    QCOMPARE(app->Exchange().Requests().first().methodName, QString("openSession"));
}

void tst_StreamRegistration::handleInitializeProxy_exportRefused_opensNoSession()
{
    const auto app = App::Open({kClientPath, "Player", QString(), true, QString(), true});
    app->client->m_SessionId = 0;
    app->connection.SetResult(false);
    const LogCapture log;

    QCOMPARE(app->client->HandleInitializeProxy(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(app->Exchange().Requests(), QVector<RecordedRequest>());
    QCOMPARE(log.Complaints(),
             QVector<LogRecord>{Critical(
                 R"(Connection Register error: "/com/quorvantel/audioclient/test/ServiceProviderClient")")});
}

void tst_StreamRegistration::registerAudioStream_accepted()
{
    const auto app = App::Open();
    const LogCapture log;

    QCOMPARE(app->client->RegisterAudioStream(), true);

    QCOMPARE(app->Exchange().Requests(), Registrations(true));
    const QVector<LogRecord> expected{BlockingRequestRecord(), BlockingSuccessRecord()};
    QCOMPARE(Timeless(log.Records()), expected);
    QCOMPARE(app->events.All(), QStringList());
}

void tst_StreamRegistration::registerAudioStream_replyIsNotRead_data()
{
    QTest::addColumn<QString>("answer");

    QTest::newRow("empty") << "";
    QTest::newRow("no JSON") << "accepted?";
    QTest::newRow("other keys") << R"({"sessionId":9,"streamType":"Cabin","result":false})";
}

void tst_StreamRegistration::registerAudioStream_replyIsNotRead()
{
    QFETCH(QString, answer);
    const auto app = App::Open();
    app->Exchange().Answer("registerAudioStream", answer);
    const LogCapture log;

    QCOMPARE(app->client->RegisterAudioStream(), true);
    QCOMPARE(app->client->RegisterAudioStreamAsync(), 1u);
    QTRY_COMPARE(app->events.All(), QStringList{"RegisterAudioStreamCompleted(1,true)"});

    QCOMPARE(log.Complaints(), QVector<LogRecord>());
    QCOMPARE(app->client->m_SessionId, 7u);
    QCOMPARE(app->client->m_StreamType, QString("Media"));
}

void tst_StreamRegistration::registerAudioStream_withoutSession_isRefusedSilently()
{
    const auto app = App::Open();
    app->client->m_SessionId = 0;
    const LogCapture log;

    QCOMPARE(app->client->RegisterAudioStream(), false);

    QCOMPARE(app->Exchange().Requests(), QVector<RecordedRequest>());
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_StreamRegistration::registerAudioStream_withoutProxy_fails()
{
    const App app;
    app.client->m_SessionId = 7;
    const LogCapture log;

    QCOMPARE(app.client->RegisterAudioStream(), false);

    const QVector<LogRecord> expected{
        BlockingRequestRecord(),
        Critical("KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!")};
    QCOMPARE(Timeless(log.Records()), expected);
}

void tst_StreamRegistration::registerAudioStream_errCode_fails()
{
    const auto app = App::Open();
    app->Exchange().Answer("registerAudioStream", R"({"errCode":5})");
    const LogCapture log;

    QCOMPARE(app->client->RegisterAudioStream(), false);

    const QVector<LogRecord> expected{BlockingRequestRecord(), BlockingErrorRecord(R"({"errCode":5})")};
    QCOMPARE(Timeless(log.Records()), expected);
    QCOMPARE(app->client->m_SessionId, 7u);
}

void tst_StreamRegistration::registerAudioStream_busError_fails()
{
    const auto app = App::Open();
    app->Exchange().Fail("registerAudioStream", "gone");
    const LogCapture log;

    QCOMPARE(app->client->RegisterAudioStream(), false);

    QCOMPARE(log.Complaints(), QVector<LogRecord>{BlockingErrorRecord(R"({ "errCode" : 0 })")});
}

void tst_StreamRegistration::startRegisterAudioStreamRequest_sendsWithoutWaiting()
{
    const auto app = App::Open();
    app->Exchange().Answer("registerAudioStream", "the answer");
    const LogCapture log;

    const QDBusPendingReply<QString> reply = app->client->StartRegisterAudioStreamRequest();

    QVERIFY(!reply.isFinished());
    QCOMPARE(app->Exchange().Requests(), Registrations(false));
    QTRY_VERIFY(reply.isFinished());
    QCOMPARE(reply.value(), QString("the answer"));
    QCOMPARE(log.Records(), QVector<LogRecord>());
    QCOMPARE(app->events.All(), QStringList());
    QCOMPARE(app->client->GetNextRequestId(), 1u);
}

void tst_StreamRegistration::startRegisterAudioStreamRequest_withoutSession_isRefused()
{
    const auto app = App::Open();
    app->client->m_SessionId = 0;
    const LogCapture log;

    const QDBusPendingReply<QString> reply = app->client->StartRegisterAudioStreamRequest();

    QVERIFY(reply.isFinished());
    QVERIFY(reply.isError());
    QCOMPARE(reply.error().type(), QDBusError::Other);
    QCOMPARE(reply.error().message(), QString("Session is already open"));
    QCOMPARE(log.Records(), QVector<LogRecord>{Critical(Registration().NoSessionText())});
    QCOMPARE(app->Exchange().Requests(), QVector<RecordedRequest>());
}

void tst_StreamRegistration::startRegisterAudioStreamRequest_withoutProxy_isRefused()
{
    const App app;
    app.client->m_SessionId = 7;
    const LogCapture log;

    const QDBusPendingReply<QString> reply = app.client->StartRegisterAudioStreamRequest();

    QVERIFY(reply.isFinished());
    QCOMPARE(reply.error().name(), QString("org.freedesktop.DBus.Error.Failed"));
    QCOMPARE(reply.error().message(), QString("Missing KIv service proxy"));
    QCOMPARE(log.Records(),
             QVector<LogRecord>{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")});
}

void tst_StreamRegistration::registerAudioStreamAsync_completes_data()
{
    QTest::addColumn<bool>("isBusError");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QString>("complaint");

    QTest::newRow("accepted") << false << "{}" << true << "";
    QTest::newRow("errCode") << false << R"({"errCode":5})" << false
                             << "KivBaseClient::HandleReply -- Received error code: QVariant(int, 5)";
    QTest::newRow("errCode 0") << false << R"({ "errCode" : 0 })" << false
                               << "KivBaseClient::HandleReply -- Received error code: QVariant(int, 0)";
    QTest::newRow("bus error")
        << true << "gone" << false
        << R"(KivBaseClient::HandleReply -- Received error: QDBusError("org.freedesktop.DBus.Error.Failed", "gone"))";
}

void tst_StreamRegistration::registerAudioStreamAsync_completes()
{
    QFETCH(bool, isBusError);
    QFETCH(QString, answer);
    QFETCH(bool, result);
    QFETCH(QString, complaint);
    const auto app = App::Open();
    if (isBusError) {
        app->Exchange().Fail("registerAudioStream", answer);
    } else {
        app->Exchange().Answer("registerAudioStream", answer);
    }
    const LogCapture log;

    QCOMPARE(app->client->RegisterAudioStreamAsync(), 1u);
    QTRY_COMPARE(app->events.All(), QStringList{Registration().Completed(1, result)});

    QCOMPARE(app->Exchange().Requests(), Registrations(false));
    QCOMPARE(log.Records(),
             complaint.isEmpty() ? QVector<LogRecord>() : QVector<LogRecord>{Critical(complaint)});
}

void tst_StreamRegistration::registerAudioStreamAsync_returnsBeforeTheReply()
{
    const auto app = App::Open();
    app->Exchange().Hold();

    QCOMPARE(app->client->RegisterAudioStreamAsync(), 1u);
    QCOMPARE(app->events.All(), QStringList());
    QCOMPARE(app->Exchange().Requests(), Registrations(false));
    QCoreApplication::processEvents();
    QCOMPARE(app->events.All(), QStringList());

    app->Exchange().Release();
    QTRY_COMPARE(app->events.All(), QStringList{"RegisterAudioStreamCompleted(1,true)"});
}

void tst_StreamRegistration::registerAudioStreamAsync_severalInFlight_completeEachWithTheirOwnId()
{
    const auto app = App::Open();
    app->Exchange().Answer("audioActive", R"({"errCode":1})");

    QCOMPARE(app->client->RegisterAudioStreamAsync(), 1u);
    QCOMPARE(app->client->AudioActiveAsync(true), 2u);
    QCOMPARE(app->client->RegisterAudioStreamAsync(), 3u);

    const QStringList expected{"RegisterAudioStreamCompleted(1,true)", "AudioActiveCompleted(2,false)",
                               "RegisterAudioStreamCompleted(3,true)"};
    QTRY_COMPARE(app->events.All(), expected);
}

void tst_StreamRegistration::registerAudioStreamAsync_withoutSession_isRefused()
{
    const auto app = App::Open();
    app->client->m_SessionId = 0;
    {
        const LogCapture log;
        QCOMPARE(app->client->RegisterAudioStreamAsync(), 0u);
        QCOMPARE(log.Records(), QVector<LogRecord>{Critical(Registration().NoSessionText())});
    }
    QCOMPARE(app->Exchange().Requests(), QVector<RecordedRequest>());

    // The next request is the first, and the only one that completes.
    app->client->m_SessionId = 7;
    QCOMPARE(app->client->RegisterAudioStreamAsync(), 1u);
    QTRY_COMPARE(app->events.All(), QStringList{"RegisterAudioStreamCompleted(1,true)"});
}

void tst_StreamRegistration::registerAudioStreamAsync_withoutProxy_isRefused()
{
    const App app;
    app.client->m_SessionId = 7;
    const LogCapture log;

    QCOMPARE(app.client->RegisterAudioStreamAsync(), 0u);

    QCoreApplication::processEvents();
    QCOMPARE(app.events.All(), QStringList());
    QCOMPARE(log.Records(),
             QVector<LogRecord>{Critical("KivBaseClient::StartRequest -- Missing KIv service proxy")});
    QCOMPARE(app.client->GetNextRequestId(), 1u);
}

void tst_StreamRegistration::registerAudioStreamAsync_refusedByTheProxy_isRefused()
{
    const auto app = App::Open();
    app->Exchange().Refuse("registerAudioStream", "no");
    const LogCapture log;

    QCOMPARE(app->client->RegisterAudioStreamAsync(), 0u);

    QCoreApplication::processEvents();
    QCOMPARE(app->events.All(), QStringList());
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_StreamRegistration::registration_changesNoMember()
{
    const auto app = App::Open({"/path", "source", "type", true, "destination", true});
    app->Exchange().Answer("registerAudioStream",
                           R"({"newFocus":"gained","sessionId":9,"streamName":"x","streamType":"y"})");

    QVERIFY(app->client->RegisterAudioStream());
    QCOMPARE(app->client->RegisterAudioStreamAsync(), 1u);
    QTRY_COMPARE(app->events.All(), QStringList{"RegisterAudioStreamCompleted(1,true)"});

    QCOMPARE(app->client->m_SourceName, QString("source"));
    QCOMPARE(app->client->m_StreamModeName, QString("/path"));
    QCOMPARE(app->client->m_StreamType, QString("type"));
    QCOMPARE(app->client->m_FocusType, QString("permanent"));
    QCOMPARE(app->client->m_LastFocus, QString());
    QCOMPARE(app->client->m_RegisterDuringInitialization, true);
    QCOMPARE(app->client->m_SessionId, 7u);
    QCOMPARE(app->client->CurrentInitState(), KivBaseClient::INIT_STATE_NOT_CALLED);
}

void tst_StreamRegistration::destructor_sendsNothing()
{
    const auto app = App::Open();
    const LogCapture log;

    app->client.reset();

    QCOMPARE(app->Exchange().Requests(), QVector<RecordedRequest>());
    QCOMPARE(app->Exchange().ProxyCount(), 0);
    QCOMPARE(log.Records(),
             QVector<LogRecord>{Debug("KivBaseClient::Powerdown was not called before destructor!")});
    QCOMPARE(app->events.All(), QStringList());
}

void tst_StreamRegistration::destructor_afterPowerdown_writesNothing()
{
    const auto app = App::Open();
    app->client->Powerdown();
    const LogCapture log;

    app->client.reset();

    QCOMPARE(log.Records(), QVector<LogRecord>());
    QCOMPARE(app->Exchange().Requests(),
             (QVector<RecordedRequest>{{true, "closeSession", R"({"sessionId":7})"}}));
}

void tst_StreamRegistration::destructor_withRequestInFlight_completesNothing()
{
    const auto app = App::Open();
    app->Exchange().Hold();
    QCOMPARE(app->client->RegisterAudioStreamAsync(), 1u);
    // A second client with the same peer, whose reply comes after the first one's.
    OpenedApp other(app->registrator, kClientPath, "Other", app->connection, QString(), true, QString(),
                    app->factory, false);
    other.Open(8);
    const AppEvents otherEvents(other);
    QCOMPARE(other.RegisterAudioStreamAsync(), 1u);
    QTRY_COMPARE(app->Exchange().Requests().size(), 2);

    app->client.reset();
    app->Exchange().Release();

    QTRY_COMPARE(otherEvents.All(), QStringList{"RegisterAudioStreamCompleted(1,true)"});
    QCOMPARE(app->events.All(), QStringList());
}

void tst_StreamRegistration::powerdown_closesTheSessionOnly()
{
    const auto app = App::Open();
    QVERIFY(app->client->RegisterAudioStream());

    app->client->Powerdown();

    const RecordedRequest closing{true, "closeSession", R"({"sessionId":7})"};
    QCOMPARE(app->Exchange().Requests(), Registrations(true) << closing);
    QCOMPARE(app->client->m_SessionId, 0u);
    QCOMPARE(app->Exchange().ProxyCount(), 0);
}

KIV_UNIT_TEST_MAIN(tst_StreamRegistration)
#include "tst_StreamRegistration.moc"
