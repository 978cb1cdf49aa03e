// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_BUSPROBE_H
#define KIV_TESTS_BUSPROBE_H

#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QSignalSpy>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariant>

namespace KivTest {

/** Handles everything that the bus has sent over a connection so far. @return false when the bus is silent. */
inline bool HandleArrivedEvents(const QDBusConnection& connection)
{
    QDBusPendingCallWatcher watcher(connection.asyncCall(
        QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
                                       QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetId"))));
    QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
    return finished.wait(30000) && !watcher.isError();
}

/** Looks at the private bus from outside: through a connection of its own, as another program would. */
class BusProbe
{
public:
    BusProbe()
        : m_Connection(QDBusConnection::connectToBus(
              QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")),
              QStringLiteral("bus-probe-%1").arg(smCount.fetchAndAddRelaxed(1))))
    {
        if (!m_Connection.isConnected()) {
            qFatal("the probe cannot reach the bus");
        }
        WaitUntilNamed();
    }

    ~BusProbe() { QDBusConnection::disconnectFromBus(m_Connection.name()); }

    BusProbe(const BusProbe&) = delete;
    BusProbe& operator=(const BusProbe&) = delete;

    QDBusConnection& Connection() { return m_Connection; }

    /** The unique name of a bus name's owner; empty when there is none. */
    QString Owner(const QString& busName) const
    {
        QDBusMessage query = QDBusMessage::createMethodCall(
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/"),
            QStringLiteral("org.freedesktop.DBus"), QStringLiteral("GetNameOwner"));
        query.setArguments({busName});
        const QDBusMessage reply = m_Connection.call(query);
        return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0).toString() : QString();
    }

    /** Calls an object of this process, whose events are handled meanwhile. */
    QDBusMessage Call(const QString& service, const QString& path, const QString& interfaceName,
                      const QString& member, const QVariantList& arguments = {}) const
    {
        QDBusMessage call = QDBusMessage::createMethodCall(service, path, interfaceName, member);
        call.setArguments(arguments);
        QDBusPendingCallWatcher watcher(m_Connection.asyncCall(call));
        QSignalSpy finished(&watcher, &QDBusPendingCallWatcher::finished);
        if (!watcher.isFinished() && !finished.wait(30000)) {
            return QDBusMessage::createError(QDBusError::Timeout, QStringLiteral("no answer"));
        }
        return watcher.reply();
    }

    /** The introspection text of an object of this process; empty when there is none. */
    QString Introspect(const QString& service, const QString& path) const
    {
        return Call(service, path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
                    QStringLiteral("Introspect"))
            .arguments()
            .value(0)
            .toString();
    }

    /** The names of the interfaces that an object of this process exports. */
    QStringList Interfaces(const QString& service, const QString& path) const
    {
        QStringList names;
        for (const QString& line : Introspect(service, path).split(QLatin1Char('\n'))) {
            if (line.contains(QLatin1String("<interface name="))) {
                names.append(line.section(QLatin1Char('"'), 1, 1));
            }
        }
        return names;
    }

private:
    // A call that is made while the bus still tells the connection its name races with Qt's own thread, which
    // changes the list of names. A signal to ourselves arrives after that.
    void WaitUntilNamed()
    {
        QEventLoop loop;
        QTimer::singleShot(30000, &loop, [] { qFatal("the bus does not answer the probe"); });
        const QString path = QStringLiteral("/named");
        const QString name = QStringLiteral("test.Named");
        m_Connection.connect(QString(), path, name, QStringLiteral("Named"), &loop, SLOT(quit()));
        m_Connection.send(QDBusMessage::createSignal(path, name, QStringLiteral("Named")));
        loop.exec();
    }

    inline static QAtomicInt smCount;

    QDBusConnection m_Connection;
};

} // namespace KivTest

#endif // KIV_TESTS_BUSPROBE_H
