// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SCRIPTEDSERVICE_H
#define KIV_TESTS_SCRIPTEDSERVICE_H

#include "FakeServiceProviderProxyFactory.h"
#include "IServiceProviderProxy.h"
#include "PeerConnection.h"
#include "Schedule.h"
#include "Trace.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QVector>

#include <functional>
#include <optional>

namespace KivTest {

using namespace Audio::Utils::Kiv::QtDbus::Testing;

/**
 * A service that answers when it is told to, in any order, over a peer connection.
 *
 * Each answer has been handled by whoever waits for it when Answer() returns, so that a schedule runs the same way
 * every time.
 */
class ScriptedService
{
public:
    ScriptedService();

    /** A service as at the beginning of a schedule. Nothing may be waiting. */
    void Reset(Trace& trace);

    void SetPresent(bool isPresent) { m_IsPresent = isPresent; }
    bool IsPresent() const { return m_IsPresent; }
    void SetConnected(bool isConnected) { m_IsConnected = isConnected; }
    void SetAnswersAtOnce(bool answersAtOnce) { m_AnswersAtOnce = answersAtOnce; }
    void SetBlocking(Outcome outcome, int modeCount);

    /** A blocking request of a client. */
    QString Ask(int client, const QString& method, const QString& arguments);

    /** An asynchronous request of a client. */
    QDBusPendingReply<QString> Send(int client, const QString& method, const QString& arguments);

    /** How many asynchronous requests there have been that were sent. */
    int SentCount() const { return m_SentCount; }

    /** How many requests wait for their answer. */
    int WaitingCount() const { return m_Waiting.size(); }

    /** Answers one request that waits. */
    void Answer(int place, Outcome outcome, int modeCount);

    /** Returns when every request has arrived, and what was answered at once has been handled. */
    void Settle();

private:
    struct Waiting
    {
        QDBusPendingCall call;
        QString method;
        std::optional<QDBusMessage> message; // not before it has arrived
    };

    void Receive(const QDBusMessage& message, const QDBusConnection& connection);
    void AwaitArrival();
    void Reply(const Waiting& waiting, Outcome outcome, int modeCount);
    QString TextOf(const QString& method, Outcome outcome, int modeCount);

    Trace* m_Trace = nullptr;
    QVector<Waiting> m_Waiting;
    std::optional<QDBusConnection> m_Connection;
    bool m_IsPresent = true;
    bool m_IsConnected = true;
    bool m_AnswersAtOnce = false;
    bool m_HasPrompted = false;
    Outcome m_BlockingOutcome = Outcome::Accept;
    int m_BlockingModes = 1;
    int m_SessionCount = 0;
    int m_SentCount = 0;
    PeerConnection m_Peer;
};

/** Gives each client a proxy to the scripted service; lets the service appear for it. */
class ScriptedFactory : public FakeServiceProviderProxyFactory
{
public:
    /** @param service not owned. @param client index of Clients(). */
    ScriptedFactory(ScriptedService& service, int client);

    Audio::Utils::Kiv::QtDbus::IServiceProviderProxy* CreateProxy(QObject* parent) override;

private:
    ScriptedService& m_Service;
    int m_Client;
};

/** Handles events until a condition holds; ends the program when it does not within half a minute. */
void SpinUntil(const std::function<bool()>& isDone);

} // namespace KivTest

#endif // KIV_TESTS_SCRIPTEDSERVICE_H
