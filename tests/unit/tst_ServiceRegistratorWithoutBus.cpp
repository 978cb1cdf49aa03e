// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "ServiceRegistrator.h"
#include "TestMain.h"

#include <QDBusConnection>

#include <memory>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::ServiceRegistrator;

/** A program without a bus must be able to make registrators, and to end. */
class tst_ServiceRegistratorWithoutBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void construction_isCriticalAndDestructionHarmless_data();
    void construction_isCriticalAndDestructionHarmless();
};

void tst_ServiceRegistratorWithoutBus::construction_isCriticalAndDestructionHarmless_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("unreachable system bus") << QDBusConnection::systemBus().name();
    QTest::newRow("unreachable address")
        << QDBusConnection::connectToBus("unix:path=/nonexistent/other-bus", "other").name();
    QTest::newRow("never connected") << "no such connection";
}

void tst_ServiceRegistratorWithoutBus::construction_isCriticalAndDestructionHarmless()
{
    QFETCH(const QString, name);
    QDBusConnection connection(name);
    QVERIFY(!connection.isConnected());
    const QString quoted = R"("com.quorvantel.audioclient.test")";
    LogCapture log;

    auto registrator = std::make_unique<ServiceRegistrator>(connection, "com.quorvantel.audioclient.test");
    QCOMPARE(registrator->GetServiceName(), "com.quorvantel.audioclient.test");
    QCOMPARE(
        log.Records(),
        (QVector<LogRecord>{
            Debug("ServiceRegistrator::ServiceRegistorator -- Incremented register count for service: " +
                  quoted + " currentCount: 1"),
            Critical("ServiceRegistrator::ServiceRegistrator -- failed to register service: " + quoted)}));

    log.Clear();
    registrator.reset();
    QCOMPARE(log.Records(),
             (QVector<LogRecord>{
                 Debug("ServiceRegistrator::ServiceRegistorator -- Decremented register count for service: " +
                       quoted + " currentCount: 0"),
                 Debug("ServiceRegistrator::~ServiceRegistrator -- Unregistering DBus service: " + quoted)}));
}

KIV_UNIT_TEST_MAIN(tst_ServiceRegistratorWithoutBus)
#include "tst_ServiceRegistratorWithoutBus.moc"
