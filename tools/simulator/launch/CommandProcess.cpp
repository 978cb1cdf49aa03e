// SPDX-License-Identifier: MIT
#include "CommandProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace Simulator {

CommandProcess::CommandProcess(const Command& command)
    : m_Command(command)
{
    m_Command.push_back(nullptr);
    setInputChannelMode(ForwardedInputChannel);
    setProcessChannelMode(ForwardedChannels);
}

bool CommandProcess::Start()
{
    start(QStringLiteral("command"), QStringList()); // the name is not used, see Prepare
    return waitForStarted(-1);
}

void CommandProcess::Signal(int number)
{
    if (state() == Running) {
        ::kill(static_cast<pid_t>(processId()), number);
    }
}

int CommandProcess::ShellExitCode() const
{
    // Qt gives the signal's number as the exit code of a process that a signal has killed.
    return exitStatus() == NormalExit ? exitCode() : 128 + exitCode();
}

void CommandProcess::Prepare()
{
    ChildProcess::Prepare();
    ::execvp(m_Command.front(), m_Command.data());
    const int error = errno;
    std::fprintf(stderr, "kiv-audio-simulator: cannot run \"%s\": %s\n", m_Command.front(),
                 std::strerror(error));
    ::_exit(error == ENOENT ? 127 : 126);
}

} // namespace Simulator
