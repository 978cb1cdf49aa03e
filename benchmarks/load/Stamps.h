// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_STAMPS_H
#define KIV_BENCHMARKS_STAMPS_H

#include <cstdint>

/**
 * When the initialisers of a library began and ended.
 *
 * A library is loaded between two others: the loader runs the initialisers of the one in front of it before, and those
 * of the one that needs it after its own. Both have nothing else to do than to tell the program the time.
 */
struct KivStamp
{
    std::int64_t nanoseconds;
    std::uint64_t allocations;
};

/** Exported by the program: notes the time and the number of allocations. @param place 0 before, 1 after. */
extern "C" __attribute__((visibility("default"))) void KivNoteStamp(int place);

#endif // KIV_BENCHMARKS_STAMPS_H
