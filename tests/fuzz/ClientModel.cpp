// SPDX-License-Identifier: MIT
#include "ClientModel.h"

#include "StraightforwardCodec.h"

#include <algorithm>

namespace KivFuzz {

namespace {

const QString& kErrCode = *new QString("errCode");
const QString& kSessionId = *new QString("sessionId");

QStringList TextsOf(const ParameterMap& reply)
{
    QStringList texts;
    for (const QVariant& value : reply) {
        texts += value.toStringList();
    }
    return texts;
}

ParameterMap OpenSessionParameters()
{
    return {{"busName", "com.quorvantel.audioclient.test"},
            {"objectPath", "/com/quorvantel/audioclient/test/ServiceProviderClient"}};
}

} // namespace

ParameterMap ClientModel::Decoded(const QString& json)
{
    ParameterMap parameters;
    KivBenchmark::Straightforward::GetParameters(json, parameters);
    return parameters;
}

void ClientModel::Emit(const QString& line)
{
    said.append(line);
    const auto action = std::exchange(m_SlotAction, {});
    if (action) {
        action();
    }
}

ParameterMap ClientModel::WithSession(ParameterMap parameters) const
{
    parameters.insert(kSessionId, m_Session);
    return parameters;
}

quint32 ClientModel::Send(const char* method, const ParameterMap& parameters, const char* completed,
                          Handler handler, quint32 id)
{
    if (!m_HasProxy) {
        return 0;
    }
    QString arguments;
    KivBenchmark::Straightforward::AddParameters(parameters, arguments);
    said.append(Line("AsyncRequest", QString::fromLatin1(method), arguments));
    if (m_Reply.kind == Reply::Refusal) {
        return 0;
    }
    m_Waiting.append({m_Reply, id != 0 ? id : NextId(), completed, std::move(handler)});
    return m_Waiting.last().id;
}

bool ClientModel::Ask(const char* method, const ParameterMap& parameters, ParameterMap& reply)
{
    if (!m_HasProxy) {
        return false;
    }
    QString arguments;
    KivBenchmark::Straightforward::AddParameters(parameters, arguments);
    said.append(Line("Request", QString::fromLatin1(method), arguments));
    const QString text = m_Reply.Blocking();
    reply = Decoded(text);
    return !text.contains(kErrCode);
}

void ClientModel::HandleEvents()
{
    while (!m_Waiting.isEmpty()) {
        const Waiting next = m_Waiting.takeFirst();
        const bool hasText = next.reply.kind == Reply::Text;
        const ParameterMap reply = hasText ? Decoded(next.reply.text) : ParameterMap();
        const bool result = next.handler(!hasText || reply.contains(kErrCode), reply, next.id);
        Emit(Line(next.completed, next.id, result));
    }
}

QString ClientModel::Request(const QString& methodName, const QString& arguments)
{
    const ParameterMap parameters = Decoded(arguments);
    if (parameters.value(kSessionId).toUInt() == m_Session) {
        HandleCall(methodName, parameters);
    }
    return "{}";
}

void ClientModel::Powerdown()
{
    CloseSession();
    m_HasProxy = false;
}

bool ClientModel::OpenSession()
{
    ParameterMap reply;
    if (m_Session != 0 || !Ask("openSession", OpenSessionParameters(), reply)) {
        return false;
    }
    m_Session = reply.value(kSessionId).toUInt();
    return m_Session != 0;
}

void ClientModel::CloseSession()
{
    ParameterMap reply;
    if (m_Session != 0) {
        Ask("closeSession", WithSession({}), reply);
    }
    m_Session = 0;
}

quint32 ClientModel::OpenSessionAsync()
{
    if (m_Session != 0) {
        return 0;
    }
    const auto take = [this](bool failed, const ParameterMap& reply, quint32) {
        if (failed || !reply.contains(kSessionId)) {
            return false;
        }
        m_Session = reply.value(kSessionId).toUInt();
        return m_Session != 0;
    };
    return Send("openSession", OpenSessionParameters(), "SignalOpenSessionCompleted", take);
}

quint32 ClientModel::CloseSessionAsync()
{
    if (m_Session == 0) {
        return 0;
    }
    const auto forget = [this](bool failed, const ParameterMap&, quint32) {
        m_Session = failed ? m_Session : 0;
        return !failed;
    };
    return Send("closeSession", WithSession({}), "SignalCloseSessionCompleted", forget);
}

// The HMI client

void HmiModel::HandleCall(const QString& methodName, const ParameterMap& parameters)
{
    if (methodName == "onModeChange" && parameters.contains("activeMode")) {
        m_Current = parameters.value("activeMode").toString();
        Emit(Line("SignalModeChanged", m_Current));
    } else if (methodName == "onModeListChange" && parameters.contains("action") &&
               parameters.contains("mode")) {
        ChangeModeList(parameters);
    }
}

void HmiModel::ChangeModeList(const ParameterMap& parameters)
{
    const bool isAdded = parameters.value("action").toString() == "add";
    const QString mode = parameters.value("mode").toString();
    if (!isAdded) {
        m_Modes.removeOne(mode);
    } else {
        m_Modes.append(mode);
        if (m_PendingId != 0 && m_Pending == mode) {
            SetModeAsync(mode);
        }
    }
    Emit(Line("SignalModeListChanged", isAdded, mode));
}

void HmiModel::Notification(const QString& signalName, const QString& payload)
{
    if (signalName != "audioFocusChangeEvent") {
        return;
    }
    const ParameterMap parameters = Decoded(payload);
    QString line = "SignalAudioFocusChange";
    for (const char* key :
         {"streamName", "streamModeName", "focusType", "streamType", "destination", "newFocus"}) {
        if (!parameters.contains(key)) {
            return;
        }
        line.append('~').append(parameters.value(key).toString());
    }
    Emit(line);
}

ParameterMap HmiModel::Query(const QString& destination) const
{
    return WithSession({{"destination", destination.isEmpty() ? "all" : destination}});
}

void HmiModel::Store(const QString& mode)
{
    m_PendingId = NextId();
    m_Pending = mode;
}

bool HmiModel::SetMode(const QString& mode)
{
    if (SessionId() == 0) {
        return false;
    }
    if (!m_Modes.contains(mode)) {
        Store(mode);
        return true;
    }
    ParameterMap reply;
    const bool isSet = Ask("setMode", WithSession({{"newMode", mode}}), reply);
    m_PendingId = 0;
    m_Pending.clear();
    return isSet;
}

bool HmiModel::GetModeList(const QString& destination)
{
    m_Modes.clear();
    ParameterMap reply;
    const bool hasReply = SessionId() != 0 && Ask("getModeList", Query(destination), reply);
    m_Modes = hasReply ? TextsOf(reply) : QStringList();
    return hasReply;
}

bool HmiModel::GetMode(const QString& destination)
{
    ParameterMap reply;
    if (SessionId() == 0 || !Ask("getMode", Query(destination), reply)) {
        return false;
    }
    m_Answered += TextsOf(reply);
    m_Current = m_Answered.value(0);
    return true;
}

quint32 HmiModel::SendSetMode(const QString& mode)
{
    const auto settle = [this](bool failed, const ParameterMap&, quint32 id) {
        if (!failed && id == m_PendingId) {
            m_PendingId = 0;
            m_Pending.clear();
        }
        return !failed;
    };
    return Send("setMode", WithSession({{"newMode", mode}}), "SignalSetModeCompleted", settle,
                mode == m_Pending ? m_PendingId : 0);
}

quint32 HmiModel::SetModeAsync(const QString& mode)
{
    if (SessionId() == 0) {
        return 0;
    }
    if (m_Modes.contains(mode)) {
        return SendSetMode(mode);
    }
    if (m_PendingId != 0 && m_Pending == mode) {
        return m_PendingId;
    }
    if (m_PendingId != 0) {
        Emit(Line("SignalSetModeCompleted", m_PendingId, false));
    }
    Store(mode);
    return m_PendingId;
}

quint32 HmiModel::GetModeListAsync(const QString& destination)
{
    const auto take = [this](bool failed, const ParameterMap& reply, quint32) {
        m_Modes = failed ? m_Modes : TextsOf(reply);
        return !failed;
    };
    return SessionId() == 0 ? 0 : Send("getModeList", Query(destination), "SignalGetModeListCompleted", take);
}

quint32 HmiModel::GetModeAsync(const QString& destination)
{
    const auto take = [this](bool failed, const ParameterMap& reply, quint32) {
        m_Answered = failed ? m_Answered : TextsOf(reply);
        m_Current = failed ? m_Current : m_Answered.value(0);
        return !failed;
    };
    return SessionId() == 0 ? 0 : Send("getMode", Query(destination), "SignalGetModeCompleted", take);
}

// The application client

void AppModel::HandleCall(const QString& methodName, const ParameterMap& parameters)
{
    const bool isChange = methodName == "onAudioFocusChange";
    if (isChange || methodName == "onRequestAudioFocusResult") {
        m_LastFocus = parameters.value("newFocus").toString();
        Emit(Line(isChange ? "SignalAudioFocusChanged" : "SignalResponseToAudioFocusRequest", m_LastFocus));
    }
}

void AppModel::Notification(const QString& /*signalName*/, const QString& /*payload*/) {}

ParameterMap AppModel::Registration()
{
    return {{"streamName", "player"},
            {"streamType", "Media"},
            {"focusType", "permanent"},
            {"streamModeName", "/com/quorvantel/audioclient/test"}};
}

ParameterMap AppModel::FocusRequest(bool isSwitch)
{
    return {{"requestType", isSwitch ? "request" : "query"}};
}

bool AppModel::Ask(const char* method, const ParameterMap& parameters)
{
    ParameterMap reply;
    return SessionId() != 0 && ClientModel::Ask(method, WithSession(parameters), reply);
}

quint32 AppModel::Send(const char* method, const ParameterMap& parameters, const char* completed)
{
    const auto isAccepted = [](bool failed, const ParameterMap&, quint32) { return !failed; };
    return SessionId() == 0 ? 0 : ClientModel::Send(method, WithSession(parameters), completed, isAccepted);
}

bool AppModel::AbandonAudioFocus(const QString& reason)
{
    return !reason.isEmpty() && Ask("abandonAudioFocus", {{"reason", reason}});
}

quint32 AppModel::RegisterAudioStreamAsync()
{
    return Send("registerAudioStream", Registration(), "SignalRegisterAudioStreamCompleted");
}

quint32 AppModel::RequestAudioFocusAsync(bool isSwitch)
{
    return Send("requestAudioFocus", FocusRequest(isSwitch), "SignalRequestAudioFocusCompleted");
}

quint32 AppModel::AudioActiveAsync(bool isPlaying)
{
    return Send("audioActive", {{"playing", isPlaying}}, "SignalAudioActiveCompleted");
}

quint32 AppModel::AbandonAudioFocusAsync(const QString& reason)
{
    return reason.isEmpty()
               ? 0
               : Send("abandonAudioFocus", {{"reason", reason}}, "SignalAbandonAudioFocusCompleted");
}

} // namespace KivFuzz
