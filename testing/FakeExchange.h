// SPDX-License-Identifier: MIT
#ifndef KIV_TESTING_FAKEEXCHANGE_H
#define KIV_TESTING_FAKEEXCHANGE_H

#include "CallRecorder.h"
#include "PeerConnection.h"

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>
#include <utility>

namespace Audio::Utils::Kiv::QtDbus::Testing {

/** A request as a proxy received it. */
struct RecordedRequest
{
    bool isBlocking;    ///< Whether the client waited for the answer.
    QString methodName; ///< The method's name.
    QString arguments;  ///< The JSON text.

    /**
     * Compares all members.
     *
     * @param other the other request.
     * @return whether they are equal.
     */
    bool operator==(const RecordedRequest& other) const
    {
        return isBlocking == other.isBlocking && methodName == other.methodName &&
               arguments == other.arguments;
    }
};

/**
 * Shows a request when QCOMPARE() fails: Qt Test finds the function.
 *
 * @param request the request.
 * @return the text, which the caller deletes.
 */
inline char* toString(const RecordedRequest& request)
{
    const QString text = QStringLiteral("%1 %2 %3")
                             .arg(request.isBlocking ? QStringLiteral("blocking") : QStringLiteral("async"),
                                  request.methodName, request.arguments);
    return qstrdup(text.toUtf8().constData());
}

/**
 * The service behind fake proxies: it answers as told, and keeps what it was asked.
 *
 * FakeServiceProviderProxyFactory has one for all its proxies.
 *
 * **Answers** belong to a method and hold until it is given another one; tell them before the request. A
 * blocking request is answered at once; an asynchronous one over a PeerConnection, while the event loop runs.
 * Both kinds take the same answers:
 *
 * | Told | A blocking request gets | An asynchronous request |
 * |---|---|---|
 * | Answer() | the text | gets the text |
 * | Fail() | `{ "errCode" : 0 }` | gets a D-Bus error |
 * | Refuse() | `{ "errCode" : 0 }` | is not sent: the client's …Async operation returns 0 |
 *
 * A refusal by the service itself is an answer: `Answer("setMode", R"({"errCode":10})")`.
 *
 * **A request for which no answer was told ends the program** (`qFatal`), with a message that names the
 * request and what was told, so that no test passes by luck. That includes the "closeSession" of a
 * Powerdown(). AnswerOthers() gives all remaining methods an answer.
 *
 * **Threads.** Those of the clients, one at a time; asynchronous requests, Hold() and Release() on one thread
 * only.
 *
 * **Ownership.** It must outlive the proxies that use it. Answers that are still held when it is destroyed
 * arrive as D-Bus errors.
 *
 * @code
 * FakeExchange exchange;
 * exchange.Answer(QStringLiteral("getMode"), QStringLiteral("{\"currentMode\":[\"Radio\"]}"));
 * FakeServiceProviderProxy proxy(exchange);
 * const QString answer = proxy.Request(QStringLiteral("getMode"), QStringLiteral("{\"sessionId\":7}"));
 * Q_ASSERT(answer == QStringLiteral("{\"currentMode\":[\"Radio\"]}"));
 * Q_ASSERT(exchange.Requests().size() == 1);
 * @endcode
 */
class FakeExchange
{
public:
    /** @param recorder receives every request, if given; not owned. */
    explicit FakeExchange(CallRecorder* recorder = nullptr)
        : m_Recorder(recorder)
    {
    }

    FakeExchange(const FakeExchange&) = delete;
    FakeExchange& operator=(const FakeExchange&) = delete;

    /**
     * Answers every later request of a method with a text.
     *
     * @param methodName the method's name.
     * @param text the answer, normally JSON.
     */
    void Answer(const QString& methodName, const QString& text) { m_Plans[methodName] = {Kind::Text, text}; }

    /**
     * Fails every later request of a method with a D-Bus error, which arrives like an answer.
     *
     * @param methodName the method's name.
     * @param errorText the error's text.
     */
    void Fail(const QString& methodName, const QString& errorText)
    {
        m_Plans[methodName] = {Kind::Error, errorText};
    }

    /**
     * Has every later asynchronous request of a method fail before it is sent.
     *
     * @param methodName the method's name.
     * @param errorText the error's text.
     */
    void Refuse(const QString& methodName, const QString& errorText)
    {
        m_Plans[methodName] = {Kind::Refusal, errorText};
    }

