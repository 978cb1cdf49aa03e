// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_TESTCLIENTS_H
#define KIV_TESTS_TESTCLIENTS_H

#include "AudioManagerApp.h"
#include "AudioManagerHmi.h"
#include "FakeAdaptorConnection.h"
#include "FakeServiceProviderProxyFactory.h"
#include "FakeServiceRegistrator.h"

#include <QStringList>

namespace KivTest {

using namespace Audio::Utils::Kiv::QtDbus::Testing;

/** The bus name and the object path that test clients have of their own. */
const QString kClientName = "com.quorvantel.audioclient.test";
const QString kClientPath = "/com/quorvantel/audioclient/test";

/** A client with its protected state in the open. */
template <typename Client>
class Opened : public Client
{
public:
    using Client::Client;
    using Client::m_DbusName;
    using Client::m_Destination;
    using Client::m_InitState;
    using Client::m_ObjPath;
    using Client::m_RequestId;
    using Client::m_ServiceName;
    using Client::m_ServiceProxy;
    using Client::m_ServiceWatcher;
    using Client::m_SessionId;

    /** Has the client use a proxy of its factory and a session, as after a successful initialisation. */
    void Open(quint32 sessionId)
    {
        m_ServiceProxy = this->m_ProxyFactory.CreateProxy(this);
        m_SessionId = sessionId;
    }
};

class OpenedHmi : public Opened<Audio::Utils::Kiv::QtDbus::AudioManagerHmi>
{
public:
    using AudioManagerHmi::m_CurrentMode;
    using AudioManagerHmi::m_CurrentModeList;
    using AudioManagerHmi::m_GetModesOnInitialize;
    using AudioManagerHmi::m_ModeList;
    using AudioManagerHmi::m_PendingMode;
    using AudioManagerHmi::m_PendingSetModeRequestId;
    using Opened::Opened;
};

class OpenedApp : public Opened<Audio::Utils::Kiv::QtDbus::AudioManagerApp>
{
public:
    using AudioManagerApp::m_FocusType;
    using AudioManagerApp::m_LastFocus;
    using AudioManagerApp::m_RegisterDuringInitialization;
    using AudioManagerApp::m_SourceName;
    using AudioManagerApp::m_StreamModeName;
    using AudioManagerApp::m_StreamType;
    using Opened::Opened;
};

/** A session client that does nothing of its own but record what it is asked to do. */
class OpenedSessionClient : public Opened<Audio::Utils::Kiv::QtDbus::ServiceProviderClient>
{
public:
    using Opened::Opened;

    void HandleNotify(const QString& aSignalName, const QString& aPayload) override
    {
        m_Notifications.append(aSignalName + QLatin1Char(' ') + aPayload);
    }

    void HandleRequest(const QString& methodName, const QString& arguments) override
    {
        m_Requests.append(methodName + QLatin1Char(' ') + arguments);
    }

    bool HandleInitialize() override
    {
        ++m_InitializeCount;
        return m_InitializeResult;
    }

    QStringList m_Notifications;
    QStringList m_Requests;
    int m_InitializeCount = 0;
    bool m_InitializeResult = true;
};

/** Everything that a client needs, without a bus; requests are answered with "{}". Declare it before the client. */
struct FakeSurroundings
{
    FakeSurroundings() { Exchange().AnswerOthers("{}"); }

    FakeServiceRegistrator registrator{kClientName};
    FakeAdaptorConnection connection;
    FakeServiceProviderProxyFactory factory;

    FakeExchange& Exchange() { return factory.Exchange(); }
};

} // namespace KivTest

#endif // KIV_TESTS_TESTCLIENTS_H
