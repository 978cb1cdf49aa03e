// SPDX-License-Identifier: MIT
// What the service broadcasts, to an HMI client and to an application client. An input is a notification in
// each line: a name, a blank, a JSON text.
#include "ClientScript.h"
#include "FuzzTarget.h"

using namespace KivFuzz;

void KivFuzz::HandleInput(const char* data, int size)
{
    Script script;
    const QStringList lines = LinesOf(data, size);
    for (const QString& line : lines) {
        script.append({Verb::Notify, line});
    }
    RunHmi(script);
    RunApp(script);
}
