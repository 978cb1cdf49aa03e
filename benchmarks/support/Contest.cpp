// SPDX-License-Identifier: MIT
#include "Contest.h"

#include "AllocationCounter.h"

#include <QFile>
#include <QJsonArray>

#include <algorithm>
#include <chrono>

#include <sys/resource.h>
#ifdef KIV_HAVE_CALLGRIND
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_START_INSTRUMENTATION
#define CALLGRIND_STOP_INSTRUMENTATION
#define CALLGRIND_DUMP_STATS_AT(title) static_cast<void>(title)
#endif

namespace KivBenchmark {

namespace {

qint64 Now()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

qint64 Nanoseconds(const timeval& time)
{
    return qint64(time.tv_sec) * 1000000000 + qint64(time.tv_usec) * 1000;
}

double Percentile(std::vector<qint64> values, double share)
{
    const auto place = values.begin() + qint64(double(values.size() - 1) * share);
    std::nth_element(values.begin(), place, values.end());
    return double(*place);
}

struct Record
{
    QJsonArray cpu;
    QJsonArray wall;
};

void PerformSlice(const Contestant& contestant, int operations, Record& record)
{
    const Used before = UsedSoFar();
    contestant.perform(operations);
    const Used after = UsedSoFar();
    record.cpu.append(double(after.cpu - before.cpu) / operations);
    record.wall.append(double(after.wall - before.wall) / operations);
}

double AllocationsOf(const Contestant& contestant, int operations)
{
    const AllocationCounter counter;
    contestant.perform(operations);
    return double(counter.Count()) / operations;
}

QJsonObject Evaluated(const Contestant& contestant, const Record& record)
{
    QJsonObject result{{"cpu", record.cpu}, {"wall", record.wall}};
    if (contestant.latencies != nullptr) {
        result["latencyMedian"] = Percentile(*contestant.latencies, 0.5);
        result["latencyP99"] = Percentile(*contestant.latencies, 0.99);
    }
    return result;
}

void CountInstructions(const Contestant& contestant, int operations)
{
    contestant.perform(operations); // so that what runs for the first time is not counted
    CALLGRIND_START_INSTRUMENTATION;
    contestant.perform(operations);
    CALLGRIND_STOP_INSTRUMENTATION;
    CALLGRIND_DUMP_STATS_AT(qPrintable(contestant.name));
}

} // namespace

Used UsedSoFar()
{
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    return {Nanoseconds(usage.ru_utime) + Nanoseconds(usage.ru_stime), Now()};
}

qint64 ResidentKiB(const QByteArray& line)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& entry : status.readAll().split('\n')) {
            if (entry.startsWith(line + ':')) {
                return entry.mid(line.size() + 1).replace("kB", "").trimmed().toLongLong();
            }
        }
    }
    qFatal("/proc/self/status has no line %s", line.constData());
}

Contestant OneByOne(const QString& name, const std::function<void()>& operation)
{
    const auto latencies = std::make_shared<std::vector<qint64>>();
    const auto perform = [operation, latencies](int operations) {
        qint64 begin = Now();
        for (int i = 0; i < operations; ++i) {
            operation();
            const qint64 end = Now();
            latencies->push_back(end - begin);
            begin = end;
        }
    };
    return {name, perform, latencies};
}

QJsonObject Compete(const std::vector<Contestant>& contestants, const Plan& plan)
{
    QJsonObject results;
    if (plan.countsInstructions) {
        for (const Contestant& contestant : contestants) {
            CountInstructions(contestant, plan.operations);
        }
        return results;
    }
    std::vector<Record> records(contestants.size());
    for (const Contestant& contestant : contestants) {
        contestant.perform(plan.operations);
        if (contestant.latencies != nullptr) {
            contestant.latencies->clear();
            contestant.latencies->reserve(size_t(plan.operations) * size_t(plan.slices + 1));
        }
    }
    for (int slice = 0; slice < plan.slices; ++slice) {
        for (size_t turn = 0; turn < contestants.size(); ++turn) {
            const size_t next = (turn + size_t(slice)) % contestants.size(); // so that each follows each
            PerformSlice(contestants[next], plan.operations, records[next]);
        }
    }
    for (size_t i = 0; i < contestants.size(); ++i) {
        QJsonObject result = Evaluated(contestants[i], records[i]);
        result["allocations"] = AllocationsOf(contestants[i], plan.operations);
        results[contestants[i].name] = result;
    }
    return results;
}

} // namespace KivBenchmark
