// SPDX-License-Identifier: MIT
#include "BusSurroundings.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "OpenedBaseClient.h"
#include "TestMain.h"

#include <QPointer>
#include <QSignalSpy>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

const QString kObjectPath = kClientPath + "/ServiceProviderClient";
const QString kOpenArguments =
    R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})";
const QString kOpenAnswer = R"({"sessionId":7})";

const LogRecord kInitialize = Debug("KivBaseClient::Initialize");
const LogRecord kFailed = Debug("ServiceProviderClient::HandleInitializeProxy -- FAILED");
const LogRecord kRealProblem = Critical(
    "InitializePrivate() should never return INIT_STATE_WAITING_FOR_KIV orINIT_STATE_NOT_CALLED when called "
    "from KivBaseClient::OnOwnerChanged(). This means there was a real problem!");
const LogRecord kRemoved = Debug("KivBaseClient::OnOwnerChanged -- KIv service removed from DBus");
const LogRecord kRegistered = Debug("KivBaseClient::OnOwnerChanged -- KIv service registered with DBus");
const LogRecord kCreatingProxy = Debug("KivBaseClient::InitializePrivate -- Creating proxy");
const LogRecord kConnecting =
    Debug("KivBaseClient::InitializePrivate -- Connecting to ConcreteServiceProviderProxy::Notify");
const LogRecord kTestWarning = Warning("KivBaseClient::InitializePrivate -- Appears to be running a test... "
                                       "not connecting to ConcreteServiceProviderProxy::Notify");

LogRecord OwnerChanged(const QString& oldOwner, const QString& newOwner)
{
    return Debug(QStringLiteral("KivBaseClient::OnOwnerChanged -- Service Name: \"%1\" OldOwner: \"%2\" "
                                "NewOwner: \"%3\"")
                     .arg(kServiceName, oldOwner, newOwner));
}

LogRecord SignalingCompleted(const QString& stateName)
{
    return Debug(
        QStringLiteral("KivBaseClient::OnOwnerChanged -- Signaling init completed with state = \"%1\"")
            .arg(stateName));
}

/** A try that finds no service. */
QVector<LogRecord> FruitlessTry()
{
    return Debugs(
        {"KivBaseClient::InitializePrivate",
         R"(KivBaseClient::IsKivServiceRunning "com.quorvantel.service.AudioManagement")",
         "KivBaseClient::IsKivServiceRunning - got DbusInterface",
         "KivBaseClient::IsKivServiceRunning - back from registration query -- false",
         "KivBaseClient::InitializePrivate -- KIv not running, will try later when it appears on DBus"});
}

/** A try that finds the service, up to the question whether there is a proxy. */
QVector<LogRecord> PromisingTry()
{
    return Debugs({"KivBaseClient::InitializePrivate",
                   R"(KivBaseClient::IsKivServiceRunning "com.quorvantel.service.AudioManagement")",
                   "KivBaseClient::IsKivServiceRunning - got DbusInterface",
                   "KivBaseClient::IsKivServiceRunning - back from registration query -- true",
                   "KivBaseClient::InitializePrivate - test for existing proxy"});
}

/** What a session client writes from the new proxy to the export. */
QVector<LogRecord> Export()
{
    return {kCreatingProxy, kConnecting, Debug("ServiceProviderClient::HandleInitializeProxy"),
            Debug("ServiceProviderClient::HandleInitializeProxy -- Creating ServiceProviderAdaptor"),
            Debug(QStringLiteral("AdaptorConnection::RegisterObject -- busname = \"%1\" objpath = \"%2\"")
                      .arg(kClientName, kObjectPath))};
}

/** What a session client writes while it opens its session, up to the end. */
QVector<LogRecord> OpenedSession()
{
    return {RequestBegins("openSession", kOpenArguments),
            ProxyAnswered("openSession", kOpenAnswer),
            RequestSucceeds("openSession"),
            Debug(R"(QMap(("sessionId", QVariant(int, 7))))"),
            Debug("SessionID = 7"),
            Debug("ServiceProviderClient::HandleInitializeProxy -- SUCCESS")};
}

