// SPDX-License-Identifier: MIT
#include "ServiceBus.h"

#include "Spoiler.h"

#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace Simulator {

namespace {

constexpr int callTimeout = 5000;             // ms
constexpr int longestText = 30 * 1024 * 1024; // bytes; for more than 32 MiB a bus ends the whole connection

bool IsTooLong(const QString& text)
{
    return text.size() > longestText / 6 && text.toUtf8().size() > longestText;
}

QString TooLongText()
{
    return QStringLiteral("longer than a message can be");
}

Answer TooLongAnswer()
{
    Answer answer;
    answer.kind = Answer::Kind::Error;
    answer.errorName = QStringLiteral("org.freedesktop.DBus.Error.LimitsExceeded");
    answer.text = TooLongText();
    return answer;
}

QString ServiceName()
{
    return QStringLiteral("com.quorvantel.service.AudioManagement");
}

// Each connection has a name of its own: one that has ended may still be known to Qt for a while.
QString NextConnectionName()
{
    static int count = 0;
    return QStringLiteral("audio-service-%1").arg(++count);
}

// Empty when a client has answered as it should.
QString ComplaintAbout(const QDBusPendingReply<QString>& reply)
{
    if (reply.isError()) {
        return reply.error().message();
    }
    return reply.value() == QLatin1String("{}") ? QString() : QStringLiteral("answer ") + reply.value();
}

QDBusMessage MakeCall(const Effect& effect)
{
    QDBusMessage call = QDBusMessage::createMethodCall(effect.busName, effect.objectPath,
                                                       QStringLiteral("com.quorvantel.ServiceProvider"),
                                                       QStringLiteral("Request"));
    call.setArguments({effect.name, PayloadOf(effect)});
    return call;
}

LogRecord RecordOf(LogRecord::Kind kind, const Effect& effect, const QString& payload)
{
    return {kind, effect.role, effect.name, payload, effect.busName, effect.objectPath};
}

} // namespace

ServiceBus::ServiceBus(const QString& address, EventLog& log)
    : m_Name(NextConnectionName()),
      m_Connection(QDBusConnection::connectToBus(address, m_Name)),
      m_Log(log),
      m_Hmi(Role::Hmi),
      m_App(Role::App)
{
    m_Callers.setConnection(m_Connection);
    m_Callers.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&m_Callers, &QDBusServiceWatcher::serviceUnregistered, this, &ServiceBus::CallerLeft);
    connect(&m_Hmi, &ServiceObject::Requested, this, &ServiceBus::Requested);
    connect(&m_App, &ServiceObject::Requested, this, &ServiceBus::Requested);
    m_Connection.registerObject(QStringLiteral("/com/kiv/service/AudioManagement/HmiMode"), &m_Hmi);
    m_Connection.registerObject(QStringLiteral("/com/kiv/service/AudioManagement/AudioApplication"), &m_App);
}

// Calls that still wait are given up first: Qt's D-Bus thread frees them while it closes the connection, and would not
// notice that watchers are being deleted here.
ServiceBus::~ServiceBus()
{
    qDeleteAll(findChildren<QDBusPendingCallWatcher*>());
    QDBusConnection::disconnectFromBus(m_Name);
}

bool ServiceBus::IsConnected() const
{
    return m_Connection.isConnected();
}

bool ServiceBus::TakeName()
{
    return m_Connection.registerService(ServiceName());
}

void ServiceBus::GiveNameAway()
{
    m_Connection.unregisterService(ServiceName());
}

void ServiceBus::SendReply(const QDBusMessage& call, const Request& request, const Answer& answer)
{
    if (answer.kind == Answer::Kind::None) {
        return;
    }
    if (IsTooLong(answer.text)) {
        SendReply(call, request, TooLongAnswer());
        return;
    }
    const bool isError = answer.kind == Answer::Kind::Error;
    const QString text = isError ? answer.errorName + QLatin1String(": ") + answer.text : answer.text;
    m_Log.Add({isError ? LogRecord::Kind::Error : LogRecord::Kind::Answer, request.role, request.method, text,
               request.caller, QString()});
    if (call.isReplyRequired()) {
        m_Connection.send(isError ? call.createErrorReply(answer.errorName, answer.text)
                                  : call.createReply(answer.text));
    }
}

void ServiceBus::SendEvents(const QVector<Effect>& effects)
{
    for (const Effect& effect : effects) {
        if (effect.kind == Effect::Kind::Broadcast) {
            Broadcast(effect);
        } else {
            CallBack(effect, callTimeout, [] {});
        }
    }
}

void ServiceBus::SendWithoutReply(const Effect& effect)
{
    if (effect.kind == Effect::Kind::Broadcast) {
        Broadcast(effect);
        return;
    }
    LogEffect(effect);
    m_Connection.send(MakeCall(effect));
}

void ServiceBus::Broadcast(const Effect& effect)
{
    LogEffect(effect);
    if (IsTooLong(PayloadOf(effect))) {
        m_Log.Add(RecordOf(LogRecord::Kind::Failed, effect, TooLongText()));
        return;
    }
    Q_EMIT m_Hmi.Notify(effect.name, PayloadOf(effect));
}

void ServiceBus::LogEffect(const Effect& effect)
{
    if (effect.kind == Effect::Kind::Broadcast) {
        m_Log.Add(
            {LogRecord::Kind::Broadcast, std::nullopt, effect.name, PayloadOf(effect), QString(), QString()});
    } else {
        m_Log.Add(RecordOf(LogRecord::Kind::Call, effect, PayloadOf(effect)));
    }
}

void ServiceBus::CallBack(const Effect& effect, int milliseconds, const std::function<void()>& done)
{
    LogEffect(effect);
    if (IsTooLong(PayloadOf(effect))) {
        m_Log.Add(RecordOf(LogRecord::Kind::Failed, effect, TooLongText()));
        done();
        return;
    }
    const QDBusPendingCall call = m_Connection.asyncCall(MakeCall(effect), milliseconds);
    auto* const watcher = new QDBusPendingCallWatcher(call, this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, effect, watcher, done] {
        watcher->deleteLater();
        const QString complaint = ComplaintAbout(*watcher);
        if (!complaint.isEmpty()) {
            m_Log.Add(RecordOf(LogRecord::Kind::Failed, effect, complaint));
        }
        done();
    });
}

void ServiceBus::Watch(const QString& caller, bool isWatched)
{
    const bool wasWatched = m_Callers.watchedServices().contains(caller);
    if (wasWatched && !isWatched) {
        m_Callers.removeWatchedService(caller);
    } else if (isWatched && !wasWatched) {
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
            Q_EMIT CallerLeft(caller);
        }
    });
}

} // namespace Simulator
