// SPDX-License-Identifier: MIT
#ifndef KIV_TESTING_PEERCONNECTION_H
#define KIV_TESTING_PEERCONNECTION_H

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QDBusServer>
#include <QDBusVirtualObject>
#include <QMutex>
#include <QMutexLocker>
#include <QObject>
#include <QSemaphore>
#include <QString>
#include <QThread>
#include <QVector>

#include <algorithm>
#include <functional>
#include <utility>

namespace Audio::Utils::Kiv::QtDbus::Testing {

/**
 * A D-Bus connection of this process with itself, without a bus.
 *
 * Qt refuses a successful asynchronous reply that did not come over a connection; here is one. FakeExchange
 * uses it; tests need it themselves only for what the fakes do not offer.
 *
 * **Threads.** All of it belongs to the thread of the constructor. Calls are answered there while its event
 * loop runs.
 *
 * **Resources.** Each object keeps a listening socket open until the process ends.
 *
 * @code
 * PeerConnection peer([](const QDBusMessage& call, const QDBusConnection& connection) {
 *     connection.send(call.createReply(QStringLiteral("{}")));
 * });
 * const QDBusPendingReply<QString> reply = peer.Call(QStringLiteral("getMode"), QStringLiteral("{}"));
 * @endcode
 */
class PeerConnection
{
public:
    /** Receives a call and the connection over which the answer goes. */
    using Respond = std::function<void(const QDBusMessage& call, const QDBusConnection& connection)>;

    /**
     * Connects, without handling any event of the program. Needs a QCoreApplication, and ends the program
     * (`qFatal`) when there is none or when the connection fails.
     *
     * @param respond called for every message; sends the answer when it likes.
     */
    explicit PeerConnection(Respond respond)
        : PeerConnection(std::move(respond), QStringLiteral("kiv-peer-%1").arg(smCount.fetchAndAddRelaxed(1)))
    {
    }

    /**
     * Likewise.
     *
     * @param respond called for every message.
     * @param name the name of the calling end among the connections of this process.
     */
    PeerConnection(Respond respond, const QString& name)
        : m_Object(std::move(respond)),
          m_Server(MakeServer()),
          m_Name(name)
    {
        Connect();
        m_Accepted.first().registerVirtualObject(QStringLiteral("/"), &m_Object, QDBusConnection::SubPath);
    }

    /** Calls without an answer fail, while the event loop runs. */
    ~PeerConnection()
    {
        if (IsAnyUnanswered()) {
            // Not disconnected: Qt 5.15 deletes the calls of such a connection, also when their replies are
            // in use.
            m_Object.FailAll();
        } else {
            QDBusConnection::disconnectFromPeer(m_Name);
        }
    }

    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;

    /**
     * Starts a call that the responder will answer.
     *
     * @param methodName the first argument of the call.
     * @param arguments the second one.
     * @return the reply to come.
     */
    QDBusPendingReply<QString> Call(const QString& methodName, const QString& arguments)
    {
        QDBusMessage call = QDBusMessage::createMethodCall(QString(), QStringLiteral("/"),
                                                           QStringLiteral("com.quorvantel.ServiceProvider"),
                                                           QStringLiteral("Request"));
        call.setArguments({methodName, arguments});
        if (!IsAnyUnanswered()) {
            m_Calls.clear();
            m_Object.Forget();
        }
        m_Calls.append(QDBusConnection(m_Name).asyncCall(call));
        return m_Calls.last();
    }

private:
    class Object : public QDBusVirtualObject
    {
    public:
        explicit Object(Respond respond)
            : m_Respond(std::move(respond))
        {
        }

        QString introspect(const QString&) const override { return QString(); }

        bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override
        {
            m_Received.append({message, connection});
            m_Respond(message, connection);
            return true;
        }

        void Forget() { m_Received.clear(); }

        // Whoever was answered already ignores a second answer.
        void FailAll() const
        {
            for (const Received& one : m_Received) {
                one.connection.send(one.message.createErrorReply(
                    QDBusError::NoReply, QStringLiteral("the peer connection has ended")));
            }
        }

    private:
        struct Received
        {
            QDBusMessage message;
            QDBusConnection connection;
        };

        Respond m_Respond;
        QVector<Received> m_Received;
    };

    // A server is never destroyed: Qt 5.15 deletes its private part on another thread while the destructor
    // still holds a lock in it, which now and then ends in a hang. It stays reachable, so that it is no leak.
    static QDBusServer& MakeServer()
    {
        if (QCoreApplication::instance() == nullptr) {
            qFatal("PeerConnection: asynchronous answers need a QCoreApplication");
        }
        auto* server = new QDBusServer(QStringLiteral("unix:tmpdir=/tmp"));
        const QMutexLocker lock(&smLock);
        smServers.append(server);
        return *server;
    }

    // The server's events are handled on a thread for the purpose: the caller is within a request, where
    // those of the program must wait.
    void Connect()
    {
        QThread thread;
        QSemaphore isAccepted;
        m_Server.setAnonymousAuthenticationAllowed(true);
        QObject::connect(&m_Server, &QDBusServer::newConnection, &m_Server,
                         [this, &isAccepted](const QDBusConnection& connection) {
                             m_Accepted.append(connection);
                             isAccepted.release();
                         });
        m_Server.moveToThread(&thread);
        thread.start();
        QDBusConnection::connectToPeer(m_Server.address(), m_Name);
        if (!isAccepted.tryAcquire(1, kPatience) || !IsDelivering()) {
            qFatal("PeerConnection: no connection: %s", qPrintable(m_Server.lastError().message()));
        }
        thread.quit();
        thread.wait();
        m_Server.disconnect();
    }

    // An accepted connection delivers nothing at first. Calls that arrive meanwhile can overtake each other
    // in Qt 5.15, so this one goes ahead; Qt itself refuses it, as there is no object yet.
    bool IsDelivering() const
    {
        const QDBusMessage ping = QDBusMessage::createMethodCall(
            QString(), QStringLiteral("/"), QStringLiteral("com.quorvantel.ServiceProvider"),
            QStringLiteral("Ping"));
        const QDBusMessage answer = QDBusConnection(m_Name).call(ping, QDBus::Block, kPatience);
        return QDBusError(answer).type() == QDBusError::UnknownObject;
    }

    bool IsAnyUnanswered() const
    {
        return std::any_of(m_Calls.cbegin(), m_Calls.cend(),
                           [](const QDBusPendingCall& call) { return !call.isFinished(); });
    }

    static constexpr int kPatience = 30000; // milliseconds

    inline static QMutex smLock;
    inline static QVector<QDBusServer*>& smServers = *new QVector<QDBusServer*>;
    inline static QAtomicInt smCount;

    Object m_Object;
    QDBusServer& m_Server;
    QString m_Name;
    QVector<QDBusConnection> m_Accepted;
    QVector<QDBusPendingCall> m_Calls;
};

} // namespace Audio::Utils::Kiv::QtDbus::Testing

#endif // KIV_TESTING_PEERCONNECTION_H
