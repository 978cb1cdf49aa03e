// SPDX-License-Identifier: MIT
#include "roles/Runner.h"

#include "roles/Task.h"

#include <QCoreApplication>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace Kivctl {

namespace {

/** How long the good-byes may take: giving the focus back, closing the session. */
const int kGraceMilliseconds = 2000;

} // namespace

Runner::Runner(std::unique_ptr<Task> task, const Output& output, const TimeLimit& limit)
    : m_Task(task.release()),
      m_Output(output),
      m_Limit(limit)
{
    m_Deadline.setSingleShot(true);
    m_Grace.setSingleShot(true);
    connect(&m_Deadline, &QTimer::timeout, this, &Runner::TimeIsOver);
    connect(&m_Grace, &QTimer::timeout, this, &Runner::Leave);
    connect(&m_Termination, &Tools::TerminationSignal::Received, this, &Runner::Interrupt);
    connect(m_Task, &Task::Printed, this, &Runner::Print);
    connect(m_Task, &Task::Complained, this, &Output::Complain);
    connect(m_Task, &Task::WaitBegun, this, &Runner::BeginWait);
    connect(m_Task, &Task::Ending, this, &Runner::Finish);
    connect(m_Task, &Task::Ended, &m_Thread, &QThread::quit);
    connect(&m_Thread, &QThread::finished, m_Task, &QObject::deleteLater);
    connect(&m_Thread, &QThread::finished, this, [this] { QCoreApplication::exit(m_ExitCode); });
    m_Task->moveToThread(&m_Thread);
}

Runner::~Runner()
{
    m_Thread.wait();
}

int Runner::Run()
{
    QTimer::singleShot(0, this, &Runner::Start); // Qt delivers nothing from a bus before the event loop runs
    return QCoreApplication::exec();
}

void Runner::Start()
{
    m_Deadline.start(m_Limit.milliseconds);
    Output::SetDeadline(QDeadlineTimer(m_Limit.milliseconds));
    m_Thread.start();
    QMetaObject::invokeMethod(m_Task, &Task::Start, Qt::QueuedConnection);
}

void Runner::Print(const QJsonObject& record, const QString& text) const
{
    if (m_Output.GetFormat() == Output::Format::Json || !text.isNull()) {
        m_Output.Print(record, text);
    }
}

void Runner::BeginWait()
{
    if (!m_Limit.isExplicit) {
        m_Deadline.stop();
        Output::SetDeadline(QDeadlineTimer(QDeadlineTimer::Forever));
    }
}

void Runner::TimeIsOver()
{
    Output::Complain(QStringLiteral("not done within %1 s").arg(m_Limit.milliseconds / 1000.0));
    StopTask(ExitTimeout);
}

void Runner::Interrupt(int signalNumber)
{
    const ExitCode code = signalNumber == SIGINT ? ExitInterrupted : ExitTerminated;
    if (m_IsFinishing) {
        m_ExitCode = m_ExitCode == ExitDone ? code : m_ExitCode;
        Leave();
    }
    StopTask(code);
}

void Runner::StopTask(ExitCode code)
{
    Output::SetDeadline(QDeadlineTimer(kGraceMilliseconds)); // what is printed still must not wait for longer
    Finish(code);
    QMetaObject::invokeMethod(m_Task, &Task::Stop, Qt::QueuedConnection);
}

void Runner::Finish(int exitCode)
{
    if (m_IsFinishing) {
        return;
    }
    m_IsFinishing = true;
    m_ExitCode = exitCode;
    m_Deadline.stop();
    m_Grace.start(kGraceMilliseconds);
}

// The worker may be blocked in the library's "openSession" or on the bus, up to 25 s; no destructor could end that,
// and an orderly exit would wait for it. The service notices that the program has left the bus.
void Runner::Leave() const
{
    std::fflush(nullptr);
    std::_Exit(m_ExitCode);
}

} // namespace Kivctl
