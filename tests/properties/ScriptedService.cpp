// SPDX-License-Identifier: MIT
#include "ScriptedService.h"

#include <QCoreApplication>
#include <QDBusError>

#include <memory>
#include <utility>

namespace KivTest {

using Audio::Utils::Kiv::QtDbus::IServiceProviderProxy;

namespace {

class ScriptedProxy : public IServiceProviderProxy
{
public:
    ScriptedProxy(ScriptedService& service, int client, std::unique_ptr<IServiceProviderProxy> proxy)
        : m_Service(service),
          m_Client(client),
          m_Proxy(std::move(proxy))
    {
    }

    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override
    {
        return m_Service.Send(m_Client, *m_Proxy, methodName, arguments);
    }

    QString Request(const QString& methodName, const QString& arguments) override
    {
        return m_Service.Ask(m_Client, *m_Proxy, methodName, arguments);
    }

private:
    ScriptedService& m_Service;
    int m_Client;
    std::unique_ptr<IServiceProviderProxy> m_Proxy;
};

QString ModeListText(int modeCount)
{
    const QStringList modes = FirstModes(modeCount);
    return modes.isEmpty() ? QStringLiteral("{\"modes\":[]}")
                           : QStringLiteral("{\"modes\":[\"%1\"]}").arg(modes.join("\",\""));
}

} // namespace

ScriptedService::ScriptedService(Wire& wire)
    : m_Wire(wire)
{
}

void ScriptedService::Reset(Trace& trace)
{
    m_Wire.Reset();
    m_Trace = &trace;
    m_IsPresent = true;
    m_IsConnected = true;
    m_AnswersAtOnce = false;
    m_BlockingOutcome = Outcome::Accept;
    m_BlockingModes = 1;
    m_SessionCounts.fill(0);
    m_ArrivalCount = 0;
}

void ScriptedService::Appear()
{
    m_IsPresent = true;
    m_Wire.Appear();
}

void ScriptedService::SetBlocking(Outcome outcome, int modeCount)
{
    m_BlockingOutcome = outcome;
    m_BlockingModes = modeCount;
}

QString ScriptedService::Ask(int client, IServiceProviderProxy& proxy, const QString& method,
                             const QString& arguments)
{
    m_Trace->Request(client, true, method, arguments);
    if (!m_IsConnected) {
        return QStringLiteral("{ \"errCode\" : 0 }");
    }
    if (m_Wire.IsReaching()) {
        const Outcome outcome = m_IsPresent ? m_BlockingOutcome : Outcome::Fail;
        m_Wire.PlanBlocking(ReplyTo(client, method, outcome, m_BlockingModes), m_ArrivalCount);
    }
    return proxy.Request(method, arguments);
}

QDBusPendingReply<QString> ScriptedService::Send(int client, IServiceProviderProxy& proxy,
                                                 const QString& method, const QString& arguments)
{
    m_Trace->Request(client, false, method, arguments);
    if (!m_IsConnected) {
        return QDBusPendingCall::fromError(QDBusError(QDBusError::Disconnected, "the bus is lost"));
    }
    ++m_SentCount;
    const int number = m_Wire.IsReaching() ? m_ArrivalCount++ : kNotArriving;
    const QDBusPendingReply<QString> call = proxy.AsyncRequest(method, arguments);
    if (m_IsPresent && std::exchange(m_AnswersAtOnce, false)) {
        m_HasPrompted = true;
        m_Wire.AwaitArrival(m_ArrivalCount);
        m_Wire.Answer(number, ReplyTo(client, method, Outcome::Accept, 1));
        QDBusPendingCall(call).waitForFinished();
    } else {
        m_Waiting.append({call, client, method, number});
    }
    return call;
}

void ScriptedService::Answer(int place, Outcome outcome, int modeCount)
{
    m_Wire.AwaitArrival(m_ArrivalCount);
    const Waiting waiting = m_Waiting.takeAt(place % m_Waiting.size());
    const LastWatcher last(waiting.call);
    m_Wire.Answer(waiting.number, ReplyTo(waiting.client, waiting.method, outcome, modeCount));
    last.Wait();
}

Wire::Reply ScriptedService::ReplyTo(int client, const QString& method, Outcome outcome, int modeCount)
{
    switch (outcome) {
    case Outcome::Refuse:
        return {Wire::Reply::Text, "{\"errCode\":10}"};
    case Outcome::Garbage:
        return {Wire::Reply::Text, "not JSON"};
    case Outcome::Fail:
        return {Wire::Reply::Error};
    case Outcome::WrongType:
        return {Wire::Reply::WrongType};
    case Outcome::Accept:
        break;
    }
    if (method == QLatin1String("openSession")) {
        const quint32 session = SessionOf(client, ++m_SessionCounts[static_cast<size_t>(client)]);
        return {Wire::Reply::Text, QStringLiteral("{\"sessionId\":%1}").arg(session)};
    }
    return {Wire::Reply::Text, method == QLatin1String("getModeList") ? ModeListText(modeCount) : "{}"};
}

// Qt tells a watcher that comes after its answer in two steps through the event loop.
void ScriptedService::AwaitSilence()
{
    LastWatcher(m_Wire.Ping()).Wait();
    LastWatcher(m_Wire.Ping()).Wait();
}

void ScriptedService::Settle()
{
    m_Wire.AwaitArrival(m_ArrivalCount);
    if (std::exchange(m_HasPrompted, false)) {
        AwaitSilence();
        m_Wire.AwaitArrival(m_ArrivalCount);
    }
    if (!m_IsPresent) {
        FailAll();
        m_Wire.Leave();
    }
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// What comes of a failure may send once more.
void ScriptedService::FailAll()
{
    while (!m_Waiting.isEmpty()) {
        if (m_Waiting.first().number == kNotArriving) {
            m_Waiting.removeFirst();
            AwaitSilence();
        } else {
            Answer(0, Outcome::Fail, 0);
        }
    }
}

ScriptedFactory::ScriptedFactory(ScriptedService& service, int client)
    : m_Service(service),
      m_Client(client)
{
}

IServiceProviderProxy* ScriptedFactory::CreateProxy(QObject* parent)
{
    const bool isHmi = Clients()[static_cast<size_t>(m_Client)].isHmi;
    return new ScriptedProxy(m_Service, m_Client, m_Service.GetWire().MakeProxy(parent, isHmi));
}

} // namespace KivTest
