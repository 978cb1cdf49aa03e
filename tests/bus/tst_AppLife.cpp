// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "FakeService.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "MediaApp.h"
#include "ServiceProviderProxyAppFactory.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"
#include "TestMain.h"

#include <QDBusConnectionInterface>
#include <QPointer>
#include <QSignalSpy>

#include <memory>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kOwnObject = kClientPath + "/ServiceProviderClient";
const QString kOpening = R"({"busName":"com.quorvantel.audioclient.test","destination":"front",)"
                         R"("objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})";
const QString kRegistration =
    R"({"focusType":"permanent","sessionId":7,"streamModeName":"/com/quorvantel/audioclient/test",)"
    R"("streamName":"Player","streamType":"Media"})";

QString AppRequestText(const QString& method, const QString& arguments)
{
    return kAppPath + ' ' + method + ' ' + arguments;
}

const QString kOpened = AppRequestText("openSession", kOpening);
const QString kRegistered = AppRequestText("registerAudioStream", kRegistration);
const QString kClosed = AppRequestText("closeSession", R"({"sessionId":7})");

enum class Service
{
    IsThere,
    AppearsLater
};

/** The service, and an application client on the bus. */
struct Life
{
    explicit Life(Service presence = Service::IsThere, bool registersOnInitialize = true)
        : service(NewService(presence)),
          client(new FragileApp(registrator, kClientPath, "Player", connection, QString(), true, "front",
                                factory, registersOnInitialize)),
          events(std::make_unique<AppEvents>(*client))
    {
    }

    ~Life()
    {
        if (client != nullptr) {
            client->Powerdown();
        }
        delete client;
    }

    /** A service that opens the session 7; it is there before the client, which sees nothing of its coming. */
    static std::unique_ptr<FakeService> NewService(Service presence)
    {
        auto service = std::make_unique<FakeService>();
        service->Answer("openSession", R"({"sessionId":7})");
        if (presence == Service::IsThere) {
            service->Appear();
        }
        return service;
    }

    /** A call that the service makes, and its answer. */
    QString Call(const QString& method, const QString& arguments)
    {
        const QDBusMessage answer = service->CallClient(kClientName, kOwnObject, method, arguments);
        return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0).toString()
                                                           : answer.errorName();
    }

    /** Every request that the service has received, as "path method arguments"; all of them are ours. */
    QStringList Requests() const
    {
        QStringList requests;
        for (const ServiceCall& call : service->Calls()) {
            const QString stranger = call.sender == bus.baseService() ? QString() : call.sender + ' ';
            requests.append(stranger + call.path + ' ' + call.methodName + ' ' + call.arguments);
        }
        return requests;
    }

    QStringList Events() const { return events->All(); }

    std::unique_ptr<FakeService> service;
    QDBusConnection bus = QDBusConnection::systemBus();
    ServiceRegistrator registrator{bus, kClientName};
    AdaptorConnection connection{bus};
    ServiceProviderProxyAppFactory factory;
    QPointer<OpenedApp> client;
    std::unique_ptr<AppEvents> events;
};

LogRecord NotifyComplaint()
{
    return Critical("Audio manager error: Notify signal shall not be called for application mode!");
}

const QString kFocusEvent =
    R"({"destination":"d","focusType":"f","newFocus":"lost","streamModeName":"m","streamName":"n","streamType":"t"})";

} // namespace

