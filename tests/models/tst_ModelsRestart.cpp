// SPDX-License-Identifier: MIT
#include "ModesFixture.h"
#include "Nightly.h"
#include "SimulatorControl.h"
#include "SimulatorProcess.h"
#include "TestMain.h"

#include <QDBusServiceWatcher>
#include <QDir>
#include <QElapsedTimer>

#include <algorithm>

using namespace KivTest;

namespace {

const QStringList kFirst{"Radio", "Bluetooth", "USB"};
const QStringList kOther{"Bluetooth", "AUX", "USB", "Tape"};

int OpenFiles()
{
    return int(
        QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size());
}

std::unique_ptr<SimulatorProcess> Simulator(const QStringList& modes)
{
    auto simulator = std::make_unique<SimulatorProcess>(QStringList{"--modes", modes.join(',')});
    if (!simulator->WaitUntilReady()) {
        qFatal("the simulator does not become ready");
    }
    return simulator;
}

/** How long a model takes from the appearance of the service until it shows what the service offers. */
class Stopwatch : public QObject
{
public:
    explicit Stopwatch(Modes& hmi)
        : m_Hmi(hmi)
    {
        connect(&m_Watcher, &QDBusServiceWatcher::serviceRegistered, this, [this] { m_Clock.start(); });
        for (const auto changed : {&AudioModesModel::availableChanged, &AudioModesModel::countChanged}) {
            connect(&hmi.model, changed, this, &Stopwatch::Look);
        }
        connect(&hmi.model, &AudioModesModel::currentModeChanged, this, &Stopwatch::Look);
    }

    void Await(const QStringList& modes)
    {
        m_Awaited = modes;
        m_Clock.invalidate();
        m_Elapsed = -1;
    }

    qint64 Elapsed() const { return m_Elapsed; }

private:
    void Look()
    {
        if (m_Hmi.model.isAvailable() && m_Hmi.Names() == m_Awaited &&
            m_Hmi.model.currentMode() == m_Awaited.first() && m_Clock.isValid()) {
            m_Elapsed = m_Clock.elapsed();
        }
    }

    Modes& m_Hmi;
    QDBusServiceWatcher m_Watcher{kServiceName, QDBusConnection::systemBus()};
    QElapsedTimer m_Clock;
    QStringList m_Awaited;
    qint64 m_Elapsed = -1;
};

QString Median(QVector<qint64> times)
{
    std::sort(times.begin(), times.end());
    return QStringLiteral("median %1 ms, longest %2 ms of %3")
        .arg(times.at(times.size() / 2))
        .arg(times.last())
        .arg(times.size());
}

} // namespace

/** A model beside the service's real process, which is killed and started again. */
class tst_ModelsRestart : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void killedAndRestarted_manyTimes_theModelFollows();
    void device_changesModes_theModelFollows();
};

void tst_ModelsRestart::killedAndRestarted_manyTimes_theModelFollows()
{
    const int cycles = Nightly(200, 20);
    auto simulator = Simulator(kFirst);
    Modes hmi;
    hmi.StartAndRead(kFirst);
    Stopwatch stopwatch(hmi);
    QVector<qint64> times;
    int filesAfterTheFirst = 0;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        const QStringList modes = cycle % 4 < 2 ? kOther : kFirst; // every second time the same again
        const bool isSame = modes == hmi.Names();
        simulator.reset();
        KIV_TRY_JOURNAL(hmi.journal, QStringList{"available=false"});
        QCOMPARE(hmi.model.requestMode("Radio"), false);
        stopwatch.Await(modes);
        simulator = Simulator(modes);
        QTRY_VERIFY_WITH_TIMEOUT(hmi.model.isAvailable() && hmi.Names() == modes &&
                                     hmi.model.currentMode() == modes.first() && hmi.model.lastError() == "",
                                 kPatience);
        QTRY_COMPARE_WITH_TIMEOUT(SimulatorControl().CallCount("getMode"), 1u, kPatience);
        Modes::Settle();
        QVERIFY(stopwatch.Elapsed() >= 0);
        times.append(stopwatch.Elapsed());
        QStringList told = hmi.journal.Take();
        told.removeAll("lastError=The audio service is not available.");
        told.removeAll("lastError=");
        QCOMPARE(told.first(), "available=true");
        QCOMPARE(told.size(), isSame ? 1 : told.size());
        QVERIFY(isSame || told.filter("..").size() <= 3);
        filesAfterTheFirst = cycle == 0 ? OpenFiles() : filesAfterTheFirst;
    }
    QCOMPARE(OpenFiles(), filesAfterTheFirst);
    hmi.log.Clear();
    fprintf(stderr, "from the service's appearance to the right model: %s\n", qPrintable(Median(times)));
}

void tst_ModelsRestart::device_changesModes_theModelFollows()
{
    const auto simulator = Simulator(kFirst);
    SimulatorControl control;
    Modes hmi;
    hmi.StartAndRead(kFirst);
    QVERIFY(control.Tell("AddMode", {"Tape", ""}));
    KIV_TRY_JOURNAL(hmi.journal, QStringList{"+3..3", "count=4"});
    QVERIFY(control.Tell("PressMode", {"Tape", ""}));
    KIV_TRY_JOURNAL(hmi.journal, QStringList{"currentMode=Tape", "0: active", "3: active"});
    QVERIFY(hmi.model.requestMode("USB"));
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.currentMode(), "USB", kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.isBusy(), false, kPatience);
    QVERIFY(hmi.model.requestMode("CD"));
    QVERIFY(control.Tell("AddMode", {"CD", ""}));
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.currentMode(), "CD", kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.pendingMode(), "", kPatience);
    QVERIFY(control.Tell("RemoveMode", {"CD", ""}));
    QTRY_COMPARE_WITH_TIMEOUT(hmi.Names(), kFirst + QStringList{"Tape"}, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(hmi.model.currentMode(), "Radio", kPatience);
}

KIV_BUS_TEST_MAIN(tst_ModelsRestart)
#include "tst_ModelsRestart.moc"
