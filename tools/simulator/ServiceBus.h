// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SERVICEBUS_H
#define SIMULATOR_SERVICEBUS_H

#include "AudioModel.h"
#include "MessageLog.h"
#include "ServiceObject.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

namespace Simulator {

/**
 * The service on the bus: takes requests to the model, sends its answers, then what else it wants done.
 *
 * It never waits for a client: calls are sent without waiting, and an answer that does not come within five seconds
 * is given up. The model and the log must outlive it.
 */
class ServiceBus : public QObject
{
    Q_OBJECT

public:
    ServiceBus(const QDBusConnection& connection, AudioModel& model, const MessageLog& log);

    /** Exports the objects and takes the bus name. @return false when somebody else has it. */
    bool Start();

Q_SIGNALS:
    /** The bus has ended the connection. */
    void Disconnected();

private Q_SLOTS:
    void HandleRequest(Simulator::Role role, const QDBusMessage& call);
    void HandleCallerLeft(const QString& caller);

private:
    void Reply(const QDBusMessage& call, const QString& json);
    void Perform(const QVector<Effect>& effects);
    void Call(const Effect& effect, const QString& json);
    void UpdateWatch(const QString& caller);
    void AskWhetherPresent(const QString& caller);

    QDBusConnection m_Connection;
    AudioModel& m_Model;
    const MessageLog& m_Log;
    ServiceObject m_Hmi;
    ServiceObject m_App;
    QDBusServiceWatcher m_Callers;
};

} // namespace Simulator

#endif // SIMULATOR_SERVICEBUS_H
