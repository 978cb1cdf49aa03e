// SPDX-License-Identifier: MIT
#include "roles/Task.h"

#include <QDBusError>

using namespace Audio::Utils::Kiv::QtDbus;

namespace Kivctl {

namespace {

const QString& OpenSessionMethod()
{
    static const QString name = QStringLiteral("openSession");
    return name;
}

} // namespace

QString ClientPath()
{
    return QStringLiteral("/com/quorvantel/audioclient/kivctl");
}

Surroundings::Surroundings(Role role, ReplyLog& replies)
    : bus(QDBusConnection::systemBus()),
      name(bus),
      connection(bus),
      factory(role, replies)
{
}

Task::Task(Role role, Absence absence)
    : m_Role(role),
      m_Absence(absence)
{
}

Task::~Task() = default;

void Task::Start()
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!bus.isConnected()) {
        End({ExitNoBus,
             QStringLiteral("no bus at \"%1\": %2")
                 .arg(qEnvironmentVariable("DBUS_SYSTEM_BUS_ADDRESS"), bus.lastError().message())});
        return;
    }
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                SLOT(BusGone()));
    m_Surroundings = std::make_unique<Surroundings>(m_Role, m_Replies);
    if (!m_Surroundings->name.IsOwned()) {
        Q_EMIT Complained(
            QStringLiteral("the bus does not give this program the name %1; the service is told %2")
                .arg(m_Surroundings->name.WantedName(), m_Surroundings->name.GetServiceName()));
    }
    m_Client = MakeClient(*m_Surroundings);
    connect(m_Client.get(), &KivBaseClient::SignalInitCompleted, this, &Task::CompleteInitialization);
    connect(m_Client.get(), &Client::SignalOpenSessionCompleted, this, &Task::OpenSessionCompleted);
    WatchService();
    CompleteInitialization(m_Client->Initialize());
}

void Task::Stop()
{
    m_IsStopped = true;
    End({});
}

void Task::ServiceLeft() {}

void Task::Farewell()
{
    CloseSession();
}

void Task::WatchService()
{
    m_Watcher = std::make_unique<QDBusServiceWatcher>(ServiceName(), m_Surroundings->bus,
                                                      QDBusServiceWatcher::WatchForOwnerChange);
    connect(m_Watcher.get(), &QDBusServiceWatcher::serviceOwnerChanged, this, &Task::OwnerChanged);
}

void Task::CompleteInitialization(int state)
{
    if (m_IsEnding) {
        return;
    }
    if (state == KivBaseClient::INIT_STATE_SUCCESS) {
        Opened();
    } else if (state == KivBaseClient::INIT_STATE_FAILED) {
        Fail(OpenSessionMethod());
    } else if (m_Absence == Absence::Waits) {
        Q_EMIT Complained(QStringLiteral("waiting for the service"));
        Q_EMIT WaitBegun();
    } else {
        End({ExitServiceAbsent, QStringLiteral("nobody owns the service's bus name %1").arg(ServiceName())});
    }
}

void Task::OwnerChanged(const QString& /*name*/, const QString& oldOwner, const QString& newOwner)
{
    if (m_IsEnding) {
        return;
    }
    if (!oldOwner.isEmpty() && m_Absence == Absence::Ends) {
        End({ExitServiceAbsent, QStringLiteral("the service has left the bus")});
        return;
    }
    if (!oldOwner.isEmpty()) {
        m_Client->HandleCloseSessionReply(false, {}); // forgets the session, sends nothing
        ServiceLeft();
    }
    if (!newOwner.isEmpty()) {
        Reopen();
    }
}

void Task::Reopen()
{
    // The client itself ends a wait of its initialisation.
    if (m_Client->CurrentInitState() == KivBaseClient::INIT_STATE_WAITING_FOR_KIV ||
        m_Client->IsSessionOpen()) {
        return;
    }
    m_OpenRequest = m_Client->OpenSessionAsync();
    if (m_OpenRequest == 0) {
        Fail(OpenSessionMethod());
    }
}

void Task::OpenSessionCompleted(quint32 requestId, bool result)
{
    if (m_IsEnding || requestId != m_OpenRequest) {
        return; // the answer of a service that has left since
    }
    if (result) {
        Opened();
    } else {
        Fail(OpenSessionMethod());
    }
}

void Task::BusGone()
{
    End({ExitNoBus, QStringLiteral("the bus has gone")});
}

void Task::Fail(const QString& methodName)
{
    FailProtocol(methodName, QStringLiteral("no usable sessionId in the answer"));
}

void Task::FailProtocol(const QString& methodName, const QString& expected)
{
    const Verdict verdict = VerdictOf(methodName);
    if (verdict.code == ExitServiceAbsent && m_Absence == Absence::Waits) {
        return;
    }
    // What the service takes for a success is none for the client.
    End(verdict.code != ExitDone
            ? verdict
            : Verdict{ExitProtocol,
                      QStringLiteral("%1: %2: %3").arg(methodName, expected, AnswerTo(methodName))});
}

Verdict Task::VerdictOf(const QString& methodName) const
{
    const auto reply = m_Replies.constFind(methodName);
    if (reply == m_Replies.constEnd()) {
        return {ExitNoBus, methodName + QStringLiteral(": could not be sent")};
    }
    return JudgeReply(methodName, *reply, m_Surroundings->bus.isConnected());
}

QString Task::AnswerTo(const QString& methodName) const
{
    const QDBusPendingReply<QString> reply = m_Replies.value(methodName);
    return reply.isValid() ? reply.value() : QString();
}

bool Task::IsStopped() const
{
    return m_IsStopped;
}

bool Task::IsEnding() const
{
    return m_IsEnding;
}

void Task::End(const Verdict& verdict)
{
    if (m_IsEnding) {
        return;
    }
    m_IsEnding = true;
    if (!verdict.text.isEmpty()) {
        Q_EMIT Complained(verdict.text);
    }
    Q_EMIT Ending(verdict.code);
    Farewell();
}

void Task::CloseSession()
{
    if (m_Client != nullptr && m_Client->IsSessionOpen() && m_Surroundings->bus.isConnected()) {
        connect(m_Client.get(), &Client::SignalCloseSessionCompleted, this, &Task::Leave);
        if (m_Client->CloseSessionAsync() != 0) {
            return; // what the service still says meanwhile is heard
        }
    }
    Leave();
}

void Task::Leave()
{
    if (m_Client != nullptr) {
        m_Client->HandleCloseSessionReply(false, {}); // else a refused closing would be tried again, blocking
        m_Client->Powerdown();
    }
    m_HasLeft = true;
    EndIfDone();
}

void Task::Hold()
{
    ++m_Holds;
}

void Task::Release()
{
    --m_Holds;
    EndIfDone();
}

void Task::EndIfDone()
{
    if (m_HasLeft && m_Holds == 0) {
        Q_EMIT Ended();
    }
}

} // namespace Kivctl
