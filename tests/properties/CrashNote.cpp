// SPDX-License-Identifier: MIT
#include "CrashNote.h"

#include <algorithm>
#include <csignal>
#include <cstring>

#include <unistd.h>

namespace KivTest {

namespace {

char text[16384]; // the longest schedule has a third of it
volatile sig_atomic_t length = 0;

// Only what is safe in a signal handler. The signal is back at its default action already, which ends the
// program.
void PrintNote(int signal)
{
    const ssize_t written = ::write(STDERR_FILENO, text, static_cast<size_t>(length));
    static_cast<void>(written);
    ::raise(signal);
}

void InstallHandlers()
{
    struct sigaction action
    {
    };
    action.sa_handler = PrintNote;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE}) {
        ::sigaction(signal, &action, nullptr);
    }
}

} // namespace

void SetCrashNote(const QByteArray& note)
{
    static const bool isInstalled = (InstallHandlers(), true);
    static_cast<void>(isInstalled);
    length = 0;
    const int size = std::min(int(note.size()), static_cast<int>(sizeof(text)));
    std::memcpy(text, note.constData(), static_cast<size_t>(size));
    length = size;
}

} // namespace KivTest
