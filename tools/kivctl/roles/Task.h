// SPDX-License-Identifier: MIT
#ifndef KIVCTL_ROLES_TASK_H
#define KIVCTL_ROLES_TASK_H

#include "AdaptorConnection.h"
#include "ServiceProviderClient.h"
#include "bus/ClientName.h"
#include "bus/ObservingProxy.h"
#include "bus/Verdict.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QJsonObject>
#include <QObject>
#include <QString>

#include <memory>

namespace Kivctl {

/** What a client of the library is made of. Its parts must outlive the client. */
struct Surroundings
{
    Surroundings(Role role, ReplyLog& replies);

    QDBusConnection bus;
    ClientName name;
    Audio::Utils::Kiv::QtDbus::AdaptorConnection connection;
    ObservingProxyFactory factory;
};

/**
 * What a command does on its worker thread: it makes a client, opens its session, does its work, and closes.
 *
 * The operations that open can block; everything that follows a session's opening is asynchronous. The signals
 * go to the main thread.
 */
class Task : public QObject
{
    Q_OBJECT

public:
    /** What to do about a service that is not there, or leaves. */
    enum class Absence
    {
        Ends, ///< the task ends with ExitServiceAbsent
        Waits ///< the task waits for the service, and opens a new session
    };

    Task(Role role, Absence absence);
    ~Task() override;

    /** Begins; to be called once, on the worker thread. */
    void Start();

    /** Ends the work before its time, politely. */
    void Stop();

Q_SIGNALS:
    /** A datum for standard output. A null @p text is none. */
    void Printed(const QJsonObject& record, const QString& text);

    /** A line for standard error. */
    void Complained(const QString& text);

    /** From here on the task waits for something that its user wants it to wait for. */
    void WaitBegun();

    /** The result stands; what is left to do is to say good-bye. */
    void Ending(int exitCode);

    /** Nothing is left to do. */
    void Ended();

protected:
    using Client = Audio::Utils::Kiv::QtDbus::ServiceProviderClient;

    /** Makes the client and connects to it. */
    virtual std::unique_ptr<Client> MakeClient(Surroundings& surroundings) = 0;

    /** A session is open: do the work, then call End(). Called again for each new session. */
    virtual void Opened() = 0;

    /** The service has left, and its session with it. */
    virtual void ServiceLeft();

    /** Says good-bye, and then calls CloseSession(). */
    virtual void Farewell();

    void End(const Verdict& verdict);

    /** Ends because a request has failed, unless the service has left and the task waits for it to come back. */
    void Fail(const QString& methodName);

    /** Like Fail(), for an answer that the protocol does not allow: @p expected tells what was due. */
    void FailProtocol(const QString& methodName, const QString& expected);

    void CloseSession();

    /** Between these two something is under way that the task's end should wait for, while its grace lasts. */
    void Hold();
    void Release();

    Verdict VerdictOf(const QString& methodName) const;
    QString AnswerTo(const QString& methodName) const;
    bool IsStopped() const;
    bool IsEnding() const;

private Q_SLOTS:
    void BusGone();

private:
    void CompleteInitialization(int state);
    void WatchService();
    void OwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    void Reopen();
    void OpenSessionCompleted(quint32 requestId, bool result);
    void Leave();
    void EndIfDone();

    const Role m_Role;
    const Absence m_Absence;
    ReplyLog m_Replies;
    std::unique_ptr<Surroundings> m_Surroundings;
    std::unique_ptr<Client> m_Client;
    std::unique_ptr<QDBusServiceWatcher> m_Watcher;
    quint32 m_OpenRequest = 0;
    bool m_IsStopped = false;
    bool m_IsEnding = false;
    bool m_HasLeft = false;
    int m_Holds = 0;
};

/** The path of this program's clients, before the suffix that the library adds. */
QString ClientPath();

} // namespace Kivctl

#endif // KIVCTL_ROLES_TASK_H
