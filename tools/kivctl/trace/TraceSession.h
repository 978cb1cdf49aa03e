// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_TRACESESSION_H
#define KIVCTL_TRACE_TRACESESSION_H

#include "TracePrinter.h"
#include "Tracer.h"

#include "TerminationSignal.h"

#include <QObject>

#include <optional>

namespace Kivctl {

/** From messages to the output, until something ends it: a signal, the output, or who feeds it. */
class TraceSession : public QObject
{
    Q_OBJECT

public:
    explicit TraceSession(const Output& output);

    /** Tells the names' owners; then prints the service's state. */
    void Begin(const QMap<QString, QString>& owners, qint64 time);

    void Handle(const BusMessage& message);

    /** Prints the calls without an answer. */
    void Finish(qint64 time);

    /** Ends it with an exit code; the first one stays. */
    void End(int exitCode);

    /** None while it goes on. */
    std::optional<int> ExitCode() const;

Q_SIGNALS:
    void Ended();

private:
    void Print(const QVector<TraceRecord>& records);

    Tools::TerminationSignal m_Termination;
    Tracer m_Tracer;
    TracePrinter m_Printer;
    std::optional<int> m_ExitCode;
    bool m_IsPrinting = true;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_TRACESESSION_H
