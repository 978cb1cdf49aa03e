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

    /** Logs an error: the service's notifications are not meant for applications. */
    void HandleNotify(const QString& signalName, const QString& payload) override;
    void HandleRequest(const QString& methodName, const QString& arguments) override;
    bool HandleInitialize() override;

    /** The focus text that the service sent last, with either kind of event; empty until then. */
    QString LastFocus() const;

    /** Registers the stream, blocking. @return whether the service accepted; false without a session. */
    bool RegisterAudioStream();

    /** Sends the registration without waiting. Fails when no session is open. */
    QDBusPendingReply<QString> StartRegisterAudioStreamRequest();

    /**
     * Requests the focus, blocking until the service has accepted the request (not until it has decided).
     *
     * @param aExecuteSwitch false only asks what the service would decide.
     * @return whether the service accepted; false without a session.
     */
    bool RequestAudioFocus(bool aExecuteSwitch = true);

    /** Tells the service whether the stream plays, blocking. @return whether it accepted; false without a
     * session. */
    bool AudioActive(bool aPlaying);

    /**
     * Gives the focus back, blocking.
     *
     * @param a_Reason why; must not be empty.
     * @return whether the service accepted; false without a reason or a session.
     */
    bool AbandonAudioFocus(const QString& a_Reason);

    /** Sends a focus request, or a query, without waiting. Fails when no session is open. */
    QDBusPendingReply<QString> StartRequestAudioFocusRequest(bool aExecuteSwitch = true);

    /** Sends the playing state without waiting. Fails when no session is open. */
    QDBusPendingReply<QString> StartAudioActiveRequest(bool aPlaying);

    /** Gives the focus back without waiting. Fails when no session is open, or without a reason. */
    QDBusPendingReply<QString> StartAbandonAudioFocusRequest(const QString& aReason);

Q_SIGNALS:
    /** Answers RegisterAudioStreamAsync(): whether the service accepted. */
    void SignalRegisterAudioStreamCompleted(quint32 aRequestId, bool aResult);

    /** Answers RequestAudioFocusAsync(): whether the service accepted the request; its decision comes later.
     */
    void SignalRequestAudioFocusCompleted(quint32 aRequestId, bool aResult);

    /** Answers AudioActiveAsync(): whether the service accepted. */
    void SignalAudioActiveCompleted(quint32 aRequestId, bool aResult);

    /** Answers AbandonAudioFocusAsync(): whether the service accepted. */
    void SignalAbandonAudioFocusCompleted(quint32 aRequestId, bool aResult);

    /** The service has changed the stream's focus: "gained", "lost" or "temporarilyLost", for instance. */
    void SignalAudioFocusChanged(const QString& a_NewFocus);

    /** The service has decided on a focus request or query: "granted" or "failed", for instance. */
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
     * @return the request identifier that SignalRequestAudioFocusCompleted() will carry; 0 when nothing was
     *        sent, and then no signal follows.
     */
    Q_INVOKABLE quint32 RequestAudioFocusAsync(bool aExecuteSwitch = true);

    /**
     * Tells the service whether the stream plays, without waiting; may be called from any thread.
     *
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
    QString m_SourceName;
    QString m_StreamModeName;
    QString m_StreamType;
    QString m_FocusType;
    QString m_LastFocus;
    bool m_RegisterDuringInitialization;

private:
    Q_DISABLE_COPY(AudioManagerApp)

    QMap<QString, QVariant> RegistrationParameters() const;
    QMap<QString, QVariant> RequestFocusParameters(bool executeSwitch) const;
    QMap<QString, QVariant> AudioActiveParameters(bool playing) const;
    QMap<QString, QVariant> AbandonFocusParameters(const QString& reason) const;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // AUDIOMANAGERAPP_H
