// SPDX-License-Identifier: MIT
#include "FakeServiceProviderProxyFactory.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "OpenedBaseClient.h"
#include "TestMain.h"

#include <QMetaMethod>
#include <QSignalSpy>

#include <memory>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::IServiceProviderProxy;
using Audio::Utils::Kiv::QtDbus::KivBaseClient;

namespace {

const QString kName = "com.example.watched";

/** A base client whose bus cannot be reached, and what it does. */
struct Fixture
{
    Fixture() { log.Clear(); }

    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    OpenedBaseClient client{kName, factory};
    QSignalSpy initCompleted{&client, &KivBaseClient::SignalInitCompleted};
};

/** Notes the end of a client whose duties are still there, or not. */
class NotingClient : public OpenedBaseClient
{
public:
    NotingClient(FakeServiceProviderProxyFactory& factory, int& powerdowns)
        : OpenedBaseClient(kName, factory),
          m_Powerdowns(powerdowns)
    {
    }

    void HandlePowerdown() override { ++m_Powerdowns; }

private:
    int& m_Powerdowns;
};

LogRecord OwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner)
{
    return Debug(QStringLiteral("KivBaseClient::OnOwnerChanged -- Service Name: \"%1\" OldOwner: \"%2\" "
                                "NewOwner: \"%3\"")
                     .arg(name, oldOwner, newOwner));
}

const QStringList kFruitlessQuery{
    R"(KivBaseClient::IsKivServiceRunning "com.example.watched")",
    "KivBaseClient::IsKivServiceRunning - got DbusInterface",
    "KivBaseClient::IsKivServiceRunning - back from registration query -- false"};

const QStringList kFruitlessTry =
    QStringList{"KivBaseClient::InitializePrivate"} + kFruitlessQuery +
    QStringList{
        "KivBaseClient::InitializePrivate -- KIv not running, will try later when it appears on DBus"};

const QString kRealProblem =
    "InitializePrivate() should never return INIT_STATE_WAITING_FOR_KIV orINIT_STATE_NOT_CALLED when called "
    "from KivBaseClient::OnOwnerChanged(). This means there was a real problem!";

QStringList SignaturesOf(const QMetaObject& metaObject)
{
    QStringList signatures;
    for (int index = metaObject.methodOffset(); index < metaObject.methodCount(); ++index) {
        const QMetaMethod method = metaObject.method(index);
        signatures.append(method.methodSignature() + ' ' + method.parameterNames().join(','));
    }
    return signatures;
}

} // namespace

class tst_KivBaseClient : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void constructor_recordsItsServiceAndAsksNothing();
    void constructor_watchesTheServiceOnTheSystemBus();
    void constructor_takesTheParent();
    void metaObject_listsSignalAndSlotsInOrder();

    void initStateToString_namesEveryState_data();
    void initStateToString_namesEveryState();
    void currentInitState_isTheState_data();
    void currentInitState_isTheState();

    void isKivServiceRunning_disconnectedBus_isFalse();
    void initialize_disconnectedBus_waits();
    void initialize_twice_warnsAndChangesNothing();
    void initialize_anyOtherState_warnsAndReturnsIt_data();
    void initialize_anyOtherState_warnsAndReturnsIt();
    void initialize_connectsTheWatcherOnce();
    void initializePrivate_disconnectedBus_leavesFactoryAndProxyAlone();

    void ownerChanged_unexpectedName_isWarnedAbout_data();
    void ownerChanged_unexpectedName_isWarnedAbout();
    void ownerChanged_newOwner_isIgnoredUnlessWaiting_data();
    void ownerChanged_newOwner_isIgnoredUnlessWaiting();
    void ownerChanged_newOwnerWhileWaitingButNoBusConnection_isARealProblem();
    void ownerChanged_serviceLeaves_changesNothing_data();
    void ownerChanged_serviceLeaves_changesNothing();
    void ownerChanged_noOwnersAtAll_isWarnedAbout();

    void powerdown_handlesFirstThenDeletesTheProxy();
    void powerdown_twice_isHarmless();
    void powerdown_withoutProxy_onlyHandles();
    void powerdown_keepsStateCounterAndWatcher();
    void destructor_withoutPowerdown_deletesTheProxyAndHandlesNothing();
    void destructor_afterPowerdown_writesNothing();
    void destructor_neverOpened_writesNothing();
};

