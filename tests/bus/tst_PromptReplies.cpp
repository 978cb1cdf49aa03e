// SPDX-License-Identifier: MIT
#include "BusSurroundings.h"
#include "ConcreteServiceProviderProxy.h"
#include "IServiceProviderProxyFactory.h"
#include "LogCapture.h"
#include "TestMain.h"

#include <QDBusPendingCallWatcher>
#include <QSignalSpy>

#include <functional>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

namespace {

/** Sends over the real bus and returns only when the reply is there: the quickest service of all. */
class PromptProxy : public IServiceProviderProxy
{
public:
    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override
    {
        QDBusPendingReply<QString> reply = m_Proxy.AsyncRequest(methodName, arguments);
        reply.waitForFinished();
        return reply;
    }

    QString Request(const QString& methodName, const QString& arguments) override
    {
        return m_Proxy.Request(methodName, arguments);
    }

private:
    ConcreteServiceProviderProxy m_Proxy{kServiceName, kHmiPath};
};

/** Sends over a connection that does not exist. */
class DeadProxy : public IServiceProviderProxy
{
public:
    QDBusPendingReply<QString> AsyncRequest(const QString&, const QString&) override
    {
        return QDBusConnection("no such connection")
            .asyncCall(QDBusMessage::createMethodCall(kServiceName, kHmiPath, kInterfaceName, "Request"));
    }

    QString Request(const QString&, const QString&) override { return "{}"; }
};

class PromptProxyFactory : public IServiceProviderProxyFactory
{
public:
    IServiceProviderProxy* CreateProxy(QObject*) override { return new PromptProxy; }
};

using Prepare = std::function<void(FakeService&)>;

} // namespace

Q_DECLARE_METATYPE(Prepare)

/** A reply that is there before an …Async operation looks at it: the request was sent, so it completes, once. */
class tst_PromptReplies : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void asyncOperation_completesOnce_data();
    void asyncOperation_completesOnce();
    void setMode_completesOnce_data();
    void setMode_completesOnce();
    void watchReply_refusesEveryFailedReply_data();
    void watchReply_refusesEveryFailedReply();
    void withoutBusConnection_nothingWasSent();

private:
    void AddReplies();
};

namespace {

/** An HMI client with a session whose replies are always there at once. */
struct Fixture
{
    Fixture()
    {
        on.service->Appear();
        on.Settle();
        hmi.Open(7);
        hmi.m_ModeList = QStringList{"Radio"};
    }

    ~Fixture()
    {
        hmi.m_SessionId = 0;
        hmi.Powerdown();
    }

    /** Everything that was under way has been handled. */
    void Settle()
    {
        DrainBus();
        QTRY_COMPARE(hmi.findChildren<QDBusPendingCallWatcher*>().size(), 0);
    }

    LogCapture log;
    BusSurroundings on;
    PromptProxyFactory factory;
    OpenedHmi hmi{on.registrator, kClientPath, on.connection, QString(), factory, false};
    QSignalSpy modeRead{&hmi, &AudioManagerHmi::SignalGetModeCompleted};
    QSignalSpy modeSet{&hmi, &AudioManagerHmi::SignalSetModeCompleted};
};

} // namespace

void tst_PromptReplies::AddReplies()
{
    QTest::addColumn<Prepare>("prepare");
    QTest::addColumn<bool>("isSuccess");
    const auto fail = [](FakeService& service) {
        service.Fail("getMode", "com.quorvantel.Error", "no");
        service.Fail("setMode", "com.quorvantel.Error", "no");
    };
    const auto answerWrongly = [](FakeService& service) {
        service.AnswerWithWrongSignature("getMode");
        service.AnswerWithWrongSignature("setMode");
    };
    QTest::newRow("answered") << Prepare([](FakeService&) {}) << true;
    QTest::newRow("refused by the service") << Prepare(fail) << false;
    QTest::newRow("refused by the bus") << Prepare([](FakeService& service) { service.Leave(); }) << false;
    QTest::newRow("answered with another type") << Prepare(answerWrongly) << false;
}

void tst_PromptReplies::asyncOperation_completesOnce_data()
{
    AddReplies();
}

void tst_PromptReplies::asyncOperation_completesOnce()
{
    QFETCH(const Prepare, prepare);
    QFETCH(const bool, isSuccess);
    Fixture fixture;
    prepare(*fixture.on.service);

    QCOMPARE(fixture.hmi.GetModeAsync(QString()), 1u);
    QCOMPARE(fixture.modeRead.size(), 0); // from the event loop, never from within the call
    fixture.Settle();

    QCOMPARE(fixture.modeRead.size(), 1);
    QCOMPARE(fixture.modeRead.first(), (QVariantList{1u, isSuccess}));
}

void tst_PromptReplies::setMode_completesOnce_data()
{
    AddReplies();
}

void tst_PromptReplies::setMode_completesOnce()
{
    QFETCH(const Prepare, prepare);
    QFETCH(const bool, isSuccess);
    Fixture fixture;
    prepare(*fixture.on.service);

    QCOMPARE(fixture.hmi.SetModeAsync("Radio"), 1u);
    QCOMPARE(fixture.modeSet.size(), 0);
    fixture.Settle();

    QCOMPARE(fixture.modeSet.size(), 1);
    QCOMPARE(fixture.modeSet.first(), (QVariantList{1u, isSuccess}));
}

void tst_PromptReplies::watchReply_refusesEveryFailedReply_data()
{
    AddReplies();
}

void tst_PromptReplies::watchReply_refusesEveryFailedReply()
{
    QFETCH(const Prepare, prepare);
    QFETCH(const bool, isSuccess);
    Fixture fixture;
    prepare(*fixture.on.service);
    int count = 0;
    const auto handler = [&count](bool, const QMap<QString, QVariant>&, unsigned int) { return ++count > 0; };

    const quint32 id = fixture.hmi.WatchReply(fixture.hmi.StartRequest("getMode", "{}"), handler, 0);
    fixture.Settle();

    QCOMPARE(id, isSuccess ? 1u : 0u);
    QCOMPARE(count, isSuccess ? 1 : 0);
}

void tst_PromptReplies::withoutBusConnection_nothingWasSent()
{
    Fixture fixture;
    delete fixture.hmi.m_ServiceProxy;
    fixture.hmi.m_ServiceProxy = new DeadProxy;

    QCOMPARE(fixture.hmi.GetModeAsync(QString()), 0u);
    QCOMPARE(fixture.hmi.SetModeAsync("Radio"), 0u);
    fixture.Settle();

    QCOMPARE(fixture.modeRead.size(), 0);
    QCOMPARE(fixture.modeSet.size(), 0);
    QCOMPARE(fixture.hmi.m_RequestId, 0u);
}

KIV_BUS_TEST_MAIN(tst_PromptReplies)
#include "tst_PromptReplies.moc"
