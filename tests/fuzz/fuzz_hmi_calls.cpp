// SPDX-License-Identifier: MIT
// What the service calls on an HMI client. An input is a call in each line: a name, a blank, a JSON text.
#include "ClientScript.h"
#include "FuzzTarget.h"

using namespace KivFuzz;

void KivFuzz::HandleInput(const char* data, int size)
{
    Script script;
    const QStringList lines = LinesOf(data, size);
    for (const QString& line : lines) {
        script.append({Verb::Call, line});
    }
    RunHmi(script);
}
