// SPDX-License-Identifier: MIT
#ifndef TOOLS_PREPAREDPROCESS_H
#define TOOLS_PREPAREDPROCESS_H

#include <QProcess>

namespace Tools {

/** A process that prepares itself before its program runs. */
class PreparedProcess : public QProcess
{
public:
#if QT_VERSION_MAJOR < 6
    using QProcess::QProcess;
#else
    explicit PreparedProcess(QObject* parent = nullptr)
        : QProcess(parent)
    {
        setChildProcessModifier([this] { Prepare(); });
    }
#endif

protected:
    /** In the child, between fork and exec. */
    virtual void Prepare() = 0;

#if QT_VERSION_MAJOR < 6
private:
    void setupChildProcess() final
    {
        Prepare();
    }
#endif
};

} // namespace Tools

#endif // TOOLS_PREPAREDPROCESS_H