void tst_KivBaseClient::constructor_recordsItsServiceAndAsksNothing()
{
    FakeServiceProviderProxyFactory factory;
    LogCapture log;
    const OpenedBaseClient client(kName, factory);

    QCOMPARE(log.Records(), (QVector<LogRecord>{Debug("KivBaseClient::KivBaseClient --  \n   m_ServiceName: "
                                                      "\"com.example.watched\"")}));
    QCOMPARE(client.CurrentInitState(), KivBaseClient::INIT_STATE_NOT_CALLED);
    QCOMPARE(client.m_ServiceName, kName);
    QCOMPARE(client.m_ServiceProxy, nullptr);
    QCOMPARE(client.m_RequestId, 0u);
    QCOMPARE(client.m_InitializeCount, 0);
    QVERIFY(factory.Parents().isEmpty());
}

void tst_KivBaseClient::constructor_watchesTheServiceOnTheSystemBus()
{
    Fixture fixture;
    const QDBusServiceWatcher& watcher = fixture.client.m_ServiceWatcher;

    QCOMPARE(watcher.watchedServices(), QStringList{kName});
    QCOMPARE(watcher.watchMode(), QDBusServiceWatcher::WatchMode(QDBusServiceWatcher::WatchForOwnerChange));
    QCOMPARE(watcher.connection().name(), QDBusConnection::systemBus().name());
    QCOMPARE(watcher.parent(), nullptr);

    Q_EMIT fixture.client.m_ServiceWatcher.serviceOwnerChanged(kName, QString(), ":1.1");
    QVERIFY2(fixture.log.Records().isEmpty(), "the watcher is connected before Initialize()");
}

void tst_KivBaseClient::constructor_takesTheParent()
{
    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    QObject parent;
    const OpenedBaseClient child(kName, factory, &parent);
    const OpenedBaseClient orphan(kName, factory);

    QCOMPARE(child.parent(), &parent);
    QCOMPARE(orphan.parent(), nullptr);
}

void tst_KivBaseClient::metaObject_listsSignalAndSlotsInOrder()
{
    const QMetaObject& metaObject = KivBaseClient::staticMetaObject;

    QCOMPARE(metaObject.className(), "Audio::Utils::Kiv::QtDbus::KivBaseClient");
    QCOMPARE(SignaturesOf(metaObject),
             (QStringList{"SignalInitCompleted(InitState) ",
                          "Notification(QString,QString) a_SignalName,a_Payload",
                          "OnOwnerChanged(QString,QString,QString) a_ServiceName,a_OldOwner,a_NewOwner"}));
    QCOMPARE(metaObject.method(metaObject.methodOffset()).methodType(), QMetaMethod::Signal);
    QCOMPARE(metaObject.method(metaObject.methodOffset() + 1).methodType(), QMetaMethod::Slot);
    QCOMPARE(metaObject.method(metaObject.methodOffset() + 2).methodType(), QMetaMethod::Slot);
}

void tst_KivBaseClient::initStateToString_namesEveryState_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isValid");
    QTest::newRow("0") << 0 << "INIT_STATE_NOT_CALLED" << true;
    QTest::newRow("1") << 1 << "INIT_STATE_WAITING_FOR_KIV" << true;
    QTest::newRow("2") << 2 << "INIT_STATE_FAILED" << true;
    QTest::newRow("3") << 3 << "INIT_STATE_SUCCESS" << true;
    QTest::newRow("4") << 4 << "INIT_STATE_MAX" << true;
    QTest::newRow("5") << 5 << "Invalid value for InitState!" << false;
    QTest::newRow("-1") << -1 << "Invalid value for InitState!" << false;
}

void tst_KivBaseClient::initStateToString_namesEveryState()
{
    QFETCH(int, state);
    QFETCH(QString, text);
    QFETCH(bool, isValid);
    LogCapture log;

    QCOMPARE(KivBaseClient::InitStateToString(static_cast<KivBaseClient::InitState>(state)), text);

    QVector<LogRecord> expected;
    if (!isValid) {
        expected.append(Warning("KivBaseClient::InitStateToString -- Invalid value for InitState!"));
    }
    QCOMPARE(log.Records(), expected);
}

void tst_KivBaseClient::currentInitState_isTheState_data()
{
    QTest::addColumn<KivBaseClient::InitState>("state");
    QTest::newRow("not called") << KivBaseClient::INIT_STATE_NOT_CALLED;
    QTest::newRow("waiting") << KivBaseClient::INIT_STATE_WAITING_FOR_KIV;
    QTest::newRow("failed") << KivBaseClient::INIT_STATE_FAILED;
    QTest::newRow("success") << KivBaseClient::INIT_STATE_SUCCESS;
    QTest::newRow("max") << KivBaseClient::INIT_STATE_MAX;
}

