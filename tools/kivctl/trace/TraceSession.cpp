// SPDX-License-Identifier: MIT
#include "TraceSession.h"

#include "ExitCode.h"

#include <QMap>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

namespace Kivctl {

TraceSession::TraceSession(const Output& output)
    : m_Printer(output)
{
    // A reader that has left ends the program by the failing write, as it would end it by the signal, but
    // quietly.
    std::signal(SIGPIPE, SIG_IGN);
    connect(&m_Termination, &Tools::TerminationSignal::Received, this,
            [this](int number) { End(ExitInterrupted - SIGINT + number); });
}

void TraceSession::Begin(const QMap<QString, QString>& owners, qint64 time)
{
    for (auto owner = owners.cbegin(); owner != owners.cend(); ++owner) {
        m_Tracer.AddOwner(owner.key(), owner.value());
    }
    Print({m_Tracer.Beginning(time)});
}

void TraceSession::Handle(const BusMessage& message)
{
    if (!m_ExitCode) {
        Print(m_Tracer.Handle(message));
    }
}

void TraceSession::Finish(qint64 time)
{
    Print(m_Tracer.Finish(time));
}

void TraceSession::End(int exitCode)
{
    if (!m_ExitCode) {
        m_ExitCode = exitCode;
        Q_EMIT Ended();
    }
}

std::optional<int> TraceSession::ExitCode() const
{
    return m_ExitCode;
}

void TraceSession::Print(const QVector<TraceRecord>& records)
{
    for (const TraceRecord& record : records) {
        if (!m_IsPrinting) {
            return;
        }
        m_IsPrinting = m_Printer.Print(record);
    }
    if (!m_IsPrinting && !m_ExitCode) {
        const int reason = errno;
        if (reason == EPIPE) {
            std::clearerr(stdout);
        } else {
            Output::Complain(QStringLiteral("cannot write to standard output: ") +
                             QString::fromLocal8Bit(std::strerror(reason)));
        }
        End(reason == EPIPE ? ExitDone : ExitUsage);
    }
}

} // namespace Kivctl
