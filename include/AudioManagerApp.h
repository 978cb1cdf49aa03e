// SPDX-License-Identifier: MIT
#ifndef AUDIOMANAGERAPP_H
#define AUDIOMANAGERAPP_H

#include "KivQtDbusExport.h"
#include "ServiceProviderClient.h"

#include <QDBusPendingReply>
#include <QMap>
#include <QString>
#include <QVariant>

namespace Audio::Utils::Kiv::QtDbus {

/**
 * The client of a media application: registers one audio stream and negotiates audio focus for it.
 *
 * **Registration** comes first, with the stream's name, type and focus type, and its mode name when the focus
 * is permanent: during initialisation, or later with RegisterAudioStream() or RegisterAudioStreamAsync().
 *
 * **A focus request is answered twice.** The reply (a result of true, or the completion signal) tells only
 * that the service has accepted the request. The decision comes separately, as
 * SignalResponseToAudioFocusRequest(): "granted" or "failed", and for a query "wouldBeGranted" or
 * "wouldFail". It may reach the program before the completion signal does. What the service does to the focus
 * afterwards comes as SignalAudioFocusChanged(): "lost", "temporarilyLost", "gained". These texts are passed
 * on as they come; which of them a service sends, and when, is the service's business.
 *
 * **A player** should stop on "lost"; pause on "temporarilyLost" and go on at "gained", but only if it was
 * playing; and keep the focus while its user pauses.
 *
 * Threads, lifetime and ownership: see KivBaseClient and ServiceProviderClient.
 *
 * On the main thread, use `QDBusConnection::systemBus()` before `exec()`, and do this from
 * `QTimer::singleShot(0, …)`: Qt notices then when the bus is lost.
 * @code
 * QDBusConnection bus = QDBusConnection::systemBus();
 * ServiceRegistrator registrator(bus, QStringLiteral("com.quorvantel.audioclient.player"));
 * AdaptorConnection connection(bus);
 * ServiceProviderProxyAppFactory factory;
 * AudioManagerApp player(registrator, QStringLiteral("/com/quorvantel/audioclient/player"),
 *                        QStringLiteral("Player"), connection, QString(), true, QString(), factory, true);
 * QObject::connect(&player, &AudioManagerApp::SignalResponseToAudioFocusRequest,
 *                  [](const QString& decision) { qInfo() << "focus" << decision; });
 * if (player.Initialize() == KivBaseClient::INIT_STATE_SUCCESS) {
 *     player.RequestAudioFocusAsync();
 * } // INIT_STATE_WAITING_FOR_KIV: SignalInitCompleted() follows when the service appears
 * @endcode
 */
class KIV_QTDBUS_EXPORT AudioManagerApp : public ServiceProviderClient
{
    Q_OBJECT

public:
    /**
     * @param registrator stands for the program's bus name.
     * @param objPath the client is exported under this path followed by "/ServiceProviderClient"; the same
     *        text is the name of the mode that a stream with permanent focus offers (none when it is empty).
     * @param sourceName the stream's name.
     * @param connection exports the client.
     * @param streamType the stream's type; empty for "Media".
     * @param permanentFocus true for a stream that takes the focus for good (music), false for one that takes
     *        it for a while (an announcement).
     * @param destination what the session is about; may be empty.
     * @param factory makes the proxy; a ServiceProviderProxyAppFactory unless in a test.
     * @param registerDuringInitialization whether initialisation registers the stream, with a blocking
     *        request, and fails when that does.
     * @param parent the Qt parent.
     */
    AudioManagerApp(const IServiceRegistrator& registrator, const QString& objPath, const QString& sourceName,
                    IAdaptorConnection& connection, const QString& streamType, bool permanentFocus,
                    const QString& destination, IServiceProviderProxyFactory& factory,
                    bool registerDuringInitialization, QObject* parent = nullptr);

    /** Sends nothing: the stream is not unregistered. Powerdown() closes the session. */
    ~AudioManagerApp() override;

    /**
     * Logs an error: the service's notifications are not meant for applications.
     *
     * @param signalName the notification's name, not looked at.
     * @param payload its JSON text, not looked at.
     */
    void HandleNotify(const QString& signalName, const QString& payload) override;

    /**
     * Handles "onAudioFocusChange" and "onRequestAudioFocusResult", and emits the signal of the event. A call
     * for another session, and any other method, is ignored with a critical record.
     *
     * @param methodName the method's name.
     * @param arguments its JSON argument text.
     */
    void HandleRequest(const QString& methodName, const QString& arguments) override;

    /** Registers the stream, blocking, if the constructor was told to. @return false when that has failed. */
    bool HandleInitialize() override;

    /** @return the focus text that the service sent last, with either kind of event; empty until then. */
    QString LastFocus() const;

    /** Registers the stream, blocking. @return whether the service accepted; false without a session. */
    bool RegisterAudioStream();

    /**
     * Sends the registration without waiting. RegisterAudioStreamAsync() also watches the reply.
     *
     * @return the reply to come; one that has already failed when no session is open.
     */
    QDBusPendingReply<QString> StartRegisterAudioStreamRequest();

    /**
     * Requests the focus, blocking until the service has accepted the request (not until it has decided).
     *
     * @param aExecuteSwitch false only asks what the service would decide.
     * @return whether the service accepted; false without a session.
     */
    bool RequestAudioFocus(bool aExecuteSwitch = true);