void tst_KivBaseClient::currentInitState_isTheState()
{
    QFETCH(KivBaseClient::InitState, state);
    Fixture fixture;
    fixture.client.m_InitState = state;

    QCOMPARE(fixture.client.CurrentInitState(), state);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_KivBaseClient::isKivServiceRunning_disconnectedBus_isFalse()
{
    Fixture fixture;

    QCOMPARE(fixture.client.IsKivServiceRunning(), false);
    QCOMPARE(fixture.log.Records(), Debugs(kFruitlessQuery));
}

void tst_KivBaseClient::initialize_disconnectedBus_waits()
{
    Fixture fixture;

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.log.Records(), Debugs(QStringList{"KivBaseClient::Initialize"} + kFruitlessTry));
    QVERIFY(fixture.factory.Parents().isEmpty());
    QCOMPARE(fixture.client.m_InitializeCount, 0);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_KivBaseClient::initialize_twice_warnsAndChangesNothing()
{
    Fixture fixture;
    fixture.client.Initialize();
    fixture.log.Clear();

    QCOMPARE(fixture.client.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{Debug("KivBaseClient::Initialize"),
                                 Warning("KivBaseClient::Initialize() is being called more than once!")}));
    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_KivBaseClient::initialize_anyOtherState_warnsAndReturnsIt_data()
{
    QTest::addColumn<KivBaseClient::InitState>("state");
    QTest::newRow("waiting") << KivBaseClient::INIT_STATE_WAITING_FOR_KIV;
    QTest::newRow("failed") << KivBaseClient::INIT_STATE_FAILED;
    QTest::newRow("success") << KivBaseClient::INIT_STATE_SUCCESS;
    QTest::newRow("max") << KivBaseClient::INIT_STATE_MAX;
}

void tst_KivBaseClient::initialize_anyOtherState_warnsAndReturnsIt()
{
    QFETCH(KivBaseClient::InitState, state);
    Fixture fixture;
    fixture.client.m_InitState = state;

    QCOMPARE(fixture.client.Initialize(), state);
    QCOMPARE(fixture.client.m_InitState, state);
    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{Debug("KivBaseClient::Initialize"),
                                 Warning("KivBaseClient::Initialize() is being called more than once!")}));

    fixture.log.Clear();
    Q_EMIT fixture.client.m_ServiceWatcher.serviceOwnerChanged(kName, QString(), ":1.1");
    QVERIFY2(fixture.log.Records().isEmpty(), "the refused Initialize() connected the watcher");
}

void tst_KivBaseClient::initialize_connectsTheWatcherOnce()
{
    Fixture fixture;
    fixture.client.Initialize();
    fixture.client.Initialize();
    fixture.client.m_InitState = KivBaseClient::INIT_STATE_NOT_CALLED;
    fixture.client.Initialize();
    fixture.log.Clear();

    Q_EMIT fixture.client.m_ServiceWatcher.serviceOwnerChanged(kName, ":1.1", QString());

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{OwnerChanged(kName, ":1.1", ""),
                                 Debug("KivBaseClient::OnOwnerChanged -- KIv service removed from DBus")}));
}

void tst_KivBaseClient::initializePrivate_disconnectedBus_leavesFactoryAndProxyAlone()
{
    Fixture fixture;
    fixture.client.Open();
    const IServiceProviderProxy* proxy = fixture.client.m_ServiceProxy;

    QCOMPARE(fixture.client.InitializePrivate(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);

    QCOMPARE(fixture.log.Records(), Debugs(kFruitlessTry));
    QCOMPARE(fixture.client.m_ServiceProxy, proxy);
    QCOMPARE(fixture.factory.Parents(), QVector<QObject*>{&fixture.client});
    QCOMPARE(fixture.client.m_InitializeCount, 0);
    fixture.client.Powerdown();
}

void tst_KivBaseClient::ownerChanged_unexpectedName_isWarnedAbout_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("oldOwner");
    QTest::addColumn<QString>("newOwner");
    QTest::newRow("appears") << "com.example.other"
                             << ""
                             << ":1.2";
    QTest::newRow("leaves") << "com.example.other"
                            << ":1.2"
                            << "";
    QTest::newRow("no owners") << "com.example.other"
                               << ""
                               << "";
    QTest::newRow("longer") << "com.example.watched2"
                            << ""
                            << ":1.2";
    QTest::newRow("other case") << "com.example.Watched"
                                << ""
                                << ":1.2";
    QTest::newRow("empty") << ""
                           << ""
                           << ":1.2";
}