/** The real factory, unless it has run out of proxies. */
class MoodyFactory : public ServiceProviderProxyHmiFactory
{
public:
    IServiceProviderProxy* CreateProxy(QObject* parent) override
    {
        m_Parents.append(parent);
        return m_IsEmpty ? nullptr : ServiceProviderProxyHmiFactory::CreateProxy(parent);
    }

    QVector<QObject*> m_Parents;
    bool m_IsEmpty = false;
};

/** A session client on the bus, with a service that opens sessions once it appears. */
struct SessionFixture
{
    SessionFixture()
    {
        on.service->Answer("openSession", kOpenAnswer);
        log.Clear();
    }

    ~SessionFixture() { client.Powerdown(); }

    LogCapture log;
    BusSurroundings on;
    MoodyFactory factory;
    OpenedSessionClient client{on.registrator, kServiceName, kClientPath, on.connection, QString(), factory};
    QSignalSpy initCompleted{&client, &KivBaseClient::SignalInitCompleted};
};

/** A base client on the bus. */
struct BaseFixture
{
    BaseFixture() { log.Clear(); }
    ~BaseFixture() { client.Powerdown(); }

    QString Owner() const { return on.service->UniqueName(); }

    LogCapture log;
    BusSurroundings on;
    MoodyFactory factory;
    OpenedBaseClient client{kServiceName, factory};
    QSignalSpy initCompleted{&client, &KivBaseClient::SignalInitCompleted};
};

QVector<int> StatesOf(const QSignalSpy& spy)
{
    QVector<int> states;
    for (const QVariantList& emission : spy) {
        states.append(emission.first().value<KivBaseClient::InitState>());
    }
    return states;
}

} // namespace

class tst_Initialisation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isKivServiceRunning_followsTheService();

    void servicePresent_initialisesAtOnce();
    void serviceAbsent_waits();
    void serviceAppearsLate_initCompletesOnce();
    void serviceAppearsLate_hmiInitCompletesOnce();
    void serviceNeverAppears_nothingHappens();
    void otherServiceAppears_nothingHappens();
    void notInitialized_serviceAppears_nothingHappens();
    void initializeTwice_warnsAndSendsNothing();
    void initializeTwiceWhileWaiting_initCompletesOnce();
    void poweredDownWhileWaiting_keepsWaiting();
    void destroyedWhileWaiting_isNotBotheredByTheService();

    void noProxy_staysNotCalled();
    void noProxyAtFirst_secondInitializeWorksAndConnectsNothingTwice();
    void noProxyAtFirst_secondInitializeWaits_initCompletesOnce();
    void noProxyWhenTheServiceAppears_keepsWaiting();
    void noProxyWhenTheServiceAppears_nextAppearanceInitialises();

    void serviceFlickers_keepsWaitingUntilItStays();
    void ownerReportedButAbsent_isARealProblem();

    void serviceComesBack_changesNothing();
    void ownerChangesHands_changesNothing();
    void ownerChangesHandsWhileWaiting_initialisesOnce();

    void derivedResult_early_isTheState_data();
    void derivedResult_early_isTheState();
    void derivedResult_late_isTheStateAndSignalled_data();
    void derivedResult_late_isTheStateAndSignalled();
    void derivedResultWaiting_serviceComesBack_usesTheSameProxy();

    void fakeProxy_isWarnedAboutAndGetsNoNotifications();
    void realProxy_getsNotifications();

    void sessionRefused_fails_data();
    void sessionRefused_fails();
    void sessionRefusedLate_signalsFailureAndIsNotTriedAgain();
    void busError_fails();
    void ownWorkFails_failsWithTheSessionOpen();
    void pathTaken_failsWithoutASession();

    void initCompleted_overAQueuedConnection();
    void initCompleted_deleteLaterInside();
};

void tst_Initialisation::isKivServiceRunning_followsTheService()
{
    BaseFixture fixture;
    const QStringList asked{R"(KivBaseClient::IsKivServiceRunning "com.quorvantel.service.AudioManagement")",
                            "KivBaseClient::IsKivServiceRunning - got DbusInterface"};
    const QString answered = "KivBaseClient::IsKivServiceRunning - back from registration query -- ";

    QCOMPARE(fixture.client.IsKivServiceRunning(), false);
    QCOMPARE(fixture.log.Records(), Debugs(asked + QStringList{answered + "false"}));

    fixture.on.service->Appear();
    fixture.log.Clear();
    QCOMPARE(fixture.client.IsKivServiceRunning(), true);
    QCOMPARE(fixture.log.Records(), Debugs(asked + QStringList{answered + "true"}));

    fixture.on.service->Leave();
    QCOMPARE(fixture.client.IsKivServiceRunning(), false);
}

