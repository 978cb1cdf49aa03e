// SPDX-License-Identifier: MIT
#include "LogLines.h"

#include <benchmark/benchmark.h>

namespace KivBenchmark {

namespace {

const QString method = QStringLiteral("audioActive");
const QString arguments = QStringLiteral(R"({"playing":true,"sessionId":1234})");

void DisabledLine(benchmark::State& state)
{
    const SilentLog log(false);
    for (auto _ : state) {
        OneLine(method, arguments);
        benchmark::ClobberMemory();
    }
}

void ServiceRequest(benchmark::State& state)
{
    IdleClient idle;
    const SilentLog log(true);
    for (auto _ : state) {
        QString result;
        benchmark::DoNotOptimize(idle.client.ServiceRequest(method, arguments, result));
    }
}

void ServiceRequestWithQTime(benchmark::State& state)
{
    const SilentLog log(true);
    for (auto _ : state) {
        OneLineWithQTime(method, arguments);
    }
}

BENCHMARK(DisabledLine)->Name("log/disabled/library");
BENCHMARK(ServiceRequest)->Name("log/ServiceRequest/library");
BENCHMARK(ServiceRequestWithQTime)->Name("log/ServiceRequest/QTime");

} // namespace

} // namespace KivBenchmark
