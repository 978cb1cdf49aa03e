// SPDX-License-Identifier: MIT
// How the service answers each operation. An input is an operation in each line, a blank, and its reply: a
// JSON text, or a sign (ScriptedService.h, ReplyOf).
#include "ClientScript.h"
#include "FuzzTarget.h"

using namespace KivFuzz;

namespace {

// An operation under the conditions that it needs, and its reply.
void Append(Script& script, Verb operation, const QString& reply)
{
    const bool opensSession = operation == Verb::OpenSession || operation == Verb::OpenSessionAsync;
    script.append({Verb::Reply, "{\"sessionId\":7}"});
    script.append({opensSession ? Verb::CloseSession : Verb::OpenSession, QString()});
    script.append({Verb::Reply, reply});
    script.append({operation, "Radio"}); // a mode, a destination or a reason
    script.append({Verb::Events, QString()});
}

} // namespace

void KivFuzz::HandleInput(const char* data, int size)
{
    Script hmi;
    Script app;
    const QStringList lines = LinesOf(data, size);
    for (const QString& line : lines) {
        const Step step = StepOf(line);
        if (step.verb >= Verb::OpenSession) {
            Append(IsOfApp(step.verb) ? app : hmi, step.verb, step.argument);
        }
    }
    if (!hmi.isEmpty()) {
        RunHmi(hmi);
    }
    if (!app.isEmpty()) {
        RunApp(app);
    }
}
