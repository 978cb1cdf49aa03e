// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_CONTEST_H
#define KIV_BENCHMARKS_CONTEST_H

#include <QJsonObject>
#include <QString>

#include <functional>
#include <memory>
#include <vector>

namespace KivBenchmark {

/** One way of doing the work that is measured. */
struct Contestant
{
    QString name;
    std::function<void(int operations)> perform;
    /** How long each operation took, in ns; null where operations overlap. */
    std::shared_ptr<std::vector<qint64>> latencies = nullptr;
};

/** A contestant that does one operation after the other, each of them timed. */
Contestant OneByOne(const QString& name, const std::function<void()>& operation);

/** How much is measured. */
struct Plan
{
    int slices = 20;
    int operations = 500; ///< in each slice
    /** Under callgrind: a dump for each contestant, whose name is its title, and nothing timed. */
    bool countsInstructions = false;
};

/**
 * Lets contestants work in turns, slice after slice , so that whatever disturbs the machine disturbs
 * them all.
 *
 * @return for each contestant, under its name: lists "cpu" (of the process, all threads) and "wall", in ns per
 *         operation, one entry per slice; "allocations" per operation, from one more slice; "latencyMedian" and
 *         "latencyP99" in ns, where operations do not overlap.
 */
QJsonObject Compete(const std::vector<Contestant>& contestants, const Plan& plan);

/** What this process has used so far: CPU time (user and system, all threads) and wall time, in ns. */
struct Used
{
    qint64 cpu;
    qint64 wall;
};
Used UsedSoFar();

/** Memory of this process that is resident now, in KiB; a line of /proc/self/status: "VmRSS", "RssAnon" … */
qint64 ResidentKiB(const QByteArray& line = "VmRSS");

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_CONTEST_H
