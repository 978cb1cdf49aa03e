// SPDX-License-Identifier: MIT
#include "commands/OtherCommands.h"

#include "ExitCode.h"
#include "cli/CommandTable.h"
#include "cli/Help.h"
#include "cli/Invocation.h"
#include "cli/UsageError.h"
#ifdef KIVCTL_HAS_STATUS
#include "status/StatusCommand.h"
#endif
#ifdef KIVCTL_HAS_TRACE
#include "trace/TraceCommand.h"
#endif

#include <cstdio>

namespace Kivctl {

int RunStatusCommand([[maybe_unused]] const Invocation& invocation)
{
#ifdef KIVCTL_HAS_STATUS
    StatusOptions options;
    options.address = invocation.address;
    options.timeoutMs = invocation.limit.isExplicit ? invocation.limit.milliseconds : 0;
    return RunStatus(options, Output(invocation.format));
#else
    throw UsageError(QStringLiteral("status: not part of this build"));
#endif
}

int RunTraceCommand([[maybe_unused]] const Invocation& invocation)
{
#ifdef KIVCTL_HAS_TRACE
    TraceOptions options;
    options.address = invocation.address;
    options.captureFile = invocation.arguments.value(0);
    options.timeoutMs = invocation.limit.isExplicit ? invocation.limit.milliseconds : 0;
    return RunTrace(options, Output(invocation.format));
#else
    throw UsageError(QStringLiteral("trace: not part of this build"));
#endif
}

int RunHelp(const Invocation& invocation)
{
    const QString name = invocation.arguments.value(0);
    const Command* command = FindCommand(name);
    if (command == nullptr && !name.isEmpty()) {
        throw UsageError(QStringLiteral("unknown command \"%1\"").arg(name));
    }
    const QString text = command == nullptr ? ProgramHelp() : CommandHelp(*command);
    std::fputs(text.toUtf8().constData(), stdout);
    return ExitDone;
}

} // namespace Kivctl
