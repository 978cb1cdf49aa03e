// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_AUDIOMODEL_H
#define SIMULATOR_MODEL_AUDIOMODEL_H

#include "Announcer.h"
#include "FocusStack.h"
#include "Message.h"
#include "ModeTable.h"
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
 * It is told what clients ask for, and that they have left, and says what to answer and what to do. A request that is
 * refused changes nothing. How it decides is this project's own idea of such a service.
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

    QString ReadDestination(const Parameters& parameters) const;
    bool MayTakeFocus(const Session& session);
    void TakeFocus(const Session& session);
    void AnnounceFocus(const QVector<FocusChange>& changes, quint32 exceptSession = 0);
    void WithdrawMode(const Session& session);
    void EndSession(quint32 id);

    SessionTable m_Sessions;
    ModeTable m_Modes;
    FocusStack m_Focus;
    Announcer m_Announcer;
    const QStringList m_RefusedStreams;
    const QStringList m_LockedStreams;
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_AUDIOMODEL_H