void tst_Initialisation::servicePresent_initialisesAtOnce()
{
    SessionFixture fixture;
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{kInitialize} + PromisingTry() + Export() + OpenedSession()));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.client.m_InitializeCount, 1);
    QCOMPARE(fixture.factory.m_Parents, QVector<QObject*>{&fixture.client});
    const QVector<ServiceCall> calls = fixture.on.service->Calls();
    QCOMPARE(calls.size(), 1);
    QCOMPARE(calls[0].path, kHmiPath);
    QCOMPARE(calls[0].methodName, "openSession");
    QCOMPARE(calls[0].arguments, kOpenArguments);
    QCOMPARE(calls[0].sender, fixture.on.bus.baseService());
    fixture.on.Settle();
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_Initialisation::serviceAbsent_waits()
{
    SessionFixture fixture;

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);

    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{kInitialize} + FruitlessTry()));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.client.m_ServiceProxy, nullptr);
    QVERIFY(fixture.factory.m_Parents.isEmpty());
}

void tst_Initialisation::serviceAppearsLate_initCompletesOnce()
{
    SessionFixture fixture;
    fixture.client.Initialize();
    fixture.log.Clear();

    fixture.on.service->Appear();
    QVERIFY(fixture.initCompleted.wait());
    fixture.on.Settle();

    QCOMPARE(StatesOf(fixture.initCompleted), QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{OwnerChanged("", fixture.on.service->UniqueName()), kRegistered} +
              PromisingTry() + Export() + OpenedSession() +
              QVector<LogRecord>{SignalingCompleted("INIT_STATE_SUCCESS")}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.on.service->ArgumentsOf("openSession"), QStringList{kOpenArguments});
    QCOMPARE(fixture.on.service->Calls().size(), 1);
}

void tst_Initialisation::serviceAppearsLate_hmiInitCompletesOnce()
{
    LogCapture log;
    BusSurroundings on;
    on.service->Answer("openSession", kOpenAnswer);
    OpenedHmi hmi(on.registrator, kClientPath, on.connection, QString(), on.factory, false);
    QSignalSpy completed(&hmi, &KivBaseClient::SignalInitCompleted);

    QCOMPARE(hmi.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    on.service->Appear();
    QVERIFY(completed.wait());

    QCOMPARE(StatesOf(completed), QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
    QCOMPARE(hmi.SessionId(), 7u);
    QCOMPARE(on.service->ArgumentsOf("openSession"), QStringList{kOpenArguments});
    hmi.Powerdown();
}

void tst_Initialisation::serviceNeverAppears_nothingHappens()
{
    SessionFixture fixture;
    fixture.client.Initialize();
    fixture.log.Clear();

    fixture.on.Settle();

    QVERIFY(fixture.log.Records().isEmpty());
    QCOMPARE(fixture.initCompleted.size(), 0);
    fixture.client.Powerdown();
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QVERIFY(fixture.on.service->Calls().isEmpty());
}

void tst_Initialisation::otherServiceAppears_nothingHappens()
{
    SessionFixture fixture;
    fixture.client.Initialize();
    fixture.log.Clear();

    QVERIFY(fixture.on.bus.registerService("com.quorvantel.service.AudioManagement2"));
    fixture.on.Settle();
    QVERIFY(fixture.on.bus.unregisterService("com.quorvantel.service.AudioManagement2"));
    fixture.on.Settle();

    QVERIFY(fixture.log.Records().isEmpty());
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
}

void tst_Initialisation::notInitialized_serviceAppears_nothingHappens()
{
    SessionFixture fixture;

    fixture.on.service->Appear();
    fixture.on.Settle();

    QVERIFY(fixture.log.Records().isEmpty());
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_NOT_CALLED);
    QCOMPARE(fixture.initCompleted.size(), 0);
    QVERIFY(fixture.on.service->Calls().isEmpty());
}

void tst_Initialisation::initializeTwice_warnsAndSendsNothing()
{
    SessionFixture fixture;
    fixture.on.service->Appear();
    fixture.on.Settle();
    fixture.client.Initialize();
    fixture.log.Clear();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{kInitialize,
                                 Warning("KivBaseClient::Initialize() is being called more than once!")}));
    QCOMPARE(fixture.on.service->Calls().size(), 1);
    QCOMPARE(fixture.factory.m_Parents.size(), 1);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_Initialisation::initializeTwiceWhileWaiting_initCompletesOnce()
{
    BaseFixture fixture;
    fixture.client.Initialize();
    fixture.client.Initialize();
    fixture.log.Clear();

    fixture.on.service->Appear();
    QVERIFY(fixture.initCompleted.wait());
    fixture.on.Settle();

    QCOMPARE(StatesOf(fixture.initCompleted), QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
    QCOMPARE(fixture.client.m_InitializeCount, 1);
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{OwnerChanged("", fixture.Owner()), kRegistered} + PromisingTry() +
              QVector<LogRecord>{kCreatingProxy, kConnecting, SignalingCompleted("INIT_STATE_SUCCESS")}));
}

