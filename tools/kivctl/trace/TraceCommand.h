// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_TRACECOMMAND_H
#define KIVCTL_TRACE_TRACECOMMAND_H

#include "Output.h"

#include <QString>

namespace Kivctl {

/** What `kivctl trace` is asked for. */
struct TraceOptions
{
    QString address;     ///< of the bus
    QString captureFile; ///< read instead of a bus; empty for none
    int timeoutMs = 0; ///< how long to look at a bus, or how long reading may take; 0 for as long as it takes
};

/**
 * Prints the protocol's messages as they go over a bus, or those of a capture file.
 *
 * Needs a QCoreApplication whose event loop does not run, and Tools::TerminationSignal::Block(). Also the
 * greeting of the bus is bounded, by five seconds.
 *
 * @return an ExitCode.
 */
int RunTrace(const TraceOptions& options, const Output& output);

} // namespace Kivctl

#endif // KIVCTL_TRACE_TRACECOMMAND_H
