// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_CAMPAIGN_H
#define KIV_TESTS_CAMPAIGN_H

#include "Schedule.h"
#include "ScriptedService.h"

#include <QString>

namespace KivTest {

/**
 * Many random schedules, one after the other.
 *
 * The environment chooses them: KIV_PROPERTY_SEED is the seed of the first one, each further one has the next
 * seed; KIV_PROPERTY_SCHEDULES is their number, KIV_NIGHTLY=1 makes them more.
 */
class Campaign
{
public:
    /** @param quick @param nightly how many schedules there are if the environment does not say. */
    Campaign(ScriptedService& service, quint32 quick, quint32 nightly);

    /**
     * Runs the schedules, up to the first that fails.
     *
     * @return what there is to read about that one: its shortest form, what is wrong, how to see it again;
     *         empty when none fails.
     */
    QString Run();

private:
    bool IsPassing(const Schedule& schedule) { return FailureOf(schedule).isEmpty(); }
    QString FailureOf(const Schedule& schedule);
    QString Report(const Schedule& schedule, quint32 seed, const QString& failure);

    ScriptedService& m_Service;
    quint32 m_FirstSeed;
    quint32 m_Count;
    QString m_Command;
};

} // namespace KivTest

#endif // KIV_TESTS_CAMPAIGN_H
