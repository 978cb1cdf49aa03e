// SPDX-License-Identifier: MIT
#include "AllocationCounter.h"
#include "Stamps.h"

#include <QCoreApplication>
#include <QDBusConnection>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include <dlfcn.h>

namespace {

KivStamp stamps[2];
std::optional<KivBenchmark::AllocationCounter> counter;

std::int64_t Now()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

} // namespace

void KivNoteStamp(int place)
{
    stamps[place] = {Now(), counter->Count()};
}

/**
 * Loads the library whose path is given, once, into a program that has Qt already. Prints as JSON, in ns: how long the
 * whole took and how long the initialisers; and the allocations of the initialisers.
 */
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv); // Qt is in use, as in any program with the library
    QDBusConnection(QStringLiteral("none"));
    if (argc != 2) {
        std::fputs("usage: kiv-benchmark-load LIBRARY\n", stderr);
        return 2;
    }
    counter.emplace();
    const std::int64_t begin = Now();
    void* library = ::dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const std::int64_t end = Now();
    if (library == nullptr) {
        std::fprintf(stderr, "kiv-benchmark-load: %s\n", ::dlerror());
        return EXIT_FAILURE;
    }
    std::printf("{\"load\":%lld,\"initialisers\":%lld,\"allocations\":%llu}\n",
                static_cast<long long>(end - begin),
                static_cast<long long>(stamps[1].nanoseconds - stamps[0].nanoseconds),
                static_cast<unsigned long long>(stamps[1].allocations - stamps[0].allocations));
    return EXIT_SUCCESS;
}
