// SPDX-License-Identifier: MIT
#include "Flood.h"

#include "Requester.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

namespace KivBenchmark {

namespace {

QDBusConnection OrderConnection()
{
    static const QDBusConnection connection =
        QDBusConnection::connectToBus(QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")), "orders");
    return connection;
}

} // namespace

void Flood::Calls(const QString& path, const QString& method, const QString& arguments, int count)
{
    constexpr uint outstanding = 64;
    Order("Calls",
          {QDBusConnection::systemBus().baseService(), path, method, arguments, uint(count), outstanding},
          count);
}

void Flood::Broadcasts(const QString& path, const QString& signal, const QString& payload, int count)
{
    Order("Broadcasts", {path, signal, payload, uint(count)}, count);
}

void Flood::CountOne()
{
    if (--m_Missing == 0) {
        m_Loop.quit();
    }
}

void Flood::Order(const QString& member, const QVariantList& arguments, int count)
{
    m_Missing = count + 1; // the service's report is the last
    QDBusMessage order =
        QDBusMessage::createMethodCall(Wire::Service, "/com/kiv/Benchmark", "com.kiv.Benchmark", member);
    order.setArguments(arguments);
    QDBusPendingCallWatcher watcher(OrderConnection().asyncCall(order));
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &m_Loop, [this, &watcher] {
        CheckAnswer(!watcher.isError(), "flood");
        CountOne();
    });
    m_Loop.exec();
}

} // namespace KivBenchmark
