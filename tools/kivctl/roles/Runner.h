// SPDX-License-Identifier: MIT
#ifndef KIVCTL_ROLES_RUNNER_H
#define KIVCTL_ROLES_RUNNER_H

#include "ExitCode.h"
#include "Output.h"
#include "TerminationSignal.h"
#include "cli/TimeLimit.h"

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QThread>
#include <QTimer>

#include <memory>

namespace Kivctl {

class Task;

/**
 * Runs a task on a thread of its own, and keeps what must not wait for it on the main thread: the output, the
 * deadline and the signals that end the program.
 */
class Runner : public QObject
{
    Q_OBJECT

public:
    Runner(std::unique_ptr<Task> task, const Output& output, const TimeLimit& limit);
    ~Runner() override;

    /**
     * Runs the task to its end.
     *
     * @return the exit code. It ends the process itself when the task does not end in time, see Leave().
     */
    int Run();

private:
    void Start();
    void Print(const QJsonObject& record, const QString& text) const;
    void BeginWait();
    void TimeIsOver();
    void Interrupt(int signalNumber);
    void Finish(int exitCode);
    void StopTask(ExitCode code);
    [[noreturn]] void Leave() const;

    Task* const m_Task; ///< Deletes itself when its thread ends.
    const Output m_Output;
    const TimeLimit m_Limit;
    Tools::TerminationSignal m_Termination;
    QThread m_Thread;
    QTimer m_Deadline;
    QTimer m_Grace;
    int m_ExitCode = ExitDone;
    bool m_IsFinishing = false;
};

} // namespace Kivctl

#endif // KIVCTL_ROLES_RUNNER_H
