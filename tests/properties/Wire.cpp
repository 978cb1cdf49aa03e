// SPDX-License-Identifier: MIT
#include "Wire.h"

#include <QCoreApplication>
#include <QTimer>

namespace KivTest {

void SpinUntil(const std::function<bool()>& isDone)
{
    constexpr int patience = 30000; // milliseconds
    QTimer watchdog;
    QObject::connect(&watchdog, &QTimer::timeout, [] { qFatal("What was awaited has never come"); });
    watchdog.start(patience);
    while (!isDone()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

LastWatcher::LastWatcher(const QDBusPendingCall& call)
    : m_Watcher(call)
{
    QObject::connect(&m_Watcher, &QDBusPendingCallWatcher::finished, [this] { m_IsTold = true; });
}

void LastWatcher::Wait() const
{
    SpinUntil([this] { return m_IsTold; });
}

} // namespace KivTest
