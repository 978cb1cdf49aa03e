// SPDX-License-Identifier: MIT
#include "Campaign.h"
#include "Model.h"
#include "PeerWire.h"
#include "Runner.h"
#include "Schedule.h"
#include "ScriptedService.h"
#include "Shrinker.h"
#include "TestMain.h"

#include <QLoggingCategory>
#include <QtTest>

using namespace KivTest;

namespace {

// Every single step is needed.
void VerifyNothingTooMuch(const Schedule& schedule, const Fails& fails)
{
    QVERIFY(fails(schedule));
    for (int index = 0; index < schedule.size(); ++index) {
        Schedule shorter = schedule;
        shorter.removeAt(index);
        QVERIFY2(!fails(shorter), qUtf8Printable(ToText(schedule)));
    }
}

// One of the shortest forms has to be this one. Others have to get a mode off the list first, or wait for a
// slot.
void VerifyShrunk(const QStringList& texts, const QString& expected)
{
    const QByteArray all = texts.join("--\n").toUtf8();
    QVERIFY2(texts.contains(expected), all.constData());
    for (const QString& text : texts) {
        QVERIFY2(text.count('\n') <= 6, all.constData());
    }
}

} // namespace

class tst_ExactlyOnce : public QObject
{
    Q_OBJECT

private:
    template <typename SomeModel>
    QString Run(const Schedule& schedule)
    {
        SomeModel model;
        return Runner(*m_Service, model).Run(schedule);
    }

    template <typename SomeModel>
    QStringList ShrunkFailures();

    std::unique_ptr<PeerWire> m_Wire;
    std::unique_ptr<ScriptedService> m_Service;

private Q_SLOTS:
    void initTestCase();
    void everySchedule_completesExactlyOnce();
    void sameSeed_sameSchedule();
    void shrinker_keepsOnlyWhatFails();
    void shrinker_modelMistakenAboutRefusals_findsTheFourSteps();
    void shrinker_modelMistakenAboutCancelling_findsTheThreeSteps();
};

void tst_ExactlyOnce::initTestCase()
{
    QLoggingCategory::setFilterRules("default=false"); // the library's records, errors included
    m_Wire = std::make_unique<PeerWire>();
    m_Service = std::make_unique<ScriptedService>(*m_Wire);
}

void tst_ExactlyOnce::everySchedule_completesExactlyOnce()
{
    const QString failure = Campaign(*m_Service, 3000, 10000).Run();
    if (!failure.isEmpty()) {
        QFAIL(qUtf8Printable(failure)); // QVERIFY2() would cut it off
    }
}

void tst_ExactlyOnce::sameSeed_sameSchedule()
{
    QCOMPARE(ToText(MakeSchedule(1)), ToText(MakeSchedule(1)));
    QVERIFY(MakeSchedule(1) != MakeSchedule(2));
    QCOMPARE(ToText(MakeSchedule(1).first()), QString("hmi 1 is made and initialised"));
}

void tst_ExactlyOnce::shrinker_keepsOnlyWhatFails()
{
    const auto fails = [](const Schedule& schedule) { // a kill, and later an answer of garbage
        const auto isKill = [](const Step& step) { return step.action == Action::Kill; };
        const auto isGarbage = [](const Step& step) {
            return step.action == Action::Answer && step.outcome == Outcome::Garbage;
        };
        const auto kill = std::find_if(schedule.cbegin(), schedule.cend(), isKill);
        return std::any_of(kill, schedule.cend(), isGarbage);
    };
    int failureCount = 0;
    for (quint32 seed = 0; seed < 200; ++seed) {
        const Schedule schedule = MakeSchedule(seed);
        if (fails(schedule)) {
            ++failureCount;
            QCOMPARE(
                ToText(Shrink(schedule, fails)),
                QString(
                    "   1. the service is killed\n"
                    "   2. the service answers waiting request 0 (0 is the oldest): not JSON, 0 modes\n"));
        }
    }
    QVERIFY(failureCount > 10);
}

// The shortest forms of all failures among some schedules, each once.
template <typename SomeModel>
QStringList tst_ExactlyOnce::ShrunkFailures()
{
    const Fails fails = [this](const Schedule& schedule) { return !Run<SomeModel>(schedule).isEmpty(); };
    QStringList texts;
    for (quint32 seed = 0; seed < 60; ++seed) {
        const Schedule schedule = MakeSchedule(seed);
        if (fails(schedule)) {
            const Schedule shortest = Shrink(schedule, fails);
            VerifyNothingTooMuch(shortest, fails);
            texts.append(ToText(shortest));
        }
    }
    texts.removeDuplicates();
    return texts;
}

void tst_ExactlyOnce::shrinker_modelMistakenAboutRefusals_findsTheFourSteps()
{
    class Mistaken : public Model
    {
    protected:
        bool IsSettled(bool /*isAccepted*/) const override { return true; }
    };
    VerifyShrunk(ShrunkFailures<Mistaken>(),
                 "   1. hmi 1 is made and initialised\n"
                 "   2. hmi 1: SetModeAsync, argument \"B\"\n"
                 "   3. the service adds mode \"B\" for hmi 1\n"
                 "   4. the service answers waiting request 0 (0 is the oldest): error code, 0 modes\n");
}

void tst_ExactlyOnce::shrinker_modelMistakenAboutCancelling_findsTheThreeSteps()
{
    class Mistaken : public Model
    {
    protected:
        bool IsCancelReported() const override { return false; }
    };
    VerifyShrunk(ShrunkFailures<Mistaken>(), "   1. hmi 1 is made and initialised\n"
                                             "   2. hmi 1: SetModeAsync, argument \"B\"\n"
                                             "   3. hmi 1: SetModeAsync, argument \"C\"\n");
}

KIV_UNIT_TEST_MAIN(tst_ExactlyOnce)

#include "tst_ExactlyOnce.moc"
