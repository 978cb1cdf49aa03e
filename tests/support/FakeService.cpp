// SPDX-License-Identifier: MIT
#include "FakeService.h"

#include <QDBusConnectionInterface>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusReply>
#include <QEventLoop>
#include <QMutexLocker>
#include <QTest>
#include <QTimer>

namespace KivTest {

namespace {

QDBusConnection OwnConnection()
{
    static QAtomicInt count;
    return QDBusConnection::connectToBus(QString::fromLatin1(qgetenv("DBUS_SYSTEM_BUS_ADDRESS")),
                                         QStringLiteral("fake-service-%1").arg(count.fetchAndAddRelaxed(1)));
}

} // namespace

FakeService::FakeService()
    : m_Connection(OwnConnection()),
      m_Hmi(new FakeServiceObject(*this)),
      m_App(new FakeServiceObject(*this))
{
    if (!m_Connection.isConnected()) {
        qFatal("the fake service cannot reach the bus");
    }
    // Exported before they change their thread: afterwards the connection delivers calls there.
    m_Connection.registerObject(kHmiPath, m_Hmi, QDBusConnection::ExportScriptableSlots);
    m_Connection.registerObject(kAppPath, m_App, QDBusConnection::ExportScriptableSlots);
    m_Hmi->moveToThread(&m_Thread);
    m_App->moveToThread(&m_Thread);
    m_Thread.start();
}

FakeService::~FakeService()
{
    Leave();
    m_Connection.unregisterObject(kHmiPath);
    m_Connection.unregisterObject(kAppPath);
    m_Hmi->deleteLater();
    m_App->deleteLater();
    m_Thread.quit();
    m_Thread.wait();
    QDBusConnection::disconnectFromBus(m_Connection.name());
}

void FakeService::Appear()
{
    if (!m_Connection.registerService(kServiceName)) {
        qFatal("the fake service cannot take its bus name");
    }
}

void FakeService::AppearReplaceable()
{
    const auto reply = m_Connection.interface()->registerService(
        kServiceName, QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::AllowReplacement);
    if (reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        qFatal("the fake service cannot take its bus name");
    }
}

void FakeService::TakeOver()
{
    const auto reply = m_Connection.interface()->registerService(
        kServiceName, QDBusConnectionInterface::ReplaceExistingService);
    if (reply.value() != QDBusConnectionInterface::ServiceRegistered) {
        qFatal("the fake service cannot take its bus name over");
    }
}

void FakeService::Leave()
{
    m_Connection.unregisterService(kServiceName);
}

QString FakeService::UniqueName() const
{
    return m_Connection.baseService();
}

void FakeService::Plan(const QString& methodName, Kind kind, const QString& text, const QString& errorName)
{
    const QMutexLocker lock(&m_Lock);
    Planned& planned = m_Plans[methodName];
    planned.kind = kind;
    planned.text = text;
    planned.errorName = errorName;
}

void FakeService::Answer(const QString& methodName, const QString& text)
{
    Plan(methodName, Kind::Text, text, QString());
}

void FakeService::Fail(const QString& methodName, const QString& errorName, const QString& errorText)
{
    Plan(methodName, Kind::Error, errorText, errorName);
}

void FakeService::AnswerWithWrongSignature(const QString& methodName)
{
    Plan(methodName, Kind::WrongSignature, QString(), QString());
}

void FakeService::Hold(const QString& methodName)
{
    const QMutexLocker lock(&m_Lock);
    m_Plans[methodName].isHeld = true;
}

void FakeService::Release(const QString& methodName)
{
    const QMutexLocker lock(&m_Lock);
    m_Plans[methodName].isHeld = false;
    QVector<QDBusMessage> others;
    for (const QDBusMessage& call : qAsConst(m_Held)) {
        if (call.arguments().value(0).toString() == methodName) {
            m_Connection.send(ReplyTo(call));
        } else {
            others.append(call);
        }
    }
    m_Held = others;
}

QDBusMessage FakeService::ReplyTo(const QDBusMessage& call) const
{
    const Planned planned = m_Plans.value(call.arguments().value(0).toString());
    switch (planned.kind) {
    case Kind::Error:
        return call.createErrorReply(planned.errorName, planned.text);
    case Kind::WrongSignature:
        return call.createReply(QStringList{"not", "one text"});
    case Kind::Text:
        break;
    }
    return call.createReply(planned.text);
}

bool FakeService::Receive(const QDBusMessage& call)
{
    const QMutexLocker lock(&m_Lock);
    const QString methodName = call.arguments().value(0).toString();
    m_Calls.append({call.path(), methodName, call.arguments().value(1).toString(), call.service()});
    if (m_Plans.value(methodName).isHeld) {
        m_Held.append(call);
    } else {
        m_Connection.send(ReplyTo(call));
    }
    return true;
}

QVector<ServiceCall> FakeService::Calls() const
{
    const QMutexLocker lock(&m_Lock);
    return m_Calls;
}

QStringList FakeService::ArgumentsOf(const QString& methodName) const
{
    QStringList arguments;
    for (const ServiceCall& call : Calls()) {
        if (call.methodName == methodName) {
            arguments.append(call.arguments);
        }
    }
    return arguments;
}

bool FakeService::WaitForCalls(const QString& methodName, int count) const
{
    return QTest::qWaitFor([&] { return ArgumentsOf(methodName).size() >= count; }, 30000);
}

void FakeService::Notify(const QString& path, const QString& signalName, const QString& payload)
{
    QDBusMessage signal = QDBusMessage::createSignal(path, kInterfaceName, "Notify");
    signal.setArguments({signalName, payload});
    m_Connection.send(signal);
}

QDBusMessage FakeService::CallClient(const QString& busName, const QString& objectPath,
                                     const QString& methodName, const QString& arguments)
{
    QDBusMessage call = QDBusMessage::createMethodCall(busName, objectPath, kInterfaceName, "Request");
    call.setArguments({methodName, arguments});
    QDBusPendingCallWatcher watcher(m_Connection.asyncCall(call));
    QEventLoop loop;
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    QTimer::singleShot(30000, &loop, &QEventLoop::quit);
    if (!watcher.isFinished()) {
        loop.exec();
    }
    return watcher.isFinished() ? watcher.reply()
                                : QDBusMessage::createError(QDBusError::Timeout, "no answer");
}

FakeServiceObject::FakeServiceObject(FakeService& service)
    : m_Service(service)
{
}

QString FakeServiceObject::Request(const QString&, const QString&)
{
    setDelayedReply(true);
    m_Service.Receive(message());
    return QString();
}

} // namespace KivTest
