// SPDX-License-Identifier: MIT
#include "CallTable.h"

#include <QTest>

using Kivctl::CallTable;
using Kivctl::TraceRecord;

namespace {

TraceRecord Call(const QString& caller, quint32 serial, const QString& method)
{
    TraceRecord call;
    call.sender = caller;
    call.serial = serial;
    call.method = method;
    return call;
}

QStringList Methods(const QVector<TraceRecord>& calls)
{
    QStringList methods;
    for (const TraceRecord& call : calls) {
        methods.append(call.method);
    }
    return methods;
}

} // namespace

class tst_CallTable : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void answer_takesItsCallOnce();
    void sameSerialOfAnotherCaller_isAnotherCall();
    void sameCallAgain_dropsTheEarlierOne();
    void fullTable_dropsTheOldestOnly();
    void callerGone_itsCallsComeInTheirOrder();
    void end_allCallsComeInTheirOrder();
    void manyUnansweredCalls_staysWithinItsCapacity();
};

void tst_CallTable::answer_takesItsCallOnce()
{
    CallTable table;
    QCOMPARE(Methods(table.Add(Call(":1.1", 7, "a"))), QStringList());
    QVERIFY(!table.Take(":1.1", 8));
    const auto call = table.Take(":1.1", 7);
    QVERIFY(call.has_value());
    QCOMPARE(call->method, QString("a"));
    QVERIFY(!table.Take(":1.1", 7));
    QCOMPARE(table.Size(), 0);
}

void tst_CallTable::sameSerialOfAnotherCaller_isAnotherCall()
{
    CallTable table;
    table.Add(Call(":1.1", 7, "a"));
    QCOMPARE(Methods(table.Add(Call(":1.2", 7, "b"))), QStringList());
    QCOMPARE(table.Take(":1.2", 7)->method, QString("b"));
    QCOMPARE(table.Take(":1.1", 7)->method, QString("a"));
}

void tst_CallTable::sameCallAgain_dropsTheEarlierOne()
{
    CallTable table;
    table.Add(Call(":1.1", 7, "a"));
    QCOMPARE(Methods(table.Add(Call(":1.1", 7, "b"))), QStringList{"a"});
    QCOMPARE(table.Take(":1.1", 7)->method, QString("b"));
    QCOMPARE(table.Size(), 0);
}

void tst_CallTable::fullTable_dropsTheOldestOnly()
{
    CallTable table(2);
    table.Add(Call(":1.1", 1, "a"));
    table.Add(Call(":1.1", 2, "b"));
    QCOMPARE(Methods(table.Add(Call(":1.1", 3, "c"))), QStringList{"a"});
    QVERIFY(!table.Take(":1.1", 1));
    QCOMPARE(Methods(table.TakeAll()), (QStringList{"b", "c"}));
}

void tst_CallTable::callerGone_itsCallsComeInTheirOrder()
{
    CallTable table;
    table.Add(Call(":1.1", 9, "a"));
    table.Add(Call(":1.2", 1, "b"));
    table.Add(Call(":1.1", 2, "c"));
    QCOMPARE(Methods(table.TakeOf(":1.1")), (QStringList{"a", "c"}));
    QCOMPARE(Methods(table.TakeOf(":1.1")), QStringList());
    QCOMPARE(Methods(table.TakeAll()), QStringList{"b"});
}

void tst_CallTable::end_allCallsComeInTheirOrder()
{
    CallTable table;
    table.Add(Call(":1.2", 9, "a"));
    table.Add(Call(":1.1", 2, "b"));
    QCOMPARE(Methods(table.TakeAll()), (QStringList{"a", "b"}));
    QCOMPARE(table.Size(), 0);
    QVERIFY(!table.Take(":1.2", 9));
}

void tst_CallTable::manyUnansweredCalls_staysWithinItsCapacity()
{
    CallTable table;
    int dropped = 0;
    for (quint32 serial = 1; serial <= 100000; ++serial) {
        dropped += int(table.Add(Call(":1.1", serial, "a")).size());
    }
    QCOMPARE(table.Size(), 10000);
    QCOMPARE(dropped, 90000);
    QVERIFY(!table.Take(":1.1", 90000));
    QVERIFY(table.Take(":1.1", 90001).has_value());
}

QTEST_GUILESS_MAIN(tst_CallTable)
#include "tst_CallTable.moc"
