// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_PEERCONNECTION_H
#define KIV_TESTS_PEERCONNECTION_H

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusServer>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QString>
#include <QVector>

#include <functional>

namespace KivTest {

/**
 * A D-Bus connection of this process with itself, without a bus.
 *
 * Qt refuses a successful reply that did not come over a connection; here is one. Answers are given on the thread of
 * this object while its event loop runs.
 */
class PeerConnection
{
public:
    using Respond = std::function<void(const QDBusMessage& call, const QDBusConnection& connection)>;

    /** @param respond called for every message; sends the answer when it likes. */
    explicit PeerConnection(Respond respond)
        : PeerConnection(std::move(respond), QStringLiteral("kiv-peer-%1").arg(smCount.fetchAndAddRelaxed(1)))
    {
    }

    /** @param name the name of the calling end among the connections of this process. */
    PeerConnection(Respond respond, const QString& name)
        : m_Object(std::move(respond)),
          m_Server(MakeServer()),
          m_Name(name)
    {
        m_Server.setAnonymousAuthenticationAllowed(true);
        QObject::connect(
            &m_Server, &QDBusServer::newConnection, &m_Object, [this](const QDBusConnection& connection) {
                QDBusConnection accepted(connection);
                accepted.registerVirtualObject(QStringLiteral("/"), &m_Object, QDBusConnection::SubPath);
                m_Accepted.append(accepted);
            });
        QDBusConnection::connectToPeer(m_Server.address(), m_Name);
        const QDeadlineTimer watchdog(30000);
        while (m_Accepted.isEmpty() && !watchdog.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 1000);
        }
        if (m_Accepted.isEmpty()) {
            qFatal("no peer connection: %s", qPrintable(m_Server.lastError().message()));
        }
    }

    ~PeerConnection() { QDBusConnection::disconnectFromPeer(m_Name); }

    PeerConnection(const PeerConnection&) = delete;
    PeerConnection& operator=(const PeerConnection&) = delete;

    /** Starts a call that @p respond will answer. */
    QDBusPendingReply<QString> Call(const QString& methodName, const QString& arguments)
    {
        QDBusMessage call = QDBusMessage::createMethodCall(QString(), QStringLiteral("/"),
                                                           QStringLiteral("com.quorvantel.ServiceProvider"),
                                                           QStringLiteral("Request"));
        call.setArguments({methodName, arguments});
        return QDBusConnection(m_Name).asyncCall(call);
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
            m_Respond(message, connection);
            return true;
        }

    private:
        Respond m_Respond;
    };

    // A server is never destroyed: Qt 5.15 deletes its private part on another thread while the destructor still
    // holds a lock in it, which now and then ends in a hang.
    static QDBusServer& MakeServer()
    {
        smServers.append(new QDBusServer(QStringLiteral("unix:tmpdir=/tmp")));
        return *smServers.last();
    }

    inline static QVector<QDBusServer*>& smServers = *new QVector<QDBusServer*>;
    inline static QAtomicInt smCount;

    Object m_Object;
    QDBusServer& m_Server;
    QString m_Name;
    QVector<QDBusConnection> m_Accepted;
};

} // namespace KivTest

#endif // KIV_TESTS_PEERCONNECTION_H
