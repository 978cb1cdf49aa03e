// SPDX-License-Identifier: MIT
#ifndef AUDIOMANAGERHMI_H
#define AUDIOMANAGERHMI_H

#include "KivQtDbusExport.h"
#include "ServiceProviderClient.h"

#include <QDBusPendingReply>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVariant>

namespace Audio::Utils::Kiv::QtDbus {

/**
 * The client of a human-machine interface: sees and chooses the audio mode, and hears of focus changes.
 *
 * **Modes.** The client keeps the service's mode list and current mode, as far as it has learned them: from
 * the queries (GetModeList(), GetMode() and their …Async forms), and from then on from the service's events.
 * Mode names are compared exactly, case included; a list may hold a name twice.
 *
 * **Modes that are not offered yet.** The service accepts only modes of its list. A request for another mode
 * is stored and answered with a request identifier at once; it is sent when the service adds the mode, and
 * its SignalSetModeCompleted() then carries that identifier. There is one such stored request at most,
 * without a time limit. With SetModeAsync():
 * - the same mode again keeps the stored request and returns its identifier;
 * - another mode that is not listed replaces it: SignalSetModeCompleted() reports the old identifier with
 *   false, while SetModeAsync() is still running;
 * - another mode that is listed is sent at once and leaves the stored request alone;
 * - the stored mode itself, when it is listed by then, is sent under the stored identifier;
 * - a stored request that the service refuses stays stored, and is sent again when the mode is added again;
 * - a stored request that is already on its way is not called back when another one replaces it.
 *
 * The identifier of a stored request can therefore complete more than once: after a refusal, when the same mode
 * is requested again while it is on its way, and when it was replaced on its way (first false, then the service's
 * own answer). A stored request survives the end of its session.
 *
 * A stored request is sent by itself only when the service's event adds the mode, not when a query finds it in
 * the list.
 *
 * A successful set does not change CurrentMode(): that follows the service's event, SignalModeChanged().
 *
 * Do not call SetModeAsync() for a mode that is not listed from within a slot of the signal that cancels a
 * stored request. The old request is still stored at that moment: it is cancelled once more, so that a slot
 * that always does so recurses without end; and the outer call overwrites what the nested one stored, without
 * any signal. Post the call instead (`QMetaObject::invokeMethod` with `Qt::QueuedConnection`).
 *
 * Threads, lifetime and ownership: see KivBaseClient and ServiceProviderClient.
 *
 * On the main thread, use `QDBusConnection::systemBus()` before `exec()`, and do this from
 * `QTimer::singleShot(0, …)`: Qt notices then when the bus is lost.
 * @code
 * QDBusConnection bus = QDBusConnection::systemBus();
 * ServiceRegistrator registrator(bus, QStringLiteral("com.quorvantel.audioclient.hmi"));
 * AdaptorConnection connection(bus);
 * ServiceProviderProxyHmiFactory factory;
 * AudioManagerHmi hmi(registrator, QStringLiteral("/com/quorvantel/audioclient/hmi"), connection, QString(),
 *                     factory, true);
 * QObject::connect(&hmi, &AudioManagerHmi::SignalModeChanged,
 *                  [](const QString& mode) { qInfo() << "mode is now" << mode; });
 * if (hmi.Initialize() == KivBaseClient::INIT_STATE_SUCCESS) {
 *     hmi.SetModeAsync(QStringLiteral("Radio"));
 * } // INIT_STATE_WAITING_FOR_KIV: SignalInitCompleted() follows when the service appears
 * @endcode
 */
class KIV_QTDBUS_EXPORT AudioManagerHmi : public ServiceProviderClient
{
    Q_OBJECT

public:
    /**
     * @param registrator stands for the program's bus name.
     * @param objPath the client is exported under this path followed by "/ServiceProviderClient".
     * @param connection exports the client.
     * @param destination what the session, and the queries of initialisation, are about; empty for all.
     * @param factory makes the proxy; a ServiceProviderProxyHmiFactory unless in a test.
     * @param getModesOnInitialize whether initialisation asks for mode list and current mode, with two
     *        blocking requests, and fails when one of them does.
     * @param parent the Qt parent.
     */
    AudioManagerHmi(const IServiceRegistrator& registrator, const QString& objPath,
                    IAdaptorConnection& connection, const QString& destination,
                    IServiceProviderProxyFactory& factory, bool getModesOnInitialize,
                    QObject* parent = nullptr);