class tst_AppLife : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serviceIsThere_wholeLife();
    void serviceAppearsLate_wholeLife();
    void registrationRefused_initialisationFails_data();
    void registrationRefused_initialisationFails();
    void registrationRefused_late_isAnnounced();
    void sessionRefused_registersNothing();
    void registrationIsNotPartOfInitialisation_sendsOnlyTheSession();

    void focusRequests_blocking_areSentInOrder();
    void ownObject_answersWhateverComes_data();
    void ownObject_answersWhateverComes();
    void ownObject_isGoneWithTheConnection();

    void broadcastOfTheApplicationObject_isReported();
    void broadcastOfTheHmiObject_isNotHeard();
    void broadcastAfterPowerdown_isNotHeard();

    void hmiAndApplication_shareOneBusName();

    void serviceLeaves_requestsInFlight_completeOnceWithFalse();
    void serviceLeaves_andComesBack_isNotGreetedAgain();
    void destroyedWithoutPowerdown_sendsNothing();
    void destroyedWithRequestsInFlight_completesNothing();
    void powerdown_requestsInFlight_stillComplete();

    void slotDeletesTheClient_serviceIsAnswered_data();
    void slotDeletesTheClient_serviceIsAnswered();
    void slotPowersTheClientDown_serviceIsAnswered_data();
    void slotPowersTheClientDown_serviceIsAnswered();
    void completionSlot_deletesTheClient_data();
    void completionSlot_deletesTheClient();
};

void tst_AppLife::serviceIsThere_wholeLife()
{
    Life life;
    const LogCapture log;

    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(life.client->CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(life.client->SessionId(), 7u);
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered}));
    QCOMPARE(life.Events(), QStringList());

    QCOMPARE(life.client->RequestAudioFocusAsync(false), 1u);
    QTRY_COMPARE(life.Events().size(), 1);
    QCOMPARE(life.Call("onRequestAudioFocusResult", R"({"newFocus":"wouldBeGranted","sessionId":7})"),
             QString("{}"));
    QCOMPARE(life.client->LastFocus(), QString("wouldBeGranted"));
    QCOMPARE(life.client->RequestAudioFocusAsync(), 2u);
    QTRY_COMPARE(life.Events().size(), 3);
    QCOMPARE(life.Call("onRequestAudioFocusResult", R"({"newFocus":"granted","sessionId":7})"),
             QString("{}"));
    QCOMPARE(life.client->AudioActiveAsync(true), 3u);
    QTRY_COMPARE(life.Events().size(), 5);
    QCOMPARE(life.Call("onAudioFocusChange", R"({"newFocus":"temporarilyLost","sessionId":7})"),
             QString("{}"));
    QCOMPARE(life.Call("onAudioFocusChange", R"({"newFocus":"gained","sessionId":7})"), QString("{}"));
    QCOMPARE(life.Call("onAudioFocusChange", R"({"newFocus":"lost","sessionId":7})"), QString("{}"));
    QCOMPARE(life.client->LastFocus(), QString("lost"));
    QCOMPARE(life.client->AudioActiveAsync(false), 4u);
    QTRY_COMPARE(life.Events().size(), 9);
    QCOMPARE(life.client->AbandonAudioFocusAsync("stopped"), 5u);
    QTRY_COMPARE(life.Events().size(), 10);
    life.client->Powerdown();
    QCOMPARE(life.client->SessionId(), 0u);

    const QStringList events{
        "RequestAudioFocusCompleted(1,true)", "ResponseToAudioFocusRequest(wouldBeGranted)",
        "RequestAudioFocusCompleted(2,true)", "ResponseToAudioFocusRequest(granted)",
        "AudioActiveCompleted(3,true)",       "AudioFocusChanged(temporarilyLost)",
        "AudioFocusChanged(gained)",          "AudioFocusChanged(lost)",
        "AudioActiveCompleted(4,true)",       "AbandonAudioFocusCompleted(5,true)"};
    QCOMPARE(life.Events(), events);
    const QStringList requests{
        kOpened,
        kRegistered,
        AppRequestText("requestAudioFocus", R"({"requestType":"query","sessionId":7})"),
        AppRequestText("requestAudioFocus", R"({"requestType":"request","sessionId":7})"),
        AppRequestText("audioActive", R"({"playing":true,"sessionId":7})"),
        AppRequestText("audioActive", R"({"playing":false,"sessionId":7})"),
        AppRequestText("abandonAudioFocus", R"({"reason":"stopped","sessionId":7})"),
        kClosed};
    QCOMPARE(life.Requests(), requests);
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
}

