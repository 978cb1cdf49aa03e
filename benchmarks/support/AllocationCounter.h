// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_ALLOCATIONCOUNTER_H
#define KIV_BENCHMARKS_ALLOCATIONCOUNTER_H

#include <cstdint>

namespace KivBenchmark {

/**
 * Counts how often memory is taken, on all threads, by everything that is loaded into the program.
 *
 * A program that is linked with it has malloc() and its relatives replaced; while nobody counts, that costs one
 * look at a flag. A build with sanitizers, which replace them as well, counts nothing.
 */
class AllocationCounter
{
public:
    AllocationCounter();
    ~AllocationCounter();
    AllocationCounter(const AllocationCounter&) = delete;
    AllocationCounter& operator=(const AllocationCounter&) = delete;

    /** The number since this object was made. Not nestable. */
    std::uint64_t Count() const;
};

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_ALLOCATIONCOUNTER_H
