// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_KIVCTLPROCESS_H
#define KIV_TESTS_KIVCTLPROCESS_H

#include "ForkedProcess.h"
#include "SimulatorProcess.h"

#include <QByteArray>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTest>

#include <csignal>

namespace KivTest {

/** kivctl as a process of its own, on the private bus unless told otherwise; KIV_CTL_PROGRAM is its path. */
class KivctlProcess
{
public:
    explicit KivctlProcess(const QStringList& arguments,
                           const QProcessEnvironment& environment = QProcessEnvironment::systemEnvironment())
    {
        m_Process.setProcessEnvironment(environment);
        m_Process.start(KIV_CTL_PROGRAM, arguments, QIODevice::ReadOnly);
    }

    ~KivctlProcess()
    {
        m_Process.kill();
        m_Process.waitForFinished();
    }

    bool IsRunning() const { return m_Process.state() != QProcess::NotRunning; }

    /** Waits, with the event loop running, for the end. @return the exit code; -1 after a crash, or without an end. */
    int WaitForExit()
    {
        const bool hasEnded = QTest::qWaitFor([this] { return !IsRunning(); }, kPatience);
        return hasEnded && m_Process.exitStatus() == QProcess::NormalExit ? m_Process.exitCode() : -1;
    }

    void Signal(int number) { ::kill(static_cast<pid_t>(m_Process.processId()), number); }

    qint64 Id() const { return m_Process.processId(); }

    QString Output()
    {
        m_Output += m_Process.readAllStandardOutput();
        return QString::fromUtf8(m_Output);
    }

    QString Errors()
    {
        m_Errors += m_Process.readAllStandardError();
        return QString::fromUtf8(m_Errors);
    }

    QStringList Lines() { return Output().split('\n', Qt::SkipEmptyParts); }

    /** Waits until the output is this. @return the output, for comparison. */
    QString WaitForOutput(const QString& expected)
    {
        const bool isExpected = QTest::qWaitFor([&] { return Output() == expected; }, kPatience);
        return isExpected ? expected : Output();
    }

    /** Waits until standard error is this. @return standard error, for comparison. */
    QString WaitForErrors(const QString& expected)
    {
        const bool isExpected = QTest::qWaitFor([&] { return Errors() == expected; }, kPatience);
        return isExpected ? expected : Errors();
    }

private:
    ForkedProcess m_Process;
    QByteArray m_Output;
    QByteArray m_Errors;
};

} // namespace KivTest

#endif // KIV_TESTS_KIVCTLPROCESS_H
