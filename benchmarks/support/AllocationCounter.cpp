// SPDX-License-Identifier: MIT
#include "AllocationCounter.h"

#include <atomic>
#include <cerrno>
#include <cstddef>

namespace {

std::atomic<bool> isCounting{false};
std::atomic<std::uint64_t> allocations{0};

} // namespace

namespace KivBenchmark {

AllocationCounter::AllocationCounter()
{
    allocations = 0;
    isCounting = true;
}

AllocationCounter::~AllocationCounter()
{
    isCounting = false;
}

std::uint64_t AllocationCounter::Count() const
{
    return allocations;
}

} // namespace KivBenchmark

#ifndef KIV_SANITIZED

namespace {

void CountOne()
{
    if (isCounting.load(std::memory_order_relaxed)) {
        allocations.fetch_add(1, std::memory_order_relaxed);
    }
}

} // namespace

// The C library's own names for what is replaced here.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

void* malloc(size_t size) noexcept
{
    CountOne();
    return __libc_malloc(size);
}

void* calloc(size_t count, size_t size) noexcept
{
    CountOne();
    return __libc_calloc(count, size);
}

void* realloc(void* memory, size_t size) noexcept
{
    CountOne();
    return __libc_realloc(memory, size);
}

void* aligned_alloc(size_t alignment, size_t size) noexcept
{
    CountOne();
    return __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, size_t alignment, size_t size) noexcept
{
    CountOne();
    *memory = __libc_memalign(alignment, size);
    return *memory == nullptr ? ENOMEM : 0;
}
}

#endif // KIV_SANITIZED
