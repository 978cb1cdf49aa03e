// SPDX-License-Identifier: MIT
#include "AudioManagerHmi.h"

#include "JsonParameterParser.h"
#include "client/AsyncCall.h"
#include "client/BlockingCall.h"
#include "client/FailedReply.h"
#include "client/ReplyWatch.h"
#include "logging/Log.h"
#include "logging/Qt5Text.h"
#include "protocol/Vocabulary.h"

#include <QPointer>
#include <QVarLengthArray>

namespace Audio::Utils::Kiv::QtDbus {

namespace {

// The service names the member as it likes: every list and text of the reply counts, in the order of the keys.
QStringList AllStringsOf(const QMap<QString, QVariant>& reply)
{
    QStringList strings;
    for (const QVariant& value : reply) {
        strings += value.toStringList();
    }
    return strings;
}

QString FirstOf(const QStringList& modes)
{
    return modes.isEmpty() ? QStringLiteral("") : modes.first();
}

} // namespace

AudioManagerHmi::AudioManagerHmi(const IServiceRegistrator& registrator, const QString& objPath,
                                 IAdaptorConnection& connection, const QString& destination,
                                 IServiceProviderProxyFactory& factory, bool getModesOnInitialize,
                                 QObject* parent)
    : ServiceProviderClient(registrator, Bus::ServiceName, objPath, connection, destination, factory, parent),
      m_GetModesOnInitialize(getModesOnInitialize),
      m_PendingSetModeRequestId(0)
{
}

AudioManagerHmi::~AudioManagerHmi() = default;

bool AudioManagerHmi::HandleInitialize()
{
    qCDebug(Log) << "AudioManagerHmi::HandleInitialize";
    if (!m_GetModesOnInitialize) {
        return true;
    }
    return GetModeList(m_Destination) && GetMode(m_Destination);
}

QStringList AudioManagerHmi::ModeList() const
{
    return m_ModeList;
}

QString AudioManagerHmi::CurrentMode() const
{
    return m_CurrentMode;
}

QString AudioManagerHmi::PendingMode() const
{
    return m_PendingMode;
}

quint32 AudioManagerHmi::PendingSetModeRequestId() const
{
    return m_PendingSetModeRequestId;
}

// Mode queries

QMap<QString, QVariant> AudioManagerHmi::QueryParameters(const QString& destination) const
{
    return {{Key::SessionId, m_SessionId},
            {Key::Destination, destination.isEmpty() ? Value::All : destination}};
}

bool AudioManagerHmi::GetModeList(const QString& aDestination)
{
    qCDebug(Log) << "AudioManagerHmi::GetModeList --" << aDestination;
    m_ModeList.clear();
    if (m_SessionId == 0) {
        qCCritical(Log) << "AudioManagerHmi::GetModeList -- Error - Invalid session id";
        return false;
    }
    QString result;
    if (!BlockingCall(*this, Method::GetModeList, QueryParameters(aDestination), result)) {
        qCCritical(Log) << "AudioManagerHmi::GetModeList -- GetModeList call failed";
        return false;
    }
    QMap<QString, QVariant> reply;
    GetParameters(result, reply);
    for (const QVariant& value : qAsConst(reply)) {
        const QStringList modes = value.toStringList();
        m_ModeList += modes;
        qCDebug(Log) << "AudioManagerHmi::GetModeList -- Mode list:" << Qt5Text(modes);
    }
    return true;
}

bool AudioManagerHmi::GetMode(const QString& aDestination)
{
    qCDebug(Log) << "AudioManagerHmi::GetMode --" << aDestination;
    if (m_SessionId == 0) {
        qCCritical(Log) << "AudioManagerHmi::GetMode -- Kiv service provider session id error";
        return false;
    }
    QString result;
    if (!BlockingCall(*this, Method::GetMode, QueryParameters(aDestination), result)) {
        qCCritical(Log) << "AudioManagerHmi::GetMode -- Failed to call getMode to Kiv server";
        return false;
    }
    QMap<QString, QVariant> reply;
    GetParameters(result, reply);
    qCDebug(Log) << "AudioManagerHmi::GetMode -- Got Result:" << reply.size() << Qt5Text(reply);
    m_CurrentModeList +=
        AllStringsOf(reply); // accumulates: the first mode ever received stays the current one
    m_CurrentMode = FirstOf(m_CurrentModeList);
    qCDebug(Log) << "AudioManagerHmi::GetMode -- Using first mode as current mode:" << m_CurrentMode;
    return true;
}

QDBusPendingReply<QString> AudioManagerHmi::StartGetModeListRequest(const QString& aDestination)
{
    if (m_SessionId == 0) {
        return NoSessionReply("AudioManagerHmi::StartGetModeListRequest -- Session is not open");
    }
    return StartRequest(Method::GetModeList, QueryParameters(aDestination));
}

QDBusPendingReply<QString> AudioManagerHmi::StartGetModeRequest(const QString& aDestination)
{
    if (m_SessionId == 0) {
        return NoSessionReply("AudioManagerHmi::StartGetModeRequest -- Session is not open");
    }
    return StartRequest(Method::GetMode, QueryParameters(aDestination));
}

bool AudioManagerHmi::HandleGetModeListReply(bool aError, QMap<QString, QVariant> aParameters)
{
    if (aError) {
        qCWarning(Log) << "AudioManagerHmi::HandleSetModeReply -- Request failed with reply"
                       << Qt5Text(aParameters);
        return false;
    }
    m_ModeList = AllStringsOf(aParameters);
    qCDebug(Log) << "AudioManagerHmi::HandleGetModeListReply -- Mode list:" << Qt5Text(m_ModeList);
    return true;
}

bool AudioManagerHmi::HandleGetModeReply(bool aError, QMap<QString, QVariant> aParameters)
{
    if (aError) {
        qCWarning(Log) << "AudioManagerHmi::HandleSetModeReply -- Request failed with reply"
                       << Qt5Text(aParameters);
        return false;
    }
    m_CurrentModeList = AllStringsOf(aParameters);
    qCDebug(Log) << "AudioManagerHmi::HandleGetModeReply -- Current mode list:" << Qt5Text(m_CurrentModeList);
    m_CurrentMode = FirstOf(m_CurrentModeList);
    qCDebug(Log) << "AudioManagerHmi::HandleGetModeReply -- Current mode:" << m_CurrentMode;
    return true;
}

quint32 AudioManagerHmi::GetModeListAsync(const QString& aDestination)
{
    return CallAsync<&AudioManagerHmi::StartGetModeListRequest, &AudioManagerHmi::HandleGetModeListReply,
                     &AudioManagerHmi::SignalGetModeListCompleted>(
        this, {"AudioManagerHmi", "GetModeListAsync"}, aDestination);
}

quint32 AudioManagerHmi::GetModeAsync(const QString& aDestination)
{
    return CallAsync<&AudioManagerHmi::StartGetModeRequest, &AudioManagerHmi::HandleGetModeReply,
                     &AudioManagerHmi::SignalGetModeCompleted>(this, {"AudioManagerHmi", "GetModeAsync"},
                                                               aDestination);
}

// Mode setting

QMap<QString, QVariant> AudioManagerHmi::SetModeParameters(const QString& modeName) const
{
    return {{Key::SessionId, m_SessionId}, {Key::NewMode, modeName}};
}

void AudioManagerHmi::StorePendingMode(const QString& modeName)
{
    m_PendingSetModeRequestId = GetNextRequestId();
    m_PendingMode = modeName;
}

bool AudioManagerHmi::SetMode(const QString& aModeName)
{
    qCDebug(Log) << "AudioManagerHmi::SetMode -- " << aModeName;
    if (m_SessionId == 0) {
        qCCritical(Log) << "AudioManagerHmi::SetMode -- Invalid session id";
        return false;
    }
    if (!m_ModeList.contains(aModeName)) {
        qCDebug(Log) << "AudioManagerHmi::SetMode -- Requested mode is not in the mode list:" << aModeName;
        for (const QString& mode : qAsConst(m_ModeList)) {
            qCDebug(Log) << "Mode list:" << mode;
        }
        qCDebug(Log) << "AudioManagerHmi::SetMode -- Storing the requested mode so we can set it when it "
                        "becomes available.";
        StorePendingMode(aModeName);
        return true;
    }
    const bool isSet = BlockingCall(*this, Method::SetMode, SetModeParameters(aModeName));
    m_PendingSetModeRequestId = 0;
    m_PendingMode = QStringLiteral("");
    return isSet;
}

bool AudioManagerHmi::StartSetModeRequest(const QString& aModeName, QDBusPendingReply<QString>& aReply,
                                          bool& aPending)
{
    if (m_SessionId == 0) {
        aReply = NoSessionReply("AudioManagerHmi::StartSetModeRequest -- Session is not open");
        return false;
    }
    if (m_ModeList.contains(aModeName)) {
        aReply = StartRequest(Method::SetMode, SetModeParameters(aModeName));
        aPending = false;
        return true;
    }

    qCDebug(Log) << "AudioManagerHmi::StartSetModeRequest -- Requested mode" << aModeName
                 << "is not in the mode list:" << Qt5Text(m_ModeList);
    if (m_PendingSetModeRequestId != 0 && m_PendingMode == aModeName) {
        qCDebug(Log) << "AudioManagerHmi::StartSetModeRequest -- Keeping existing identical pending mode set "
                        "request with ID"
                     << m_PendingSetModeRequestId;
        aPending = true;
        return true;
    }
    if (m_PendingSetModeRequestId != 0) {
        qCDebug(Log) << "AudioManagerHmi::StartSetModeRequest -- Canceling pending mode set request with ID"
                     << m_PendingSetModeRequestId;
        const QPointer<AudioManagerHmi> self(this);
        Q_EMIT SignalSetModeCompleted(m_PendingSetModeRequestId, false);
        if (self.isNull()) {
            return false; // a slot has deleted this client
        }
    }
    qCDebug(Log) << "AudioManagerHmi::StartSetModeRequest -- Storing the requested mode so we can set it "
                    "when it becomes available";
    StorePendingMode(aModeName);
    aPending = true;
    return true;
}

quint32 AudioManagerHmi::SetModeAsync(const QString& aModeName)
{
    if (IsOnForeignThread(*this)) {
        return ForwardToClientThread(*this, {"AudioManagerHmi", "SetModeAsync"}, aModeName);
    }
    QDBusPendingReply<QString> reply;
    bool isPending = false;
    if (!StartSetModeRequest(aModeName, reply, isPending)) {
        qCDebug(Log) << "AudioManagerHmi::SetModeAsync -- Unable to start request";
        return 0;
    }
    if (isPending) {
        qCDebug(Log) << "AudioManagerHmi::SetModeAsync -- Request is pending";
        return m_PendingSetModeRequestId;
    }
    // Carrying out the stored request completes under the identifier that was handed out for it.
    const quint32 storedId = aModeName == m_PendingMode ? m_PendingSetModeRequestId : 0;
    return WatchStartedRequest(
        *this, reply,
        CompleteWith<&AudioManagerHmi::HandleSetModeReply, &AudioManagerHmi::SignalSetModeCompleted>(this),
        storedId);
}

bool AudioManagerHmi::HandleSetModeReply(bool aError, QMap<QString, QVariant> aParameters, quint32 aRequestId)
{
    if (aError) {
        qCWarning(Log) << "AudioManagerHmi::HandleSetModeReply -- Request" << aRequestId
                       << "failed with reply" << Qt5Text(aParameters);
        return false;
    }
    if (aRequestId == m_PendingSetModeRequestId) {
        m_PendingSetModeRequestId = 0;
        m_PendingMode.clear();
    }
    return true;
}

// Inbound events. A slot of an event's signal may delete this client: signals come last, with copies.

void AudioManagerHmi::HandleRequest(const QString& aMethod, const QString& aArguments)
{
    QMap<QString, QVariant> parameters;
    GetParameters(aArguments, parameters);
    const quint32 sessionId = parameters.value(Key::SessionId).toUInt();
    if (sessionId != m_SessionId) {
        qCCritical(Log) << "AudioManagerHmi::HandleRequest -- Error - Received non-matching session id:"
                        << sessionId;
    } else if (aMethod == Event::OnModeChange) {
        HandleModeChanged(parameters);
    } else if (aMethod == Event::OnModeListChange) {
        HandleModeListChanged(parameters);
    } else {
        qCCritical(Log) << "AudioManagerHmi::HandleRequest -- Error - Received invalid method name:"
                        << aMethod;
    }
}

void AudioManagerHmi::HandleModeChanged(const QMap<QString, QVariant>& aParameters)
{
    if (!aParameters.contains(Key::ActiveMode)) {
        qCCritical(Log) << "AudioManagerHmi::HandleModeChanged -- Kiv Audio manager error:"
                        << Event::OnModeChange << "missing" << Key::ActiveMode
                        << "- Current mode:" << m_CurrentMode;
        return;
    }
    const QString activeMode = aParameters.value(Key::ActiveMode).toString();
    m_CurrentMode = activeMode;
    qCDebug(Log) << "AudioManagerHmi::HandleModeChanged -- Setting current mode:" << m_CurrentMode;
    Q_EMIT SignalModeChanged(activeMode);
}

void AudioManagerHmi::HandleModeListChanged(const QMap<QString, QVariant>& aParameters)
{
    if (!aParameters.contains(Key::Action) || !aParameters.contains(Key::Mode)) {
        qCCritical(Log) << "AudioManagerHmi::HandleModeListChanged -- Error:" << Event::OnModeListChange
                        << "missing parameters!";
        return;
    }
    const bool isAdded = aParameters.value(Key::Action).toString() == Value::Add;
    const QString mode = aParameters.value(Key::Mode).toString();
    if (isAdded) {
        qCDebug(Log) << "AudioManagerHmi::HandleModeListChanged -- add" << mode;
        m_ModeList.append(mode);
        if (m_PendingSetModeRequestId != 0 && m_PendingMode == mode) {
            SetModeAsync(mode); // now listed, hence sent
        }
    } else {
        qCDebug(Log) << "AudioManagerHmi::HandleModeListChanged -- remove" << mode;
        if (!m_ModeList.removeOne(mode)) {
            qCCritical(Log) << "Remove mode list error:" << mode;
        }
    }

    qCDebug(Log) << "+++++++++++Audio Manager Current Sources+++++++++++";
    for (const QString& listed : qAsConst(m_ModeList)) {
        qCDebug(Log) << " +++++ Mode List:" << listed;
    }
    qCDebug(Log) << "++++++++++++++++++++++++++++++++++++++++++++++++++";
    Q_EMIT SignalModeListChanged(isAdded, mode);
}

void AudioManagerHmi::HandleNotify(const QString& aSignalName, const QString& aPayload)
{
    if (aSignalName != Event::AudioFocusChangeEvent) {
        qCCritical(Log) << "AudioManagerHmi::HandleNotify -- Audio manager error: Sending wrong method"
                        << aSignalName;
        return;
    }
    QMap<QString, QVariant> parameters;
    GetParameters(aPayload, parameters);
    const QString* const keys[] = {&Key::StreamName, &Key::StreamModeName, &Key::FocusType,
                                   &Key::StreamType, &Key::Destination,    &Key::NewFocus};
    QVarLengthArray<QString, 6> texts; // in the order of the signal's parameters
    for (const QString* const key : keys) {
        const auto entry = parameters.constFind(*key);
        if (entry == parameters.constEnd()) {
            qCDebug(Log)
                << "AudioManagerHmi::HandleNotify -- Focus change is not for a media source, ignore it:"
                << aPayload;
            return;
        }
        texts.append(entry->toString());
    }
    Q_EMIT SignalAudioFocusChange(texts[0], texts[1], texts[2], texts[3], texts[4], texts[5]);
}

} // namespace Audio::Utils::Kiv::QtDbus
