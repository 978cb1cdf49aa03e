// SPDX-License-Identifier: MIT
#include "StandardStreams.h"

#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

namespace Tools {

void OccupyStandardStreams()
{
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) == -1) {
            // The lowest free number is this one. Against its direction, so that its use fails.
            ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        }
    }
}

} // namespace Tools
