// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SERVICE_AUDIOSERVICE_H
#define SIMULATOR_SERVICE_AUDIOSERVICE_H

#include "AudioModel.h"
#include "CallCounts.h"
#include "EventLog.h"
#include "FaultTable.h"
#include "Randomness.h"
#include "Scenario.h"
#include "ServiceBus.h"

#include <QDBusMessage>
#include <QObject>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <memory>
#include <optional>

namespace Simulator {

/**
 * The service that is played: takes requests to the model, lets faults spoil what comes of them, and sends it.
 *
 * The log must outlive it.
 */
class AudioService : public QObject
{
    Q_OBJECT

public:
    /** @param seed decides what scenarios leave open. */
    AudioService(const QString& address, quint32 seed, EventLog& log);
    ~AudioService() override;

    /** Plays a scenario from its start, but for its steps; sessions are lost. @return false when somebody else has the bus name. */
    bool Load(const Scenario& scenario);

    /** Does something at once. @return why it cannot be done; empty when it was done. */
    QString Do(const Action& action);

    /** Arms a fault. @return its identifier. */
    quint32 Arm(const Fault& fault);

    /** @return false when no such fault waits. */
    bool Disarm(quint32 id);

    /** The calls since the start of the scenario. */
    const CallCounts& Calls() const;

Q_SIGNALS:
    /** A request has come in. What it causes has happened, unless it is late or withheld. */
    void RequestTaken();

private:
    struct Call
    {
        QPointer<ServiceBus> bus; ///< it came in on; no answer is sent when the service has another by now
        QDBusMessage message;
        Request request;
    };
    class Doer;

    bool Come(bool withName);
    bool ComeBack();
    void Vanish();
    void AnswerWhatWaits();

    void HandleCall(Role role, const QDBusMessage& message);
    void HandleCallerLeft(const QString& caller);
    void Serve(const Call& call);
    void ServeWith(const Fault& fault, const Call& call);
    void CallBackThenDeliver(const CallBackFirst& fault, const Call& call, const Answer& answer);
    Effect MakeCallBack(const CallBackFirst& fault, const Request& request) const;
    std::optional<Session> SessionOf(const Request& request) const;
    void Deliver(
        const Call& call, const Answer& answer, const std::function<void()>& then = [] {});
    void DeliverNow(const Call& call, const Answer& answer, const std::function<void()>& then);
    void StrikeService(const Fault& fault);
    static void AddSession(Effect& effect, const Session& session);
    QVector<Effect> AddressEvent(Audience to, const Effect& pattern) const;
    void LogService(const QString& what);

    const QString m_Address;
    const quint32 m_Seed;
    EventLog& m_Log;
    Randomness m_Randomness;
    FaultTable m_Faults;
    CallCounts m_Calls;
    Scenario m_Scenario;
    std::unique_ptr<AudioModel> m_Model; ///< never null
    std::unique_ptr<ServiceBus> m_Bus;   ///< null while the service is not running
    bool m_HasName = false;
    bool m_IsMute = false;
    QVector<Call> m_Unanswered; ///< that came in while the service was mute
    QStringList m_Departed;     ///< clients that left while the service was mute
    QTimer m_ReturnTimer;
    QTimer m_AnswerTimer;
};

} // namespace Simulator

#endif // SIMULATOR_SERVICE_AUDIOSERVICE_H
