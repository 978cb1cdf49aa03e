// SPDX-License-Identifier: MIT
// Everything that can happen to a client, in any order. An input is a script, a step in each line
// (ClientScript.h), for an application client if its first line is "app", else for an HMI client.
#include "ClientScript.h"
#include "FuzzTarget.h"

using namespace KivFuzz;

void KivFuzz::HandleInput(const char* data, int size)
{
    Script script;
    const QStringList lines = LinesOf(data, size);
    for (const QString& line : lines) {
        script.append(StepOf(line));
    }
    if (lines.first() == "app") {
        RunApp(script);
    } else {
        RunHmi(script);
    }
}
