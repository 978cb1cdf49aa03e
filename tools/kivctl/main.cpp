// SPDX-License-Identifier: MIT
#include "ExitCode.h"
#include "Output.h"
#include "TerminationSignal.h"
#include "cli/BusAddress.h"
#include "cli/CommandLine.h"
#include "cli/CommandTable.h"
#include "cli/UsageError.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>

using namespace Kivctl;

namespace {

int Run(const QStringList& arguments)
{
    const Request request = ReadCommandLine(arguments);
    if (request.command == nullptr) {
        std::fputs(request.text.toUtf8().constData(), stdout);
        return ExitDone;
    }
    if (!request.invocation.IsSet(QStringLiteral("verbose"))) {
        QLoggingCategory::setFilterRules(QStringLiteral("default=false")); // QT_LOGGING_RULES goes before it
    }
    UseBus(request.invocation.address);
    const int exitCode = request.command->run(request.invocation);
    const bool isTrace = request.command->name == QLatin1String("trace"); // which looks after it itself
    if (exitCode == ExitDone && !isTrace && std::ferror(stdout) != 0) {
        Output::Complain(QStringLiteral("cannot write to standard output"));
        return ExitUsage;
    }
    return exitCode;
}

} // namespace

int main(int argc, char** argv)
{
    Tools::TerminationSignal::Block();
    const QCoreApplication application(argc, argv);
    try {
        return Run(QCoreApplication::arguments());
    } catch (const UsageError& error) {
        Output::Complain(error.Text() +
                         QStringLiteral("\nkivctl: see kivctl --help, or kivctl help COMMAND"));
        return ExitUsage;
    }
}
