// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_WATCHEDCLIENT_H
#define KIV_TESTS_WATCHEDCLIENT_H

#include "Ledger.h"
#include "Schedule.h"
#include "ScriptedService.h"
#include "ServiceProviderClient.h"
#include "Trace.h"

#include <QPointer>

#include <functional>

namespace KivTest {

/**
 * A client of the library under one of the names of Clients(), made and deleted as often as a schedule likes;
 * writes down everything that comes out of it.
 */
class WatchedClient
{
public:
    /** @param client index of Clients(). */
    WatchedClient(int client, ScriptedService& service, Trace& trace);
    ~WatchedClient();
    WatchedClient(const WatchedClient&) = delete;
    WatchedClient& operator=(const WatchedClient&) = delete;

    /** Makes a client that waits for the service; nothing when there is one. */
    void Create();
    void Delete();
    void PowerDown();

    /** The service has appeared. Returns when a client that waited has initialised. */
    void ServiceAppears();

    /** The service has left. */
    void ServiceLeaves();

    /** Calls an …Async operation on this thread, or from another one. */
    void CallAsync(const Step& step);
    void CallElsewhere(const Step& step);
    void CallBlocking(const Step& step);

    /** Has a slot of the next completion signal do something. */
    void React(std::function<void()> reaction) { m_Reaction = std::move(reaction); }

    /** The service calls the client. @param text has %1 for the session of this client plus the offset. */
    void Receive(const QString& method, const QString& text, quint32 offset = 0);

    bool Exists() const { return !m_Client.isNull(); }
    ClientState State() const;

    /** What the account of identifiers says against this client, and against those before it. */
    QStringList Complaints() const { return m_Complaints + m_Ledger.Complaints(); }

    /** To be called when every answer has come. */
    void CloseLedger();

private:
    void Initialise();
    bool IsWaiting() const;
    void WatchHmi();
    void WatchApp();
    template <typename Client, typename Signal>
    void WatchCompletion(Client* client, Signal signal, Operation operation);
    void OnCompleted(Operation operation, quint32 id, bool result);
    void NoteReturned(const Step& step, quint32 id, bool isSent);
    void NoteStored();

    int m_Index;
    ScriptedService& m_Service;
    Trace& m_Trace;
    ScriptedFactory m_Factory;
    QPointer<Audio::Utils::Kiv::QtDbus::ServiceProviderClient> m_Client;
    std::function<void()> m_Reaction;
    Ledger m_Ledger;
    QStringList m_Complaints;
};

} // namespace KivTest

#endif // KIV_TESTS_WATCHEDCLIENT_H