void tst_Initialisation::poweredDownWhileWaiting_keepsWaiting()
{
    BaseFixture fixture;
    fixture.client.Initialize();

    fixture.client.Powerdown();
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    fixture.on.service->Appear();

    QVERIFY(fixture.initCompleted.wait());
    QCOMPARE(StatesOf(fixture.initCompleted), QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
}

void tst_Initialisation::destroyedWhileWaiting_isNotBotheredByTheService()
{
    LogCapture log;
    BusSurroundings on;
    auto client = std::make_unique<OpenedBaseClient>(kServiceName, on.factory);
    client->Initialize();
    log.Clear();

    on.service->Appear();
    client.reset();
    on.Settle();

    QVERIFY(log.Records().isEmpty());
}

void tst_Initialisation::noProxy_staysNotCalled()
{
    BaseFixture fixture;
    fixture.factory.m_IsEmpty = true;
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_NOT_CALLED);

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{kInitialize} + PromisingTry() + QVector<LogRecord>{kCreatingProxy}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_NOT_CALLED);
    QCOMPARE(fixture.client.m_ServiceProxy, nullptr);
    QCOMPARE(fixture.client.m_InitializeCount, 0);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_Initialisation::noProxyAtFirst_secondInitializeWorksAndConnectsNothingTwice()
{
    BaseFixture fixture;
    fixture.factory.m_IsEmpty = true;
    fixture.on.service->Appear();
    fixture.on.Settle();
    fixture.client.Initialize();
    fixture.factory.m_IsEmpty = false;
    fixture.log.Clear();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{kInitialize} + PromisingTry() +
                                     QVector<LogRecord>{kCreatingProxy, kConnecting}));
    QCOMPARE(fixture.client.m_InitializeCount, 1);

    fixture.on.service->Notify(kHmiPath, "event", "{}");
    fixture.on.Settle();
    QCOMPARE(fixture.client.m_Notifications, QStringList{"event {}"});

    fixture.log.Clear();
    fixture.on.service->Leave();
    fixture.on.Settle();
    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{OwnerChanged(fixture.Owner(), ""), kRemoved}));
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_Initialisation::noProxyAtFirst_secondInitializeWaits_initCompletesOnce()
{
    BaseFixture fixture;
    fixture.factory.m_IsEmpty = true;
    fixture.on.service->Appear();
    fixture.on.Settle();
    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_NOT_CALLED);
    fixture.on.service->Leave();
    fixture.on.Settle();
    fixture.factory.m_IsEmpty = false;

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    fixture.log.Clear();
    fixture.on.service->Appear();
    QVERIFY(fixture.initCompleted.wait());
    fixture.on.service->Notify(kHmiPath, "event", "{}");
    fixture.on.Settle();

    QCOMPARE(StatesOf(fixture.initCompleted), QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
    QCOMPARE(fixture.client.m_InitializeCount, 1);
    QCOMPARE(fixture.client.m_Notifications, QStringList{"event {}"});
    QCOMPARE(fixture.log.Count(kRegistered), 1);
}