void tst_AppLife::serviceAppearsLate_wholeLife()
{
    Life life(Service::AppearsLater);
    const LogCapture log;

    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(life.client->RegisterAudioStream(), false);
    QCOMPARE(life.Requests(), QStringList());
    life.service->Appear();
    QTRY_COMPARE(life.Events(), QStringList{"InitCompleted(3)"});

    QCOMPARE(life.client->CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered}));
    QCOMPARE(life.client->RequestAudioFocus(true), true);
    QCOMPARE(life.Call("onRequestAudioFocusResult", R"({"newFocus":"failed","sessionId":7})"), QString("{}"));
    life.client->Powerdown();

    QCOMPARE(life.Events(), (QStringList{"InitCompleted(3)", "ResponseToAudioFocusRequest(failed)"}));
    QCOMPARE(life.Requests(),
             (QStringList{kOpened, kRegistered,
                          AppRequestText("requestAudioFocus", R"({"requestType":"request","sessionId":7})"),
                          kClosed}));
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
}

void tst_AppLife::registrationRefused_initialisationFails_data()
{
    QTest::addColumn<bool>("isBusError");
    QTest::addColumn<QStringList>("complaints");

    const QString last =
        Streamed("KivBaseClient::ServiceRequest -- Request error:", QString("registerAudioStream"),
                 kRegistration, "result:");
    QTest::newRow("errCode") << false
                             << QStringList{Streamed("ConcreteServiceProviderProxy::Request -- Error:",
                                                     QString("registerAudioStream"), kRegistration,
                                                     "Result:", QString(R"({"errCode":3})")),
                                            last + ' ' + Streamed(QString(R"({"errCode":3})"))};
    QTest::newRow("bus error") << true
                               << QStringList{R"(ConcreteServiceProviderProxy::Request -- D-Bus error: "no")",
                                              last + ' ' + Streamed(QString(R"({ "errCode" : 0 })"))};
}

void tst_AppLife::registrationRefused_initialisationFails()
{
    QFETCH(bool, isBusError);
    QFETCH(QStringList, complaints);
    Life life;
    if (isBusError) {
        life.service->Fail("registerAudioStream", "com.quorvantel.Error", "no");
    } else {
        life.service->Answer("registerAudioStream", R"({"errCode":3})");
    }
    const LogCapture log;

    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(life.client->CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered}));
    QCOMPARE(life.Events(), QStringList());
    QCOMPARE(log.Texts(QtCriticalMsg), complaints);
    QCOMPARE(log.Texts(QtWarningMsg), QStringList());

    // The session is open all the same.
    life.client->Powerdown();
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered, kClosed}));
}

void tst_AppLife::registrationRefused_late_isAnnounced()
{
    Life life(Service::AppearsLater);
    life.service->Answer("registerAudioStream", R"({"errCode":3})");

    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    life.service->Appear();
    QTRY_COMPARE(life.Events(), QStringList{"InitCompleted(2)"});

    QCOMPARE(life.client->CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered}));
}

void tst_AppLife::sessionRefused_registersNothing()
{
    Life life;
    life.service->Answer("openSession", R"({"sessionId":0})");
    const LogCapture log;

    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_FAILED);
    life.client->Powerdown();

    QCOMPARE(life.Requests(), QStringList{kOpened});
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
}

void tst_AppLife::registrationIsNotPartOfInitialisation_sendsOnlyTheSession()
{
    Life life(Service::IsThere, false);

    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(life.Requests(), QStringList{kOpened});

    QCOMPARE(life.client->RegisterAudioStreamAsync(), 1u);
    QTRY_COMPARE(life.Events(), QStringList{"RegisterAudioStreamCompleted(1,true)"});
    QCOMPARE(life.client->RegisterAudioStream(), true);
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered, kRegistered}));
}

