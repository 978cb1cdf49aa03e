// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_BUS_SERVICEBUS_H
#define SIMULATOR_BUS_SERVICEBUS_H

#include "Answer.h"
#include "EventLog.h"
#include "ServiceObject.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

#include <functional>

namespace Simulator {

/**
 * The service's connection to the bus: its two objects, its bus name, and what it sends.
 *
 * It never waits for a client: calls are sent without waiting, and an answer that does not come within five seconds is
 * given up. The connection ends with the object. The log must outlive it.
 */
class ServiceBus : public QObject
{
    Q_OBJECT

public:
    /** Connects to the bus, and exports the objects. */
    ServiceBus(const QString& address, EventLog& log);
    ~ServiceBus() override;

    bool IsConnected() const;

    /** Takes the service's bus name. @return false when somebody else has it. */
    bool TakeName();

    void GiveNameAway();

    /** Answers a client's call. */
    void SendReply(const QDBusMessage& call, const Request& request, const Answer& answer);

    /** Sends events, in their order. */
    void SendEvents(const QVector<Effect>& effects);

    /** Sends a call to a client, or a broadcast, without asking for an answer. */
    void SendWithoutReply(const Effect& effect);

    /** Calls a client. @param done called once: when it has answered, or has not within the time. */
    void CallBack(const Effect& effect, int milliseconds, const std::function<void()>& done);

    /** Starts or ends to tell when a client leaves the bus. It is told also if the client has left already. */
    void Watch(const QString& caller, bool isWatched);

Q_SIGNALS:
    /** A client has called; @p call is to be answered. */
    void Requested(Simulator::Role role, const QDBusMessage& call);

    /** A client that is watched has left the bus. */
    void CallerLeft(const QString& caller);

private:
    void Broadcast(const Effect& effect);
    void LogEffect(const Effect& effect);
    void AskWhetherPresent(const QString& caller);

    const QString m_Name; ///< of the connection
    QDBusConnection m_Connection;
    EventLog& m_Log;
    ServiceObject m_Hmi;
    ServiceObject m_App;
    QDBusServiceWatcher m_Callers;
};

} // namespace Simulator

#endif // SIMULATOR_BUS_SERVICEBUS_H
