// SPDX-License-Identifier: MIT
#include "BusMonitor.h"

#include "MessageDecoder.h"
#include "bus/Protocol.h"

#include <chrono>

namespace Kivctl {

namespace {

using Outcome = BusAnswer::Outcome;
using std::chrono::duration_cast;
using std::chrono::microseconds;

QStringList Rules()
{
    const QString interfaceName = QLatin1String(Protocol::interfaceName);
    const QString call = QStringLiteral("type='method_call',");
    return {
        call + QStringLiteral("interface='%1'").arg(interfaceName),
        call + QStringLiteral("member='%1',path='%2'")
                   .arg(QLatin1String(Protocol::requestMember), QLatin1String(Protocol::hmiPath)),
        call + QStringLiteral("member='%1',path='%2'")
                   .arg(QLatin1String(Protocol::requestMember), QLatin1String(Protocol::appPath)),
        QStringLiteral("type='method_return'"),
        QStringLiteral("type='error'"),
        QStringLiteral("type='signal',interface='%1'").arg(interfaceName),
        QStringLiteral("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged'"),
    };
}

void AppendRules(DBusMessage* message)
{
    DBusMessageIter iterator;
    DBusMessageIter list;
    dbus_message_iter_init_append(message, &iterator);
    dbus_message_iter_open_container(&iterator, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING, &list);
    for (const QString& rule : Rules()) {
        const QByteArray bytes = rule.toUtf8();
        const char* const text = bytes.constData();
        dbus_message_iter_append_basic(&list, DBUS_TYPE_STRING, &text);
    }
    dbus_message_iter_close_container(&iterator, &list);
    const dbus_uint32_t noFlags = 0;
    dbus_message_iter_append_basic(&iterator, DBUS_TYPE_UINT32, &noFlags);
}

bool IsWellKnown(const QString& name)
{
    return !name.startsWith(QLatin1Char(':')) && name != QLatin1String(Protocol::busName);
}

} // namespace

BusMonitor::BusMonitor() = default;

BusAnswer BusMonitor::Open(const QString& address, const QDeadlineTimer& deadline)
{
    BusAnswer answer = m_Bus.Open(address, deadline);
    if (answer.outcome == Outcome::Replied) {
        answer = AskOwners(deadline);
    }
    return answer.outcome == Outcome::Replied ? BecomeMonitor(deadline) : std::move(answer);
}

// Subscribed before asked, so that no change is missed.
BusAnswer BusMonitor::AskOwners(const QDeadlineTimer& deadline)
{
    m_Bus.Send(BusClient::BusCall("AddMatch", {Rules().last()}));
    BusAnswer answer = m_Bus.Ask(BusClient::BusCall("ListNames"), deadline);
    if (answer.outcome != Outcome::Replied) {
        return answer;
    }
    QMap<QString, quint32> questions;
    for (const QString& name : BusClient::NamesIn(answer.message.get())) {
        if (IsWellKnown(name)) {
            questions.insert(name, m_Bus.Send(BusClient::BusCall("GetNameOwner", {name})));
        }
    }
    for (auto question = questions.cbegin(); question != questions.cend(); ++question) {
        const BusAnswer owner = m_Bus.Wait(*question, deadline);
        if (owner.outcome == Outcome::Replied) {
            m_Owners.insert(question.key(), MessageDecoder::Decode(owner.message.get(), 0).texts.value(0));
        }
    }
    return answer;
}

BusAnswer BusMonitor::BecomeMonitor(const QDeadlineTimer& deadline)
{
    MessagePtr call = BusClient::Call(QLatin1String(Protocol::busName), Protocol::busPath,
                                      "org.freedesktop.DBus.Monitoring", "BecomeMonitor");
    AppendRules(call.get());
    return m_Bus.Ask(std::move(call), deadline);
}

void BusMonitor::Start()
{
    connect(&m_Bus, &BusClient::Changed, this, &BusMonitor::HandleNews);
    QMetaObject::invokeMethod(this, &BusMonitor::HandleNews, Qt::QueuedConnection);
}

void BusMonitor::Interrupt()
{
    m_Bus.Interrupt();
}

QMap<QString, QString> BusMonitor::Owners() const
{
    return m_Owners;
}

qint64 BusMonitor::Now()
{
    using Steady = std::chrono::steady_clock;
    static const auto epoch = std::chrono::system_clock::now().time_since_epoch();
    static const Steady::time_point start = Steady::now();
    return duration_cast<microseconds>(epoch + (Steady::now() - start)).count();
}

void BusMonitor::HandleNews()
{
    while (const MessagePtr message = m_Bus.TakeMessage()) {
        Q_EMIT Arrived(MessageDecoder::Decode(message.get(), Now()));
    }
    if (m_Bus.IsGone()) {
        disconnect(&m_Bus, nullptr, this, nullptr);
        Q_EMIT Gone();
    }
}

} // namespace Kivctl