void tst_AppLife::focusRequests_blocking_areSentInOrder()
{
    Life life;
    life.service->Answer("abandonAudioFocus", R"({"errCode":1})");
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    QCOMPARE(life.client->RequestAudioFocus(false), true);
    QCOMPARE(life.client->RequestAudioFocus(true), true);
    QCOMPARE(life.client->AudioActive(true), true);
    QCOMPARE(life.client->AudioActive(false), true);
    QCOMPARE(life.client->AbandonAudioFocus("stopped"), false);

    QCOMPARE(life.Requests(),
             (QStringList{kOpened, kRegistered,
                          AppRequestText("requestAudioFocus", R"({"requestType":"query","sessionId":7})"),
                          AppRequestText("requestAudioFocus", R"({"requestType":"request","sessionId":7})"),
                          AppRequestText("audioActive", R"({"playing":true,"sessionId":7})"),
                          AppRequestText("audioActive", R"({"playing":false,"sessionId":7})"),
                          AppRequestText("abandonAudioFocus", R"({"reason":"stopped","sessionId":7})")}));
    QCOMPARE(life.Events(), QStringList());
}

void tst_AppLife::ownObject_answersWhateverComes_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QStringList>("events");
    QTest::addColumn<QStringList>("complaints");

    QTest::newRow("a change") << "onAudioFocusChange"
                              << R"({"newFocus":"lost","sessionId":7})"
                              << QStringList{"AudioFocusChanged(lost)"} << QStringList();
    QTest::newRow("a result") << "onRequestAudioFocusResult"
                              << R"({"newFocus":"granted","sessionId":7})"
                              << QStringList{"ResponseToAudioFocusRequest(granted)"} << QStringList();
    QTest::newRow("another session") << "onAudioFocusChange"
                                     << R"({"newFocus":"lost","sessionId":8})" << QStringList()
                                     << QStringList{"Kiv service provider session id error!"};
    QTest::newRow("not supported")
        << "onModeChange"
        << R"({"activeMode":"A","sessionId":7})" << QStringList()
        << QStringList{"\"onModeChange\"  is not supported for Application mode in Media Player!"};
    QTest::newRow("garbage") << ""
                             << "no JSON" << QStringList()
                             << QStringList{"Kiv service provider session id error!"};
}

void tst_AppLife::ownObject_answersWhateverComes()
{
    QFETCH(QString, method);
    QFETCH(QString, arguments);
    QFETCH(QStringList, events);
    QFETCH(QStringList, complaints);
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const LogCapture log;

    QCOMPARE(life.Call(method, arguments), QString("{}"));

    QCOMPARE(life.Events(), events);
    QCOMPARE(log.Texts(QtDebugMsg),
             QStringList{Streamed("ServiceProviderClient::Request", kOwnObject, method, arguments)});
    QCOMPARE(log.Texts(QtCriticalMsg), complaints);
    QCOMPARE(log.Texts(QtWarningMsg), QStringList());
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered}));
}

