// SPDX-License-Identifier: MIT
#include "ServiceCheck.h"

#include "ExitCode.h"
#include "MessageDecoder.h"
#include "bus/Protocol.h"

#include <QElapsedTimer>
#include <QFile>

#include <algorithm>

namespace Kivctl {

namespace {

using Outcome = BusAnswer::Outcome;

constexpr int pingCount = 10;

// Not a method of the protocol, so that nothing comes of it.
const char harmlessMethod[] = "kivctlStatus";

QString FirstText(const BusAnswer& answer)
{
    return MessageDecoder::Decode(answer.message.get(), 0).texts.value(0);
}

bool HasText(const BusAnswer& answer)
{
    return answer.outcome == Outcome::Replied &&
           dbus_message_has_signature(answer.message.get(), "s") != FALSE;
}

bool HasAnswered(const BusAnswer& answer)
{
    return answer.outcome == Outcome::Replied || answer.outcome == Outcome::Refused;
}

bool TellsInterface(const BusAnswer& answer)
{
    return HasText(answer) &&
           FirstText(answer).contains(QLatin1String("\"") + QLatin1String(Protocol::interfaceName) +
                                      QLatin1Char('"'));
}

// The entries of the dictionary that are numbers.
QMap<QString, qint64> NumbersIn(DBusMessage* message)
{
    QMap<QString, qint64> numbers;
    DBusMessageIter iterator;
    DBusMessageIter list;
    if (dbus_message_has_signature(message, "a{sv}") == FALSE) {
        return numbers;
    }
    dbus_message_iter_init(message, &iterator);
    dbus_message_iter_recurse(&iterator, &list);
    for (; dbus_message_iter_get_arg_type(&list) == DBUS_TYPE_DICT_ENTRY; dbus_message_iter_next(&list)) {
        DBusMessageIter entry;
        DBusMessageIter value;
        const char* key = nullptr;
        dbus_message_iter_recurse(&list, &entry);
        dbus_message_iter_get_basic(&entry, &key);
        dbus_message_iter_next(&entry);
        dbus_message_iter_recurse(&entry, &value);
        if (dbus_message_iter_get_arg_type(&value) == DBUS_TYPE_UINT32) {
            dbus_uint32_t number = 0;
            dbus_message_iter_get_basic(&value, &number);
            numbers.insert(QString::fromUtf8(key), number);
        }
    }
    return numbers;
}

QString ProcessName(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/comm").arg(pid));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()).trimmed() : QString();
}

int ExitCodeFor(const BusAnswer& answer)
{
    switch (answer.outcome) {
    case Outcome::TimedOut:
        return ExitTimeout;
    case Outcome::Gone:
        return ExitNoBus;
    default:
        return ExitProtocol;
    }
}

} // namespace

ServiceCheck::ServiceCheck(BusClient& bus, int timeout, const Output& output)
    : m_Bus(bus),
      m_Timeout(timeout),
      m_Output(output),
      m_ExitCode(ExitDone)
{
}

int ServiceCheck::Run(const QString& address)
{
    if (CheckBus(address) && CheckService()) {
        CheckObjects();
        CheckRoundTrip();
    }
    return m_ExitCode;
}

QDeadlineTimer ServiceCheck::Deadline() const
{
    return QDeadlineTimer(m_Timeout);
}

BusAnswer ServiceCheck::AskBus(const char* member, const QStringList& texts)
{
    return m_Bus.Ask(BusClient::BusCall(member, texts), Deadline());
}

void ServiceCheck::Fail(int exitCode, const QString& text)
{
    Output::Complain(text);
    if (m_ExitCode == ExitDone) {
        m_ExitCode = exitCode;
    }
}

void ServiceCheck::FailWith(const BusAnswer& answer, const QString& question)
{
    if (answer.outcome != Outcome::Interrupted) {
        Fail(ExitCodeFor(answer), question + QLatin1String(": ") + answer.errorText);
    }
}

bool ServiceCheck::CheckBus(const QString& address)
{
    BusAnswer answer = m_Bus.Open(address, Deadline());
    if (answer.outcome == Outcome::Replied) {
        answer = AskBus("GetId");
    }
    const bool isReachable = HasText(answer);
    const QString id = isReachable ? FirstText(answer) : QString();
    QJsonObject record{{QStringLiteral("record"), QStringLiteral("bus")},
                       {QStringLiteral("address"), address},
                       {QStringLiteral("reachable"), isReachable}};
    if (isReachable) {
        record.insert(QStringLiteral("id"), id);
    }
    m_Output.Print(record, isReachable ? QStringLiteral("bus: reachable at %1, id %2").arg(address, id)
                                       : QStringLiteral("bus: not reachable at %1").arg(address));
    if (!isReachable && answer.outcome != Outcome::Interrupted) {
        Fail(answer.outcome == Outcome::TimedOut ? ExitTimeout : ExitNoBus,
             QStringLiteral("no bus at \"%1\": %2").arg(address, answer.errorText));
    }
    return isReachable;
}

bool ServiceCheck::CheckService()
{
    const QString name = QLatin1String(Protocol::serviceName);
    const BusAnswer answer = AskBus("GetNameOwner", {name});
    const bool isAbsent = answer.errorName == QLatin1String(DBUS_ERROR_NAME_HAS_NO_OWNER);
    if (!HasText(answer) && !isAbsent) {
        FailWith(answer, QStringLiteral("who has the name %1").arg(name));
        return false;
    }
    m_Owner = isAbsent ? QString() : FirstText(answer);
    QJsonObject record{{QStringLiteral("record"), QStringLiteral("service")},
                       {QStringLiteral("name"), name},
                       {QStringLiteral("present"), !isAbsent}};
    QString text =
        isAbsent ? QStringLiteral("service: absent") : QStringLiteral("service: present, owner ") + m_Owner;
    if (!isAbsent) {
        record.insert(QStringLiteral("owner"), m_Owner);
        AddCredentials(record, text);
    }
    const bool isActivatable = IsActivatable();
    record.insert(QStringLiteral("activatable"), isActivatable);
    m_Output.Print(record, text + (isActivatable ? QStringLiteral(", activatable") : QString()));
    if (isAbsent) {
        Fail(ExitServiceAbsent, QStringLiteral("nobody has the name ") + name);
    }
    return !isAbsent;
}

void ServiceCheck::AddCredentials(QJsonObject& record, QString& text)
{
    const BusAnswer answer = AskBus("GetConnectionCredentials", {m_Owner});
    if (answer.outcome != Outcome::Replied) {
        FailWith(answer, QStringLiteral("which process the service is"));
        return;
    }
    const QMap<QString, qint64> numbers = NumbersIn(answer.message.get());
    const auto add = [&record, &text](const char* key, const QJsonValue& value) {
        record.insert(QLatin1String(key), value);
        text += QStringLiteral(", %1 %2").arg(QLatin1String(key), value.toVariant().toString());
    };
    if (numbers.contains(QStringLiteral("UnixUserID"))) {
        add("uid", numbers.value(QStringLiteral("UnixUserID")));
    }
    if (!numbers.contains(QStringLiteral("ProcessID"))) {
        return;
    }
    const qint64 pid = numbers.value(QStringLiteral("ProcessID"));
    add("pid", pid);
    const QString process = ProcessName(pid);
    if (!process.isEmpty()) {
        add("process", process);
    }
}

bool ServiceCheck::IsActivatable()
{
    const BusAnswer answer = AskBus("ListActivatableNames");
    if (answer.outcome != Outcome::Replied) {
        FailWith(answer, QStringLiteral("which services can be started by the bus"));
        return false;
    }
    return BusClient::NamesIn(answer.message.get()).contains(QLatin1String(Protocol::serviceName));
}

// Both are asked at once, so that a service that does not answer costs one time-out.
void ServiceCheck::CheckObjects()
{
    QVector<Object> objects{{QStringLiteral("hmi"), Protocol::hmiPath},
                            {QStringLiteral("app"), Protocol::appPath}};
    for (Object& object : objects) {
        object.question = m_Bus.Send(
            BusClient::Call(m_Owner, object.path, "org.freedesktop.DBus.Introspectable", "Introspect"));
    }
    const QDeadlineTimer deadline = Deadline();
    for (const Object& object : qAsConst(objects)) {
        CheckObject(object, deadline);
    }
}

void ServiceCheck::CheckObject(const Object& object, const QDeadlineTimer& deadline)
{
    BusAnswer answer = m_Bus.Wait(object.question, deadline);
    const bool isIntrospected = TellsInterface(answer);
    if (HasAnswered(answer) && !isIntrospected) {
        answer =
            m_Bus.Ask(BusClient::Call(m_Owner, object.path, Protocol::interfaceName, Protocol::requestMember,
                                      {QLatin1String(harmlessMethod), QStringLiteral("{}")}),
                      Deadline());
    }
    m_HasAnswered = m_HasAnswered || HasAnswered(answer);
    const bool isAnswering = HasText(answer);
    const QString path = QLatin1String(object.path);
    QJsonObject record{{QStringLiteral("record"), QStringLiteral("object")},
                       {QStringLiteral("role"), object.role},
                       {QStringLiteral("path"), path},
                       {QStringLiteral("answering"), isAnswering}};
    if (isAnswering) {
        record.insert(QStringLiteral("foundBy"),
                      isIntrospected ? QStringLiteral("introspection") : QStringLiteral("request"));
    }
    m_Output.Print(record, QStringLiteral("object %1: %2")
                               .arg(object.role, isAnswering ? QStringLiteral("answering")
                                                             : QStringLiteral("not answering")));
    if (!isAnswering) {
        if (answer.outcome == Outcome::Replied) {
            answer.errorText =
                QStringLiteral("the answer of %1 is no text").arg(QLatin1String(Protocol::requestMember));
        }
        FailWith(answer, QStringLiteral("object ") + path);
    }
}

// An error is an answer too: it has made the way.
void ServiceCheck::CheckRoundTrip()
{
    QVector<qint64> times;
    while (m_HasAnswered && times.size() < pingCount) {
        QElapsedTimer clock;
        clock.start();
        const BusAnswer answer = m_Bus.Ask(
            BusClient::Call(m_Owner, Protocol::hmiPath, "org.freedesktop.DBus.Peer", "Ping"), Deadline());
        if (!HasAnswered(answer)) {
            FailWith(answer, QStringLiteral("Ping"));
            return;
        }
        times.append(clock.nsecsElapsed() / 1000);
    }
    if (times.isEmpty()) {
        return;
    }
    std::sort(times.begin(), times.end());
    const qint64 median = (times.at(pingCount / 2 - 1) + times.at(pingCount / 2)) / 2;
    m_Output.Print({{QStringLiteral("record"), QStringLiteral("roundTrip")},
                    {QStringLiteral("count"), pingCount},
                    {QStringLiteral("minMicroseconds"), times.first()},
                    {QStringLiteral("medianMicroseconds"), median},
                    {QStringLiteral("maxMicroseconds"), times.last()}},
                   QStringLiteral("round trip: median %1 us, min %2 us, max %3 us (%4 pings)")
                       .arg(median)
                       .arg(times.first())
                       .arg(times.last())
                       .arg(pingCount));
}

} // namespace Kivctl
