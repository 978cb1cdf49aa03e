// SPDX-License-Identifier: MIT
#include "HmiModes.h"

#include <algorithm>

namespace Audio::Utils::Kiv::Models {

using QtDbus::AudioManagerHmi;

namespace {

QString NotSet(const QString& mode)
{
    return QStringLiteral("The audio service has not set the mode \"%1\".").arg(mode);
}

} // namespace

HmiModes::HmiModes(AudioManagerHmi& client, const QString& destination)
    : m_Client(client),
      m_Destination(destination)
{
    connect(&m_Client, &AudioManagerHmi::SignalGetModeListCompleted, this, &HmiModes::OnListRead);
    connect(&m_Client, &AudioManagerHmi::SignalGetModeCompleted, this, &HmiModes::OnCurrentRead);
    connect(&m_Client, &AudioManagerHmi::SignalModeListChanged, this, &HmiModes::OnListChanged);
    connect(&m_Client, &AudioManagerHmi::SignalModeChanged, this, &HmiModes::OnChanged);
    connect(&m_Client, &AudioManagerHmi::SignalSetModeCompleted, this, &HmiModes::OnSetCompleted);
    connect(&m_Retry, &QTimer::timeout, this, &HmiModes::Read);
}

QStringList HmiModes::List() const
{
    return m_List;
}

QString HmiModes::Current() const
{
    return m_Current;
}

QString HmiModes::Pending() const
{
    if (HasWaiting()) {
        return m_Client.PendingMode();
    }
    return m_Sent.isEmpty() ? QString() : m_Sent.last().mode;
}

bool HmiModes::IsBusy() const
{
    return !m_Sent.isEmpty();
}

// Sessions

// Until the list is read, the client is to store requests: what the former session offered may be gone.
void HmiModes::Begin()
{
    m_Retry.Reset();
    m_Client.HandleGetModeListReply(false, {});
    Read();
}

void HmiModes::End()
{
    m_Retry.Reset();
    m_ListRequest = 0;
    m_CurrentRequest = 0;
    m_IsListKnown = false;
    if (!HasWaiting()) {
        DropStored();
    }
    if (!m_Sent.isEmpty()) {
        Q_EMIT Failed(NotSet(m_Sent.last().mode));
    }
    m_Sent.clear();
    Q_EMIT Changed();
}

// Reading

void HmiModes::Read()
{
    m_ListRequest = m_Client.GetModeListAsync(m_Destination);
    m_CurrentRequest = m_Client.GetModeAsync(m_Destination);
    if (m_ListRequest == 0 || m_CurrentRequest == 0) {
        OnRead(false);
    }
}

// An answer that nobody waits for any more is one of an earlier owner of the service's name: the client has taken it.
void HmiModes::OnListRead(quint32 request, bool isRead)
{
    if (request != m_ListRequest) {
        m_Client.HandleGetModeListReply(
            false, {{QStringLiteral("modeList"), m_IsListKnown ? m_List : QStringList()}});
        return;
    }
    m_ListRequest = 0;
    if (isRead) {
        m_IsListKnown = true;
        m_List = m_Client.ModeList();
        SendWaiting();
    }
    OnRead(isRead);
}

void HmiModes::OnCurrentRead(quint32 request, bool isRead)
{
    if (request != m_CurrentRequest) {
        m_Client.HandleGetModeReply(false, {{QStringLiteral("currentMode"), m_Current}});
        return;
    }
    m_CurrentRequest = 0;
    if (isRead) {
        m_Current = m_Client.CurrentMode();
    }
    OnRead(isRead);
}

void HmiModes::OnRead(bool isRead)
{
    if (!isRead) {
        Q_EMIT Failed(QStringLiteral("The audio service does not tell its modes."));
    }
    const bool hasOtherFailed = m_Retry.isActive();
    if (!isRead && !hasOtherFailed) {
        m_Retry.Again();
    }
    if (isRead && !hasOtherFailed) {
        Q_EMIT Succeeded();
    }
    Q_EMIT Changed();
}

// Before the list is read, the client does not know what was added to what.
void HmiModes::OnListChanged(bool isAdded, const QString& mode)
{
    if (isAdded && m_Client.PendingSetModeRequestId() != 0 && m_Client.PendingMode() == mode) {
        m_Sent.append({m_Client.PendingSetModeRequestId(), mode}); // by the client
    }
    if (m_IsListKnown) {
        m_List = m_Client.ModeList();
    }
    Q_EMIT Changed();
}

void HmiModes::OnChanged(const QString& mode)
{
    m_Current = mode;
    Q_EMIT Changed();
}

// Requests

bool HmiModes::Request(const QString& mode)
{
    if (mode.isEmpty()) {
        return Refuse(QStringLiteral("A mode has to have a name."));
    }
    if (!m_Client.IsSessionOpen()) {
        return Refuse(QStringLiteral("The audio service is not available."));
    }
    if (m_Client.PendingMode() != mode) {
        DropStored();
    }
    const quint32 request = m_Client.SetModeAsync(mode);
    if (request == 0) {
        return Refuse(NotSet(mode));
    }
    if (m_Client.ModeList().contains(mode)) {
        m_Sent.append({request, mode});
    }
    Q_EMIT Changed();
    return true;
}

bool HmiModes::DropWaiting()
{
    const bool isWaiting = HasWaiting();
    if (isWaiting) {
        DropStored();
        Q_EMIT Changed();
    }
    return isWaiting;
}

// The client sends a stored request by itself when an event adds its mode, not when the mode is in a list.
void HmiModes::SendWaiting()
{
    const QString mode = m_Client.PendingMode();
    if (!HasWaiting() || !m_List.contains(mode)) {
        return;
    }
    const quint32 request = m_Client.SetModeAsync(mode);
    if (request != 0) {
        m_Sent.append({request, mode});
    }
}

// A request that was refused is over; the client would send it again when its mode comes again.
void HmiModes::OnSetCompleted(quint32 request, bool isSet)
{
    const auto sent = std::find_if(m_Sent.begin(), m_Sent.end(),
                                   [request](const SentRequest& other) { return other.id == request; });
    if (sent == m_Sent.end()) {
        return; // ended with its session
    }
    const QString mode = sent->mode;
    m_Sent.erase(sent);
    if (isSet) {
        Q_EMIT Succeeded();
    } else {
        if (m_Client.PendingSetModeRequestId() == request && !IsSent(request)) {
            DropStored();
        }
        Q_EMIT Failed(NotSet(mode));
    }
    Q_EMIT Changed();
}

bool HmiModes::HasWaiting() const
{
    const quint32 stored = m_Client.PendingSetModeRequestId();
    return stored != 0 && !IsSent(stored);
}

bool HmiModes::IsSent(quint32 request) const
{
    return std::any_of(m_Sent.begin(), m_Sent.end(),
                       [request](const SentRequest& sent) { return sent.id == request; });
}

// As if the service had taken the request; sends nothing, and no signal follows.
void HmiModes::DropStored()
{
    if (m_Client.PendingSetModeRequestId() != 0) {
        m_Client.HandleSetModeReply(false, {}, m_Client.PendingSetModeRequestId());
    }
}

bool HmiModes::Refuse(const QString& text)
{
    Q_EMIT Failed(text);
    Q_EMIT Changed();
    return false;
}

} // namespace Audio::Utils::Kiv::Models