void tst_AppLife::ownObject_isGoneWithTheConnection()
{
    FakeService service;
    service.Answer("openSession", R"({"sessionId":7})");
    service.Appear();
    QDBusConnection bus = QDBusConnection::systemBus();
    const ServiceRegistrator registrator(bus, kClientName);
    ServiceProviderProxyAppFactory factory;
    auto connection = std::make_unique<AdaptorConnection>(bus);
    OpenedApp client(registrator, kClientPath, "Player", *connection, QString(), true, QString(), factory,
                     false);
    QCOMPARE(client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const QString arguments = R"({"newFocus":"lost","sessionId":7})";
    const auto call = [&] {
        return service.CallClient(kClientName, kOwnObject, "onAudioFocusChange", arguments).errorName();
    };
    QCOMPARE(call(), QString());

    connection.reset();

    QCOMPARE(call(), QString("org.freedesktop.DBus.Error.UnknownObject"));
    QCOMPARE(client.LastFocus(), QString("lost"));
    client.Powerdown();
}

void tst_AppLife::broadcastOfTheApplicationObject_isReported()
{
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const LogCapture log;

    life.service->Notify(kAppPath, "audioFocusChangeEvent", kFocusEvent);
    QTRY_VERIFY(!log.Complaints().isEmpty());
    // What the service sends later comes later: there is nothing more to come.
    QCOMPARE(life.Call("ping", R"({"sessionId":7})"), QString("{}"));

    const QVector<LogRecord> expected{
        Debug(Streamed("KivBaseClient::Notification", QString("audioFocusChangeEvent"), kFocusEvent)),
        NotifyComplaint(),
        Debug(Streamed("ServiceProviderClient::Request", kOwnObject, QString("ping"),
                       QString(R"({"sessionId":7})"))),
        Critical("\"ping\"  is not supported for Application mode in Media Player!")};
    QCOMPARE(log.Records(), expected);
    QCOMPARE(life.Events(), QStringList());
    QCOMPARE(life.client->LastFocus(), QString());
}

void tst_AppLife::broadcastOfTheHmiObject_isNotHeard()
{
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const LogCapture log;

    life.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent);
    QCOMPARE(life.Call("onAudioFocusChange", R"({"newFocus":"gained","sessionId":7})"), QString("{}"));

    QCOMPARE(log.Records(), QVector<LogRecord>{Debug(Streamed(
                                "ServiceProviderClient::Request", kOwnObject, QString("onAudioFocusChange"),
                                QString(R"({"newFocus":"gained","sessionId":7})")))});
    QCOMPARE(life.Events(), QStringList{"AudioFocusChanged(gained)"});
}

void tst_AppLife::broadcastAfterPowerdown_isNotHeard()
{
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    life.client->Powerdown();
    const LogCapture log;

    life.service->Notify(kAppPath, "audioFocusChangeEvent", kFocusEvent);
    // The object stays exported, and without a session a call without an identifier is accepted.
    QCOMPARE(life.Call("onAudioFocusChange", R"({"newFocus":"gained"})"), QString("{}"));

    QCOMPARE(log.Complaints(), QVector<LogRecord>());
    QCOMPARE(life.Events(), QStringList{"AudioFocusChanged(gained)"});
}

