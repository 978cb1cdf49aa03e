// SPDX-License-Identifier: MIT
#include "ModeOptions.h"
#include "UsageError.h"

#include <QTest>

using namespace Simulator;

class tst_ModeOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void options_areCombined_data();
    void options_areCombined();
    void badOptions_areComplainedAbout_data();
    void badOptions_areComplainedAbout();
};

void tst_ModeOptions::options_areCombined_data()
{
    QTest::addColumn<QStringList>("destinations");
    QTest::addColumn<QStringList>("modes");
    QTest::addColumn<QStringList>("result");
    const auto row = [](const char* name, const QStringList& destinations, const QStringList& modes,
                        const QStringList& result) {
        QTest::newRow(name) << destinations << modes << result;
    };
    row("none", {}, {}, {});
    row("modes alone", {}, {"A,B"}, {"Cabin=A,B"});
    row("modes twice", {}, {"A,B", "C"}, {"Cabin=A,B,C"});
    row("named destinations", {}, {"Rear=A", "Front=B", "Rear=C"}, {"Rear=A,C", "Front=B"});
    row("named and not", {}, {"Rear=A", "B"}, {"Rear=A", "Cabin=B"});
    row("further equals signs", {}, {"Rear=A=B,=C"}, {"Rear=A=B,=C"});
    row("destinations alone", {"Front,Rear"}, {}, {"Front=Radio,Bluetooth", "Rear=Radio,Bluetooth"});
    row("modes of all destinations", {"Front", "Rear"}, {"A,B"}, {"Front=A,B", "Rear=A,B"});
    row("modes of one of them", {"Front,Rear"}, {"Rear=A"}, {"Front=Radio,Bluetooth", "Rear=A"});
    row("modes of all and of one", {"Front,Rear"}, {"A", "Rear=B"}, {"Front=A", "Rear=A,B"});
    row("a further destination", {"Front"}, {"Boot=B", "A"}, {"Front=A", "Boot=B"});
    row("another case", {"all2,cabin,Cabin"}, {"a,A"}, {"all2=a,A", "cabin=a,A", "Cabin=a,A"});
}

void tst_ModeOptions::options_areCombined()
{
    QFETCH(QStringList, destinations);
    QFETCH(QStringList, modes);
    QFETCH(QStringList, result);
    QStringList texts;
    for (const DestinationModes& one : CombineModes(destinations, modes)) {
        texts += one.destination + "=" + one.modes.join(',');
    }
    QCOMPARE(texts, result);
}

void tst_ModeOptions::badOptions_areComplainedAbout_data()
{
    QTest::addColumn<QStringList>("destinations");
    QTest::addColumn<QStringList>("modes");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* name, const QStringList& destinations, const QStringList& modes,
                        const char* complaint) {
        QTest::newRow(name) << destinations << modes << QString(complaint);
    };
    row("no destination", {""}, {}, R"(--destinations "": empty destination)");
    row("empty destination", {"Front,,Rear"}, {}, R"(--destinations "Front,,Rear": empty destination)");
    row("destination all", {"Front,all"}, {}, R"(--destinations "Front,all": "all" cannot be a destination)");
    row("destination twice", {"Front", "Rear,Front"}, {}, "--destinations: one is given twice");
    row("no mode", {}, {""}, R"(--modes "": empty mode)");
    row("no mode of a destination", {}, {"Rear="}, R"(--modes "Rear=": empty mode)");
    row("empty mode", {}, {"A,,B"}, R"(--modes "A,,B": empty mode)");
    row("mode of no destination", {}, {"=A"}, R"(--modes "=A": empty destination)");
    row("mode of all", {}, {"all=A"}, R"(--modes "all=A": "all" cannot be a destination)");
    row("mode twice", {}, {"A,B,A"}, R"(--modes: a mode of "Cabin" is given twice)");
    row("mode twice by two options", {"Front,Rear"}, {"A", "Rear=A"},
        R"(--modes: a mode of "Rear" is given twice)");
    row("placeholders", {}, {"%1=%2,"}, R"(--modes "%1=%2,": empty mode)");
}

void tst_ModeOptions::badOptions_areComplainedAbout()
{
    QFETCH(QStringList, destinations);
    QFETCH(QStringList, modes);
    QFETCH(QString, complaint);
    try {
        CombineModes(destinations, modes);
        QFAIL("no complaint");
    } catch (const Tools::UsageError& error) {
        QCOMPARE(error.Text(), complaint);
    }
}

QTEST_APPLESS_MAIN(tst_ModeOptions)
#include "tst_ModeOptions.moc"