    /** Sends nothing; a stored request is dropped without a signal. Powerdown() closes the session. */
    ~AudioManagerHmi() override;

    /**
     * Handles the broadcast "audioFocusChangeEvent": emits SignalAudioFocusChange(), unless the payload lacks
     * one of its members. Any other notification is ignored with a critical record.
     *
     * @param aSignalName the notification's name.
     * @param aPayload its JSON text.
     */
    void HandleNotify(const QString& aSignalName, const QString& aPayload) override;

    /**
     * Hands "onModeChange" and "onModeListChange" to HandleModeChanged() and HandleModeListChanged(). A call
     * for another session, and any other method, is ignored with a critical record.
     *
     * @param aMethod the method's name.
     * @param aArguments its JSON argument text.
     */
    void HandleRequest(const QString& aMethod, const QString& aArguments) override;

    /**
     * Asks for mode list and current mode, blocking, if the constructor was told to.
     *
     * @return false when one has failed.
     */
    bool HandleInitialize() override;

    /**
     * Sets the mode, blocking. A mode that is not listed is stored, as described above, but a request stored
     * before is overwritten without a signal; setting a listed mode drops a stored request without a signal.
     *
     * @param aModeName the mode.
     * @return false without a session, or when the service refuses; true also for a mode that was only
     *        stored.
     */
    virtual bool SetMode(const QString& aModeName);

    /** @return the modes that the service offers, as last learned. */
    QStringList ModeList() const;

    /** @return the current mode, as last learned; empty until then. */
    QString CurrentMode() const;

    /** @return the mode of the stored request; empty when there is none. */
    QString PendingMode() const;

    /** @return the identifier of the stored request; 0 when there is none. */
    quint32 PendingSetModeRequestId() const;

    /**
     * Asks for the mode list, blocking. No signal is emitted.
     *
     * @param aDestination empty for all.
     * @return false without a session, or when the request failed; the list is empty then.
     */
    bool GetModeList(const QString& aDestination);

    /**
     * Asks for the current mode, blocking. No signal is emitted.
     *
     * The answers of blocking calls accumulate, until a GetModeAsync() replaces them, and the first mode of
     * them all becomes the current one. A blocking call can therefore set CurrentMode() back to a mode that
     * SignalModeChanged() has made obsolete; use GetModeAsync() to learn a mode that may have changed.
     *
     * @param aDestination empty for all.
     * @return false without a session, or when the request failed; nothing changes then.
     */
    bool GetMode(const QString& aDestination);

    /**
     * Sends "getModeList" without waiting. GetModeListAsync() also watches the reply.
     *
     * @param aDestination empty for all.
     * @return the reply to come; one that has already failed when no session is open.
     */
    QDBusPendingReply<QString> StartGetModeListRequest(const QString& aDestination);

    /**
     * Sends "getMode" without waiting. GetModeAsync() also watches the reply.
     *
     * @param aDestination empty for all.
     * @return the reply to come; one that has already failed when no session is open.
     */
    QDBusPendingReply<QString> StartGetModeRequest(const QString& aDestination);

    /**
     * Takes the mode list from a reply, all its members together.
     *
     * @param aError whether the request failed; nothing changes then.
     * @param aParameters the reply's members.
     * @return not @p aError.
     */
    bool HandleGetModeListReply(bool aError, QMap<QString, QVariant> aParameters);

    /**
     * Takes the current mode from a reply: the first text in it. Emits nothing.
     *
     * @param aError whether the request failed; nothing changes then.
     * @param aParameters the reply's members.
     * @return not @p aError.
     */
    bool HandleGetModeReply(bool aError, QMap<QString, QVariant> aParameters);

    /**
     * Sends "setMode" without waiting, or stores the request when the mode is not listed.
     *
     * @param aModeName the mode.
     * @param aReply receives the reply to come when the request was sent, or one that has failed without a
     *        session.
     * @param aPending receives whether the request was stored; untouched without a session.
     * @return false without a session, or when a slot of the signal that cancels an earlier stored request
     *        has deleted the client.
     */
    bool StartSetModeRequest(const QString& aModeName, QDBusPendingReply<QString>& aReply, bool& aPending);

    /**
     * Settles the stored request when a reply for it is a success; after a failure it stays stored.
     *
     * @param aError whether the request failed.
     * @param aParameters the reply's members; not looked at.
     * @param aRequestId the identifier of the request that is answered.
     * @return not @p aError.
     */
    bool HandleSetModeReply(bool aError, QMap<QString, QVariant> aParameters, quint32 aRequestId);

