// SPDX-License-Identifier: MIT
#include "Campaign.h"

#include "CrashNote.h"
#include "Model.h"
#include "Runner.h"
#include "Shrinker.h"

#include <QCoreApplication>
#include <QLoggingCategory>

namespace KivTest {

namespace {

Q_LOGGING_CATEGORY(Properties, "kiv.properties")

constexpr quint32 kSeed = 20260101;

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

quint32 ScheduleCount(quint32 quick, quint32 nightly)
{
    const quint32 count = Setting("KIV_PROPERTY_SCHEDULES", qgetenv("KIV_NIGHTLY") == "1" ? nightly : quick);
    if (count == 0) {
        qFatal("KIV_PROPERTY_SCHEDULES must be 1 at least");
    }
    return count;
}

QString Command(quint32 seed)
{
    return QStringLiteral("KIV_PROPERTY_SEED=%1 KIV_PROPERTY_SCHEDULES=1 %2")
        .arg(seed)
        .arg(QCoreApplication::applicationFilePath());
}

} // namespace

Campaign::Campaign(ScriptedService& service, quint32 quick, quint32 nightly)
    : m_Service(service),
      m_FirstSeed(Setting("KIV_PROPERTY_SEED", kSeed)),
      m_Count(ScheduleCount(quick, nightly))
{
}

QString Campaign::Run()
{
    qCInfo(Properties, "%u schedules, seeds from %u on", m_Count, m_FirstSeed);
    const int sentBefore = m_Service.SentCount();
    qint64 stepCount = 0;
    for (quint32 number = 0; number < m_Count; ++number) {
        const quint32 seed = m_FirstSeed + number;
        const Schedule schedule = MakeSchedule(seed);
        m_Command = Command(seed);
        const QString failure = FailureOf(schedule);
        if (!failure.isEmpty()) {
            return Report(schedule, seed, failure);
        }
        stepCount += schedule.size();
    }
    qCInfo(Properties, "%lld steps, %d requests sent", stepCount, m_Service.SentCount() - sentBefore);
    return QString();
}

QString Campaign::FailureOf(const Schedule& schedule)
{
    // Crashes are not shrunk, but those in the course of shrinking have short schedules.
    SetCrashNote(
        QString("Crashed in this schedule:\n%1Again: %2\n").arg(ToText(schedule), m_Command).toUtf8());
    Model model;
    return Runner(m_Service, model).Run(schedule);
}

QString Campaign::Report(const Schedule& schedule, quint32 seed, const QString& failure)
{
    const QString text = QStringLiteral("Schedule %1 fails%2:\n%3%4Again: %5");
    if (IsPassing(schedule)) {
        return text.arg(seed).arg(", though not always", ToText(schedule), failure, m_Command);
    }
    qCInfo(Properties, "schedule %u fails and is being shortened", seed);
    const Schedule shortest = Shrink(schedule, [this](const Schedule& part) { return !IsPassing(part); });
    return text.arg(seed).arg(". The shortest that fails in this way or another", ToText(shortest),
                              FailureOf(shortest), m_Command);
}

} // namespace KivTest
