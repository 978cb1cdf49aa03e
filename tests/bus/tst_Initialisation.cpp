// SPDX-License-Identifier: MIT
#include "AdaptorConnection.h"
#include "FakeService.h"
#include "LogCapture.h"
#include "ServiceProviderProxyHmiFactory.h"
#include "ServiceRegistrator.h"
#include "TestClients.h"
#include "TestMain.h"

#include <QSignalSpy>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

class tst_Initialisation : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void serviceAppearsLate_initCompletesOnce();
};

void tst_Initialisation::serviceAppearsLate_initCompletesOnce()
{
    FakeService service;
    service.Answer("openSession", R"({"sessionId":7})");
    QDBusConnection bus = QDBusConnection::systemBus();
    const ServiceRegistrator registrator(bus, kClientName);
    AdaptorConnection connection(bus);
    ServiceProviderProxyHmiFactory factory;
    OpenedHmi hmi(registrator, kClientPath, connection, QString(), factory, false);
    QSignalSpy completed(&hmi, &KivBaseClient::SignalInitCompleted);

    QCOMPARE(hmi.Initialize(), KivBaseClient::INIT_STATE_WAITING_FOR_KIV);
    service.Appear();
    QVERIFY(completed.wait());

    QCOMPARE(completed.size(), 1);
    QCOMPARE(completed.first().first().value<KivBaseClient::InitState>(), KivBaseClient::INIT_STATE_SUCCESS);
    QCOMPARE(hmi.SessionId(), 7u);
    QCOMPARE(
        service.ArgumentsOf("openSession"),
        QStringList{
            R"({"busName":"com.quorvantel.audioclient.test","objectPath":"/com/quorvantel/audioclient/test/ServiceProviderClient"})"});
    hmi.Powerdown();
}

KIV_BUS_TEST_MAIN(tst_Initialisation)
#include "tst_Initialisation.moc"
