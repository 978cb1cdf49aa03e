// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_FIRSTANSWER_H
#define KIV_BENCHMARKS_FIRSTANSWER_H

#include <QByteArray>
#include <QFile>

#include <cstdio>
#include <cstdlib>

namespace KivBenchmark {

/** A line of /proc/self/status, as it is written there. */
inline QByteArray StatusLine(const QByteArray& name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (status.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : status.readAll().split('\n')) {
            if (line.startsWith(name)) {
                return line;
            }
        }
    }
    return "?";
}

/** Says that the first answer is there, and then how much memory is resident. */
inline int ReportFirstAnswer(bool isRight)
{
    if (!isRight) {
        std::fputs("no first answer; is the benchmark's service running?\n", stderr);
        return EXIT_FAILURE;
    }
    std::puts("answered");
    std::fflush(stdout);
    std::puts(StatusLine("VmRSS").constData());
    std::puts(StatusLine("RssAnon").constData());
    return EXIT_SUCCESS;
}

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_FIRSTANSWER_H
