// SPDX-License-Identifier: MIT
#include "FaultTable.h"

#include "service/CallCounts.h"

#include <QTest>

using namespace Simulator;

namespace {

Request Call(const QString& method = "setMode", Role role = Role::Hmi)
{
    return {role, ":1.1", method, "{}"};
}

Fault Named(const QString& name, const QString& method = QString())
{
    Fault fault;
    fault.name = name;
    fault.method = method;
    return fault;
}

/** The names of the faults that hit one call after the other; "-" where none does. */
QString Hits(FaultTable& table, int calls, const Request& request = Call())
{
    QStringList hits;
    for (int call = 0; call < calls; ++call) {
        const std::optional<Fault> hit = table.Hit(request);
        hits += hit ? hit->name : QString("-");
    }
    return hits.join(' ');
}

QString HitsOfSeed(quint32 seed)
{
    Randomness randomness(seed);
    FaultTable table(randomness);
    Fault fault = Named("f");
    fault.times.reset();
    fault.probability = 0.5;
    table.Arm(fault);
    return Hits(table, 64);
}

} // namespace

class tst_FaultTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { m_Randomness = Randomness(1); }

    void fault_hitsOneCall();
    void times_areCounted();
    void skipped_areThoseThatFit();
    void methodAndRole_decide();
    void firstArmed_hitsAlone();
    void skippedCall_isHitByTheNextFault();
    void probability_dependsOnTheSeed();
    void sparedCall_isNotCounted();
    void certainFaults_drawNothing();
    void disarmed_hitNoLonger();
    void identifiers_areNeverUsedAgain();
    void copies_areIndependent();
    void calls_areCounted();

private:
    Randomness m_Randomness{1};
};

void tst_FaultTable::fault_hitsOneCall()
{
    FaultTable table(m_Randomness);
    QCOMPARE(Hits(table, 1), QString("-"));
    table.Arm(Named("f"));
    QCOMPARE(Hits(table, 3), QString("f - -"));
}

void tst_FaultTable::times_areCounted()
{
    FaultTable table(m_Randomness);
    Fault fault = Named("f");
    fault.times = 3;
    table.Arm(fault);
    QCOMPARE(Hits(table, 5), QString("f f f - -"));
    fault.times.reset();
    table.Arm(fault);
    QCOMPARE(Hits(table, 1000), QString("f ").repeated(1000).trimmed());
}

void tst_FaultTable::skipped_areThoseThatFit()
{
    FaultTable table(m_Randomness);
    Fault fault = Named("f", "setMode");
    fault.skip = 2;
    fault.times = 2;
    table.Arm(fault);
    QCOMPARE(Hits(table, 1), QString("-"));
    QCOMPARE(Hits(table, 9, Call("getMode")), QString("- - - - - - - - -"));
    QCOMPARE(Hits(table, 5), QString("- f f - -"));
}

void tst_FaultTable::methodAndRole_decide()
{
    FaultTable table(m_Randomness);
    Fault fault = Named("f", "openSession");
    fault.role = Role::App;
    table.Arm(fault);
    QCOMPARE(Hits(table, 1, Call("openSession", Role::Hmi)), QString("-"));
    QCOMPARE(Hits(table, 1, Call("openSessions", Role::App)), QString("-"));
    QCOMPARE(Hits(table, 1, Call("OpenSession", Role::App)), QString("-"));
    QCOMPARE(Hits(table, 2, Call("openSession", Role::App)), QString("f -"));
    Fault ofHmis = Named("h");
    ofHmis.role = Role::Hmi;
    table.Arm(ofHmis);
    QCOMPARE(Hits(table, 1, Call("anything", Role::App)), QString("-"));
    QCOMPARE(Hits(table, 2, Call("anything", Role::Hmi)), QString("h -"));
}

void tst_FaultTable::firstArmed_hitsAlone()
{
    FaultTable table(m_Randomness);
    for (const char* name : {"a", "b", "c"}) {
        table.Arm(Named(name));
    }
    QCOMPARE(Hits(table, 4), QString("a b c -"));
}

void tst_FaultTable::skippedCall_isHitByTheNextFault()
{
    FaultTable table(m_Randomness);
    Fault first = Named("a");
    first.skip = 1;
    table.Arm(first);
    table.Arm(Named("b"));
    QCOMPARE(Hits(table, 3), QString("b a -"));
}

