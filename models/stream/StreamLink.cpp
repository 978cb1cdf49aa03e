// SPDX-License-Identifier: MIT
#include "stream/StreamLink.h"

#include <QHash>

#include <utility>

namespace Audio::Utils::Kiv::Models {

using QtDbus::AudioManagerApp;
using Event = FocusMachine::Event;

StreamLink::StreamLink(const StreamSettings& settings, QObject* parent)
    : QObject(parent),
      m_Bus(QDBusConnection::systemBus()),
      m_Registrator(m_Bus, settings.UsedBusName()),
      m_Export(m_Bus),
      m_App(m_Registrator, settings.UsedObjectPath(), settings.name, m_Export, settings.streamType,
            settings.isPermanent, settings.destination, m_Factory, false),
      m_Keeper(m_App, m_Bus)
{
    connect(&m_Retry, &QTimer::timeout, this, &StreamLink::Register);
    connect(&m_Keeper, &SessionKeeper::Opened, this, [this] { Q_EMIT Happened(Event::SessionOpened); });
    connect(&m_Keeper, &SessionKeeper::Closed, this, &StreamLink::OnClosed);
    connect(&m_App, &AudioManagerApp::SignalRegisterAudioStreamCompleted, this, &StreamLink::OnRegistered);
    connect(&m_App, &AudioManagerApp::SignalRequestAudioFocusCompleted, this, &StreamLink::OnFocusReply);
    connect(&m_App, &AudioManagerApp::SignalAbandonAudioFocusCompleted, this, &StreamLink::OnAnswer);
    connect(&m_App, &AudioManagerApp::SignalResponseToAudioFocusRequest, this, &StreamLink::OnDecision);
    connect(&m_App, &AudioManagerApp::SignalAudioFocusChanged, this, &StreamLink::OnChange);
}

StreamLink::~StreamLink()
{
    if (m_App.IsSessionOpen()) {
        m_App.CloseSessionAsync();
        m_App.HandleCloseSessionReply(false, {}); // forgets the session, so that nothing waits for the answer
    }
    m_App.Powerdown();
}

void StreamLink::Start()
{
    m_Keeper.Start();
}

// Nothing that was sent to the service that has gone counts any more.
void StreamLink::OnClosed()
{
    m_Retry.Reset();
    m_Registration = 0;
    m_Query = 0;
    m_Unanswered = 0;
    m_Waiting = Message::None;
    AnswerQuery(false);
    Q_EMIT Happened(Event::ServiceLeft);
}

// Registration

void StreamLink::Register()
{
    m_Registration = m_App.RegisterAudioStreamAsync();
    if (m_Registration == 0) {
        OnRegistered(0, false);
    }
}

void StreamLink::OnRegistered(quint32 request, bool isDone)
{
    if (request != m_Registration) {
        return;
    }
    m_Registration = 0;
    if (isDone) {
        m_Retry.Reset();
    } else {
        m_Retry.Again();
    }
    Q_EMIT Happened(isDone ? Event::Registered : Event::RegistrationRefused);
}

// Requests and abandonments

void StreamLink::RequestFocus()
{
    Send(Message::Request);
}

void StreamLink::Abandon(const QString& reason)
{
    m_AbandonReason = reason;
    Send(Message::Abandonment);
}

void StreamLink::Send(Message message)
{
    if (m_Unanswered != 0) {
        m_Waiting = message;
        return;
    }
    m_Sent = message;
    m_Unanswered = message == Message::Request ? m_App.RequestAudioFocusAsync()
                                               : m_App.AbandonAudioFocusAsync(m_AbandonReason);
    if (m_Unanswered == 0) {
        OnAnswer(0, false);
    }
}

// Queries and requests have the same completion signal.
void StreamLink::OnFocusReply(quint32 request, bool isAccepted)
{
    if (request != m_Query) {
        OnAnswer(request, isAccepted);
        return;
    }
    m_Query = 0;
    if (!isAccepted) {
        AnswerQuery(false);
    }
}

void StreamLink::OnAnswer(quint32 request, bool isAccepted)
{
    if (request != m_Unanswered) { // sent to a service that has gone
        return;
    }
    m_Unanswered = 0;
    const Message answered = std::exchange(m_Sent, Message::None);
    const Message waiting = std::exchange(m_Waiting, Message::None);
    if (waiting != Message::None) { // the player has gone on since
        Send(waiting);
        return;
    }
    if (answered == Message::Abandonment) {
        Q_EMIT Happened(Event::AbandonAnswered);
    } else {
        Q_EMIT Happened(isAccepted ? Event::RequestAccepted : Event::RequestRefused);
    }
}

void StreamLink::TellActive(bool isActive)
{
    m_App.AudioActiveAsync(isActive);
}

// Queries

void StreamLink::QueryFocus()
{
    m_IsQuerying = true;
    if (m_Query != 0) {
        return;
    }
    m_Query = m_App.RequestAudioFocusAsync(false);
    if (m_Query == 0) {
        AnswerQuery(false);
    }
}

void StreamLink::AnswerQuery(bool wouldBeGranted)
{
    if (std::exchange(m_IsQuerying, false)) {
        Q_EMIT QueryAnswered(wouldBeGranted);
    }
}

// What the service says

void StreamLink::OnDecision(const QString& decision)
{
    static const QHash<QString, Event> events{{QStringLiteral("granted"), Event::Granted},
                                              {QStringLiteral("failed"), Event::Failed},
                                              {QStringLiteral("abandoned"), Event::Abandoned}};
    if (decision == QLatin1String("wouldBeGranted") || decision == QLatin1String("wouldFail")) {
        AnswerQuery(decision == QLatin1String("wouldBeGranted"));
        return;
    }
    Q_EMIT Happened(events.value(decision, Event::UnknownText));
}

void StreamLink::OnChange(const QString& focus)
{
    static const QHash<QString, Event> events{{QStringLiteral("gained"), Event::Gained},
                                              {QStringLiteral("temporarilyLost"), Event::TemporarilyLost},
                                              {QStringLiteral("lost"), Event::Lost}};
    Q_EMIT Happened(events.value(focus, Event::UnknownText));
}

} // namespace Audio::Utils::Kiv::Models
