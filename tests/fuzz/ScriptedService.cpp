// SPDX-License-Identifier: MIT
#include "ScriptedService.h"

#include "FuzzTarget.h"
#include "PrivateBus.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QVector>

namespace KivFuzz {

namespace {

// Replies that a bus daemon has sent.
struct Received
{
    QVector<QDBusMessage> texts;
    QDBusMessage error;
    QDBusMessage wrongType;
};

QDBusMessage AskBus(const QDBusConnection& bus, const char* method, const QVariantList& arguments = {})
{
    QDBusMessage call = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                       "org.freedesktop.DBus", method);
    call.setArguments(arguments);
    return bus.call(call);
}

Received Receive()
{
    const QByteArray noBus = qgetenv("DBUS_SYSTEM_BUS_ADDRESS");
    const KivTest::PrivateBus daemon;
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", noBus); // for the clients
    Received received;
    {
        const QDBusConnection bus = QDBusConnection::connectToBus(daemon.Address(), "replies");
        while (received.texts.size() < ScriptedService::limit) {
            received.texts.append(AskBus(bus, "GetId"));
        }
        received.error = AskBus(bus, "NoSuchMethod");
        received.wrongType = AskBus(bus, "NameHasOwner", {"org.freedesktop.DBus"});
    }
    QDBusConnection::disconnectFromBus("replies");
    Require(received.texts.last().signature() == "s" && received.error.type() == QDBusMessage::ErrorMessage &&
                received.wrongType.signature() == "b",
            "no replies from a bus daemon");
    return received;
}

Received& Replies()
{
    static Received& replies = *new Received(Receive()); // Qt's own statics are gone before it would be
    return replies;
}

} // namespace

Reply ReplyOf(const QString& line)
{
    const QChar first = line.isEmpty() ? QChar() : line.at(0);
    if (first == '!') {
        return {Reply::Error, QString()};
    }
    if (first == '?') {
        return {Reply::WrongType, QString()};
    }
    return first == '-' ? Reply{Reply::Refusal, QString()} : Reply{Reply::Text, line};
}

class ScriptedService::Proxy : public Audio::Utils::Kiv::QtDbus::IServiceProviderProxy
{
public:
    explicit Proxy(ScriptedService& service)
        : m_Service(service)
    {
    }

    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override
    {
        m_Service.m_Transcript.append(Line("AsyncRequest", methodName, arguments));
        return m_Service.MakeReply();
    }

    QString Request(const QString& methodName, const QString& arguments) override
    {
        m_Service.m_Transcript.append(Line("Request", methodName, arguments));
        return m_Service.m_Reply.Blocking();
    }

private:
    ScriptedService& m_Service;
};

Audio::Utils::Kiv::QtDbus::IServiceProviderProxy* ScriptedService::CreateProxy(QObject* /*parent*/)
{
    return new Proxy(*this);
}

QDBusPendingReply<QString> ScriptedService::MakeReply()
{
    switch (m_Reply.kind) {
    case Reply::Error:
        return QDBusPendingCall::fromCompletedCall(Replies().error);
    case Reply::WrongType:
        return QDBusPendingCall::fromCompletedCall(Replies().wrongType);
    case Reply::Refusal:
        return QDBusPendingCall::fromError(QDBusError(QDBusError::Failed, "refused"));
    case Reply::Text:
        break;
    }
    QDBusMessage& reply = Replies().texts[m_Used++]; // shared with the pending call, arguments included
    reply.setArguments({m_Reply.text});
    return QDBusPendingCall::fromCompletedCall(reply);
}

} // namespace KivFuzz
