// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_CHILDPROCESS_H
#define SIMULATOR_CHILDPROCESS_H

#include "PreparedProcess.h"

#include <QString>
#include <QStringList>

#include <sys/types.h>
#include <unistd.h>

namespace Simulator {

/** A process that does not outlive this one, however this one ends. */
class ChildProcess : public Tools::PreparedProcess
{
protected:
    /** In the child, between fork and exec. */
    void Prepare() override;

private:
    const pid_t m_Parent = ::getpid();
};

/**
 * A process that serves the command: no key of the terminal reaches it, its standard input is empty, its
 * standard output is read here, its standard error is this program's. It is stopped with this object.
 */
class HelperProcess : public ChildProcess
{
public:
    HelperProcess();
    ~HelperProcess() override;

    void Start(const QString& program, const QStringList& arguments);

    /** Waits, ten seconds at the most, until there is a line to read. @return false when none comes. */
    bool WaitForLine();

    /** Ends it, with force when it does not go within two seconds. From here on it emits nothing. */
    void Stop();

    /**
     * For a sentence that begins with "it": "ended with exit code 3", "was killed by signal 11 (…)".
     *
     * Where standard error is not this program's, what it has said there follows on lines of its own.
     */
    QString Fate();

protected:
    void Prepare() override;

private:
    QString HowItEnded() const;
};

} // namespace Simulator

#endif // SIMULATOR_CHILDPROCESS_H
