// SPDX-License-Identifier: MIT
#include "ServiceProviderClient.h"

#include "IAdaptorConnection.h"
#include "IServiceRegistrator.h"
#include "JsonParameterParser.h"
#include "ServiceProviderAdaptor.h"
#include "client/AsyncCall.h"
#include "client/BlockingCall.h"
#include "client/FailedReply.h"
#include "logging/Log.h"
#include "logging/Qt5Text.h"
#include "protocol/Vocabulary.h"

namespace Audio::Utils::Kiv::QtDbus {

namespace {

QMap<QString, QVariant> OpenSessionParameters(const QString& busName, const QString& objectPath,
                                              const QString& destination)
{
    QMap<QString, QVariant> parameters{{Key::BusName, busName}, {Key::ObjectPath, objectPath}};
    if (!destination.isEmpty()) {
        parameters.insert(Key::Destination, destination);
    }
    return parameters;
}

} // namespace

ServiceProviderClient::ServiceProviderClient(const IServiceRegistrator& registrator,
                                             const QString& serviceName, const QString& objPath,
                                             IAdaptorConnection& connection, const QString& destination,
                                             IServiceProviderProxyFactory& factory, QObject* parent)
    : KivBaseClient(serviceName, factory, parent),
      m_ServiceRegistrator(registrator),
      m_AdaptorConnection(connection),
      m_DbusName(registrator.GetServiceName()),
      m_ObjPath(objPath + Bus::ClientPath),
      m_Destination(destination),
      m_SessionId(0)
{
    qCDebug(Log) << "ServiceProviderClient::ServiceProviderClient -- "
                 << "\n   m_DbusName:" << m_DbusName << "\n   m_ObjPath:" << m_ObjPath
                 << "\n   m_Destination:" << m_Destination << "\n   m_SessionId:" << m_SessionId;
}

ServiceProviderClient::~ServiceProviderClient() = default;

KivBaseClient::InitState ServiceProviderClient::Initialize()
{
    KivBaseClient::Initialize();
    return m_InitState;
}

KivBaseClient::InitState ServiceProviderClient::HandleInitializeProxy()
{
    qCDebug(Log) << "ServiceProviderClient::HandleInitializeProxy";
    qCDebug(Log) << "ServiceProviderClient::HandleInitializeProxy -- Creating ServiceProviderAdaptor";
    new ServiceProviderAdaptor(this); // a Qt child of this client

    if (!m_AdaptorConnection.RegisterObject(m_DbusName, m_ObjPath, this)) {
        qCCritical(Log) << "Connection Register error:" << m_ObjPath;
    } else if (OpenSession() && HandleInitialize()) {
        qCDebug(Log) << "ServiceProviderClient::HandleInitializeProxy -- SUCCESS";
        m_InitState = INIT_STATE_SUCCESS;
        return m_InitState;
    }
    qCDebug(Log) << "ServiceProviderClient::HandleInitializeProxy -- FAILED";
    m_InitState = INIT_STATE_FAILED;
    return m_InitState;
}

void ServiceProviderClient::HandlePowerdown()
{
    CloseSession();
}

QString ServiceProviderClient::Request(const QString& methodName, const QString& arguments)
{
    qCDebug(Log) << "ServiceProviderClient::Request" << m_ObjPath << methodName << arguments;
    HandleRequest(methodName, arguments);
    return Value::EmptyObject;
}

quint32 ServiceProviderClient::SessionId() const
{
    return m_SessionId;
}

bool ServiceProviderClient::IsSessionOpen() const
{
    return m_SessionId != 0;
}

bool ServiceProviderClient::OpenSession()
{
    if (m_SessionId != 0) {
        return false;
    }
    QString result;
    if (!BlockingCall(*this, Method::OpenSession, OpenSessionParameters(m_DbusName, m_ObjPath, m_Destination),
                      result)) {
        return false;
    }
    QMap<QString, QVariant> reply;
    GetParameters(result, reply);
    qCDebug(Log) << Qt5Text(reply);
    if (!reply.contains(Key::SessionId)) {
        return false;
    }
    m_SessionId = reply.value(Key::SessionId).toUInt();
    qCDebug(Log) << "SessionID =" << m_SessionId;
    return m_SessionId != 0;
}

void ServiceProviderClient::CloseSession()
{
    qCDebug(Log) << "ServiceProviderClient::CloseSession" << m_ObjPath << m_SessionId;
    if (m_SessionId == 0) {
        return;
    }
    BlockingCall(*this, Method::CloseSession, {{Key::SessionId, m_SessionId}});
    m_SessionId = 0;
}

QDBusPendingReply<QString> ServiceProviderClient::StartOpenSessionRequest()
{
    if (m_SessionId != 0) {
        return RefusedReply("ServiceProviderClient::StartOpenSessionRequest -- Session is already open",
                            QStringLiteral("Session is already open"));
    }
    return StartRequest(Method::OpenSession, OpenSessionParameters(m_DbusName, m_ObjPath, m_Destination));
}

QDBusPendingReply<QString> ServiceProviderClient::StartCloseSessionRequest()
{
    if (m_SessionId == 0) {
        return RefusedReply("ServiceProviderClient::StartCloseSessionRequest -- Session is not open",
                            QStringLiteral("Session is not open"));
    }
    return StartRequest(Method::CloseSession, {{Key::SessionId, m_SessionId}});
}

bool ServiceProviderClient::HandleOpenSessionReply(bool aError, QMap<QString, QVariant> aParameters)
{
    if (aError) {
        return false;
    }
    if (!aParameters.contains(Key::SessionId)) {
        qCCritical(Log) << "ServiceProviderClient::HandleOpenSessionReply -- Reply does not contain key"
                        << Key::SessionId;
        return false;
    }
    m_SessionId = aParameters.value(Key::SessionId).toUInt();
    qCDebug(Log) << "ServiceProviderClient::HandleOpenSessionReply -- Session ID:" << m_SessionId;
    return m_SessionId != 0;
}

bool ServiceProviderClient::HandleCloseSessionReply(bool aError, QMap<QString, QVariant> /*aParameters*/)
{
    if (aError) {
        return false;
    }
    m_SessionId = 0;
    return true;
}

quint32 ServiceProviderClient::OpenSessionAsync()
{
    return CallAsync<&ServiceProviderClient::StartOpenSessionRequest,
                     &ServiceProviderClient::HandleOpenSessionReply,
                     &ServiceProviderClient::SignalOpenSessionCompleted>(
        this, {"ServiceProviderClient", "OpenSessionAsync"});
}

quint32 ServiceProviderClient::CloseSessionAsync()
{
    return CallAsync<&ServiceProviderClient::StartCloseSessionRequest,
                     &ServiceProviderClient::HandleCloseSessionReply,
                     &ServiceProviderClient::SignalCloseSessionCompleted>(
        this, {"ServiceProviderClient", "CloseSessionAsync"});
}

} // namespace Audio::Utils::Kiv::QtDbus
