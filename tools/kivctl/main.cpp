// SPDX-License-Identifier: MIT
#include "ExitCode.h"
#include "Output.h"
#include "StandardStreams.h"
#include "TerminationSignal.h"
#include "UsageError.h"
#include "cli/BusAddress.h"
#include "cli/CommandLine.h"
#include "cli/CommandTable.h"

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
    return request.command->run(request.invocation);
}

// Whoever takes an empty file for the answer should not be told that all is well.
int CheckOutput(int exitCode)
{
    std::fflush(stdout);
    if (exitCode != ExitDone) {
        return exitCode;
    }
    if (Output::HasGivenUp()) {
        Output::Complain(QStringLiteral("nobody reads the standard output"));
        const int signal = Tools::TerminationSignal::Pending();
        return signal == 0 ? ExitTimeout : 128 + signal;
    }
    if (std::ferror(stdout) != 0) {
        Output::Complain(QStringLiteral("cannot write to standard output"));
        return ExitUsage;
    }
    return ExitDone;
}

} // namespace

int main(int argc, char** argv)
{
    Tools::OccupyStandardStreams();
    Tools::TerminationSignal::Block();
    const QCoreApplication application(argc, argv);
    try {
        return CheckOutput(Run(QCoreApplication::arguments()));
    } catch (const Tools::UsageError& error) {
        Output::Complain(error.Text() +
                         QStringLiteral("\nkivctl: see kivctl --help, or kivctl help COMMAND"));
        return ExitUsage;
    }
}