void tst_KivBaseClient::ownerChanged_unexpectedName_isWarnedAbout()
{
    QFETCH(QString, name);
    QFETCH(QString, oldOwner);
    QFETCH(QString, newOwner);
    Fixture fixture;
    fixture.client.m_InitState = KivBaseClient::INIT_STATE_WAITING_FOR_KIV;

    fixture.client.OnOwnerChanged(name, oldOwner, newOwner);

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{
                 OwnerChanged(name, oldOwner, newOwner),
                 Warning(QStringLiteral("KivBaseClient::OnOwnerChanged -- Unexpected service name: \"%1\"")
                             .arg(name))}));
    QCOMPARE(fixture.client.m_InitState, KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_KivBaseClient::ownerChanged_newOwner_isIgnoredUnlessWaiting_data()
{
    QTest::addColumn<KivBaseClient::InitState>("state");
    QTest::addColumn<QString>("oldOwner");
    QTest::newRow("not called") << KivBaseClient::INIT_STATE_NOT_CALLED << "";
    QTest::newRow("failed") << KivBaseClient::INIT_STATE_FAILED << "";
    QTest::newRow("success") << KivBaseClient::INIT_STATE_SUCCESS << "";
    QTest::newRow("max") << KivBaseClient::INIT_STATE_MAX << "";
    QTest::newRow("success, changes hands") << KivBaseClient::INIT_STATE_SUCCESS << ":1.1";
    QTest::newRow("not called, changes hands") << KivBaseClient::INIT_STATE_NOT_CALLED << ":1.1";
}

void tst_KivBaseClient::ownerChanged_newOwner_isIgnoredUnlessWaiting()
{
    QFETCH(KivBaseClient::InitState, state);
    QFETCH(QString, oldOwner);
    Fixture fixture;
    fixture.client.m_InitState = state;

    fixture.client.OnOwnerChanged(kName, oldOwner, ":1.2");

    QCOMPARE(
        fixture.log.Records(),
        (QVector<LogRecord>{OwnerChanged(kName, oldOwner, ":1.2"),
                            Debug("KivBaseClient::OnOwnerChanged -- KIv service registered with DBus")}));
    QCOMPARE(fixture.client.m_InitState, state);
    QCOMPARE(fixture.client.m_InitializeCount, 0);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_KivBaseClient::ownerChanged_newOwnerWhileWaitingButNoBusConnection_isARealProblem()
{
    Fixture fixture;
    fixture.client.m_InitState = KivBaseClient::INIT_STATE_WAITING_FOR_KIV;

    fixture.client.OnOwnerChanged(kName, QString(), ":1.2");

    QVector<LogRecord> expected{OwnerChanged(kName, "", ":1.2")};
    expected += Debugs(QStringList{"KivBaseClient::OnOwnerChanged -- KIv service registered with DBus"} +
                       kFruitlessTry);
    expected += Critical(kRealProblem);
    QCOMPARE(fixture.log.Records(), expected);
    QCOMPARE(fixture.client.m_InitState, KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_KivBaseClient::ownerChanged_serviceLeaves_changesNothing_data()
{
    initialize_anyOtherState_warnsAndReturnsIt_data();
    QTest::newRow("not called") << KivBaseClient::INIT_STATE_NOT_CALLED;
}

void tst_KivBaseClient::ownerChanged_serviceLeaves_changesNothing()
{
    QFETCH(KivBaseClient::InitState, state);
    Fixture fixture;
    fixture.client.Open();
    fixture.client.m_InitState = state;
    const IServiceProviderProxy* proxy = fixture.client.m_ServiceProxy;

    fixture.client.OnOwnerChanged(kName, ":1.1", QString());

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{OwnerChanged(kName, ":1.1", ""),
                                 Debug("KivBaseClient::OnOwnerChanged -- KIv service removed from DBus")}));
    QCOMPARE(fixture.client.m_InitState, state);
    QCOMPARE(fixture.client.m_ServiceProxy, proxy);
    QCOMPARE(fixture.factory.Exchange().ProxyCount(), 1);
    QCOMPARE(fixture.initCompleted.size(), 0);
    fixture.client.Powerdown();
}

void tst_KivBaseClient::ownerChanged_noOwnersAtAll_isWarnedAbout()
{
    Fixture fixture;
    fixture.client.m_InitState = KivBaseClient::INIT_STATE_WAITING_FOR_KIV;

    fixture.client.OnOwnerChanged(kName, QString(), QString());

    QCOMPARE(fixture.log.Records(),
             (QVector<LogRecord>{
                 OwnerChanged(kName, "", ""),
                 Warning("KivBaseClient::OnOwnerChanged -- Unexpected information received -- Service Name: "
                         "\"com.example.watched\" OldOwner: \"\" NewOwner: \"\"")}));
    QCOMPARE(fixture.client.m_InitState, KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(fixture.initCompleted.size(), 0);
}

void tst_KivBaseClient::powerdown_handlesFirstThenDeletesTheProxy()
{
    Fixture fixture;
    fixture.client.Open();
    const IServiceProviderProxy* proxy = fixture.client.m_ServiceProxy;

    fixture.client.Powerdown();

    QCOMPARE(fixture.client.m_ProxiesAtPowerdown, QVector<const IServiceProviderProxy*>{proxy});
    QCOMPARE(fixture.client.m_ServiceProxy, nullptr);
    QCOMPARE(fixture.factory.Exchange().ProxyCount(), 0);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_KivBaseClient::powerdown_twice_isHarmless()
{
    Fixture fixture;
    fixture.client.Open();
    const IServiceProviderProxy* proxy = fixture.client.m_ServiceProxy;

    fixture.client.Powerdown();
    fixture.client.Powerdown();

    QCOMPARE(fixture.client.m_ProxiesAtPowerdown, (QVector<const IServiceProviderProxy*>{proxy, nullptr}));
    QCOMPARE(fixture.client.m_ServiceProxy, nullptr);
    QCOMPARE(fixture.factory.Exchange().ProxyCount(), 0);
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_KivBaseClient::powerdown_withoutProxy_onlyHandles()
{
    Fixture fixture;

    fixture.client.Powerdown();

    QCOMPARE(fixture.client.m_ProxiesAtPowerdown, QVector<const IServiceProviderProxy*>{nullptr});
    QVERIFY(fixture.log.Records().isEmpty());
}

void tst_KivBaseClient::powerdown_keepsStateCounterAndWatcher()
{
    Fixture fixture;
    fixture.client.Initialize();
    fixture.client.Open();
    fixture.client.m_InitState = KivBaseClient::INIT_STATE_SUCCESS;
    fixture.client.GetNextRequestId();

    fixture.client.Powerdown();

    QCOMPARE(fixture.client.CurrentInitState(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(fixture.client.GetNextRequestId(), 2u);
    fixture.log.Clear();
    Q_EMIT fixture.client.m_ServiceWatcher.serviceOwnerChanged(kName, ":1.1", QString());
    QCOMPARE(fixture.log.Records().value(0), OwnerChanged(kName, ":1.1", ""));
}

void tst_KivBaseClient::destructor_withoutPowerdown_deletesTheProxyAndHandlesNothing()
{
    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    int powerdowns = 0;
    auto client = std::make_unique<NotingClient>(factory, powerdowns);
    client->Open();
    QCOMPARE(factory.Exchange().ProxyCount(), 1);
    log.Clear();

    client.reset();

    QCOMPARE(log.Records(),
             (QVector<LogRecord>{Debug("KivBaseClient::Powerdown was not called before destructor!")}));
    QCOMPARE(factory.Exchange().ProxyCount(), 0);
    QCOMPARE(powerdowns, 0);
}

void tst_KivBaseClient::destructor_afterPowerdown_writesNothing()
{
    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    int powerdowns = 0;
    auto client = std::make_unique<NotingClient>(factory, powerdowns);
    client->Open();
    client->Powerdown();
    log.Clear();

    client.reset();

    QVERIFY(log.Records().isEmpty());
    QCOMPARE(powerdowns, 1);
}

void tst_KivBaseClient::destructor_neverOpened_writesNothing()
{
    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    int powerdowns = 0;
    auto client = std::make_unique<NotingClient>(factory, powerdowns);
    client->Initialize();
    log.Clear();

    client.reset();

    QVERIFY(log.Records().isEmpty());
    QCOMPARE(powerdowns, 0);
}

KIV_UNIT_TEST_MAIN(tst_KivBaseClient)
#include "tst_KivBaseClient.moc"
