// SPDX-License-Identifier: MIT
#include "FakeServiceProviderProxyFactory.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "OpenedBaseClient.h"
#include "PeerConnection.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QSignalSpy>
#include <QTest>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::KivBaseClient;

namespace {

const QString kName = "com.example.watched";

const QStringList kQuery{R"(KivBaseClient::IsKivServiceRunning "com.example.watched")",
                         "KivBaseClient::IsKivServiceRunning - didn't get DbusInterface"};

const QStringList kTry =
    QStringList{"KivBaseClient::InitializePrivate"} + kQuery +
    QStringList{
        "KivBaseClient::InitializePrivate -- KIv not running, will try later when it appears on DBus"};

} // namespace

/** The system bus is a connection that has no connection interface: one to a peer. */
class tst_NoBusInterface : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void isKivServiceRunning_isFalse();
    void initialize_waits();
    void ownerChanged_whileWaiting_isARealProblem();
};

void tst_NoBusInterface::initTestCase()
{
    QVERIFY(QDBusConnection::systemBus().isConnected());
    QCOMPARE(QDBusConnection::systemBus().interface(), nullptr);
}

void tst_NoBusInterface::isKivServiceRunning_isFalse()
{
    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    OpenedBaseClient client(kName, factory);
    log.Clear();

    QCOMPARE(client.IsKivServiceRunning(), false);
    QCOMPARE(log.Records(), Debugs(kQuery));
}

void tst_NoBusInterface::initialize_waits()
{
    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    OpenedBaseClient client(kName, factory);
    const QSignalSpy initCompleted(&client, &KivBaseClient::SignalInitCompleted);
    log.Clear();

    QCOMPARE(client.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(log.Records(), Debugs(QStringList{"KivBaseClient::Initialize"} + kTry));
    QVERIFY(factory.Parents().isEmpty());
    QCOMPARE(client.m_InitializeCount, 0);
    QCOMPARE(initCompleted.size(), 0);
}

void tst_NoBusInterface::ownerChanged_whileWaiting_isARealProblem()
{
    LogCapture log;
    FakeServiceProviderProxyFactory factory;
    OpenedBaseClient client(kName, factory);
    const QSignalSpy initCompleted(&client, &KivBaseClient::SignalInitCompleted);
    client.Initialize();
    log.Clear();

    client.OnOwnerChanged(kName, QString(), ":1.2");

    QVector<LogRecord> expected = Debugs(
        QStringList{
            R"(KivBaseClient::OnOwnerChanged -- Service Name: "com.example.watched" OldOwner: "" NewOwner: ":1.2")",
            "KivBaseClient::OnOwnerChanged -- KIv service registered with DBus"} +
        kTry);
    expected += Critical(
        "InitializePrivate() should never return INIT_STATE_WAITING_FOR_KIV orINIT_STATE_NOT_CALLED when "
        "called from KivBaseClient::OnOwnerChanged(). This means there was a real problem!");
    QCOMPARE(log.Records(), expected);
    QCOMPARE(client.CurrentInitState(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    QCOMPARE(initCompleted.size(), 0);
}

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    // Qt gives the connection of this name to everybody who asks for the system bus.
    const PeerConnection peer([](const QDBusMessage&, const QDBusConnection&) {}, "qt_default_system_bus");
    tst_NoBusInterface test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_NoBusInterface.moc"