    /**
     * Answers every later request of a method that has no answer of its own with a text.
     *
     * @param text the answer, normally JSON.
     */
    void AnswerOthers(const QString& text) { m_Others = std::make_unique<Plan>(Plan{Kind::Text, text}); }

    /** Keeps the answers of asynchronous requests back from now on, until Release(). */
    void Hold() { m_IsHolding = true; }

    /** Sends what was kept back, in order, with the answers told by now, and holds no longer. */
    void Release()
    {
        m_IsHolding = false;
        const QVector<Held> held = std::exchange(m_Held, {});
        for (const Held& one : held) {
            Send(one.call, one.connection);
        }
    }

    /** @return all requests so far, in order. */
    QVector<RecordedRequest> Requests() const { return m_Requests; }

    /** @return the number of proxies that live. A client deletes its proxy in Powerdown(). */
    int ProxyCount() const { return m_ProxyCount; }

private:
    friend class FakeServiceProviderProxy;

    enum class Kind
    {
        Text,
        Error,
        Refusal
    };

    struct Plan
    {
        Kind kind;
        QString text;
    };

    struct Held
    {
        QDBusMessage call;
        QDBusConnection connection;
    };

    QString AnswerBlocking(const QString& methodName, const QString& arguments)
    {
        Record({true, methodName, arguments});
        const Plan plan = PlanOf(methodName);
        return plan.kind == Kind::Text ? plan.text : QStringLiteral("{ \"errCode\" : 0 }");
    }

    QDBusPendingReply<QString> AnswerAsync(const QString& methodName, const QString& arguments)
    {
        Record({false, methodName, arguments});
        const Plan plan = PlanOf(methodName);
        if (plan.kind == Kind::Refusal) {
            return QDBusPendingCall::fromError(QDBusError(QDBusError::Failed, plan.text));
        }
        if (!m_Peer) {
            m_Peer = std::make_unique<PeerConnection>(
                [this](const QDBusMessage& call, const QDBusConnection& connection) {
                    SendOrHold(call, connection);
                });
        }
        return m_Peer->Call(methodName, arguments);
    }

    void Record(const RecordedRequest& request)
    {
        m_Requests.append(request);
        if (m_Recorder != nullptr) {
            m_Recorder->Record(
                QStringLiteral("%1 %2 %3")
                    .arg(request.isBlocking ? QStringLiteral("Request") : QStringLiteral("AsyncRequest"),
                         request.methodName, request.arguments));
        }
        if (!m_Plans.contains(request.methodName) && !m_Others) {
            Reject(request);
        }
    }

    [[noreturn]] void Reject(const RecordedRequest& request) const
    {
        const QString told = QStringList(m_Plans.keys()).join(QStringLiteral(", "));
        qFatal("FakeExchange: unexpected %s request %s %s\n"
               "No answer was told for this method; use Answer(), Fail(), Refuse() or AnswerOthers().\n"
               "Told: %s",
               request.isBlocking ? "blocking" : "asynchronous", qUtf8Printable(request.methodName),
               qUtf8Printable(request.arguments), told.isEmpty() ? "nothing" : qUtf8Printable(told));
    }

    Plan PlanOf(const QString& methodName) const
    {
        const auto plan = m_Plans.constFind(methodName);
        return plan != m_Plans.constEnd() ? *plan : *m_Others;
    }

    void SendOrHold(const QDBusMessage& call, const QDBusConnection& connection)
    {
        if (m_IsHolding) {
            m_Held.append({call, connection});
        } else {
            Send(call, connection);
        }
    }

    void Send(const QDBusMessage& call, const QDBusConnection& connection) const
    {
        const Plan plan = PlanOf(call.arguments().first().toString());
        connection.send(plan.kind == Kind::Text ? call.createReply(plan.text)
                                                : call.createErrorReply(QDBusError::Failed, plan.text));
    }

    CallRecorder* m_Recorder;
    QMap<QString, Plan> m_Plans;
    std::unique_ptr<Plan> m_Others;
    QVector<RecordedRequest> m_Requests;
    QVector<Held> m_Held;
    bool m_IsHolding = false;
    int m_ProxyCount = 0;
    std::unique_ptr<PeerConnection> m_Peer;
};

} // namespace Audio::Utils::Kiv::QtDbus::Testing

#endif // KIV_TESTING_FAKEEXCHANGE_H
