// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_AUDIOMODEL_H
#define SIMULATOR_MODEL_AUDIOMODEL_H

#include "Announcer.h"
#include "FocusStack.h"
#include "Message.h"
#include "ModeTable.h"
#include "PanelOutcome.h"
#include "Parameters.h"
#include "SessionTable.h"

#include <QStringList>

namespace Simulator {

/** The modes on offer from the start, and who does not get the focus. */
struct ModelSettings
{
    QVector<DestinationModes> modes{
        {QStringLiteral("Cabin"), {QStringLiteral("Radio"), QStringLiteral("Bluetooth")}}};
    QStringList refusedStreams; ///< names of streams that never get the focus
    QStringList lockedStreams;  ///< names of streams from which nobody takes the focus
};

/**
 * A small audio management service: sessions, modes and focus, without a bus.
 *
 * It is told what clients ask for, that they have left, and what happens at the device itself; it says what to
 * answer and what to do. A request that is refused changes nothing. How it decides is this project's own idea of
 * such a service.
 */
class AudioModel
{
public:
    explicit AudioModel(const ModelSettings& settings);
    AudioModel(const AudioModel&) = delete;
    AudioModel& operator=(const AudioModel&) = delete;

    /** Handles a request. A refusal is an answer with "errCode", without effects. */
    Outcome Handle(const Request& request);

    /** Ends the sessions of a client that has left the bus. @return what to do. */
    QVector<Effect> CallerLeft(const QString& caller);

    /** Whether a client has a session. */
    bool HasSessions(const QString& caller) const;

    /** The sessions of clients, in the order of their opening; not those of the device's own streams. */
    QVector<Session> Sessions() const;

    // What happens at the device itself. An empty destination means all of them.

    /** Adds a mode of the device itself. It stays until it was removed as often as it was added. */
    PanelOutcome AddMode(const QString& mode, const QString& destination);

    /** Removes a mode of the device itself, wherever it is one. Each destination keeps at least one such. */
    PanelOutcome RemoveMode(const QString& mode, const QString& destination);

    /** The user switches to a mode, as an HMI does with "setMode". */
    PanelOutcome PressMode(const QString& mode, const QString& destination);

    /** Starts a stream of the device itself, which must get the focus. No other such has its name. */
    PanelOutcome StartStream(const Stream& stream, const QString& destination);

    /** A stream of the device ends: its focus goes, and its mode. */
    PanelOutcome StopStream(const QString& name);

    /** The service restarts: all is as at the start, but identifiers go on counting. Nobody is told. */
    void LoseSessions();

private:
    using Operation = QJsonObject (AudioModel::*)(Session& session, const Parameters& parameters);

    static Operation FindOperation(const Request& request);
    QJsonObject Answer(const Request& request);
    Session& CallersSession(const Request& request, const Parameters& parameters);

    QJsonObject OpenSession(const Request& request, const Parameters& parameters);
    QJsonObject CloseSession(Session& session, const Parameters& parameters);
    QJsonObject GetModeList(Session& session, const Parameters& parameters);
    QJsonObject GetMode(Session& session, const Parameters& parameters);
    QJsonObject SetMode(Session& session, const Parameters& parameters);
    QJsonObject RegisterAudioStream(Session& session, const Parameters& parameters);
    QJsonObject RequestAudioFocus(Session& session, const Parameters& parameters);
    QJsonObject AudioActive(Session& session, const Parameters& parameters);
    QJsonObject AbandonAudioFocus(Session& session, const Parameters& parameters);

    template <typename Deed>
    PanelOutcome AtThePanel(Deed deed);

    QString KnownDestination(const QString& destination) const;
    QString ReadDestination(const Parameters& parameters) const;
    QString PanelDestination(const QString& destination) const;
    void SwitchMode(const QString& mode, const QString& destination);
    void OfferMode(const Session& session);
    void WithdrawMode(const Session& session);
    void AnnounceRemoval(const QString& mode, const ModeTable::Removal& removal);
    QString FocusObstacle(const Session& session);
    void TakeFocus(const Session& session);
    void AnnounceFocus(const QVector<FocusChange>& changes, quint32 exceptSession = 0);
    void EndSession(quint32 id);

    SessionTable m_Sessions;
    const QVector<DestinationModes> m_InitialModes;
    ModeTable m_Modes;
    FocusStack m_Focus;
    Announcer m_Announcer;
    const QStringList m_RefusedStreams;
    const QStringList m_LockedStreams;
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_AUDIOMODEL_H
