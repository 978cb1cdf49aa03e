// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_WIRE_H
#define KIV_TESTS_WIRE_H

#include "IAdaptorConnection.h"
#include "IServiceProviderProxy.h"
#include "IServiceRegistrator.h"
#include "ServiceProviderClient.h"

#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QString>

#include <functional>
#include <memory>

namespace KivTest {

/**
 * How the clients of the schedules and their service reach each other.
 *
 * The asynchronous requests that arrive are numbered from 0 on, in the order in which they were sent.
 */
class Wire
{
public:
    /** What goes back for a request. */
    struct Reply
    {
        enum Kind
        {
            Text,
            Error,
            WrongType
        };

        Kind kind = Error;
        QString text = QString();
    };

    Wire() = default;
    virtual ~Wire() = default;
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    virtual const Audio::Utils::Kiv::QtDbus::IServiceRegistrator& Registrator() const = 0;
    virtual Audio::Utils::Kiv::QtDbus::IAdaptorConnection& Adaptors() = 0;

    /** A proxy for a client. */
    virtual std::unique_ptr<Audio::Utils::Kiv::QtDbus::IServiceProviderProxy> MakeProxy(QObject* client,
                                                                                        bool isHmi) = 0;

    /** Begins to number from 0 again, with the service there. Nothing may be waiting. */
    virtual void Reset() = 0;

    /** Whether the clients learn from the wire that the service has appeared or left. */
    virtual bool TellsClients() const = 0;

    /** The service is there; its clients may not be ready yet. */
    virtual void Appear() = 0;

    /** The service is gone. */
    virtual void Leave() = 0;

    /** Whether requests arrive. Those that do not, fail by themselves. */
    virtual bool IsReaching() const = 0;

    /** Returns when so many asynchronous requests have arrived. */
    virtual void AwaitArrival(int count) = 0;

    /** Answers an asynchronous request that has arrived. */
    virtual void Answer(int number, const Reply& reply) = 0;

    /** How the next blocking request is answered, which is behind so many asynchronous ones. */
    virtual void PlanBlocking(const Reply& reply, int count) = 0;

    /** A call whose reply comes behind everything that has been sent to the clients. */
    virtual QDBusPendingCall Ping() = 0;

    /** The service calls a client, which has handled the call on return. */
    virtual void CallClient(Audio::Utils::Kiv::QtDbus::ServiceProviderClient& client, const QString& path,
                            const QString& method, const QString& arguments) = 0;
};

/** Handles events until a condition holds; ends the program when it does not within half a minute. */
void SpinUntil(const std::function<bool()>& isDone);

/**
 * Knows when a reply that has yet to come has been handled by all who watched it before: watchers are told in
 * the order in which they were made.
 */
class LastWatcher
{
public:
    explicit LastWatcher(const QDBusPendingCall& call);

    /** Handles events until then. */
    void Wait() const;

private:
    QDBusPendingCallWatcher m_Watcher;
    bool m_IsTold = false;
};

} // namespace KivTest

#endif // KIV_TESTS_WIRE_H
