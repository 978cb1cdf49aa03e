// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_MEASUREMENT_H
#define KIV_BENCHMARKS_MEASUREMENT_H

#include "FrameClock.h"

#include <QJsonObject>

namespace KivBenchmark {

/** What happens from its construction on. */
class Measurement
{
public:
    explicit Measurement(FrameClock& clock);

    /**
     * Ends it.
     *
     * @return "wall" and "cpu" in ns; of each frame its parts, "total", "frameCpu" and "logged", as Frame has them;
     *         "turns", the CPU time of each, in ns.
     */
    QJsonObject Result();

private:
    FrameClock& m_Clock;
    const qint64 m_Wall;
    const qint64 m_Cpu;
};

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_MEASUREMENT_H
