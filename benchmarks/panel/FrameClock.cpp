// SPDX-License-Identifier: MIT
#include "FrameClock.h"

#include <QAbstractEventDispatcher>
#include <QEvent>
#include <QQuickWindow>

#include <cstdio>
#include <utility>

#include <ctime>

namespace KivBenchmark {

namespace {

FrameClock* s_Clock = nullptr;
QtMessageHandler s_Before = nullptr;

qint64 Read(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

void HandleMessage(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    int milliseconds = 0;
    if (qstrcmp(context.category, "qt.scenegraph.time.renderloop") != 0) {
        s_Before(type, context, text);
    } else if (std::sscanf(qPrintable(text), "Frame rendered with 'software' renderloop in %dms",
                           &milliseconds) == 1) {
        s_Clock->OnLogged(milliseconds);
    }
}

} // namespace

qint64 ProcessCpu()
{
    return Read(CLOCK_PROCESS_CPUTIME_ID);
}

qint64 Now()
{
    return Read(CLOCK_MONOTONIC);
}

FrameClock::FrameClock(QQuickWindow* window)
{
    s_Clock = this;
    s_Before = qInstallMessageHandler(&HandleMessage);
    window->installEventFilter(this);
    const auto stamp = [this](Stage stage) { return [this, stage] { m_Stamps[stage] = Now(); }; };
    connect(window, &QQuickWindow::afterAnimating, this, stamp(Polished));
    connect(window, &QQuickWindow::beforeSynchronizing, this, stamp(Synchronizing));
    connect(window, &QQuickWindow::afterSynchronizing, this, stamp(Synchronized));
    connect(window, &QQuickWindow::beforeRendering, this, stamp(Rendering));
    connect(window, &QQuickWindow::afterRendering, this, stamp(Rendered));
    connect(window, &QQuickWindow::frameSwapped, this, &FrameClock::OnSwapped);
    connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::aboutToBlock, this,
            &FrameClock::OnTurnOver);
}

FrameClock::~FrameClock()
{
    qInstallMessageHandler(s_Before);
}

std::vector<Frame> FrameClock::TakeFrames()
{
    return std::exchange(m_Frames, {});
}

std::vector<Turn> FrameClock::TakeTurns()
{
    return std::exchange(m_Turns, {});
}

void FrameClock::OnLogged(int milliseconds)
{
    if (!m_Frames.empty()) {
        m_Frames.back().logged = milliseconds;
    }
}

bool FrameClock::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::UpdateRequest) {
        m_Stamps[Requested] = Now();
        m_CpuBeforeFrame = Read(CLOCK_THREAD_CPUTIME_ID);
    }
    return QObject::eventFilter(watched, event);
}

void FrameClock::OnSwapped()
{
    const qint64 now = Now();
    m_Frames.push_back({m_Stamps[Polished] - m_Stamps[Requested],
                        m_Stamps[Synchronized] - m_Stamps[Synchronizing],
                        m_Stamps[Rendered] - m_Stamps[Rendering], now - m_Stamps[Rendered],
                        now - m_Stamps[Requested], Read(CLOCK_THREAD_CPUTIME_ID) - m_CpuBeforeFrame, -1});
}

void FrameClock::OnTurnOver()
{
    const qint64 cpu = Read(CLOCK_THREAD_CPUTIME_ID);
    m_Turns.push_back(cpu - std::exchange(m_CpuBeforeTurn, cpu));
}

} // namespace KivBenchmark
