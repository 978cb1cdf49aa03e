// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SCRIPTEDSERVICE_H
#define KIV_TESTS_SCRIPTEDSERVICE_H

#include "FakeServiceProviderProxyFactory.h"
#include "IServiceProviderProxy.h"
#include "Schedule.h"
#include "Trace.h"
#include "Wire.h"

#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QVector>

#include <array>

namespace KivTest {

/**
 * A service that answers when it is told to, in any order.
 *
 * Each answer has been handled by whoever waits for it when Answer() returns, so that a schedule runs the
 * same way every time.
 */
class ScriptedService
{
public:
    /** @param wire how requests come here, and answers go back; not owned. */
    explicit ScriptedService(Wire& wire);

    /** A service as at the beginning of a schedule. Nothing may be waiting. */
    void Reset(Trace& trace);

    Wire& GetWire() { return m_Wire; }

    /** The service is there from now on. */
    void Appear();

    /**
     * The service dies: nothing is answered any more. What waits fails in Settle(), and then the service is
     * gone.
     */
    void Die() { m_IsPresent = false; }

    bool IsPresent() const { return m_IsPresent; }
    void SetConnected(bool isConnected) { m_IsConnected = isConnected; }
    void SetAnswersAtOnce(bool answersAtOnce) { m_AnswersAtOnce = answersAtOnce; }
    void SetBlocking(Outcome outcome, int modeCount);

    /** A blocking request of a client, by its proxy. */
    QString Ask(int client, Audio::Utils::Kiv::QtDbus::IServiceProviderProxy& proxy, const QString& method,
                const QString& arguments);

    /** An asynchronous one. */
    QDBusPendingReply<QString> Send(int client, Audio::Utils::Kiv::QtDbus::IServiceProviderProxy& proxy,
                                    const QString& method, const QString& arguments);

    /** How many asynchronous requests have been sent. */
    int SentCount() const { return m_SentCount; }

    /** How many requests wait for their answer. */
    int WaitingCount() const { return int(m_Waiting.size()); }

    /** Answers one request that waits. */
    void Answer(int place, Outcome outcome, int modeCount);

    /**
     * Returns when every request has arrived, and everything that was sent to the clients has been handled.
     */
    void Settle();

private:
    struct Waiting
    {
        QDBusPendingCall call;
        int client;
        QString method;
        int number; // as the wire counts; none if it fails by itself
    };

    static constexpr int kNotArriving = -1;

    void AwaitSilence();
    void FailAll();
    Wire::Reply ReplyTo(int client, const QString& method, Outcome outcome, int modeCount);

    Wire& m_Wire;
    Trace* m_Trace = nullptr;
    QVector<Waiting> m_Waiting;
    bool m_IsPresent = true;
    bool m_IsConnected = true;
    bool m_AnswersAtOnce = false;
    bool m_HasPrompted = false;
    Outcome m_BlockingOutcome = Outcome::Accept;
    int m_BlockingModes = 1;
    std::array<quint32, 3> m_SessionCounts{};
    int m_SentCount = 0;
    int m_ArrivalCount = 0;
};

/** Gives a client a proxy that goes by way of the scripted service; lets the service appear for it. */
class ScriptedFactory : public Audio::Utils::Kiv::QtDbus::Testing::FakeServiceProviderProxyFactory
{
public:
    /** @param service not owned. @param client index of Clients(). */
    ScriptedFactory(ScriptedService& service, int client);

    Audio::Utils::Kiv::QtDbus::IServiceProviderProxy* CreateProxy(QObject* parent) override;

private:
    ScriptedService& m_Service;
    int m_Client;
};

} // namespace KivTest

#endif // KIV_TESTS_SCRIPTEDSERVICE_H
