// SPDX-License-Identifier: MIT
#include "AllocationCounter.h"

#include <QByteArray>

#include <benchmark/benchmark.h>

#include <optional>

namespace {

/** Lets Google Benchmark report the number of allocations. */
class AllocationReport : public benchmark::MemoryManager
{
public:
    void Start() override { m_Counter.emplace(); }

    void Stop(Result& result) override
    {
        result.num_allocs = static_cast<std::int64_t>(m_Counter->Count());
        m_Counter.reset();
    }

    void Stop(Result* result) override { Stop(*result); }

private:
    std::optional<KivBenchmark::AllocationCounter> m_Counter;
};

} // namespace

int main(int argc, char** argv)
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent"); // nothing here needs a bus
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 2;
    }
    AllocationReport report;
    benchmark::RegisterMemoryManager(&report);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::RegisterMemoryManager(nullptr);
    return 0;
}
