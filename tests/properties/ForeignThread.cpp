// SPDX-License-Identifier: MIT
#include "ForeignThread.h"

#include "Wire.h"

#include <QObject>
#include <QThread>

namespace KivTest {

namespace {

class ForeignThread
{
public:
    ForeignThread()
    {
        m_There.moveToThread(&m_Thread);
        m_Thread.start();
    }

    ~ForeignThread()
    {
        m_Thread.quit();
        m_Thread.wait();
    }

    quint32 Run(const std::function<quint32()>& function)
    {
        quint32 result = 0;
        bool isDone = false; // read and written on this thread only
        QObject here;
        QMetaObject::invokeMethod(&m_There, [&] {
            const quint32 there = function();
            QMetaObject::invokeMethod(&here, [&, there] {
                result = there;
                isDone = true;
            });
        });
        SpinUntil([&isDone] { return isDone; });
        return result;
    }

private:
    QThread m_Thread;
    QObject m_There;
};

} // namespace

quint32 OnForeignThread(const std::function<quint32()>& function)
{
    static ForeignThread thread;
    return thread.Run(function);
}

} // namespace KivTest
