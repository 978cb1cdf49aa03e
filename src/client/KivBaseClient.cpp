// SPDX-License-Identifier: MIT
#include "KivBaseClient.h"

#include "ConcreteServiceProviderProxy.h"
#include "IServiceProviderProxy.h"
#include "IServiceProviderProxyFactory.h"
#include "JsonParameterParser.h"
#include "client/FailedReply.h"
#include "client/ReplyWatch.h"
#include "logging/Log.h"
#include "logging/Qt5Text.h"
#include "protocol/Vocabulary.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QThread>

#include <ctime>
#include <utility>

namespace Audio::Utils::Kiv::QtDbus {

namespace {

// Registered when the library is loaded, under the name that the meta-object records for
// SignalInitCompleted(): queued connections and signal spies look the type up by it.
const int initStateType = qRegisterMetaType<KivBaseClient::InitState>("InitState");

char Digit(int number, int unit)
{
    return static_cast<char>('0' + number / unit % 10);
}

// The wall-clock time as "mm:ss.zzz". QTime would cost more than the rest of the record.
QString TimeStamp()
{
    timespec now{};
    tm local{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    ::localtime_r(&now.tv_sec, &local);
    const int milliseconds = static_cast<int>(now.tv_nsec / 1000000);
    const char text[] = {Digit(local.tm_min, 10),  Digit(local.tm_min, 1),  ':',
                         Digit(local.tm_sec, 10),  Digit(local.tm_sec, 1),  '.',
                         Digit(milliseconds, 100), Digit(milliseconds, 10), Digit(milliseconds, 1)};
    return QString::fromLatin1(text, sizeof(text));
}

} // namespace

KivBaseClient::KivBaseClient(const QString& serviceName, IServiceProviderProxyFactory& factory,
                             QObject* parent)
    : QObject(parent),
      m_InitState(INIT_STATE_NOT_CALLED),
      m_ServiceName(serviceName),
      m_ProxyFactory(factory),
      m_ServiceProxy(nullptr),
      m_ServiceWatcher(serviceName, QDBusConnection::systemBus(), QDBusServiceWatcher::WatchForOwnerChange),
      m_RequestId(0)
{
    qCDebug(Log) << "KivBaseClient::KivBaseClient -- "
                 << "\n   m_ServiceName:" << m_ServiceName;
}

KivBaseClient::~KivBaseClient()
{
    if (m_ServiceProxy != nullptr) {
        qCDebug(Log) << "KivBaseClient::Powerdown was not called before destructor!";
        // Not Powerdown(): the derived part that HandlePowerdown() belongs to is gone.
        delete std::exchange(m_ServiceProxy, nullptr);
    }
}

KivBaseClient::InitState KivBaseClient::Initialize()
{
    qCDebug(Log) << "KivBaseClient::Initialize";
    if (m_InitState != INIT_STATE_NOT_CALLED) {
        qCWarning(Log) << "KivBaseClient::Initialize() is being called more than once!";
        return m_InitState;
    }
    // Unique: a first try that found no proxy leaves the state as it was, and this is the second.
    connect(&m_ServiceWatcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            &KivBaseClient::OnOwnerChanged, Qt::UniqueConnection);
    return InitializePrivate();
}

void KivBaseClient::Powerdown()
{
    HandlePowerdown();
    delete std::exchange(m_ServiceProxy, nullptr);
}

KivBaseClient::InitState KivBaseClient::CurrentInitState() const
{
    return m_InitState;
}

bool KivBaseClient::IsKivServiceRunning()
{
    qCDebug(Log) << "KivBaseClient::IsKivServiceRunning" << m_ServiceName;
    QDBusConnectionInterface* bus = QDBusConnection::systemBus().interface();
    if (bus == nullptr) {
        qCDebug(Log) << "KivBaseClient::IsKivServiceRunning - didn't get DbusInterface";
        return false;
    }
    qCDebug(Log) << "KivBaseClient::IsKivServiceRunning - got DbusInterface";
    const bool isRunning = bus->isServiceRegistered(m_ServiceName);
    qCDebug(Log) << "KivBaseClient::IsKivServiceRunning - back from registration query --" << isRunning;
    return isRunning;
}

KivBaseClient::InitState KivBaseClient::InitializePrivate()
{
    qCDebug(Log) << "KivBaseClient::InitializePrivate";
    if (!IsKivServiceRunning()) {
        qCDebug(Log) << "KivBaseClient::InitializePrivate -- KIv not running, will try later when it appears "
                        "on DBus";
        m_InitState = INIT_STATE_WAITING_FOR_KIV;
        return m_InitState;
    }

    qCDebug(Log) << "KivBaseClient::InitializePrivate - test for existing proxy";
    if (m_ServiceProxy == nullptr) {
        qCDebug(Log) << "KivBaseClient::InitializePrivate -- Creating proxy";
        m_ServiceProxy = m_ProxyFactory.CreateProxy(this);
    }
    if (m_ServiceProxy == nullptr) {
        return m_InitState;
    }

    if (auto* proxy = dynamic_cast<ConcreteServiceProviderProxy*>(m_ServiceProxy)) {
        qCDebug(Log)
            << "KivBaseClient::InitializePrivate -- Connecting to ConcreteServiceProviderProxy::Notify";
        connect(proxy, &ConcreteServiceProviderProxy::Notify, this, &KivBaseClient::Notification,
                Qt::UniqueConnection);
    } else {
        qCWarning(Log)
            << "KivBaseClient::InitializePrivate -- Appears to be running a test... not connecting "
               "to ConcreteServiceProviderProxy::Notify";
    }

    m_InitState = HandleInitializeProxy();
    return m_InitState;
}

QString KivBaseClient::InitStateToString(InitState aState)
{
    switch (aState) {
    case INIT_STATE_NOT_CALLED:
        return QStringLiteral("INIT_STATE_NOT_CALLED");
    case INIT_STATE_WAITING_FOR_KIV:
        return QStringLiteral("INIT_STATE_WAITING_FOR_KIV");
    case INIT_STATE_FAILED:
        return QStringLiteral("INIT_STATE_FAILED");
    case INIT_STATE_SUCCESS:
        return QStringLiteral("INIT_STATE_SUCCESS");
    case INIT_STATE_MAX:
        return QStringLiteral("INIT_STATE_MAX");
    }
    qCWarning(Log) << "KivBaseClient::InitStateToString -- Invalid value for InitState!";
    return QStringLiteral("Invalid value for InitState!");
}

quint32 KivBaseClient::GetNextRequestId()
{
    return ++m_RequestId;
}

bool KivBaseClient::ServiceRequest(const QString& methodName, const QString& arguments, QString& result)
{
    qCDebug(Log) << "KivBaseClient::ServiceRequest -- Time:" << TimeStamp() << methodName << arguments;
    result.clear();
    if (m_ServiceProxy == nullptr) {
        qCCritical(Log) << "KivBaseClient::ServiceRequest -- Invalid Kiv Audio manager service proxy object!";
        return false;
    }

    result = m_ServiceProxy->Request(methodName, arguments);
    if (result.contains(Key::ErrCode)) {
        qCCritical(Log) << "KivBaseClient::ServiceRequest -- Request error:" << methodName << arguments
                        << "result:" << result;
        return false;
    }
    qCDebug(Log) << "KivBaseClient::ServiceRequest -- Time:" << TimeStamp() << "Request:" << methodName
                 << "Result:" << true << QThread::currentThread();
    return true;
}

QDBusPendingReply<QString> KivBaseClient::StartRequest(const QString& methodName, const QString& arguments)
{
    if (m_ServiceProxy == nullptr) {
        qCCritical(Log) << "KivBaseClient::StartRequest -- Missing KIv service proxy";
        return FailedReply(QDBusError::Failed, QStringLiteral("Missing KIv service proxy"));
    }
    return m_ServiceProxy->AsyncRequest(methodName, arguments);
}

QDBusPendingReply<QString> KivBaseClient::StartRequest(const QString& methodName,
                                                       const QMap<QString, QVariant>& parameters)
{
    QString arguments;
    AddParameters(parameters, arguments);
    return StartRequest(methodName, arguments);
}

quint32 KivBaseClient::WatchReply(QDBusPendingReply<QString> reply, ReplyHandler handler,
                                  unsigned int requestId)
{
    if (reply.isError()) {
        return 0;
    }
    return AttachWatcher(*this, reply, std::move(handler), requestId);
}

bool KivBaseClient::HandleReply(QDBusPendingReply<QString> reply, const ReplyHandler& handler,
                                unsigned int requestId)
{
    reply.waitForFinished();
    bool failed = reply.isError();
    QMap<QString, QVariant> parameters;
    if (failed) {
        qCCritical(Log) << "KivBaseClient::HandleReply -- Received error:" << reply.error();
    } else {
        GetParameters(reply.value(), parameters);
        const auto errCode = parameters.constFind(Key::ErrCode);
        if (errCode != parameters.constEnd()) {
            qCCritical(Log) << "KivBaseClient::HandleReply -- Received error code:" << Qt5Text(*errCode);
            failed = true;
        }
    }
    return handler(failed, parameters, requestId);
}

void KivBaseClient::Notification(const QString& a_SignalName, const QString& a_Payload)
{
    qCDebug(Log) << "KivBaseClient::Notification" << a_SignalName << a_Payload;
    HandleNotify(a_SignalName, a_Payload);
}

void KivBaseClient::OnOwnerChanged(const QString& a_ServiceName, const QString& a_OldOwner,
                                   const QString& a_NewOwner)
{
    qCDebug(Log) << "KivBaseClient::OnOwnerChanged -- Service Name:" << a_ServiceName
                 << "OldOwner:" << a_OldOwner << "NewOwner:" << a_NewOwner;
    if (a_ServiceName != m_ServiceName) {
        qCWarning(Log) << "KivBaseClient::OnOwnerChanged -- Unexpected service name:" << a_ServiceName;
        return;
    }
    if (a_NewOwner.isEmpty()) {
        if (!a_OldOwner.isEmpty()) {
            qCDebug(Log) << "KivBaseClient::OnOwnerChanged -- KIv service removed from DBus";
        } else {
            qCWarning(Log) << "KivBaseClient::OnOwnerChanged -- Unexpected information received --"
                           << "Service Name:" << a_ServiceName << "OldOwner:" << a_OldOwner
                           << "NewOwner:" << a_NewOwner;
        }
        return;
    }

    qCDebug(Log) << "KivBaseClient::OnOwnerChanged -- KIv service registered with DBus";
    if (m_InitState != INIT_STATE_WAITING_FOR_KIV) {
        return;
    }
    const InitState state = InitializePrivate();
    if (state <= INIT_STATE_WAITING_FOR_KIV) {
        qCCritical(Log) << "InitializePrivate() should never return INIT_STATE_WAITING_FOR_KIV "
                           "orINIT_STATE_NOT_CALLED when called from KivBaseClient::OnOwnerChanged(). This "
                           "means there was a real problem!";
        return;
    }
    qCDebug(Log) << "KivBaseClient::OnOwnerChanged -- Signaling init completed with state ="
                 << InitStateToString(state);
    Q_EMIT SignalInitCompleted(state);
}

} // namespace Audio::Utils::Kiv::QtDbus