void tst_Initialisation::noProxyWhenTheServiceAppears_keepsWaiting()
{
    BaseFixture fixture;
    fixture.factory.m_IsEmpty = true;
    fixture.client.Initialize();
    fixture.log.Clear();

    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{OwnerChanged("", fixture.Owner()), kRegistered} +
                                     PromisingTry() + QVector<LogRecord>{kCreatingProxy, kRealProblem}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.client.m_InitializeCount, 0);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_Initialisation::noProxyWhenTheServiceAppears_nextAppearanceInitialises()
{
    BaseFixture fixture;
    fixture.factory.m_IsEmpty = true;
    fixture.client.Initialize();
    fixture.on.service->Appear();
    fixture.on.Settle();
    fixture.on.service->Leave();
    fixture.on.Settle();
    fixture.factory.m_IsEmpty = false;

    fixture.on.service->Appear();
    QVERIFY(fixture.initCompleted.wait());

    QCOMPARE(StatesOf(fixture.initCompleted), QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
    QCOMPARE(fixture.factory.m_Parents.size(), 2);
}

void tst_Initialisation::serviceFlickers_keepsWaitingUntilItStays()
{
    BaseFixture fixture;
    fixture.client.Initialize();
    fixture.log.Clear();

    // No event is handled in between: the first report is read when the service is gone again.
    fixture.on.service->Appear();
    fixture.on.service->Leave();
    fixture.on.Settle();

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{OwnerChanged("", fixture.Owner()), kRegistered} + FruitlessTry() +
              QVector<LogRecord>{kRealProblem, OwnerChanged(fixture.Owner(), ""), kRemoved}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QVERIFY(fixture.factory.m_Parents.isEmpty());
    QCOMPARE(fixture.initCompleted.size(), 0);

    fixture.on.service->Appear();
    QVERIFY(fixture.initCompleted.wait());
    QCOMPARE(StatesOf(fixture.initCompleted), QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
}

void tst_Initialisation::ownerReportedButAbsent_isARealProblem()
{
    SessionFixture fixture;
    fixture.client.Initialize();
    fixture.log.Clear();

    fixture.client.OnOwnerChanged(kServiceName, QString(), ":1.999");

    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{OwnerChanged("", ":1.999"), kRegistered} +
                                     FruitlessTry() + QVector<LogRecord>{kRealProblem}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_Initialisation::serviceComesBack_changesNothing()
{
    SessionFixture fixture;
    const QString owner = fixture.on.service->UniqueName();
    fixture.on.service->Appear();
    fixture.on.Settle();
    fixture.client.Initialize();
    const IServiceProviderProxy* proxy = fixture.client.m_ServiceProxy;
    fixture.log.Clear();

    fixture.on.service->Leave();
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{OwnerChanged(owner, ""), kRemoved, OwnerChanged("", owner), kRegistered}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(fixture.client.m_ServiceProxy, proxy);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.factory.m_Parents.size(), 1);
    QCOMPARE(fixture.on.service->Calls().size(), 1);
    QCOMPARE(fixture.initCompleted.size(), 0);

    QString result;
    QCOMPARE(fixture.client.ServiceRequest("next", R"({"n":1})", result), true);
    QCOMPARE(fixture.on.service->ArgumentsOf("next"), QStringList{R"({"n":1})"});
    fixture.on.service->Notify(kHmiPath, "event", "{}");
    fixture.on.Settle();
    QCOMPARE(fixture.client.m_Notifications, QStringList{"event {}"});
}

void tst_Initialisation::ownerChangesHands_changesNothing()
{
    SessionFixture fixture;
    FakeService successor;
    fixture.on.service->AppearReplaceable();
    fixture.on.Settle();
    fixture.client.Initialize();
    fixture.log.Clear();

    successor.TakeOver();
    fixture.on.Settle();

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{OwnerChanged(fixture.on.service->UniqueName(), successor.UniqueName()),
                                 kRegistered}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(fixture.initCompleted.size(), 0);

    QString result;
    QCOMPARE(fixture.client.ServiceRequest("next", "{}", result), true);
    QCOMPARE(successor.ArgumentsOf("next"), QStringList{"{}"});
    QVERIFY(fixture.on.service->ArgumentsOf("next").isEmpty());
    fixture.client.Powerdown();
}

void tst_Initialisation::ownerChangesHandsWhileWaiting_initialisesOnce()
{
    BaseFixture fixture;
    FakeService successor;
    fixture.client.Initialize();
    fixture.log.Clear();

    fixture.on.service->AppearReplaceable();
    successor.TakeOver();
    fixture.on.Settle();

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{OwnerChanged("", fixture.Owner()), kRegistered} + PromisingTry() +
              QVector<LogRecord>{kCreatingProxy, kConnecting, SignalingCompleted("INIT_STATE_SUCCESS"),
                                 OwnerChanged(fixture.Owner(), successor.UniqueName()), kRegistered}));
    QCOMPARE(StatesOf(fixture.initCompleted), QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
}

void tst_Initialisation::derivedResult_early_isTheState_data()
{
    QTest::addColumn<KivBaseClient::InitState>("state");
    QTest::addColumn<QString>("name");
    QTest::newRow("not called") << KivBaseClient::INIT_STATE_NOT_CALLED << QString();
    QTest::newRow("waiting") << KivBaseClient::INIT_STATE_WAITING_FOR_KIV << QString();
    QTest::newRow("failed") << KivBaseClient::INIT_STATE_FAILED << "INIT_STATE_FAILED";
    QTest::newRow("success") << KivBaseClient::INIT_STATE_SUCCESS << "INIT_STATE_SUCCESS";
    QTest::newRow("max") << KivBaseClient::INIT_STATE_MAX << "INIT_STATE_MAX";
}

void tst_Initialisation::derivedResult_early_isTheState()
{
    QFETCH(KivBaseClient::InitState, state);
    BaseFixture fixture;
    fixture.client.m_InitializeResult = state;
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.client.Initialize(), state);

    QCOMPARE(fixture.client.CurrentInitState(), state);
    QCOMPARE(fixture.client.m_InitializeCount, 1);
    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{kInitialize} + PromisingTry() +
                                     QVector<LogRecord>{kCreatingProxy, kConnecting}));
    fixture.on.Settle();
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_Initialisation::derivedResult_late_isTheStateAndSignalled_data()
{
    derivedResult_early_isTheState_data();
}