void tst_FaultTable::probability_dependsOnTheSeed()
{
    const QString hits = HitsOfSeed(1);
    QCOMPARE(HitsOfSeed(1), hits);
    QVERIFY(HitsOfSeed(2) != hits);
    QVERIFY(hits.count('f') > 16);
    QVERIFY(hits.count('-') > 16);
}

void tst_FaultTable::sparedCall_isNotCounted()
{
    FaultTable table(m_Randomness);
    Fault fault = Named("f");
    fault.times = 10;
    fault.probability = 0.25;
    table.Arm(fault);
    const QString hits = Hits(table, 1000);
    QCOMPARE(hits.count('f'), 10);
    QVERIFY(hits.left(hits.lastIndexOf('f')).count('-') > 3);
    fault.probability = 0;
    table.Arm(fault);
    QCOMPARE(Hits(table, 1000).count('f'), 0);
}

void tst_FaultTable::certainFaults_drawNothing()
{
    Randomness untouched(1);
    FaultTable table(m_Randomness);
    Fault fault = Named("f", "setMode");
    fault.times.reset();
    table.Arm(fault);
    Fault unfitting = Named("g", "getMode");
    unfitting.probability = 0.5;
    table.Arm(unfitting);
    Hits(table, 100);
    QCOMPARE(m_Randomness.Below(1000000), untouched.Below(1000000));
}

void tst_FaultTable::disarmed_hitNoLonger()
{
    FaultTable table(m_Randomness);
    const quint32 first = table.Arm(Named("a"));
    table.Arm(Named("b"));
    QVERIFY(table.Disarm(first));
    QVERIFY(!table.Disarm(first));
    QCOMPARE(Hits(table, 2), QString("b -"));
    const quint32 spent = table.Arm(Named("c"));
    QCOMPARE(Hits(table, 1), QString("c"));
    QVERIFY(!table.Disarm(spent));
    table.Arm(Named("d"));
    table.Arm(Named("e"));
    table.DisarmAll();
    QCOMPARE(Hits(table, 2), QString("- -"));
}

void tst_FaultTable::identifiers_areNeverUsedAgain()
{
    FaultTable table(m_Randomness);
    const quint32 first = table.Arm(Named("a"));
    const quint32 second = table.Arm(Named("b"));
    QVERIFY(table.Disarm(second));
    const quint32 third = table.Arm(Named("c"));
    table.DisarmAll();
    const quint32 fourth = table.Arm(Named("d"));
    QCOMPARE((QVector<quint32>{first, second, third, fourth}), (QVector<quint32>{1, 2, 3, 4}));
}

void tst_FaultTable::copies_areIndependent()
{
    FaultTable table(m_Randomness);
    Fault fault = Named("f");
    fault.times = 2;
    table.Arm(fault);
    table.Arm(fault);
    QCOMPARE(Hits(table, 5), QString("f f f f -"));
    QVERIFY(fault.times == 2);
}

void tst_FaultTable::calls_areCounted()
{
    CallCounts counts;
    QCOMPARE(counts.Of(QString(), std::nullopt), 0);
    counts.Add(Call("openSession", Role::Hmi));
    counts.Add(Call("openSession", Role::App));
    counts.Add(Call("openSession", Role::App));
    counts.Add(Call("setMode", Role::Hmi));
    QCOMPARE(counts.Of(QString(), std::nullopt), 4);
    QCOMPARE(counts.Of(QString(), Role::Hmi), 2);
    QCOMPARE(counts.Of(QString(), Role::App), 2);
    QCOMPARE(counts.Of("openSession", std::nullopt), 3);
    QCOMPARE(counts.Of("openSession", Role::Hmi), 1);
    QCOMPARE(counts.Of("openSession", Role::App), 2);
    QCOMPARE(counts.Of("setMode", Role::App), 0);
    QCOMPARE(counts.Of("opensession", std::nullopt), 0);
    counts.Clear();
    QCOMPARE(counts.Of(QString(), std::nullopt), 0);
}

QTEST_APPLESS_MAIN(tst_FaultTable)
#include "tst_FaultTable.moc"
