// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_COMMANDPROCESS_H
#define SIMULATOR_COMMANDPROCESS_H

#include "ChildProcess.h"

#include <vector>

namespace Simulator {

/** A program's name and arguments as main got them, byte for byte, without the null pointer at the end. */
using Command = std::vector<char*>;

/** The supervised command: it has this program's standard streams and environment. */
class CommandProcess : public ChildProcess
{
public:
    /** @param command not empty; its texts must outlive this object. */
    explicit CommandProcess(const Command& command);

    /**
     * A command that cannot be run starts, too, and ends with 127 or 126.
     *
     * @return false when there is no room for another process.
     */
    bool Start();

    /** Does nothing when it has ended. */
    void Signal(int number);

    /** Once it has ended: its exit code as a shell tells it, 128 + n when signal n has killed it. */
    int ShellExitCode() const;

protected:
    /** Runs the command itself: QProcess would make texts of its arguments. */
    void Prepare() override;

private:
    Command m_Command;
};

} // namespace Simulator

#endif // SIMULATOR_COMMANDPROCESS_H