void tst_Initialisation::derivedResult_late_isTheStateAndSignalled()
{
    QFETCH(KivBaseClient::InitState, state);
    QFETCH(QString, name);
    BaseFixture fixture;
    fixture.client.m_InitializeResult = state;
    fixture.client.Initialize();
    fixture.log.Clear();

    fixture.on.service->Appear();
    fixture.on.Settle();

    const LogRecord last = name.isEmpty() ? kRealProblem : SignalingCompleted(name);
    QCOMPARE(fixture.log.Records(), (QVector<LogRecord>{OwnerChanged("", fixture.Owner()), kRegistered} +
                                     PromisingTry() + QVector<LogRecord>{kCreatingProxy, kConnecting, last}));
    QCOMPARE(StatesOf(fixture.initCompleted), name.isEmpty() ? QVector<int>() : QVector<int>{state});
    QCOMPARE(fixture.client.CurrentInitState(), state);
    QCOMPARE(fixture.client.m_InitializeCount, 1);
}

void tst_Initialisation::derivedResultWaiting_serviceComesBack_usesTheSameProxy()
{
    BaseFixture fixture;
    fixture.client.m_InitializeResult = KivBaseClient::INIT_STATE_WAITING_FOR_KIV;
    fixture.client.Initialize();
    fixture.on.service->Appear();
    fixture.on.Settle();
    fixture.on.service->Leave();
    fixture.on.Settle();
    const IServiceProviderProxy* proxy = fixture.client.m_ServiceProxy;
    fixture.client.m_InitializeResult = KivBaseClient::INIT_STATE_SUCCESS;
    fixture.log.Clear();

    fixture.on.service->Appear();
    QVERIFY(fixture.initCompleted.wait());
    fixture.on.service->Notify(kHmiPath, "event", "{}");
    fixture.on.Settle();

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{OwnerChanged("", fixture.Owner()), kRegistered} + PromisingTry() +
              QVector<LogRecord>{kConnecting, SignalingCompleted("INIT_STATE_SUCCESS"),
                                 Debug(R"(KivBaseClient::Notification "event" "{}")")}));
    QCOMPARE(fixture.client.m_ServiceProxy, proxy);
    QCOMPARE(fixture.factory.m_Parents.size(), 1);
    QCOMPARE(fixture.client.m_Notifications, QStringList{"event {}"});
}

