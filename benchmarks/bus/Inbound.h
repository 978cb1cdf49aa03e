// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_INBOUND_H
#define KIV_BENCHMARKS_INBOUND_H

#include "Contest.h"

#include <vector>

namespace KivBenchmark {

/** Calls of the service: the library down to the typed signal, and a bare adaptor of Qt that looks at nothing. */
std::vector<Contestant> CallContestants();

/** Broadcasts: the library down to the typed signal, and a slot that is connected by Qt alone. */
std::vector<Contestant> BroadcastContestants();

/** Starting requests from a thread that is not the client's: the library, and a bare queued invocation. */
std::vector<Contestant> ForeignThreadContestants();

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_INBOUND_H
