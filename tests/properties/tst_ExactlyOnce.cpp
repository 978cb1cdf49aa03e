// SPDX-License-Identifier: MIT
#include "CrashNote.h"
#include "Model.h"
#include "Runner.h"
#include "Schedule.h"
#include "ScriptedService.h"
#include "Shrinker.h"
#include "TestMain.h"

#include <QLoggingCategory>
#include <QtTest>

using namespace KivTest;

namespace {

Q_LOGGING_CATEGORY(Properties, "kiv.properties")

constexpr quint32 kSeed = 20260101;
constexpr quint32 kNightlyCount = 10000;
constexpr quint32 kQuickCount = 5000;

// A whole number from the environment; ends the program when it is something else.
quint32 Setting(const char* name, quint32 otherwise)
{
    const QByteArray text = qgetenv(name);
    bool isNumber = true;
    const quint32 number = text.isEmpty() ? otherwise : text.toUInt(&isNumber);
    if (!isNumber) {
        qFatal("%s must be a whole number from 0 to 4294967295, but is \"%s\"", name, text.constData());
    }
    return number;
}

QString Command(quint32 seed)
{
    return QStringLiteral("KIV_PROPERTY_SEED=%1 KIV_PROPERTY_SCHEDULES=1 %2")
        .arg(seed)
        .arg(QCoreApplication::applicationFilePath());
}

quint32 ScheduleCount()
{
    const bool isNightly = qgetenv("KIV_NIGHTLY") == "1";
    return Setting("KIV_PROPERTY_SCHEDULES", isNightly ? kNightlyCount : kQuickCount);
}

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

    QString Report(const Schedule& schedule, quint32 seed);

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
    m_Service = std::make_unique<ScriptedService>();
}

// What to read about a schedule that fails: its shortest form, what is wrong with that, and how to see it again.
QString tst_ExactlyOnce::Report(const Schedule& schedule, quint32 seed)
{
    const Schedule shortest =
        Shrink(schedule, [this](const Schedule& part) { return !Run<Model>(part).isEmpty(); });
    return QStringLiteral("Schedule %1 fails. The shortest that fails in this way or another:\n%2%3Again: %4")
        .arg(seed)
        .arg(ToText(shortest), Run<Model>(shortest), Command(seed));
}

void tst_ExactlyOnce::everySchedule_completesExactlyOnce()
{
    const quint32 firstSeed = Setting("KIV_PROPERTY_SEED", kSeed);
    const quint32 count = ScheduleCount();
    QVERIFY2(count > 0, "KIV_PROPERTY_SCHEDULES must be 1 at least");
    qCInfo(Properties, "%u schedules from seed %u", count, firstSeed);
    qint64 stepCount = 0;
    for (quint32 number = 0; number < count; ++number) {
        const quint32 seed = firstSeed + number;
        const Schedule schedule = MakeSchedule(seed);
        SetCrashNote("Crashed in a schedule. Again: " + Command(seed).toUtf8() + '\n');
        if (!Run<Model>(schedule).isEmpty()) {
            QFAIL(qUtf8Printable(Report(schedule, seed)));
        }
        stepCount += schedule.size();
    }
    qCInfo(Properties, "%lld steps", stepCount);
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
    QCOMPARE(
        ShrunkFailures<Mistaken>(),
        QStringList{"   1. hmi 1 is made and initialised\n"
                    "   2. hmi 1: SetModeAsync, argument \"B\"\n"
                    "   3. the service adds mode \"B\" for hmi 1\n"
                    "   4. the service answers waiting request 0 (0 is the oldest): error code, 0 modes\n"});
}

void tst_ExactlyOnce::shrinker_modelMistakenAboutCancelling_findsTheThreeSteps()
{
    class Mistaken : public Model
    {
    protected:
        bool IsCancelReported() const override { return false; }
    };
    const QStringList texts = ShrunkFailures<Mistaken>();
    QVERIFY(texts.contains("   1. hmi 1 is made and initialised\n"
                           "   2. hmi 1: SetModeAsync, argument \"B\"\n"
                           "   3. hmi 1: SetModeAsync, argument \"C\"\n"));
    for (const QString& text : texts) { // some have to get a mode off the list first, or to wait for a slot
        QVERIFY2(text.count('\n') <= 6, qUtf8Printable(text));
    }
}

KIV_UNIT_TEST_MAIN(tst_ExactlyOnce)

#include "tst_ExactlyOnce.moc"