void tst_AppLife::hmiAndApplication_shareOneBusName()
{
    Life life;
    auto hmiRegistrator = std::make_unique<ServiceRegistrator>(life.bus, kClientName);
    AdaptorConnection hmiConnection(life.bus);
    ServiceProviderProxyHmiFactory hmiFactory;
    OpenedHmi hmi(*hmiRegistrator, "/hmi", hmiConnection, QString(), hmiFactory, false);
    QSignalSpy modeChanged(&hmi, &AudioManagerHmi::SignalModeChanged);
    QSignalSpy focusChange(&hmi, &AudioManagerHmi::SignalAudioFocusChange);
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    life.service->Answer("openSession", R"({"sessionId":8})");
    QCOMPARE(hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const LogCapture log;

    QCOMPARE(life.service
                 ->CallClient(kClientName, "/hmi/ServiceProviderClient", "onModeChange",
                              R"({"activeMode":"A","sessionId":8})")
                 .arguments(),
             QVariantList{"{}"});
    QCOMPARE(life.Call("onAudioFocusChange", R"({"newFocus":"lost","sessionId":7})"), QString("{}"));
    life.service->Notify(kHmiPath, "audioFocusChangeEvent", kFocusEvent);
    QTRY_COMPARE(focusChange.size(), 1);
    QCOMPARE(modeChanged.size(), 1);
    QCOMPARE(modeChanged.first(), QVariantList{"A"});
    QCOMPARE(life.Events(), QStringList{"AudioFocusChanged(lost)"});
    QCOMPARE(log.Complaints(), QVector<LogRecord>());

    // Each closes its own session; the name stays until its last user goes.
    hmi.Powerdown();
    hmiRegistrator.reset();
    QVERIFY(life.bus.interface()->isServiceRegistered(kClientName));
    QCOMPARE(life.Call("onAudioFocusChange", R"({"newFocus":"gained","sessionId":7})"), QString("{}"));
    QCOMPARE(life.Requests(),
             (QStringList{kOpened, kRegistered,
                          kHmiPath + R"( openSession {"busName":"com.quorvantel.audioclient.test",)"
                                     R"("objectPath":"/hmi/ServiceProviderClient"})",
                          kHmiPath + R"( closeSession {"sessionId":8})"}));
}

void tst_AppLife::serviceLeaves_requestsInFlight_completeOnceWithFalse()
{
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QStringList completions;
    for (const AppRequest& request : AppRequests()) {
        life.service->Hold(request.method);
        completions.append(request.Completed(request.async(*life.client), false));
    }
    QVERIFY(life.service->WaitForCalls("abandonAudioFocus", 1));
    const LogCapture log;

    life.service = std::make_unique<FakeService>(); // the first one's connection breaks

    // The bus names its unanswered calls in no particular order.
    QTRY_COMPARE(life.Events().size(), completions.size());
    QStringList sortedEvents = life.Events();
    sortedEvents.sort();
    completions.sort();
    QCOMPARE(sortedEvents, completions);
    QCOMPARE(
        log.Complaints(),
        QVector<LogRecord>(
            6,
            Critical(
                R"(KivBaseClient::HandleReply -- Received error: QDBusError("org.freedesktop.DBus.Error.NoReply", "Message recipient disconnected from message bus without replying"))")));
    QCOMPARE(life.client->CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(life.client->SessionId(), 7u);

    // Without a service nothing is accepted, and nothing completes a second time.
    QCOMPARE(life.client->AudioActive(true), false);
    QCOMPARE(life.Requests(), QStringList());
    QCOMPARE(life.Events().size(), completions.size());
}

void tst_AppLife::serviceLeaves_andComesBack_isNotGreetedAgain()
{
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const LogCapture log;

    life.service->Leave();
    QTRY_COMPARE(log.Count(Debug("KivBaseClient::OnOwnerChanged -- KIv service removed from DBus")), 1);
    life.service->Appear();
    QTRY_COMPARE(log.Count(Debug("KivBaseClient::OnOwnerChanged -- KIv service registered with DBus")), 1);

    QCOMPARE(life.client->AudioActive(true), true);
    QCOMPARE(life.Requests(),
             (QStringList{kOpened, kRegistered,
                          AppRequestText("audioActive", R"({"playing":true,"sessionId":7})")}));
    QCOMPARE(life.Events(), QStringList());
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
}

void tst_AppLife::destroyedWithoutPowerdown_sendsNothing()
{
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const LogCapture log;

    delete life.client;

    QCOMPARE(life.Call("onAudioFocusChange", R"({"newFocus":"lost","sessionId":7})"),
             QString("org.freedesktop.DBus.Error.UnknownObject"));
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered}));
    QCOMPARE(life.Events(), QStringList());
    QCOMPARE(log.Records(),
             QVector<LogRecord>{Debug("KivBaseClient::Powerdown was not called before destructor!")});
}

