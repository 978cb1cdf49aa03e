// SPDX-License-Identifier: MIT
#include "AudioManagerApp.h"

#include "JsonParameterParser.h"
#include "client/AsyncCall.h"
#include "client/BlockingCall.h"
#include "client/FailedReply.h"
#include "logging/Log.h"
#include "protocol/Vocabulary.h"

namespace Audio::Utils::Kiv::QtDbus {

namespace {

// The replies carry nothing but acceptance.
bool IsAccepted(AudioManagerApp* /*client*/, bool aError, const QMap<QString, QVariant>& /*aParameters*/)
{
    return !aError;
}

} // namespace

AudioManagerApp::AudioManagerApp(const IServiceRegistrator& registrator, const QString& objPath,
                                 const QString& sourceName, IAdaptorConnection& connection,
                                 const QString& streamType, bool permanentFocus, const QString& destination,
                                 IServiceProviderProxyFactory& factory, bool registerDuringInitialization,
                                 QObject* parent)
    : ServiceProviderClient(registrator, Bus::ServiceName, objPath, connection, destination, factory, parent),
      m_SourceName(sourceName),
      m_StreamModeName(objPath),
      m_StreamType(streamType.isEmpty() ? Value::Media : streamType),
      m_FocusType(permanentFocus ? Value::Permanent : Value::Transient),
      m_RegisterDuringInitialization(registerDuringInitialization)
{
    qCDebug(Log) << "AudioManagerApp::AudioManagerApp --"
                 << "\n   m_SourceName:" << m_SourceName << "\n   m_StreamModeName:" << m_StreamModeName
                 << "\n   m_StreamType:" << m_StreamType << "\n   m_FocusType:" << m_FocusType
                 << "\n   m_RegisterDuringInitialization:" << m_RegisterDuringInitialization;
}

AudioManagerApp::~AudioManagerApp() = default;

bool AudioManagerApp::HandleInitialize()
{
    return !m_RegisterDuringInitialization || RegisterAudioStream();
}

QString AudioManagerApp::LastFocus() const
{
    return m_LastFocus;
}

// Stream registration

QMap<QString, QVariant> AudioManagerApp::RegistrationParameters() const
{
    QMap<QString, QVariant> parameters{{Key::SessionId, m_SessionId},
                                       {Key::StreamName, m_SourceName},
                                       {Key::StreamType, m_StreamType},
                                       {Key::FocusType, m_FocusType}};
    if (!m_StreamModeName.isEmpty() && m_FocusType == Value::Permanent) {
        parameters.insert(Key::StreamModeName, m_StreamModeName);
    }
    return parameters;
}

bool AudioManagerApp::RegisterAudioStream()
{
    return m_SessionId != 0 && BlockingCall(*this, Method::RegisterAudioStream, RegistrationParameters());
}

QDBusPendingReply<QString> AudioManagerApp::StartRegisterAudioStreamRequest()
{
    if (m_SessionId == 0) {
        return NoSessionReply("AudioManagerApp::StartRegisterAudioStreamRequest -- Session is not open");
    }
    return StartRequest(Method::RegisterAudioStream, RegistrationParameters());
}

quint32 AudioManagerApp::RegisterAudioStreamAsync()
{
    return CallAsync<&AudioManagerApp::StartRegisterAudioStreamRequest, &IsAccepted,
                     &AudioManagerApp::SignalRegisterAudioStreamCompleted>(
        this, {"AudioManagerApp", "RegisterAudioStreamAsync"});
}

// Focus requests

QMap<QString, QVariant> AudioManagerApp::RequestFocusParameters(bool executeSwitch) const
{
    return {{Key::SessionId, m_SessionId}, {Key::RequestType, executeSwitch ? Value::Request : Value::Query}};
}

bool AudioManagerApp::RequestAudioFocus(bool aExecuteSwitch)
{
    return m_SessionId != 0 &&
           BlockingCall(*this, Method::RequestAudioFocus, RequestFocusParameters(aExecuteSwitch));
}

QDBusPendingReply<QString> AudioManagerApp::StartRequestAudioFocusRequest(bool aExecuteSwitch)
{
    if (m_SessionId == 0) {
        return NoSessionReply("AudioManagerApp::StartRequestAudioFocusRequest -- Session is not open");
    }
    return StartRequest(Method::RequestAudioFocus, RequestFocusParameters(aExecuteSwitch));
}

quint32 AudioManagerApp::RequestAudioFocusAsync(bool aExecuteSwitch)
{
    return CallAsync<&AudioManagerApp::StartRequestAudioFocusRequest, &IsAccepted,
                     &AudioManagerApp::SignalRequestAudioFocusCompleted>(
        this, {"AudioManagerApp", "RequestAudioFocusAsync"}, aExecuteSwitch);
}

// Playing state

QMap<QString, QVariant> AudioManagerApp::AudioActiveParameters(bool playing) const
{
    return {{Key::SessionId, m_SessionId}, {Key::Playing, playing}};
}

bool AudioManagerApp::AudioActive(bool aPlaying)
{
    return m_SessionId != 0 && BlockingCall(*this, Method::AudioActive, AudioActiveParameters(aPlaying));
}

QDBusPendingReply<QString> AudioManagerApp::StartAudioActiveRequest(bool aPlaying)
{
    if (m_SessionId == 0) {
        return NoSessionReply("AudioManagerApp::StartAudioActiveRequest -- Session is not open");
    }
    return StartRequest(Method::AudioActive, AudioActiveParameters(aPlaying));
}

quint32 AudioManagerApp::AudioActiveAsync(bool aPlaying)
{
    return CallAsync<&AudioManagerApp::StartAudioActiveRequest, &IsAccepted,
                     &AudioManagerApp::SignalAudioActiveCompleted>(
        this, {"AudioManagerApp", "AudioActiveAsync"}, aPlaying);
}

// Focus release

QMap<QString, QVariant> AudioManagerApp::AbandonFocusParameters(const QString& reason) const
{
    return {{Key::SessionId, m_SessionId}, {Key::Reason, reason}};
}

bool AudioManagerApp::AbandonAudioFocus(const QString& a_Reason)
{
    if (a_Reason.isEmpty()) {
        qCCritical(Log) << "AudioManagerApp::AbandonAudioFocus -- a_Reason is empty, but it must be provided";
        return false;
    }
    return m_SessionId != 0 &&
           BlockingCall(*this, Method::AbandonAudioFocus, AbandonFocusParameters(a_Reason));
}

QDBusPendingReply<QString> AudioManagerApp::StartAbandonAudioFocusRequest(const QString& aReason)
{
    if (m_SessionId == 0) {
        return NoSessionReply("AudioManagerApp::StartAbandonAudioFocusRequest -- Session is not open");
    }
    if (aReason.isEmpty()) {
        return RefusedReply("AudioManagerApp::StartAbandonAudioFocusRequest -- No reason was provided",
                            QStringLiteral("No reason was provided"));
    }
    return StartRequest(Method::AbandonAudioFocus, AbandonFocusParameters(aReason));
}

quint32 AudioManagerApp::AbandonAudioFocusAsync(const QString& aReason)
{
    return CallAsync<&AudioManagerApp::StartAbandonAudioFocusRequest, &IsAccepted,
                     &AudioManagerApp::SignalAbandonAudioFocusCompleted>(
        this, {"AudioManagerApp", "AbandonAudioFocusAsync"}, aReason);
}

// Inbound focus events

void AudioManagerApp::HandleRequest(const QString& methodName, const QString& arguments)
{
    QMap<QString, QVariant> parameters;
    GetParameters(arguments, parameters);
    if (parameters.value(Key::SessionId).toUInt() != m_SessionId) {
        qCCritical(Log) << "Kiv service provider session id error!";
        return;
    }
    const bool isChange = methodName == Event::OnAudioFocusChange;
    if (!isChange && methodName != Event::OnRequestAudioFocusResult) {
        qCCritical(Log) << methodName << " is not supported for Application mode in Media Player!";
        return;
    }
    // A copy for the slots: one of them may delete this client.
    const QString newFocus = parameters.value(Key::NewFocus).toString();
    m_LastFocus = newFocus;
    if (isChange) {
        Q_EMIT SignalAudioFocusChanged(newFocus);
    } else {
        Q_EMIT SignalResponseToAudioFocusRequest(newFocus);
    }
}

void AudioManagerApp::HandleNotify(const QString& /*signalName*/, const QString& /*payload*/)
{
    qCCritical(Log) << "Audio manager error: Notify signal shall not be called for application mode!";
}

} // namespace Audio::Utils::Kiv::QtDbus
