// SPDX-License-Identifier: MIT
#include "BusWire.h"
#include "Campaign.h"
#include "ScriptedService.h"
#include "TestMain.h"

#include <QLoggingCategory>
#include <QtTest>

using namespace KivTest;

/**
 * The same schedules with everything real: bus, proxies, exported objects, a service with its own connection.
 */
class tst_ExactlyOnceOnBus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everySchedule_completesExactlyOnce();
};

void tst_ExactlyOnceOnBus::everySchedule_completesExactlyOnce()
{
    QLoggingCategory::setFilterRules("default=false"); // the library's records, errors included
    BusWire wire;
    ScriptedService service(wire);
    const QString failure = Campaign(service, 100, 2000).Run();
    if (!failure.isEmpty()) {
        QFAIL(qUtf8Printable(failure)); // QVERIFY2() would cut it off
    }
}

KIV_BUS_TEST_MAIN(tst_ExactlyOnceOnBus)

#include "tst_ExactlyOnceOnBus.moc"
