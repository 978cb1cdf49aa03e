// SPDX-License-Identifier: MIT
#include "TraceCommand.h"

#include "BusMonitor.h"
#include "CaptureReader.h"
#include "ExitCode.h"
#include "MessageDecoder.h"
#include "TraceSession.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTimer>

namespace Kivctl {

namespace {

using Outcome = BusAnswer::Outcome;

constexpr int greetingTimeout = 5000; // ms
constexpr int messagesPerTurn = 100;

int ReportOpening(const BusAnswer& answer, const QString& address)
{
    if (answer.errorName == QLatin1String(DBUS_ERROR_ACCESS_DENIED)) {
        Output::Complain(
            QStringLiteral("the bus at \"%1\" does not let this user monitor it (%2); only root and the "
                           "user of the bus may, and its policy must allow them to send "
                           "org.freedesktop.DBus.Monitoring")
                .arg(address, answer.errorText));
        return ExitNoBus;
    }
    Output::Complain(QStringLiteral("no monitoring of the bus at \"%1\": %2").arg(address, answer.errorText));
    return answer.outcome == Outcome::TimedOut ? ExitTimeout : ExitNoBus;
}

int TraceBus(const TraceOptions& options, TraceSession& session)
{
    BusMonitor monitor;
    QObject::connect(&session, &TraceSession::Ended, &monitor, &BusMonitor::Interrupt);
    const BusAnswer answer = monitor.Open(options.address, QDeadlineTimer(greetingTimeout));
    if (session.ExitCode()) {
        return *session.ExitCode();
    }
    if (answer.outcome != Outcome::Replied) {
        return ReportOpening(answer, options.address);
    }
    QEventLoop loop;
    QObject::connect(&session, &TraceSession::Ended, &loop, &QEventLoop::quit);
    QObject::connect(&monitor, &BusMonitor::Arrived, &session, &TraceSession::Handle);
    QObject::connect(&monitor, &BusMonitor::Gone, &session, [&session] {
        Output::Complain(QStringLiteral("the bus has gone"));
        session.End(ExitNoBus);
    });
    if (options.timeoutMs > 0) {
        QTimer::singleShot(options.timeoutMs, &session, [&session] { session.End(ExitDone); });
    }
    session.Begin(monitor.Owners(), BusMonitor::Now());
    monitor.Start();
    if (!session.ExitCode()) {
        loop.exec();
    }
    session.Finish(BusMonitor::Now());
    return session.ExitCode().value_or(ExitDone);
}

/** Reads a capture file to its end, or to the session's. */
class CaptureTrace
{
public:
    CaptureTrace(const QString& file, TraceSession& session)
        : m_Name(file),
          m_Session(session)
    {
    }

    /** @return the session's exit code, or one of its own. */
    int Run(const QDeadlineTimer& deadline)
    {
        QFile file(m_Name);
        // A pipe could keep us waiting.
        if (QFileInfo(m_Name).exists() && !QFileInfo(m_Name).isFile()) {
            Complain(QStringLiteral("is no regular file"));
        } else if (!file.open(QIODevice::ReadOnly)) {
            Complain(file.errorString());
        } else {
            Read(file, deadline);
        }
        return m_Session.ExitCode().value_or(m_HasFailed ? ExitUsage : ExitDone);
    }

private:
    void Complain(const QString& text)
    {
        m_HasFailed = true;
        Output::Complain(QStringLiteral("%1: %2").arg(m_Name, text));
    }

    void Read(QFile& file, const QDeadlineTimer& deadline)
    {
        QString error;
        const auto reader = CaptureReader::Open(file, &error);
        if (!reader) {
            Complain(error);
            return;
        }
        for (int count = 1; !m_Session.ExitCode(); ++count) {
            const auto message = reader->Next();
            if (!message) {
                break;
            }
            Handle(*message);
            if (count % messagesPerTurn == 0) {
                TakeTurn(deadline);
            }
        }
        m_Session.Finish(m_Time);
        if (!reader->Error().isEmpty()) {
            Complain(reader->Error());
        }
        ReportCut();
    }

    void Handle(const CapturedMessage& captured)
    {
        QString error;
        m_Time = captured.time;
        const auto message =
            MessageDecoder::Decode(captured.bytes, captured.fullLength, captured.time, &error);
        if (message) {
            m_Session.Handle(*message);
        } else if (captured.bytes.size() < captured.fullLength) {
            ++m_CutCount;
        } else {
            Complain(QStringLiteral("byte %1: no D-Bus message: %2").arg(captured.offset).arg(error));
        }
    }

    void TakeTurn(const QDeadlineTimer& deadline)
    {
        QCoreApplication::processEvents();
        if (deadline.hasExpired()) {
            Output::Complain(QStringLiteral("%1: not read within the time-out").arg(m_Name));
            m_Session.End(ExitTimeout);
        }
    }

    void ReportCut() const
    {
        if (m_CutCount > 0) {
            Output::Complain(QStringLiteral("%1: %2 messages that were cut when captured are left out; "
                                            "busctl capture --size=BYTES captures more of each")
                                 .arg(m_Name, QString::number(m_CutCount)));
        }
    }

    const QString m_Name;
    TraceSession& m_Session;
    qint64 m_Time = 0;
    int m_CutCount = 0;
    bool m_HasFailed = false;
};

} // namespace

int RunTrace(const TraceOptions& options, const Output& output)
{
    TraceSession session(output);
    if (options.captureFile.isEmpty()) {
        return TraceBus(options, session);
    }
    const QDeadlineTimer deadline =
        options.timeoutMs > 0 ? QDeadlineTimer(options.timeoutMs) : QDeadlineTimer(QDeadlineTimer::Forever);
    return CaptureTrace(options.captureFile, session).Run(deadline);
}

} // namespace Kivctl