    /**
     * Handles the service's call "onModeChange": updates CurrentMode(), emits SignalModeChanged(). Without
     * "activeMode" it only writes a critical record.
     *
     * @param aParameters the call's members.
     */
    void HandleModeChanged(const QMap<QString, QVariant>& aParameters);

    /**
     * Handles the service's call "onModeListChange": updates ModeList(), sends a stored request whose mode is
     * added, emits SignalModeListChanged(). Without "action" or "mode" it only writes a critical record.
     *
     * @param aParameters the call's members.
     */
    void HandleModeListChanged(const QMap<QString, QVariant>& aParameters);

Q_SIGNALS:
    /**
     * Answers SetModeAsync().
     *
     * @param aRequestId what SetModeAsync() returned.
     * @param aResult whether the service accepted; false also for a stored request that another one has
     *        replaced.
     */
    void SignalSetModeCompleted(quint32 aRequestId, bool aResult);

    /**
     * Answers GetModeListAsync().
     *
     * @param aRequestId what GetModeListAsync() returned.
     * @param aResult whether the service answered; ModeList() is up to date then.
     */
    void SignalGetModeListCompleted(quint32 aRequestId, bool aResult);

    /**
     * Answers GetModeAsync().
     *
     * @param aRequestId what GetModeAsync() returned.
     * @param aResult whether the service answered; CurrentMode() is up to date then.
     */
    void SignalGetModeCompleted(quint32 aRequestId, bool aResult);

    /**
     * The service has switched to another mode.
     *
     * @param a_ActiveMode the mode; CurrentMode() has it already.
     */
    void SignalModeChanged(const QString& a_ActiveMode);

    /**
     * The service has added a mode to its list, or removed one. ModeList() is up to date.
     *
     * @param a_Add true when the mode was added, false when it was removed.
     * @param a_ModeName the mode.
     */
    void SignalModeListChanged(bool a_Add, const QString& a_ModeName);

    /**
     * The focus of a stream has changed; this is told to every HMI, whatever the destination of its session.
     *
     * @param a_StreamName the stream.
     * @param a_StreamModename the mode that the stream offers; may be empty.
     * @param a_FocusType "permanent" or "transient".
     * @param a_StreamType "Media", for instance.
     * @param a_Destination where the stream plays.
     * @param a_NewFocus "gained", "lost" or "temporarilyLost", for instance; passed on as it comes.
     */
    void SignalAudioFocusChange(const QString& a_StreamName, const QString& a_StreamModename,
                                const QString& a_FocusType, const QString& a_StreamType,
                                const QString& a_Destination, const QString& a_NewFocus);

public:
    /**
     * Sets the mode without waiting, or stores the request when the mode is not listed; may be called from
     * any thread.
     *
     * @param aModeName the mode.
     * @return the request identifier that SignalSetModeCompleted() will carry; 0 when no session is open or
     *        nothing could be sent, and then no signal follows.
     */
    Q_INVOKABLE quint32 SetModeAsync(const QString& aModeName);

    /**
     * Asks for the mode list without waiting; may be called from any thread.
     *
     * @param aDestination empty for all.
     * @return the request identifier that SignalGetModeListCompleted() will carry; 0 when nothing was sent,
     *        and then no signal follows.
     */
    Q_INVOKABLE quint32 GetModeListAsync(const QString& aDestination);

    /**
     * Asks for the current mode without waiting; may be called from any thread.
     *
     * @param aDestination empty for all.
     * @return the request identifier that SignalGetModeCompleted() will carry; 0 when nothing was sent, and
     *        then no signal follows.
     */
    Q_INVOKABLE quint32 GetModeAsync(const QString& aDestination);

protected:
    QString m_CurrentMode;             ///< See CurrentMode().
    QStringList m_CurrentModeList;     ///< What the "getMode" replies held.
    QStringList m_ModeList;            ///< See ModeList().
    bool m_GetModesOnInitialize;       ///< Whether HandleInitialize() asks for the modes.
    quint32 m_PendingSetModeRequestId; ///< 0 while no request is stored.
    QString m_PendingMode;             ///< See PendingMode().

private:
    Q_DISABLE_COPY(AudioManagerHmi)

    QMap<QString, QVariant> QueryParameters(const QString& destination) const;
    QMap<QString, QVariant> SetModeParameters(const QString& modeName) const;
    void StorePendingMode(const QString& modeName);
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // AUDIOMANAGERHMI_H