    /**
     * Tells the service whether the stream plays, blocking.
     *
     * @param aPlaying whether it plays.
     * @return whether the service accepted; false without a session.
     */
    bool AudioActive(bool aPlaying);

    /**
     * Gives the focus back, blocking.
     *
     * @param a_Reason why; must not be empty.
     * @return whether the service accepted; false without a reason or a session.
     */
    bool AbandonAudioFocus(const QString& a_Reason);

    /**
     * Sends a focus request, or a query, without waiting. RequestAudioFocusAsync() also watches the reply.
     *
     * @param aExecuteSwitch false only asks what the service would decide.
     * @return the reply to come; one that has already failed when no session is open.
     */
    QDBusPendingReply<QString> StartRequestAudioFocusRequest(bool aExecuteSwitch = true);

    /**
     * Sends the playing state without waiting. AudioActiveAsync() also watches the reply.
     *
     * @param aPlaying whether the stream plays.
     * @return the reply to come; one that has already failed when no session is open.
     */
    QDBusPendingReply<QString> StartAudioActiveRequest(bool aPlaying);

    /**
     * Gives the focus back without waiting. AbandonAudioFocusAsync() also watches the reply.
     *
     * @param aReason why; must not be empty.
     * @return the reply to come; one that has already failed when no session is open, or without a reason.
     */
    QDBusPendingReply<QString> StartAbandonAudioFocusRequest(const QString& aReason);

Q_SIGNALS:
    /**
     * Answers RegisterAudioStreamAsync().
     *
     * @param aRequestId what RegisterAudioStreamAsync() returned.
     * @param aResult whether the service accepted.
     */
    void SignalRegisterAudioStreamCompleted(quint32 aRequestId, bool aResult);

    /**
     * Answers RequestAudioFocusAsync(). The decision comes apart, as SignalResponseToAudioFocusRequest().
     *
     * @param aRequestId what RequestAudioFocusAsync() returned.
     * @param aResult whether the service accepted the request.
     */
    void SignalRequestAudioFocusCompleted(quint32 aRequestId, bool aResult);

    /**
     * Answers AudioActiveAsync().
     *
     * @param aRequestId what AudioActiveAsync() returned.
     * @param aResult whether the service accepted.
     */
    void SignalAudioActiveCompleted(quint32 aRequestId, bool aResult);

    /**
     * Answers AbandonAudioFocusAsync().
     *
     * @param aRequestId what AbandonAudioFocusAsync() returned.
     * @param aResult whether the service accepted.
     */
    void SignalAbandonAudioFocusCompleted(quint32 aRequestId, bool aResult);

    /**
     * The service has changed the stream's focus.
     *
     * @param a_NewFocus "gained", "lost" or "temporarilyLost", for instance; passed on as it comes.
     */
    void SignalAudioFocusChanged(const QString& a_NewFocus);

    /**
     * The service has decided on a focus request or query. It does not say on which: one at a time keeps it
     * clear.
     *
     * @param a_FocusResponse "granted" or "failed", for a query "wouldBeGranted" or "wouldFail", for
     *        instance; passed on as it comes.
     */
    void SignalResponseToAudioFocusRequest(const QString& a_FocusResponse);

public:
    /**
     * Registers the stream without waiting; may be called from any thread.
     *
     * @return the request identifier that SignalRegisterAudioStreamCompleted() will carry; 0 when nothing was
     *        sent, and then no signal follows.
     */
    Q_INVOKABLE quint32 RegisterAudioStreamAsync();

    /**
     * Requests the focus, or asks what the service would decide, without waiting; may be called from any
     * thread.
     *
     * @param aExecuteSwitch false only asks what the service would decide.
     * @return the request identifier that SignalRequestAudioFocusCompleted() will carry; 0 when nothing was
     *        sent, and then no signal follows.
     */
    Q_INVOKABLE quint32 RequestAudioFocusAsync(bool aExecuteSwitch = true);

    /**
     * Tells the service whether the stream plays, without waiting; may be called from any thread.
     *
     * @param aPlaying whether it plays.
     * @return the request identifier that SignalAudioActiveCompleted() will carry; 0 when nothing was sent,
     *        and then no signal follows.
     */
    Q_INVOKABLE quint32 AudioActiveAsync(bool aPlaying);

    /**
     * Gives the focus back without waiting; may be called from any thread.
     *
     * @param aReason why; must not be empty.
     * @return the request identifier that SignalAbandonAudioFocusCompleted() will carry; 0 when nothing was
     *        sent, and then no signal follows.
     */
    Q_INVOKABLE quint32 AbandonAudioFocusAsync(const QString& aReason);

protected:
    QString m_SourceName;     ///< The stream's name.
    QString m_StreamModeName; ///< The mode of a stream with permanent focus: objPath of the constructor.
    QString m_StreamType;     ///< The stream's type, "Media" unless told otherwise.
    QString m_FocusType;      ///< "permanent" or "transient".
    QString m_LastFocus;      ///< See LastFocus().
    bool m_RegisterDuringInitialization; ///< Whether HandleInitialize() registers the stream.

private:
    Q_DISABLE_COPY(AudioManagerApp)

    QMap<QString, QVariant> RegistrationParameters() const;
    QMap<QString, QVariant> RequestFocusParameters(bool executeSwitch) const;
    QMap<QString, QVariant> AudioActiveParameters(bool playing) const;
    QMap<QString, QVariant> AbandonFocusParameters(const QString& reason) const;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // AUDIOMANAGERAPP_H
