// SPDX-License-Identifier: MIT
#include "Tracer.h"

#include "bus/Protocol.h"

#include <QJsonObject>

#include <algorithm>
#include <array>

namespace Kivctl {

namespace {

using Kind = TraceRecord::Kind;
using Direction = TraceRecord::Direction;

// Names of methods are kept while a call waits for its answer; a longer one is none of the protocol's.
constexpr int longestMethodName = 256;

const char hmiRole[] = "hmi";
const char appRole[] = "app";

struct EventRole
{
    const char* method;
    const char* role;
};

// A client's object does not tell its role, but these are never sent to the other one.
constexpr std::array<EventRole, 4> eventRoles{{
    {"onModeChange", hmiRole},
    {"onModeListChange", hmiRole},
    {"onAudioFocusChange", appRole},
    {"onRequestAudioFocusResult", appRole},
}};

QString RoleOfEvent(const QString& method)
{
    const auto* const entry =
        std::find_if(eventRoles.begin(), eventRoles.end(),
                     [&method](const EventRole& role) { return method == QLatin1String(role.method); });
    return entry == eventRoles.end() ? QString() : QLatin1String(entry->role);
}

bool IsOfInterface(const BusMessage& message)
{
    const bool isUnnamed = message.interfaceName.isEmpty() &&
                           message.member == QLatin1String(Protocol::requestMember) &&
                           !Protocol::RoleOfPath(message.path).isEmpty();
    return isUnnamed || message.interfaceName == QLatin1String(Protocol::interfaceName);
}

bool IsOwnerChange(const BusMessage& message)
{
    return message.sender == QLatin1String(Protocol::busName) &&
           message.member == QLatin1String("NameOwnerChanged") && message.texts.size() == 3;
}

QString FaultOf(const BusMessage& message, const char* member, const char* signature)
{
    if (!message.member.isEmpty() && message.member != QLatin1String(member)) {
        return QStringLiteral("member \"%1\" instead of \"%2\"").arg(message.member, QLatin1String(member));
    }
    if (message.signature != QLatin1String(signature)) {
        return QStringLiteral("signature \"%1\" instead of \"%2\"")
            .arg(message.signature, QLatin1String(signature));
    }
    return QString();
}

std::optional<qint64> SessionOf(const QJsonDocument& json)
{
    const QVariant id = json.object().value(QLatin1String("sessionId")).toVariant();
    return id.type() == QVariant::LongLong ? std::optional(id.toLongLong()) : std::nullopt;
}

void SetText(TraceRecord& record, const QString& text)
{
    record.text = text;
    record.json = QJsonDocument::fromJson(text.toUtf8());
}

QVector<TraceRecord> AsUnanswered(QVector<TraceRecord> calls, const QString& state, qint64 time)
{
    for (TraceRecord& call : calls) {
        call.kind = Kind::Unanswered;
        call.state = state;
        call.duration = std::max<qint64>(0, time - call.time);
        call.time = time;
    }
    return calls;
}

} // namespace

void Tracer::AddOwner(const QString& name, const QString& owner)
{
    m_Names.SetOwner(name, owner);
}

TraceRecord Tracer::Beginning(qint64 time) const
{
    const QString owner = m_Names.UniqueNameOf(QLatin1String(Protocol::serviceName));
    return MakeServiceRecord(owner.isEmpty() ? QStringLiteral("absent") : QStringLiteral("present"), owner,
                             time);
}

QVector<TraceRecord> Tracer::Handle(const BusMessage& message)
{
    switch (message.type) {
    case BusMessage::Type::Call:
        return IsOfInterface(message) ? HandleCall(message) : QVector<TraceRecord>();
    case BusMessage::Type::Signal:
        return HandleSignal(message);
    case BusMessage::Type::Reply:
    case BusMessage::Type::Error:
        break;
    }
    return HandleAnswer(message);
}

QVector<TraceRecord> Tracer::Finish(qint64 time)
{
    return AsUnanswered(m_Calls.TakeAll(), QStringLiteral("traceEnded"), time);
}

QVector<TraceRecord> Tracer::HandleCall(const BusMessage& message)
{
    TraceRecord call = MakeRecord(Kind::Call, message);
    call.fault = FaultOf(message, Protocol::requestMember, "ss");
    call.serial = message.serial;
    call.method = message.texts.value(0);
    call.role = Protocol::RoleOfPath(message.path);
    if (call.role.isEmpty()) {
        call.direction = Direction::ToClient;
        call.role = RoleOfEvent(call.method);
    }
    SetText(call, message.texts.value(1));
    call.session = SessionOf(call.json);
    SetClient(call, call.direction == Direction::ToService ? message.sender : message.destination);

    QVector<TraceRecord> records;
    if (message.isReplyExpected) {
        TraceRecord waiting = call;
        waiting.text.clear();
        waiting.json = QJsonDocument();
        waiting.fault.clear();
        waiting.isCut = false;
        waiting.method.truncate(longestMethodName);
        records = AsUnanswered(m_Calls.Add(waiting), QStringLiteral("forgotten"), message.time);
    }
    return records << call;
}

QVector<TraceRecord> Tracer::HandleAnswer(const BusMessage& message)
{
    const auto call = m_Calls.Take(message.destination, message.replySerial);
    if (!call) {
        return {};
    }
    LearnOwner(*call, message);
    const bool isError = message.type == BusMessage::Type::Error;
    TraceRecord answer = MakeRecord(isError ? Kind::Error : Kind::Reply, message);
    answer.direction = call->direction;
    answer.serial = call->serial;
    answer.role = call->role;
    answer.method = call->method;
    answer.path = call->path;
    answer.client = call->client;
    answer.clientNames = call->clientNames;
    answer.errorName = message.errorName;
    answer.duration = std::max<qint64>(0, message.time - call->time);
    if (isError) {
        answer.text = message.texts.value(0);
    } else {
        answer.fault = FaultOf(message, "", "s");
        SetText(answer, message.texts.value(0));
    }
    answer.session = call->session ? call->session : SessionOf(answer.json);
    return {answer};
}

QVector<TraceRecord> Tracer::HandleSignal(const BusMessage& message)
{
    if (IsOwnerChange(message)) {
        return HandleOwnerChange(message);
    }
    if (message.interfaceName != QLatin1String(Protocol::interfaceName)) {
        return {};
    }
    TraceRecord signal = MakeRecord(Kind::Signal, message);
    signal.fault = FaultOf(message, Protocol::notifyMember, "ss");
    signal.role = Protocol::RoleOfPath(message.path);
    signal.method = message.texts.value(0);
    SetText(signal, message.texts.value(1));
    SetClient(signal, message.sender);
    return {signal};
}

QVector<TraceRecord> Tracer::HandleOwnerChange(const BusMessage& message)
{
    const QString name = message.texts.at(0);
    const QString& former = message.texts.at(1);
    const QString& owner = message.texts.at(2);
    if (name.startsWith(QLatin1Char(':'))) {
        return owner.isEmpty()
                   ? AsUnanswered(m_Calls.TakeOf(name), QStringLiteral("callerLeft"), message.time)
                   : QVector<TraceRecord>();
    }
    m_Names.SetOwner(name, owner);
    if (name != QLatin1String(Protocol::serviceName)) {
        return {};
    }
    QVector<TraceRecord> records;
    if (!former.isEmpty()) {
        records.append(MakeServiceRecord(QStringLiteral("left"), former, message.time));
    }
    if (!owner.isEmpty()) {
        records.append(MakeServiceRecord(QStringLiteral("came"), owner, message.time));
    }
    return records;
}

TraceRecord Tracer::MakeRecord(Kind kind, const BusMessage& message) const
{
    TraceRecord record;
    record.kind = kind;
    record.time = message.time;
    record.sender = message.sender;
    record.senderNames = m_Names.NamesOf(message.sender);
    record.destination = message.destination;
    record.destinationNames = m_Names.NamesOf(m_Names.UniqueNameOf(message.destination));
    record.path = message.path;
    record.isCut = message.isCut;
    return record;
}

void Tracer::SetClient(TraceRecord& record, const QString& client) const
{
    record.client = client;
    record.clientNames = m_Names.NamesOf(m_Names.UniqueNameOf(client));
}

TraceRecord Tracer::MakeServiceRecord(const QString& state, const QString& owner, qint64 time) const
{
    TraceRecord record;
    record.kind = Kind::Service;
    record.time = time;
    record.state = state;
    record.sender = owner;
    return record;
}

// A capture does not tell the names that there were before it, but who answers to a name has it.
void Tracer::LearnOwner(const TraceRecord& call, const BusMessage& answer)
{
    const bool isKnown = !m_Names.UniqueNameOf(call.destination).isEmpty();
    if (!isKnown && !call.destination.isEmpty() && answer.sender.startsWith(QLatin1Char(':'))) {
        m_Names.SetOwner(call.destination, answer.sender);
    }
}

} // namespace Kivctl
