// SPDX-License-Identifier: MIT
#ifndef KIV_BENCHMARKS_FRAMECLOCK_H
#define KIV_BENCHMARKS_FRAMECLOCK_H

#include <QObject>

#include <array>
#include <vector>

class QQuickWindow;

namespace KivBenchmark {

/** One frame of the software renderer, in ns. */
struct Frame
{
    qint64 polish; ///< from the window's UpdateRequest on: input that waited for the frame, then laying out
    qint64 sync;   ///< items to scene graph
    qint64 render; ///< painting into the backing store
    qint64 swap;   ///< flushing that to the window
    qint64 total;  ///< all of it
    qint64 cpu;    ///< what it took of the thread's CPU time: free of what else runs on the machine
    qint64 logged; ///< from polishing to swapping, as the scene graph itself logs it, in whole ms
};

/** CPU time of the main thread between two waits for events, in ns: frames and all else. */
using Turn = qint64;

/**
 * Times the frames of a window, and the turns of the main thread's event loop. Both are on one thread: the software
 * renderer has no other.
 *
 * The signals of the window come within a frame, in this order: afterAnimating (all is laid out),
 * beforeSynchronizing, afterSynchronizing, beforeRendering, afterRendering, frameSwapped. Right after that, the
 * logging category qt.scenegraph.time.renderloop (QSG_RENDER_TIMING=1) tells of the same frame. What it calls a
 * frame begins when waiting input has been handled.
 *
 * One at a time: it sets the message handler.
 */
class FrameClock : public QObject
{
public:
    explicit FrameClock(QQuickWindow* window);
    ~FrameClock() override;

    /** The frames since the last time. */
    std::vector<Frame> TakeFrames();

    /** The turns since the last time. */
    std::vector<Turn> TakeTurns();

    /** What Qt's log said of the last frame. */
    void OnLogged(int milliseconds);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    enum Stage
    {
        Requested,
        Polished,
        Synchronizing,
        Synchronized,
        Rendering,
        Rendered,
        Stages
    };

    void OnSwapped();
    void OnTurnOver();

    std::array<qint64, Stages> m_Stamps{};
    qint64 m_CpuBeforeFrame = 0;
    qint64 m_CpuBeforeTurn = 0;
    std::vector<Frame> m_Frames;
    std::vector<Turn> m_Turns;
};

/** CPU time of this process, user and system, all threads, in ns. */
qint64 ProcessCpu();

/** Wall time, in ns. */
qint64 Now();

} // namespace KivBenchmark

#endif // KIV_BENCHMARKS_FRAMECLOCK_H
