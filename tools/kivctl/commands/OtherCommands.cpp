// SPDX-License-Identifier: MIT
#include "commands/OtherCommands.h"

#include "ExitCode.h"
#include "UsageError.h"
#include "cli/CommandTable.h"
#include "cli/Help.h"
#include "cli/Invocation.h"
#include "status/StatusCommand.h"
#include "trace/TraceCommand.h"

#include <cstdio>

namespace Kivctl {

int RunStatusCommand(const Invocation& invocation)
{
    StatusOptions options;
    options.address = invocation.address;
    options.timeoutMs = invocation.limit.isExplicit ? invocation.limit.milliseconds : 0;
    return RunStatus(options, Output(invocation.format));
}

int RunTraceCommand(const Invocation& invocation)
{
    if (!invocation.arguments.isEmpty() && invocation.arguments.first().isEmpty()) {
        throw Tools::UsageError(QStringLiteral("trace: expected the name of a capture file"));
    }
    TraceOptions options;
    options.address = invocation.address;
    options.captureFile = invocation.arguments.value(0);
    if (invocation.limit.isExplicit) {
        options.timeoutMs = invocation.limit.milliseconds;
        Output::SetDeadline(QDeadlineTimer(invocation.limit.milliseconds));
    }
    return RunTrace(options, Output(invocation.format));
}

int RunHelp(const Invocation& invocation)
{
    const QString name = invocation.arguments.value(0);
    const Command* command = FindCommand(name);
    if (command == nullptr && !name.isEmpty()) {
        throw Tools::UsageError(QStringLiteral("unknown command \"%1\"").arg(name));
    }
    const QString text = command == nullptr ? ProgramHelp() : CommandHelp(*command);
    std::fputs(text.toUtf8().constData(), stdout);
    return ExitDone;
}

} // namespace Kivctl
