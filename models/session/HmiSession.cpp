// SPDX-License-Identifier: MIT
#include "HmiSession.h"

#include <map>
#include <tuple>
#include <utility>

namespace Audio::Utils::Kiv::Models {

using QtDbus::AudioManagerHmi;

namespace {

bool operator<(const HmiSettings& left, const HmiSettings& right)
{
    return std::tie(left.busName, left.objectPath, left.destination) <
           std::tie(right.busName, right.objectPath, right.destination);
}

struct IsLess
{
    bool operator()(const HmiSettings& left, const HmiSettings& right) const { return left < right; }
};

} // namespace

std::shared_ptr<HmiSession> HmiSession::Get(const HmiSettings& settings)
{
    static thread_local std::map<HmiSettings, std::weak_ptr<HmiSession>, IsLess> sessions;
    std::weak_ptr<HmiSession>& known = sessions[settings];
    std::shared_ptr<HmiSession> session = known.lock();
    if (!session) {
        session = std::make_shared<HmiSession>(settings);
        known = session;
    }
    return session;
}

HmiSession::HmiSession(const HmiSettings& settings)
    : m_Registrator(m_Bus, settings.busName),
      m_Client(m_Registrator, settings.objectPath, m_Export, settings.destination, m_Factory, false),
      m_Modes(m_Client, settings.destination),
      m_Keeper(m_Client, m_Bus)
{
    connect(&m_Keeper, &SessionKeeper::Opened, this, &HmiSession::OnOpened);
    connect(&m_Keeper, &SessionKeeper::Closed, &m_Modes, &HmiModes::End);
    connect(&m_Keeper, &SessionKeeper::Refused, this, [this] { SetLastError(m_Keeper.Problem()); });
    connect(&m_Modes, &HmiModes::Changed, this, &HmiSession::PublishLater);
    connect(&m_Modes, &HmiModes::Failed, this, &HmiSession::SetLastError);
    connect(&m_Modes, &HmiModes::Succeeded, this, [this] { SetLastError(QString()); });
    connect(&m_Client, &AudioManagerHmi::SignalAudioFocusChange, this, &HmiSession::OnFocus);
}

// Powerdown() would wait for the service, which may hang.
HmiSession::~HmiSession()
{
    if (m_Client.IsSessionOpen()) {
        m_Client.CloseSessionAsync();
        m_Client.HandleCloseSessionReply(false, {});
    }
    m_Client.Powerdown();
}

void HmiSession::Start()
{
    m_Keeper.Start();
}

bool HmiSession::IsAvailable() const
{
    return m_Keeper.IsOpen();
}

QString HmiSession::LastError() const
{
    return m_LastError;
}

HmiModes& HmiSession::Modes()
{
    return m_Modes;
}

const HmiModes& HmiSession::Modes() const
{
    return m_Modes;
}

void HmiSession::OnOpened()
{
    SetLastError(QString());
    m_Modes.Begin();
    PublishLater();
}

void HmiSession::OnFocus(const QString& streamName, const QString& streamModeName, const QString& focusType,
                         const QString& streamType, const QString& destination, const QString& newFocus)
{
    m_Events.append({streamName, streamModeName, focusType, streamType, destination, newFocus,
                     QDateTime::currentDateTime()});
    PublishLater();
}

void HmiSession::SetLastError(const QString& text)
{
    m_LastError = text;
    PublishLater();
}

void HmiSession::PublishLater()
{
    if (!std::exchange(m_IsToPublish, true)) {
        QMetaObject::invokeMethod(this, &HmiSession::Publish, Qt::QueuedConnection);
    }
}

// Whoever hears of it may run an event loop, in which more is published.
void HmiSession::Publish()
{
    const std::shared_ptr<HmiSession> self = shared_from_this(); // the last user may give it up
    m_IsToPublish = false;
    while (!m_Events.isEmpty()) {
        Q_EMIT FocusChanged(m_Events.takeFirst());
    }
    Q_EMIT Changed();
}

} // namespace Audio::Utils::Kiv::Models
