// SPDX-License-Identifier: MIT
#include "TestMain.h"
#include "session/ClientNames.h"

using namespace Audio::Utils::Kiv::Models;

class tst_ClientNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applicationName_becomesABusName_data();
    void applicationName_becomesABusName();
    void longName_isCut();
    void busName_becomesAPath();
};

void tst_ClientNames::applicationName_becomesABusName_data()
{
    QTest::addColumn<QString>("application");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << "Cluster-2_b"
                           << "Cluster-2_b";
    QTest::newRow("all limits") << "azAZ09"
                                << "azAZ09";
    QTest::newRow("beside the limits") << "`{@[/:"
                                       << "______";
    QTest::newRow("blanks and dots") << "org.example.my hmi"
                                     << "org_example_my_hmi";
    QTest::newRow("not ASCII") << QString::fromUtf8("Ge\u00e4t\u0161\u4e2d") << "Ge_t__";
    QTest::newRow("begins with a digit") << "3d-view"
                                         << "_3d-view";
    QTest::newRow("none") << ""
                          << "client";
}

void tst_ClientNames::applicationName_becomesABusName()
{
    QFETCH(QString, application);
    QFETCH(QString, name);
    QCOMPARE(DefaultBusName(application), "com.quorvantel.audioclient." + name);
}

void tst_ClientNames::longName_isCut()
{
    const QString name = DefaultBusName(QString(300, 'x'));
    QCOMPARE(name.size(), 255);
    QVERIFY(name.startsWith("com.quorvantel.audioclient.xxx"));
}

void tst_ClientNames::busName_becomesAPath()
{
    QCOMPARE(DefaultObjectPath("com.quorvantel.audioclient.my-hmi_2"),
             "/com/quorvantel/audioclient/my_hmi_2");
}

KIV_UNIT_TEST_MAIN(tst_ClientNames)
#include "tst_ClientNames.moc"