void tst_AppLife::destroyedWithRequestsInFlight_completesNothing()
{
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    life.service->Hold("audioActive");
    QCOMPARE(life.client->AudioActiveAsync(true), 1u);
    QVERIFY(life.service->WaitForCalls("audioActive", 1));
    life.client->Powerdown();
    const LogCapture log;

    delete life.client;
    life.service->Release("audioActive");
    QCOMPARE(life.Call("ping", "{}"), QString("org.freedesktop.DBus.Error.UnknownObject"));

    QCOMPARE(life.Events(), QStringList());
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_AppLife::powerdown_requestsInFlight_stillComplete()
{
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    life.service->Hold("audioActive");
    QCOMPARE(life.client->AudioActiveAsync(true), 1u);

    life.client->Powerdown();
    life.service->Release("audioActive");

    QTRY_COMPARE(life.Events(), QStringList{"AudioActiveCompleted(1,true)"});
    QCOMPARE(life.Requests().last(), kClosed);
}

void tst_AppLife::slotDeletesTheClient_serviceIsAnswered_data()
{
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("newFocus");

    QTest::newRow("change") << "onAudioFocusChange"
                            << "lost";
    QTest::newRow("result") << "onRequestAudioFocusResult"
                            << "failed";
}

void tst_AppLife::slotDeletesTheClient_serviceIsAnswered()
{
    QFETCH(QString, method);
    QFETCH(QString, newFocus);
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QStringList read;
    const auto deleteAndRead = [&](const QString& text) {
        delete life.client;
        read.append(text);
    };
    connect(life.client.data(), &AudioManagerApp::SignalAudioFocusChanged, deleteAndRead);
    connect(life.client.data(), &AudioManagerApp::SignalResponseToAudioFocusRequest, deleteAndRead);
    const LogCapture log;

    QCOMPARE(life.Call(method, QString(R"({"newFocus":"%1","sessionId":7})").arg(newFocus)), QString("{}"));

    QCOMPARE(read, QStringList{newFocus});
    QVERIFY(life.client.isNull());
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered}));
    QCOMPARE(life.Call(method, "{}"), QString("org.freedesktop.DBus.Error.UnknownObject"));
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
}

void tst_AppLife::slotPowersTheClientDown_serviceIsAnswered_data()
{
    slotDeletesTheClient_serviceIsAnswered_data();
}

void tst_AppLife::slotPowersTheClientDown_serviceIsAnswered()
{
    QFETCH(QString, method);
    QFETCH(QString, newFocus);
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QStringList read;
    const auto powerdownAndRead = [&](const QString& text) {
        life.client->Powerdown();
        read.append(text);
    };
    connect(life.client.data(), &AudioManagerApp::SignalAudioFocusChanged, powerdownAndRead);
    connect(life.client.data(), &AudioManagerApp::SignalResponseToAudioFocusRequest, powerdownAndRead);
    const LogCapture log;

    QCOMPARE(life.Call(method, QString(R"({"newFocus":"%1","sessionId":7})").arg(newFocus)), QString("{}"));

    QCOMPARE(read, QStringList{newFocus});
    QCOMPARE(life.client->LastFocus(), newFocus);
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered, kClosed}));
    QCOMPARE(log.Complaints(), QVector<LogRecord>());
}

void tst_AppLife::completionSlot_deletesTheClient_data()
{
    QTest::addColumn<AppRequest>("request");
    for (const AppRequest& request : AppRequests()) {
        QTest::newRow(request.tag) << request;
    }
}

void tst_AppLife::completionSlot_deletesTheClient()
{
    QFETCH(AppRequest, request);
    Life life;
    QCOMPARE(life.client->Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const QString arguments = QString(request.arguments);
    QStringList read;
    const auto deleteAndRead = [&](quint32 requestId, bool result) {
        delete life.client;
        read.append(request.Completed(requestId, result));
    };
    connect(life.client.data(), &AudioManagerApp::SignalRegisterAudioStreamCompleted, deleteAndRead);
    connect(life.client.data(), &AudioManagerApp::SignalRequestAudioFocusCompleted, deleteAndRead);
    connect(life.client.data(), &AudioManagerApp::SignalAudioActiveCompleted, deleteAndRead);
    connect(life.client.data(), &AudioManagerApp::SignalAbandonAudioFocusCompleted, deleteAndRead);

    QCOMPARE(request.async(*life.client), 1u);

    QTRY_COMPARE(read, QStringList{request.Completed(1, true)});
    QVERIFY(life.client.isNull());
    QCOMPARE(life.Requests(), (QStringList{kOpened, kRegistered, AppRequestText(request.method, arguments)}));
}

KIV_BUS_TEST_MAIN(tst_AppLife)
#include "tst_AppLife.moc"
