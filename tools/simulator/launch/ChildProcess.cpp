// SPDX-License-Identifier: MIT
#include "ChildProcess.h"

#include "CommandSignals.h"

#include <QDeadlineTimer>

#include <csignal>
#include <cstring>

#include <sys/prctl.h>
#include <unistd.h>

namespace Simulator {

namespace {

constexpr int startTime = 10000; // ms
constexpr int stopTime = 2000;   // ms

} // namespace

void ChildProcess::Prepare()
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != m_Parent) { // it has died before it could be watched
        ::_exit(0);
    }
    CommandSignals::Unblock();
}

HelperProcess::HelperProcess()
{
    setStandardInputFile(nullDevice());
    setProcessChannelMode(ForwardedErrorChannel);
}

HelperProcess::~HelperProcess()
{
    Stop();
}

void HelperProcess::Start(const QString& program, const QStringList& arguments)
{
    start(program, arguments, ReadOnly);
}

bool HelperProcess::WaitForLine()
{
    const QDeadlineTimer deadline(startTime);
    while (!canReadLine() && state() != NotRunning) {
        if (!waitForReadyRead(static_cast<int>(deadline.remainingTime()))) {
            break;
        }
    }
    return canReadLine();
}

void HelperProcess::Stop()
{
    disconnect();
    if (state() == NotRunning) {
        return;
    }
    terminate();
    if (!waitForFinished(stopTime)) {
        kill();
        waitForFinished();
    }
}

QString HelperProcess::Fate()
{
    const QString lastWords = isOpen() ? QString::fromLocal8Bit(readAllStandardError()).trimmed() : QString();
    return lastWords.isEmpty() ? HowItEnded() : HowItEnded() + QLatin1Char('\n') + lastWords;
}

QString HelperProcess::HowItEnded() const
{
    if (state() != NotRunning) {
        return QStringLiteral("said nothing for %1 seconds").arg(startTime / 1000);
    }
    if (error() == FailedToStart) {
        return QStringLiteral("could not be started: ") + errorString();
    }
    if (exitStatus() == NormalExit) {
        return QStringLiteral("ended with exit code %1").arg(exitCode());
    }
    // Qt gives the signal's number as the exit code.
    return QStringLiteral("was killed by signal %1 (%2)")
        .arg(exitCode())
        .arg(QString::fromLocal8Bit(::strsignal(exitCode())));
}

void HelperProcess::Prepare()
{
    ChildProcess::Prepare();
    ::setsid();
}

} // namespace Simulator
