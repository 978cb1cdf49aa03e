// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_FAKESERVICEPROVIDERPROXY_H
#define KIV_TESTS_FAKESERVICEPROVIDERPROXY_H

#include "IServiceProviderProxy.h"
#include "PeerConnection.h"

#include <QDBusError>
#include <QDBusPendingCall>
#include <QHash>
#include <QMap>
#include <QString>
#include <QVector>

#include <memory>

namespace KivTest {

/** A request as a proxy received it. */
struct RecordedRequest
{
    bool isBlocking;
    QString methodName;
    QString arguments;

    bool operator==(const RecordedRequest& other) const
    {
        return isBlocking == other.isBlocking && methodName == other.methodName &&
               arguments == other.arguments;
    }
};

/** What the service behind a fake proxy does, and what it was asked. Outlives the proxies that use it. */
class FakeExchange
{
public:
    /** Answers every later request of a method with a text; "{}" is the answer of methods without one. */
    void Answer(const QString& methodName, const QString& text)
    {
        m_Answers[methodName] = {Kind::Text, text};
    }

    /** Fails every later request of a method with a D-Bus error, which arrives like an answer. */
    void Fail(const QString& methodName, const QString& errorText)
    {
        m_Answers[methodName] = {Kind::Error, errorText};
    }

    /** Has every later asynchronous request of a method fail before it is sent. */
    void Refuse(const QString& methodName, const QString& errorText)
    {
        m_Answers[methodName] = {Kind::Refusal, errorText};
    }

    /** Keeps answers back from now on, until Release(). */
    void Hold() { m_IsHolding = true; }

    /** Sends what was kept back, in order, and holds no longer. */
    void Release()
    {
        m_IsHolding = false;
        const QVector<Held> held = std::move(m_Held);
        m_Held.clear();
        for (const Held& one : held) {
            Send(one.call, one.connection);
        }
    }

    /** All requests so far, in order. */
    QVector<RecordedRequest> Requests() const { return m_Requests; }

    /** The number of proxies that live. */
    int ProxyCount() const { return m_ProxyCount; }

private:
    friend class FakeServiceProviderProxy;

    enum class Kind
    {
        Text,
        Error,
        Refusal
    };

    struct Planned
    {
        Kind kind = Kind::Text;
        QString text = QStringLiteral("{}");
    };

    struct Held
    {
        QDBusMessage call;
        QDBusConnection connection;
    };

    QString AnswerBlocking(const QString& methodName, const QString& arguments)
    {
        m_Requests.append({true, methodName, arguments});
        const Planned planned = m_Answers.value(methodName);
        return planned.kind == Kind::Text ? planned.text : QStringLiteral("{ \"errCode\" : 0 }");
    }

    QDBusPendingReply<QString> AnswerAsync(const QString& methodName, const QString& arguments)
    {
        m_Requests.append({false, methodName, arguments});
        const Planned planned = m_Answers.value(methodName);
        if (planned.kind == Kind::Refusal) {
            return QDBusPendingCall::fromError(QDBusError(QDBusError::Failed, planned.text));
        }
        if (!m_Peer) {
            m_Peer = std::make_unique<PeerConnection>(
                [this](const QDBusMessage& call, const QDBusConnection& connection) {
                    if (m_IsHolding) {
                        m_Held.append({call, connection});
                    } else {
                        Send(call, connection);
                    }
                });
        }
        return m_Peer->Call(methodName, arguments);
    }

    void Send(const QDBusMessage& call, const QDBusConnection& connection)
    {
        const Planned planned = m_Answers.value(call.arguments().first().toString());
        connection.send(planned.kind == Kind::Text ? call.createReply(planned.text)
                                                   : call.createErrorReply(QDBusError::Failed, planned.text));
    }

    QHash<QString, Planned> m_Answers;
    QVector<RecordedRequest> m_Requests;
    QVector<Held> m_Held;
    bool m_IsHolding = false;
    int m_ProxyCount = 0;
    std::unique_ptr<PeerConnection> m_Peer;
};

/**
 * A proxy without a bus: it records requests and answers as its exchange was told.
 *
 * Blocking answers and refusals are immediate; asynchronous answers and errors arrive over a peer connection while
 * the event loop of the thread of the first asynchronous request runs.
 */
class FakeServiceProviderProxy : public Audio::Utils::Kiv::QtDbus::IServiceProviderProxy
{
public:
    explicit FakeServiceProviderProxy(FakeExchange& exchange)
        : m_Exchange(exchange)
    {
        ++m_Exchange.m_ProxyCount;
    }

    ~FakeServiceProviderProxy() override { --m_Exchange.m_ProxyCount; }

    QDBusPendingReply<QString> AsyncRequest(const QString& methodName, const QString& arguments) override
    {
        return m_Exchange.AnswerAsync(methodName, arguments);
    }

    QString Request(const QString& methodName, const QString& arguments) override
    {
        return m_Exchange.AnswerBlocking(methodName, arguments);
    }

private:
    FakeExchange& m_Exchange;
};

inline char* toString(const RecordedRequest& request)
{
    const QString text = QStringLiteral("%1 %2 %3")
                             .arg(request.isBlocking ? QStringLiteral("blocking") : QStringLiteral("async"),
                                  request.methodName, request.arguments);
    return qstrdup(text.toUtf8().constData());
}

} // namespace KivTest

#endif // KIV_TESTS_FAKESERVICEPROVIDERPROXY_H
