// SPDX-License-Identifier: MIT
#include "BusClient.h"

#include "bus/Protocol.h"

#include <QEventLoop>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>

namespace Kivctl {

namespace {

using Outcome = BusAnswer::Outcome;

// libdbus may have something to write that only another turn writes, during the greeting.
constexpr int turn = 10; // ms

// So that a flood keeps nobody from being heard.
constexpr int messagesPerTurn = 1000;

BusAnswer Failure(Outcome outcome, const QString& text)
{
    BusAnswer answer;
    answer.outcome = outcome;
    answer.errorText = text;
    return answer;
}

BusAnswer ToAnswer(MessagePtr message)
{
    BusAnswer answer;
    answer.outcome = Outcome::Replied;
    if (dbus_message_get_type(message.get()) == DBUS_MESSAGE_TYPE_ERROR) {
        const char* text = "";
        dbus_message_get_args(message.get(), nullptr, DBUS_TYPE_STRING, &text, DBUS_TYPE_INVALID);
        answer.outcome = Outcome::Refused;
        answer.errorName = QString::fromUtf8(dbus_message_get_error_name(message.get()));
        answer.errorText = answer.errorName + QLatin1String(": ") + QString::fromUtf8(text);
    }
    answer.message = std::move(message);
    return answer;
}

void AppendText(DBusMessage* message, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    const char* const pointer = bytes.constData();
    dbus_message_append_args(message, DBUS_TYPE_STRING, &pointer, DBUS_TYPE_INVALID);
}

} // namespace

void BusClient::Closer::operator()(DBusConnection* connection) const
{
    dbus_connection_close(connection);
    dbus_connection_unref(connection);
}

BusClient::BusClient() = default;
BusClient::~BusClient() = default;

BusAnswer BusClient::Open(const QString& address, const QDeadlineTimer& deadline)
{
    BusError error;
    m_Connection.reset(dbus_connection_open_private(address.toUtf8().constData(), error.Get()));
    if (!m_Connection) {
        return Failure(Outcome::Gone, error.Text());
    }
    dbus_connection_set_exit_on_disconnect(m_Connection.get(), FALSE);
    int descriptor = -1;
    dbus_connection_get_unix_fd(m_Connection.get(), &descriptor);
    m_Notifier = std::make_unique<QSocketNotifier>(descriptor, QSocketNotifier::Read);
    connect(m_Notifier.get(), &QSocketNotifier::activated, this, &BusClient::Pump);
    m_IsGone = false;

    BusAnswer answer = Ask(BusCall("Hello"), deadline);
    const char* name = nullptr;
    if (answer.message != nullptr && dbus_message_get_args(answer.message.get(), nullptr, DBUS_TYPE_STRING,
                                                           &name, DBUS_TYPE_INVALID) != FALSE) {
        m_UniqueName = QString::fromUtf8(name);
    }
    return answer;
}

MessagePtr BusClient::BusCall(const char* member, const QStringList& texts)
{
    return Call(QLatin1String(Protocol::busName), Protocol::busPath, Protocol::busName, member, texts);
}

MessagePtr BusClient::Call(const QString& destination, const char* path, const char* interfaceName,
                           const char* member, const QStringList& texts)
{
    MessagePtr call(
        dbus_message_new_method_call(destination.toUtf8().constData(), path, interfaceName, member));
    dbus_message_set_auto_start(call.get(), FALSE);
    for (const QString& text : texts) {
        AppendText(call.get(), text);
    }
    return call;
}

QStringList BusClient::NamesIn(DBusMessage* message)
{
    QStringList names;
    DBusMessageIter iterator;
    DBusMessageIter list;
    if (dbus_message_has_signature(message, "as") == FALSE) {
        return names;
    }
    dbus_message_iter_init(message, &iterator);
    dbus_message_iter_recurse(&iterator, &list);
    while (dbus_message_iter_get_arg_type(&list) == DBUS_TYPE_STRING) {
        const char* name = nullptr;
        dbus_message_iter_get_basic(&list, &name);
        names.append(QString::fromUtf8(name));
        dbus_message_iter_next(&list);
    }
    return names;
}

quint32 BusClient::Send(MessagePtr call)
{
    dbus_uint32_t serial = 0;
    dbus_connection_send(m_Connection.get(), call.get(), &serial);
    m_Awaited.insert(serial);
    Pump();
    return serial;
}

bool BusClient::MustWait(quint32 serial, const QDeadlineTimer& deadline) const
{
    return m_Answers.count(serial) == 0 && !m_IsGone && !m_IsInterrupted && !deadline.hasExpired();
}

BusAnswer BusClient::Wait(quint32 serial, const QDeadlineTimer& deadline)
{
    QEventLoop loop;
    QTimer turns;
    connect(&turns, &QTimer::timeout, this, &BusClient::Pump);
    turns.start(turn);
    while (MustWait(serial, deadline)) {
        loop.processEvents(QEventLoop::WaitForMoreEvents);
    }
    m_Awaited.remove(serial);
    const auto place = m_Answers.find(serial);
    if (place != m_Answers.end()) {
        BusAnswer answer = ToAnswer(std::move(place->second));
        m_Answers.erase(place);
        return answer;
    }
    if (m_IsInterrupted) {
        return Failure(Outcome::Interrupted, QStringLiteral("interrupted"));
    }
    return m_IsGone ? Failure(Outcome::Gone, QStringLiteral("the bus has ended the connection"))
                    : Failure(Outcome::TimedOut, QStringLiteral("no answer within the time-out"));
}

BusAnswer BusClient::Ask(MessagePtr call, const QDeadlineTimer& deadline)
{
    return Wait(Send(std::move(call)), deadline);
}

void BusClient::Interrupt()
{
    m_IsInterrupted = true;
}

MessagePtr BusClient::TakeMessage()
{
    if (m_Messages.empty()) {
        return nullptr;
    }
    MessagePtr message = std::move(m_Messages.front());
    m_Messages.pop_front();
    return message;
}

bool BusClient::IsGone() const
{
    return m_IsGone;
}

void BusClient::Pump()
{
    if (m_IsGone) {
        return;
    }
    dbus_connection_read_write(m_Connection.get(), 0);
    for (int i = 0; i < messagesPerTurn; ++i) {
        MessagePtr message(dbus_connection_pop_message(m_Connection.get()));
        if (!message) {
            break;
        }
        Sort(std::move(message));
    }
    if (dbus_connection_get_is_connected(m_Connection.get()) == FALSE &&
        dbus_connection_get_dispatch_status(m_Connection.get()) == DBUS_DISPATCH_COMPLETE) {
        m_IsGone = true;
        m_Notifier->setEnabled(false);
    }
    Q_EMIT Changed();
}

void BusClient::Sort(MessagePtr message)
{
    const quint32 serial = dbus_message_get_reply_serial(message.get());
    const char* const destination = dbus_message_get_destination(message.get());
    const bool isOwn = m_UniqueName.isEmpty() || m_UniqueName == QString::fromUtf8(destination);
    if (isOwn && m_Awaited.contains(serial)) {
        m_Answers[serial] = std::move(message);
    } else {
        m_Messages.push_back(std::move(message));
    }
}

} // namespace Kivctl
