// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_STREAMLINK_H
#define KIV_MODELS_STREAMLINK_H

#include "session/ObjectExport.h"
#include "session/RetryTimer.h"
#include "session/SessionKeeper.h"
#include "stream/FocusMachine.h"
#include "stream/StreamSettings.h"

#include <AudioManagerApp.h>
#include <ServiceProviderProxyAppFactory.h>
#include <ServiceRegistrator.h>

#include <QObject>

namespace Audio::Utils::Kiv::Models {

/**
 * A stream's conversation with the service: sends what the machine wants sent, and tells what comes as its
 * events.
 *
 * Of focus requests and abandonments one is on its way at a time; the next one waits for its answer. So
 * whatever the service has to say to the first it has said before it answers the second.
 */
class StreamLink : public QObject
{
    Q_OBJECT

public:
    explicit StreamLink(const StreamSettings& settings, QObject* parent = nullptr);

    /** Ends the session without waiting. */
    ~StreamLink() override;

    /** Blocks while a service that is there opens a session. */
    void Start();

    /** Registers the stream; refusals are told, and it is tried again until the service accepts. */
    void Register();

    /** Asks for the focus. */
    void RequestFocus();

    /** @param reason not empty. */
    void Abandon(const QString& reason);

    /** Tells the service whether the stream is heard. */
    void TellActive(bool isActive);

    /** Asks whether the focus would be given. QueryAnswered() follows, also when nothing can be sent. */
    void QueryFocus();

Q_SIGNALS:
    void Happened(Audio::Utils::Kiv::Models::FocusMachine::Event event);
    void QueryAnswered(bool wouldBeGranted);

private:
    enum class Message
    {
        None,
        Request,
        Abandonment
    };

    void OnClosed();
    void OnRegistered(quint32 request, bool isDone);
    void OnFocusReply(quint32 request, bool isAccepted);
    void OnAnswer(quint32 request, bool isAccepted);
    void OnDecision(const QString& decision);
    void OnChange(const QString& focus);
    void Send(Message message);
    void AnswerQuery(bool wouldBeGranted);

    QDBusConnection m_Bus;
    QtDbus::ServiceRegistrator m_Registrator;
    ObjectExport m_Export;
    QtDbus::ServiceProviderProxyAppFactory m_Factory;
    QtDbus::AudioManagerApp m_App;
    SessionKeeper m_Keeper;

    RetryTimer m_Retry{this};
    quint32 m_Registration = 0; ///< The registration that has no answer; 0 when there is none. Likewise:
    quint32 m_Query = 0;
    quint32 m_Unanswered = 0;
    Message m_Sent = Message::None;    ///< What m_Unanswered is.
    Message m_Waiting = Message::None; ///< What will be sent when it is answered.
    QString m_AbandonReason;
    bool m_IsQuerying = false; ///< QueryAnswered() is due.
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_STREAMLINK_H