void tst_Initialisation::fakeProxy_isWarnedAboutAndGetsNoNotifications()
{
    LogCapture log;
    BusSurroundings on;
    FakeServiceProviderProxyFactory factory;
    OpenedBaseClient client(kServiceName, factory);
    on.service->Appear();
    on.Settle();
    log.Clear();

    QCOMPARE(client.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    on.service->Notify(kHmiPath, "event", "{}");
    on.service->Notify(kAppPath, "event", "{}");
    on.Settle();

    QCOMPARE(log.Records(), (QVector<LogRecord>{kInitialize} + PromisingTry() +
                             QVector<LogRecord>{kCreatingProxy, kTestWarning}));
    QVERIFY(client.m_Notifications.isEmpty());
    client.Powerdown();
}

void tst_Initialisation::realProxy_getsNotifications()
{
    BaseFixture fixture;
    fixture.on.service->Appear();
    fixture.on.Settle();
    fixture.client.Initialize();
    fixture.log.Clear();

    fixture.on.service->Notify(kHmiPath, "first", R"({"a":1})");
    fixture.on.service->Notify(kAppPath, "of another object", "{}");
    fixture.on.service->Notify(kHmiPath, "second", "nonsense");
    fixture.on.Settle();

    QCOMPARE(fixture.client.m_Notifications, (QStringList{R"(first {"a":1})", "second nonsense"}));
    QCOMPARE(
        fixture.log.Records(),
        Debugs(
            {QStringLiteral("KivBaseClient::Notification \"first\" %1").arg(Streamed(QString(R"({"a":1})"))),
             R"(KivBaseClient::Notification "second" "nonsense")"}));

    fixture.client.Powerdown();
    fixture.on.service->Notify(kHmiPath, "late", "{}");
    fixture.on.Settle();
    QCOMPARE(fixture.client.m_Notifications.size(), 2);
}

void tst_Initialisation::sessionRefused_fails_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QVector<LogRecord>>("records");
    const QString errCode = R"({"errCode":5})";
    QTest::newRow("errCode")
        << errCode
        << QVector<LogRecord>{
               Critical(
                   QStringLiteral("ConcreteServiceProviderProxy::Request -- Error: %1 %2 Result: %3")
                       .arg(Streamed(QString("openSession")), Streamed(kOpenArguments), Streamed(errCode))),
               RequestFails("openSession", kOpenArguments, errCode)};
    QTest::newRow("no sessionId") << "{}"
                                  << QVector<LogRecord>{RequestSucceeds("openSession"), Debug("QMap()")};
    QTest::newRow("zero") << R"({"sessionId":0})"
                          << QVector<LogRecord>{RequestSucceeds("openSession"),
                                                Debug(R"(QMap(("sessionId", QVariant(int, 0))))"),
                                                Debug("SessionID = 0")};
    QTest::newRow("text") << R"({"sessionId":"x"})"
                          << QVector<LogRecord>{RequestSucceeds("openSession"),
                                                Debug(R"(QMap(("sessionId", QVariant(QString, "x"))))"),
                                                Debug("SessionID = 0")};
    QTest::newRow("not JSON") << "nonsense"
                              << QVector<LogRecord>{RequestSucceeds("openSession"), Debug("QMap()")};
}

void tst_Initialisation::sessionRefused_fails()
{
    QFETCH(QString, answer);
    QFETCH(QVector<LogRecord>, records);
    SessionFixture fixture;
    fixture.on.service->Answer("openSession", answer);
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{kInitialize} + PromisingTry() + Export() +
              QVector<LogRecord>{RequestBegins("openSession", kOpenArguments),
                                 ProxyAnswered("openSession", answer)} +
              records + QVector<LogRecord>{kFailed}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(fixture.client.SessionId(), 0u);
    QCOMPARE(fixture.client.m_InitializeCount, 0);
    QCOMPARE(fixture.on.service->Calls().size(), 1);
}

