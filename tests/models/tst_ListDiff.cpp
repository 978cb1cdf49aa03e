// SPDX-License-Identifier: MIT
#include "TestMain.h"
#include "lists/ListDiff.h"

#include <QRandomGenerator>

using namespace Audio::Utils::Kiv::Models;

namespace {

/** "+2:A,B" inserts two rows as rows 2 and 3, "-0:C" removes row 0. */
QStringList Written(const QVector<ListStep>& steps)
{
    QStringList texts;
    for (const ListStep& step : steps) {
        const QString sign = step.kind == ListStep::Insert ? "+" : "-";
        texts.append(sign + QString::number(step.first) + ':' + step.texts.join(','));
    }
    return texts;
}

/** The list that the steps leave; a step that does not fit ends the program. */
QStringList Done(QStringList list, const QVector<ListStep>& steps)
{
    for (const ListStep& step : steps) {
        for (int i = 0; i < step.texts.size(); ++i) {
            if (step.kind == ListStep::Insert) {
                list.insert(step.first + i, step.texts.at(i));
            } else if (list.value(step.first) != step.texts.at(i)) {
                qFatal("removes a row that is not there");
            } else {
                list.removeAt(step.first);
            }
        }
    }
    return list;
}

int RowsIn(const QVector<ListStep>& steps)
{
    int rows = 0;
    for (const ListStep& step : steps) {
        rows += int(step.texts.size());
    }
    return rows;
}

/** The length of the longest common subsequence, by trying everything. */
int CommonLength(const QStringList& from, const QStringList& to, int row = 0, int column = 0)
{
    if (row == from.size() || column == to.size()) {
        return 0;
    }
    if (from.at(row) == to.at(column)) {
        return 1 + CommonLength(from, to, row + 1, column + 1);
    }
    return qMax(CommonLength(from, to, row + 1, column), CommonLength(from, to, row, column + 1));
}

QStringList RandomList(QRandomGenerator& generator)
{
    QStringList list;
    for (int rows = generator.bounded(8); rows > 0; --rows) {
        list.append(QString(QChar('A' + generator.bounded(4))));
    }
    return list;
}

QStringList Letters(const QString& letters)
{
    QStringList list;
    for (const QChar letter : letters) {
        list.append(letter);
    }
    return list;
}

} // namespace

class tst_ListDiff : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void steps_areAsFewAsPossible_data();
    void steps_areAsFewAsPossible();
    void anyTwoLists_theStepsAreMinimalAndRight();
    void longLists_areReplacedWhereTheyDiffer();
};

void tst_ListDiff::steps_areAsFewAsPossible_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QStringList>("steps");
    QTest::newRow("nothing") << ""
                             << "" << QStringList();
    QTest::newRow("the same") << "ABA"
                              << "ABA" << QStringList();
    QTest::newRow("all new") << ""
                             << "ABC" << QStringList{"+0:A,B,C"};
    QTest::newRow("all gone") << "ABC"
                              << "" << QStringList{"-0:A,B,C"};
    QTest::newRow("appended") << "AB"
                              << "ABC" << QStringList{"+2:C"};
    QTest::newRow("in front") << "BC"
                              << "ABC" << QStringList{"+0:A"};
    QTest::newRow("in between") << "AC"
                                << "ABC" << QStringList{"+1:B"};
    QTest::newRow("one gone") << "ABC"
                              << "AC" << QStringList{"-1:B"};
    QTest::newRow("another one twice") << "AB"
                                       << "ABA" << QStringList{"+2:A"};
    QTest::newRow("first of two gone") << "ABA"
                                       << "BA" << QStringList{"-0:A"};
    QTest::newRow("one of a pair gone") << "AAB"
                                        << "AB" << QStringList{"-1:A"};
    QTest::newRow("neighbours at once") << "AD"
                                        << "ABCD" << QStringList{"+1:B,C"};
    QTest::newRow("replaced") << "ABC"
                              << "AXC" << (QStringList{"-1:B", "+1:X"});
    QTest::newRow("moved") << "ABC"
                           << "BCA" << (QStringList{"-0:A", "+2:A"});
    QTest::newRow("two places") << "ABCDE"
                                << "BCXDE" << (QStringList{"-0:A", "+2:X"});
}

void tst_ListDiff::steps_areAsFewAsPossible()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QStringList, steps);
    QCOMPARE(Written(StepsBetween(Letters(from), Letters(to))), steps);
}

void tst_ListDiff::anyTwoLists_theStepsAreMinimalAndRight()
{
    QRandomGenerator generator(1);
    for (int i = 0; i < 5000; ++i) {
        const QStringList from = RandomList(generator);
        const QStringList to = RandomList(generator);
        const QVector<ListStep> steps = StepsBetween(from, to);
        const QString lists = from.join(',') + " > " + to.join(',');
        QVERIFY2(Done(from, steps) == to, qPrintable(lists));
        QVERIFY2(RowsIn(steps) == from.size() + to.size() - 2 * CommonLength(from, to), qPrintable(lists));
        for (int step = 1; step < steps.size(); ++step) {
            const ListStep& before = steps.at(step - 1);
            const int next = before.first + (before.kind == ListStep::Insert ? int(before.texts.size()) : 0);
            QVERIFY2(steps.at(step).kind != before.kind || steps.at(step).first > next, qPrintable(lists));
        }
    }
}

void tst_ListDiff::longLists_areReplacedWhereTheyDiffer()
{
    QStringList from{"first"};
    QStringList to{"first"};
    for (int i = 0; i < 20000; ++i) {
        from.append(QString::number(i));
        to.append(QString::number(20000 - i));
    }
    from.append("last");
    to.append("last");
    const QVector<ListStep> steps = StepsBetween(from, to);
    QCOMPARE(steps.size(), 2);
    QCOMPARE(steps.at(0).first, 1);
    QCOMPARE(steps.at(0).texts, from.mid(1, 20000));
    QCOMPARE(steps.at(1).texts, to.mid(1, 20000));
    QCOMPARE(Written(StepsBetween(from, from.mid(1))), QStringList{"-0:first"});
}

KIV_UNIT_TEST_MAIN(tst_ListDiff)
#include "tst_ListDiff.moc"
