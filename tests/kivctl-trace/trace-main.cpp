// SPDX-License-Identifier: MIT
#include "StatusCommand.h"
#include "TerminationSignal.h"
#include "TraceCommand.h"

#include <QCoreApplication>

#include <cstdio>

// kivctl-trace-program status|trace text|json ADDRESS TIMEOUT_MS [CAPTURE]: the two commands without the rest
// of kivctl.
int main(int argc, char** argv)
{
    Tools::TerminationSignal::Block();
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 5) {
        std::fputs("usage: status|trace text|json ADDRESS TIMEOUT_MS [CAPTURE]\n", stderr);
        return 2;
    }
    using Kivctl::Output;
    const Output output(arguments.at(2) == "json" ? Output::Format::Json : Output::Format::Text);
    const QString& address = arguments.at(3);
    const int timeout = arguments.at(4).toInt();
    if (arguments.at(1) == "status") {
        return Kivctl::RunStatus({address, timeout}, output);
    }
    return Kivctl::RunTrace({address, arguments.value(5), timeout}, output);
}