void tst_Initialisation::sessionRefusedLate_signalsFailureAndIsNotTriedAgain()
{
    SessionFixture fixture;
    fixture.on.service->Answer("openSession", "{}");
    fixture.client.Initialize();

    fixture.on.service->Appear();
    QVERIFY(fixture.initCompleted.wait());
    QCOMPARE(fixture.log.Records().last(), SignalingCompleted("INIT_STATE_FAILED"));
    fixture.on.service->Leave();
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(StatesOf(fixture.initCompleted), QVector<int>{KivBaseClient::INIT_STATE_FAILED});
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(fixture.on.service->Calls().size(), 1);
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Initialisation::busError_fails()
{
    SessionFixture fixture;
    fixture.on.service->Fail("openSession", "com.example.Error", "no more sessions");
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(Timeless(fixture.log.Records()),
             (QVector<LogRecord>{kInitialize} + PromisingTry() + Export() +
              QVector<LogRecord>{
                  RequestBegins("openSession", kOpenArguments),
                  Critical(R"(ConcreteServiceProviderProxy::Request -- D-Bus error: "no more sessions")"),
                  RequestFails("openSession", kOpenArguments, R"({ "errCode" : 0 })"), kFailed}));
    QCOMPARE(fixture.client.SessionId(), 0u);
}

void tst_Initialisation::ownWorkFails_failsWithTheSessionOpen()
{
    SessionFixture fixture;
    fixture.client.m_InitializeResult = false;
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_FAILED);

    QVector<LogRecord> records =
        QVector<LogRecord>{kInitialize} + PromisingTry() + Export() + OpenedSession();
    records.last() = kFailed;
    QCOMPARE(Timeless(fixture.log.Records()), records);
    QCOMPARE(fixture.client.SessionId(), 7u);
    QCOMPARE(fixture.client.m_InitializeCount, 1);
    fixture.client.Powerdown();
    QCOMPARE(fixture.on.service->ArgumentsOf("closeSession"), QStringList{R"({"sessionId":7})"});
}

void tst_Initialisation::pathTaken_failsWithoutASession()
{
    SessionFixture fixture;
    QObject squatter;
    QVERIFY(fixture.on.bus.registerObject(kObjectPath, &squatter));
    fixture.on.service->Appear();
    fixture.on.Settle();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_FAILED);

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{kInitialize} + PromisingTry() + Export() +
              QVector<LogRecord>{
                  Critical(QStringLiteral("Connection Register error: \"%1\"").arg(kObjectPath)), kFailed}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_FAILED);
    QCOMPARE(fixture.client.m_InitializeCount, 0);
    QVERIFY(fixture.on.service->Calls().isEmpty());
    fixture.on.bus.unregisterObject(kObjectPath);
}

void tst_Initialisation::initCompleted_overAQueuedConnection()
{
    SessionFixture fixture;
    QVector<int> received;
    QObject receiver;
    QVERIFY(connect(
        &fixture.client, &KivBaseClient::SignalInitCompleted, &receiver,
        [&received](KivBaseClient::InitState state) { received.append(state); }, Qt::QueuedConnection));
    fixture.client.Initialize();

    fixture.on.service->Appear();

    QTRY_COMPARE(received, QVector<int>{KivBaseClient::INIT_STATE_SUCCESS});
    QVERIFY(fixture.log.Complaints().isEmpty());
}

void tst_Initialisation::initCompleted_deleteLaterInside()
{
    LogCapture log;
    BusSurroundings on;
    on.service->Answer("openSession", kOpenAnswer);
    QPointer<OpenedSessionClient> client = new OpenedSessionClient(on.registrator, kServiceName, kClientPath,
                                                                   on.connection, QString(), on.factory);
    connect(client.data(), &KivBaseClient::SignalInitCompleted, client.data(), [&client] {
        client->Powerdown();
        client->deleteLater();
    });
    client->Initialize();
    log.Clear();

    on.service->Appear();
    QTRY_VERIFY(client.isNull());
    on.Settle();

    QVERIFY(log.Complaints().isEmpty());
    QCOMPARE(on.service->ArgumentsOf("openSession").size(), 1);
    QCOMPARE(on.service->ArgumentsOf("closeSession"), QStringList{R"({"sessionId":7})"});
}

KIV_BUS_TEST_MAIN(tst_Initialisation)
#include "tst_Initialisation.moc"
