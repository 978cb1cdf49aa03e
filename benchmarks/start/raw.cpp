// SPDX-License-Identifier: MIT
#include "FirstAnswer.h"

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusAbstractInterface>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDBusServiceWatcher>
#include <QLoggingCategory>

/** The service's object, with bare Qt. */
class Service : public QDBusAbstractInterface
{
    Q_OBJECT

public:
    Service()
        : QDBusAbstractInterface("com.quorvantel.service.AudioManagement",
                                 "/com/kiv/service/AudioManagement/AudioApplication",
                                 "com.quorvantel.ServiceProvider", QDBusConnection::systemBus(), nullptr)
    {
    }

    QString Request(const QString& method, const QString& arguments)
    {
        return QDBusReply<QString>(call(QStringLiteral("Request"), method, arguments)).value();
    }

Q_SIGNALS:
    void Notify(const QString& name, const QString& payload);
};

/** The program's own object, with bare Qt. */
class Adaptor : public QDBusAbstractAdaptor
{
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorvantel.ServiceProvider")

public:
    explicit Adaptor(QObject* parent)
        : QDBusAbstractAdaptor(parent)
    {
    }

public Q_SLOTS:
    QString Request(const QString&, const QString&) { return QStringLiteral("{}"); }
    void OnNotify(const QString&, const QString&) {}
    void OnOwner(const QString&, const QString&, const QString&) {}
};

/** What library.cpp has on the bus, done with bare Qt and ready texts. */
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
#ifdef KIV_RAW_LOGS
    qCDebug((*QLoggingCategory::defaultCategory())) << "not shown"; // has Qt read its logging rules
#endif
    QDBusConnection bus = QDBusConnection::systemBus();
    bus.registerService("com.quorvantel.audioclient.start");
    QObject object;
    auto* adaptor = new Adaptor(&object);
    const QDBusServiceWatcher watcher("com.quorvantel.service.AudioManagement", bus,
                                      QDBusServiceWatcher::WatchForOwnerChange);
    QObject::connect(&watcher, &QDBusServiceWatcher::serviceOwnerChanged, adaptor, &Adaptor::OnOwner);
    const bool isRunning = bus.interface()->isServiceRegistered("com.quorvantel.service.AudioManagement");
    Service service;
    QObject::connect(&service, &Service::Notify, adaptor, &Adaptor::OnNotify);
    bus.registerObject("/start/ServiceProviderClient", &object, QDBusConnection::ExportAdaptors);
    const QString session = service.Request(
        "openSession",
        R"({"busName":"com.quorvantel.audioclient.start","objectPath":"/start/ServiceProviderClient"})");
    const QString active = R"({"playing":true,"sessionId":1234})";
    const bool isAnswered = service.Request("audioActive", active) == active;
    const int result = KivBenchmark::ReportFirstAnswer(isRunning && session.contains("1234") && isAnswered);
    service.Request("closeSession", R"({"sessionId":1234})");
    bus.unregisterService("com.quorvantel.audioclient.start");
    return result;
}

#include "raw.moc"
