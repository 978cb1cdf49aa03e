// SPDX-License-Identifier: MIT
#include "PatientWriter.h"

#include "TerminationSignal.h"

#include <algorithm>
#include <climits>

#include <poll.h>

namespace Tools {

namespace {

constexpr int pollInterval = 100; // ms; signals that are held back do not end a poll

} // namespace

PatientWriter::PatientWriter(std::FILE* stream)
    : m_Stream(stream)
{
}

void PatientWriter::SetDeadline(const QDeadlineTimer& deadline)
{
    m_Deadline = deadline;
}

// In parts that a pipe takes whole once it is writable.
void PatientWriter::Write(const QByteArray& text)
{
    for (int done = 0; done < text.size() && !m_HasGivenUp; done += PIPE_BUF) {
        if (!WaitForReader()) {
            m_HasGivenUp = true;
            return;
        }
        const auto part = static_cast<std::size_t>(qMin<qint64>(PIPE_BUF, text.size() - done));
        if (std::fwrite(text.constData() + done, 1, part, m_Stream) != part || std::fflush(m_Stream) != 0) {
            return;
        }
    }
}

bool PatientWriter::HasGivenUp() const
{
    return m_HasGivenUp;
}

bool PatientWriter::WaitForReader() const
{
    pollfd stream{::fileno(m_Stream), POLLOUT, 0};
    while (::poll(&stream, 1, pollInterval) == 0) {
        if (m_Deadline.hasExpired() || TerminationSignal::Pending() != 0) {
            return false;
        }
    }
    return true;
}

} // namespace Tools
