// SPDX-License-Identifier: MIT
#include "AudioService.h"

#include "Spoiler.h"
#include "Vocabulary.h"

#include <QJsonDocument>

#include <utility>

namespace Simulator {

AudioService::AudioService(const QString& address, quint32 seed, EventLog& log)
    : m_Address(address),
      m_Seed(seed),
      m_Log(log),
      m_Randomness(seed),
      m_Faults(m_Randomness),
      m_Model(std::make_unique<AudioModel>(ModelSettings()))
{
    for (QTimer* const timer : {&m_ReturnTimer, &m_AnswerTimer}) {
        timer->setSingleShot(true);
        timer->setTimerType(Qt::PreciseTimer);
    }
    connect(&m_ReturnTimer, &QTimer::timeout, this, &AudioService::ComeBack);
    connect(&m_AnswerTimer, &QTimer::timeout, this, &AudioService::AnswerWhatWaits);
}

AudioService::~AudioService() = default;

bool AudioService::Load(const Scenario& scenario)
{
    Vanish();
    m_Scenario = scenario;
    m_Randomness = Randomness(m_Seed);
    m_Model = std::make_unique<AudioModel>(scenario.settings);
    m_Calls.Clear();
    m_Faults.DisarmAll();
    for (const Fault& fault : scenario.faults) {
        m_Faults.Arm(fault);
    }
    return Come(scenario.isPresent);
}

quint32 AudioService::Arm(const Fault& fault)
{
    return m_Faults.Arm(fault);
}

bool AudioService::Disarm(quint32 id)
{
    return m_Faults.Disarm(id);
}

const CallCounts& AudioService::Calls() const
{
    return m_Calls;
}

bool AudioService::Come(bool withName)
{
    if (!m_Bus) {
        m_Bus = std::make_unique<ServiceBus>(m_Address, m_Log);
        connect(m_Bus.get(), &ServiceBus::Requested, this, &AudioService::HandleCall);
        connect(m_Bus.get(), &ServiceBus::CallerLeft, this, &AudioService::HandleCallerLeft);
    }
    if (!withName) {
        return true;
    }
    m_HasName = m_Bus->TakeName();
    return m_HasName;
}

bool AudioService::ComeBack()
{
    const bool hasCome = Come(true);
    LogService(hasCome ? QStringLiteral("came") : QStringLiteral("cannot come: its bus name is taken"));
    return hasCome;
}

// The end of the connection makes the bus answer the calls that wait, with an error.
void AudioService::Vanish()
{
    m_ReturnTimer.stop();
    m_AnswerTimer.stop();
    m_IsMute = false;
    m_Unanswered.clear();
    m_Departed.clear();
    if (!m_Bus) {
        return;
    }
    m_Bus->GiveNameAway();
    m_HasName = false;
    disconnect(m_Bus.get(), nullptr, this, nullptr);
    m_Bus.release()->deleteLater(); // it may be its signal that has led here
}

void AudioService::HandleCall(Role role, const QDBusMessage& message)
{
    const Call call{m_Bus.get(),
                    message,
                    {role, message.service(), message.arguments().value(0).toString(),
                     message.arguments().value(1).toString()}};
    const Request& request = call.request;
    m_Log.Add({LogRecord::Kind::Request, role, request.method, request.arguments, request.caller, QString()});
    m_Calls.Add(request);
    if (m_IsMute) {
        m_Unanswered.append(call);
    } else {
        Serve(call);
    }
    Q_EMIT RequestTaken();
}

void AudioService::Serve(const Call& call)
{
    const std::optional<Fault> fault = m_Faults.Hit(call.request);
    if (fault) {
        ServeWith(*fault, call);
    } else {
        Deliver(call, ToAnswer(m_Model->Handle(call.request)));
    }
    if (m_Bus) {
        m_Bus->Watch(call.request.caller, m_Model->HasSessions(call.request.caller));
    }
}

void AudioService::ServeWith(const Fault& fault, const Call& call)
{
    m_Log.Add({LogRecord::Kind::Fault, std::nullopt, fault.name, call.request.method, call.request.caller,
               QString()});
    const Outcome outcome = IsRequestDone(fault) ? m_Model->Handle(call.request) : Outcome();
    const Answer answer = Spoil(fault, outcome, m_Randomness);
    if (const auto* const callBack = std::get_if<CallBackFirst>(&fault.kind)) {
        CallBackThenDeliver(*callBack, call, answer);
        return;
    }
    if (std::holds_alternative<StopAnswering>(fault.kind)) {
        m_Unanswered.append(call);
    }
    if (answer.kind == Answer::Kind::None) {
        StrikeService(fault);
    } else {
        Deliver(call, answer, [this, fault] { StrikeService(fault); });
    }
}

// Does what the fault does to the service itself, if anything.
void AudioService::StrikeService(const Fault& fault)
{
    const auto strike = [this](const auto& kind) {
        if constexpr (std::is_constructible_v<Action, decltype(kind)>) {
            Do(Action(kind));
        }
    };
    std::visit(strike, fault.kind);
}

void AudioService::CallBackThenDeliver(const CallBackFirst& fault, const Call& call, const Answer& answer)
{
    const Effect effect = MakeCallBack(fault, call.request);
    if (effect.objectPath.isEmpty()) { // a client without a session cannot be called
        Deliver(call, answer);
        return;
    }
    m_Bus->CallBack(effect, fault.timeout, [this, call, answer] { Deliver(call, answer); });
}

Effect AudioService::MakeCallBack(const CallBackFirst& fault, const Request& request) const
{
    const bool isHmi = request.role == Role::Hmi;
    Effect effect{};
    effect.role = request.role;
    effect.busName = request.caller;
    effect.name = fault.name;
    effect.parameters = fault.parameters;
    if (fault.name.isEmpty()) {
        effect.name = isHmi ? Event::ModeChange : Event::AudioFocusChange;
        effect.parameters =
            isHmi ? QJsonObject{{Key::ActiveMode, m_Scenario.settings.modes.first().modes.first()}}
                  : QJsonObject{{Key::NewFocus, Value::TemporarilyLost}};
    }
    if (const std::optional<Session> session = SessionOf(request)) {
        effect.objectPath = session->objectPath;
        AddSession(effect, *session);
    }
    return effect;
}

// The session that a request names; of a client that names none of its own, the first one.
std::optional<Session> AudioService::SessionOf(const Request& request) const
{
    const QJsonObject parameters = QJsonDocument::fromJson(request.arguments.toUtf8()).object();
    const qint64 id = parameters.value(Key::SessionId).toVariant().toLongLong();
    std::optional<Session> found;
    for (const Session& session : m_Model->Sessions()) {
        const bool isCallers = session.caller == request.caller && session.role == request.role;
        if (isCallers && (!found || session.id == id)) {
            found = session;
        }
    }
    return found;
}

void AudioService::Deliver(const Call& call, const Answer& answer, const std::function<void()>& then)
{
    const int delay = answer.delay > 0 ? answer.delay : m_Scenario.delay;
    if (delay == 0) {
        DeliverNow(call, answer, then);
        return;
    }
    QTimer::singleShot(delay, Qt::PreciseTimer, this,
                       [this, call, answer, then] { DeliverNow(call, answer, then); });
}

void AudioService::DeliverNow(const Call& call, const Answer& answer, const std::function<void()>& then)
{
    if (!m_Bus || call.bus != m_Bus.get()) {
        return;
    }
    m_Bus->SendEvents(answer.eventsBefore);
    m_Bus->SendReply(call.message, call.request, answer);
    m_Bus->SendEvents(answer.eventsAfter);
    then();
}

void AudioService::AnswerWhatWaits()
{
    m_AnswerTimer.stop();
    m_IsMute = false;
    LogService(QStringLiteral("answers again"));
    const QVector<Call> calls = std::exchange(m_Unanswered, {});
    for (const Call& call : calls) {
        if (m_IsMute) {
            m_Unanswered.append(call);
        } else if (m_Bus) {
            Serve(call);
        }
    }
    for (const QString& caller : std::exchange(m_Departed, {})) {
        HandleCallerLeft(caller);
    }
}

void AudioService::HandleCallerLeft(const QString& caller)
{
    if (m_IsMute) {
        m_Departed.append(caller);
        return;
    }
    if (!m_Model->HasSessions(caller)) {
        return;
    }
    m_Log.Add({LogRecord::Kind::Left, std::nullopt, QString(), QStringLiteral("left"), caller, QString()});
    m_Bus->SendEvents(m_Model->CallerLeft(caller));
    m_Bus->Watch(caller, false);
}

void AudioService::AddSession(Effect& effect, const Session& session)
{
    if (!effect.parameters.contains(Key::SessionId)) {
        effect.parameters.insert(Key::SessionId, static_cast<qint64>(session.id));
    }
}

void AudioService::LogService(const QString& what)
{
    m_Log.Add({LogRecord::Kind::Service, std::nullopt, QString(), what, QString(), QString()});
}

} // namespace Simulator
