// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_RUNNER_H
#define KIV_TESTS_RUNNER_H

#include "Model.h"
#include "Schedule.h"
#include "ScriptedService.h"
#include "WatchedClient.h"

#include <QString>

#include <array>
#include <memory>

namespace KivTest {

/**
 * Does a schedule with clients of the library, and with a model beside them, and compares the two after every
 * step: what came out of the clients, in order, and what they look like. At the end everything that waits is
 * answered, and the clients are powered down and deleted.
 */
class Runner
{
public:
    /** @param service one for all runners. @param model one that nothing has happened to. */
    Runner(ScriptedService& service, Model& model);

    /** Leaves a service that nobody waits for. */
    ~Runner();

    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    /** Does it. @return what was wrong first; empty when nothing was. */
    QString Run(const Schedule& schedule);

private:
    QString DoAll(const Schedule& schedule);
    QString Finish();
    QString Do(const Step& step);
    void Perform(const Step& step);
    void DoWithClient(const Step& step);
    void DoWithService(const Step& step);
    void Tell(const Step& step);
    void React(const Step& step);
    void Appear();
    void Die();
    QString Compare();

    ScriptedService& m_Service;
    Model& m_Model;
    Trace m_Trace;
    std::array<std::unique_ptr<WatchedClient>, 3> m_Clients;
};

} // namespace KivTest

#endif // KIV_TESTS_RUNNER_H
