// SPDX-License-Identifier: MIT
#include "FakeService.h"
#include "HmiSignals.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "SimulatorControl.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

/** A service that never answers, on a bus that gives up after three seconds instead of the usual time. */
class tst_SimulatorSilence : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noAnswer_everyRequestEndsWithTheTimeOut();
};

void tst_SimulatorSilence::noAnswer_everyRequestEndsWithTheTimeOut()
{
    SimulatorProcess simulator({});
    QVERIFY(simulator.WaitUntilReady());
    SimulatorControl control;
    HmiClient client("/hmi");
    QCOMPARE(client.hmi.Initialize(), KivBaseClient::INIT_STATE_SUCCESS);
    const HmiSignals signalled(&client.hmi);
    LogCapture log;

    QVERIFY(control.Arm(R"({"kind":"noAnswer","times":2})") != 0);
    QCOMPARE(client.hmi.GetModeListAsync(QString()), 1u);
    QVERIFY(!client.hmi.GetMode(QString()));
    QTRY_COMPARE_WITH_TIMEOUT(signalled.List(), QStringList{"SignalGetModeListCompleted 1 false"}, kPatience);

    const QString message = "Message did not receive a reply (timeout by message bus)";
    const QDBusError error(QDBusMessage::createError("org.freedesktop.DBus.Error.NoReply", message));
    QCOMPARE(log.Complaints(),
             (QVector<LogRecord>{
                 Critical(Streamed("ConcreteServiceProviderProxy::Request -- D-Bus error:", message)),
                 RequestFails("getMode", R"({"destination":"all","sessionId":1})", R"({ "errCode" : 0 })"),
                 Critical("AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server"),
                 Critical(Streamed("KivBaseClient::HandleReply -- Received error:", error)),
                 Warning(Streamed("AudioManagerHmi::HandleSetModeReply -- Request failed with reply",
                                  QMap<QString, QVariant>()))}));
    QCOMPARE(client.hmi.ModeList(), (QStringList{"Radio", "Bluetooth"}));
    QVERIFY(client.hmi.GetMode(QString()));
    client.hmi.Powerdown();
}

int main(int argc, char** argv)
{
    const PrivateBus bus(R"(<limit name="reply_timeout">3000</limit>)");
    const QCoreApplication application(argc, argv);
    tst_SimulatorSilence test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_SimulatorSilence.moc"
