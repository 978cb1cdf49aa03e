// SPDX-License-Identifier: MIT
#include "FocusFeed.h"
#include "ModesFixture.h"
#include "PrivateBus.h"

#include <QTimer>

using namespace KivTest;
using Audio::Utils::Kiv::Models::FocusFeed;

/** Models whose bus ends, or has never been there. What happens is checked in this order: there is one bus. */
class tst_ModelsBusLoss : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void busEnds_notAvailableAnyMore();
    void noBus_waits();

private:
    PrivateBus m_Bus;
};

void tst_ModelsBusLoss::busEnds_notAvailableAnyMore()
{
    QDBusConnection::systemBus();
    QCoreApplication::processEvents();
    ModesService service(7, {"Radio", "Bluetooth"});
    service.Appear();
    service.Hold("setMode");
    Modes hmi;
    FocusFeed feed;
    hmi.StartAndRead({"Radio", "Bluetooth"});
    feed.start(); // another path
    QVERIFY(feed.isAvailable());
    QVERIFY(hmi.model.requestMode("Bluetooth"));
    QVERIFY(service.WaitForCalls("setMode", 1));
    hmi.journal.Take();
    m_Bus.Kill();
    QTRY_VERIFY_WITH_TIMEOUT(!hmi.model.isAvailable() && !feed.isAvailable(), 30000);
    QTRY_COMPARE_WITH_TIMEOUT(hmi.journal.Entries().last(),
                              "lastError=The audio service has not set the mode \"Bluetooth\".", 30000);
    QVERIFY(!hmi.model.isBusy());
    QCOMPARE(hmi.Names(), (QStringList{"Radio", "Bluetooth"}));
    QVERIFY(!hmi.model.requestMode("Radio"));
    QCOMPARE(hmi.model.lastError(), "The audio service is not available.");
}

void tst_ModelsBusLoss::noBus_waits()
{
    Modes hmi;
    hmi.model.start();
    QCoreApplication::processEvents();
    QVERIFY(!hmi.model.isAvailable());
    QVERIFY(!hmi.model.requestMode("Radio"));
    QCOMPARE(hmi.model.count(), 0);
}

int main(int argc, char** argv)
{
    tst_ModelsBusLoss test; // with its bus, before the application
    const QCoreApplication application(argc, argv);
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ModelsBusLoss.moc"
