// SPDX-License-Identifier: MIT
#ifndef KIVCTL_TRACE_BUSMONITOR_H
#define KIVCTL_TRACE_BUSMONITOR_H

#include "BusClient.h"
#include "BusMessage.h"

#include <QMap>

namespace Kivctl {

/**
 * Sees the messages of a bus that a trace of the protocol needs, whoever they are for: what concerns its
 * interface, changes of names' owners, and all answers, since an answer names no interface.
 */
class BusMonitor : public QObject
{
    Q_OBJECT

public:
    BusMonitor();

    /**
     * Connects, asks for the owners of all names, and becomes a monitor.
     *
     * @return Refused with the error AccessDenied when the bus does not let this user.
     */
    BusAnswer Open(const QString& address, const QDeadlineTimer& deadline);

    /** Starts the signals; also those of what has arrived before. */
    void Start();

    void Interrupt();

    /** The owners of well-known names when it became a monitor. */
    QMap<QString, QString> Owners() const;

    /** Microseconds since 1970; never goes backwards. */
    static qint64 Now();

Q_SIGNALS:
    void Arrived(const Kivctl::BusMessage& message);

    /** The bus has ended the connection; nothing follows. */
    void Gone();

private:
    BusAnswer AskOwners(const QDeadlineTimer& deadline);
    BusAnswer BecomeMonitor(const QDeadlineTimer& deadline);
    void HandleNews();

    BusClient m_Bus;
    QMap<QString, QString> m_Owners;
};

} // namespace Kivctl

#endif // KIVCTL_TRACE_BUSMONITOR_H
