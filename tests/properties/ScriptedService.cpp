// SPDX-License-Identifier: MIT
#include "ScriptedService.h"

#include <QCoreApplication>
#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QTimer>

#include <algorithm>
#include <utility>

namespace KivTest {

using Audio::Utils::Kiv::QtDbus::IServiceProviderProxy;

namespace {

class ScriptedProxy : public IServiceProviderProxy
{
public:
    ScriptedProxy(ScriptedService& service, int client)
        : m_Service(service),
          m_Client(client)
    {
    }

    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override
    {
        return m_Service.Send(m_Client, methodName, arguments);
    }

    QString Request(const QString& methodName, const QString& arguments) override
    {
        return m_Service.Ask(m_Client, methodName, arguments);
    }

private:
    ScriptedService& m_Service;
    int m_Client;
};

// Knows when a reply that has yet to come has been handled by all who watched it before: watchers are told in the
// order in which they were made.
class LastWatcher
{
public:
    explicit LastWatcher(const QDBusPendingCall& call)
        : m_Watcher(call)
    {
        QObject::connect(&m_Watcher, &QDBusPendingCallWatcher::finished, [this] { m_IsTold = true; });
    }

    void Wait() const
    {
        SpinUntil([this] { return m_IsTold; });
    }

private:
    QDBusPendingCallWatcher m_Watcher;
    bool m_IsTold = false;
};

const QString kPing = "ping";

QString ModeListText(int modeCount)
{
    const QStringList modes = FirstModes(modeCount);
    return modes.isEmpty() ? QStringLiteral("{\"modes\":[]}")
                           : QStringLiteral("{\"modes\":[\"%1\"]}").arg(modes.join("\",\""));
}

} // namespace

void SpinUntil(const std::function<bool()>& isDone)
{
    constexpr int patience = 30000; // milliseconds
    QTimer watchdog;
    QObject::connect(&watchdog, &QTimer::timeout, [] { qFatal("An answer was never handled"); });
    watchdog.start(patience);
    while (!isDone()) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

ScriptedService::ScriptedService()
    : m_Peer([this](const QDBusMessage& message, const QDBusConnection& connection) {
          Receive(message, connection);
      })
{
}

void ScriptedService::Reset(Trace& trace)
{
    m_Trace = &trace;
    m_IsPresent = true;
    m_IsConnected = true;
    m_AnswersAtOnce = false;
    m_BlockingOutcome = Outcome::Accept;
    m_BlockingModes = 1;
    m_SessionCount = 0;
}

void ScriptedService::SetBlocking(Outcome outcome, int modeCount)
{
    m_BlockingOutcome = outcome;
    m_BlockingModes = modeCount;
}

QString ScriptedService::Ask(int client, const QString& method, const QString& arguments)
{
    m_Trace->Request(client, true, method, arguments);
    const bool isReached = m_IsPresent && m_IsConnected;
    if (!isReached || m_BlockingOutcome == Outcome::Fail || m_BlockingOutcome == Outcome::WrongType) {
        return QStringLiteral("{ \"errCode\" : 0 }");
    }
    return TextOf(method, m_BlockingOutcome, m_BlockingModes);
}

QDBusPendingReply<QString> ScriptedService::Send(int client, const QString& method, const QString& arguments)
{
    m_Trace->Request(client, false, method, arguments);
    if (!m_IsConnected) {
        return QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, "the bus is lost"));
    }
    ++m_SentCount;
    m_Waiting.append({m_Peer.Call(method, arguments), method, std::nullopt});
    QDBusPendingCall call = m_Waiting.last().call;
    if (m_IsPresent && std::exchange(m_AnswersAtOnce, false)) {
        AwaitArrival();
        Reply(m_Waiting.takeLast(), Outcome::Accept, 1);
        call.waitForFinished();
        m_HasPrompted = true;
    }
    return call;
}

void ScriptedService::Receive(const QDBusMessage& message, const QDBusConnection& connection)
{
    m_Connection = connection;
    if (message.arguments().first() == kPing) {
        connection.send(message.createReply(QString()));
        return;
    }
    const auto first = std::find_if(m_Waiting.begin(), m_Waiting.end(),
                                    [](const Waiting& waiting) { return !waiting.message; });
    first->message = message;
}

void ScriptedService::AwaitArrival()
{
    SpinUntil([this] { return m_Waiting.isEmpty() || m_Waiting.last().message.has_value(); });
}

void ScriptedService::Answer(int place, Outcome outcome, int modeCount)
{
    AwaitArrival();
    const Waiting waiting = m_Waiting.takeAt(place % m_Waiting.size());
    const LastWatcher last(waiting.call);
    Reply(waiting, outcome, modeCount);
    last.Wait();
}

void ScriptedService::Reply(const Waiting& waiting, Outcome outcome, int modeCount)
{
    const QDBusMessage& call = *waiting.message;
    if (outcome == Outcome::Fail) {
        m_Connection->send(call.createErrorReply(QDBusError::NoReply, "nobody answers"));
    } else if (outcome == Outcome::WrongType) {
        m_Connection->send(call.createReply(QStringList{"a", "list"}));
    } else {
        m_Connection->send(call.createReply(TextOf(waiting.method, outcome, modeCount)));
    }
}

QString ScriptedService::TextOf(const QString& method, Outcome outcome, int modeCount)
{
    if (outcome == Outcome::Refuse) {
        return QStringLiteral("{\"errCode\":10}");
    }
    if (outcome == Outcome::Garbage) {
        return QStringLiteral("not JSON");
    }
    if (method == QLatin1String("openSession")) {
        return QStringLiteral("{\"sessionId\":%1}").arg(++m_SessionCount);
    }
    return method == QLatin1String("getModeList") ? ModeListText(modeCount) : QStringLiteral("{}");
}

void ScriptedService::Settle()
{
    AwaitArrival();
    if (std::exchange(m_HasPrompted, false)) {
        LastWatcher(m_Peer.Call(kPing, QString())).Wait(); // behind what was answered
        AwaitArrival();
    }
    while (!m_IsPresent && !m_Waiting.isEmpty()) {
        Answer(0, Outcome::Fail, 0);
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

ScriptedFactory::ScriptedFactory(ScriptedService& service, int client)
    : m_Service(service),
      m_Client(client)
{
}

IServiceProviderProxy* ScriptedFactory::CreateProxy(QObject* /*parent*/)
{
    return new ScriptedProxy(m_Service, m_Client);
}

} // namespace KivTest
