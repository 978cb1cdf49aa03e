// SPDX-License-Identifier: MIT
#include "ServiceBus.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QJsonDocument>

namespace Simulator {

namespace {

constexpr int callTimeout = 5000; // ms

QString ToText(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

// Empty when a client has answered as it should.
QString ComplaintAbout(const QDBusPendingReply<QString>& reply)
{
    if (reply.isError()) {
        return reply.error().message();
    }
    return reply.value() == QLatin1String("{}") ? QString() : QStringLiteral("answer ") + reply.value();
}

} // namespace

ServiceBus::ServiceBus(const QDBusConnection& connection, AudioModel& model, const MessageLog& log)
    : m_Connection(connection),
      m_Model(model),
      m_Log(log),
      m_Hmi(Role::Hmi),
      m_App(Role::App)
{
    m_Callers.setConnection(m_Connection);
    m_Callers.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_Callers, &QDBusServiceWatcher::serviceUnregistered, this, &ServiceBus::HandleCallerLeft);
    connect(&m_Hmi, &ServiceObject::Requested, this, &ServiceBus::HandleRequest);
    connect(&m_App, &ServiceObject::Requested, this, &ServiceBus::HandleRequest);
    m_Connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                         QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                         SIGNAL(Disconnected()));
}

bool ServiceBus::Start()
{
    return m_Connection.registerObject(QStringLiteral("/com/kiv/service/AudioManagement/HmiMode"), &m_Hmi) &&
           m_Connection.registerObject(QStringLiteral("/com/kiv/service/AudioManagement/AudioApplication"),
                                       &m_App) &&
           m_Connection.registerService(QStringLiteral("com.quorvantel.service.AudioManagement"));
}

void ServiceBus::HandleRequest(Role role, const QDBusMessage& call)
{
    const Request request{role, call.service(), call.arguments().value(0).toString(),
                          call.arguments().value(1).toString()};
    m_Log.Received(request);
    const Outcome outcome = m_Model.Handle(request);
    const QString reply = ToText(outcome.reply);
    m_Log.Answered(request, reply);
    Reply(call, reply);
    Perform(outcome.effects);
    UpdateWatch(request.caller);
}

void ServiceBus::Reply(const QDBusMessage& call, const QString& json)
{
    if (call.isReplyRequired()) {
        m_Connection.send(call.createReply(json));
    }
}

void ServiceBus::Perform(const QVector<Effect>& effects)
{
    for (const Effect& effect : effects) {
        const QString json = ToText(effect.parameters);
        m_Log.Sent(effect, json);
        if (effect.kind == Effect::Kind::Broadcast) {
            Q_EMIT m_Hmi.Notify(effect.name, json);
        } else {
            Call(effect, json);
        }
    }
}

void ServiceBus::Call(const Effect& effect, const QString& json)
{
    QDBusMessage call = QDBusMessage::createMethodCall(effect.busName, effect.objectPath,
                                                       QStringLiteral("com.quorvantel.ServiceProvider"),
                                                       QStringLiteral("Request"));
    call.setArguments({effect.name, json});
    auto* const watcher = new QDBusPendingCallWatcher(m_Connection.asyncCall(call, callTimeout), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, effect, watcher] {
        watcher->deleteLater();
        const QString complaint = ComplaintAbout(*watcher);
        if (!complaint.isEmpty()) {
            m_Log.CallFailed(effect, complaint);
        }
    });
}

void ServiceBus::UpdateWatch(const QString& caller)
{
    const bool isWatched = m_Callers.watchedServices().contains(caller);
    const bool hasSessions = m_Model.HasSessions(caller);
    if (isWatched && !hasSessions) {
        m_Callers.removeWatchedService(caller);
    } else if (!isWatched && hasSessions) {
        m_Callers.addWatchedService(caller);
        AskWhetherPresent(caller);
    }
}

// A caller may have left before it was watched.
void ServiceBus::AskWhetherPresent(const QString& caller)
{
    QDBusMessage question = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
        QStringLiteral("org.freedesktop.DBus"), QStringLiteral("NameHasOwner"));
    question.setArguments({caller});
    auto* const watcher = new QDBusPendingCallWatcher(m_Connection.asyncCall(question), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, caller, watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<bool> reply = *watcher;
        if (reply.isValid() && !reply.value()) {
            HandleCallerLeft(caller);
        }
    });
}

void ServiceBus::HandleCallerLeft(const QString& caller)
{
    if (!m_Model.HasSessions(caller)) {
        return;
    }
    m_Log.Left(caller);
    Perform(m_Model.CallerLeft(caller));
    UpdateWatch(caller);
}

} // namespace Simulator
