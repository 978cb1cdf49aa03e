// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_HMIMODES_H
#define KIV_MODELS_HMIMODES_H

#include "RetryTimer.h"

#include <AudioManagerHmi.h>

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Audio::Utils::Kiv::Models {

/**
 * What an HMI client knows of the modes, and which one it has asked for; both outlive restarts of the service.
 *
 * The list and the current mode stay as they were while the service is away, and are read again in each session, until
 * that succeeds. Of requests the latest counts: it replaces one that still waits for its mode to be offered. A request
 * that was sent ends with its answer, or with the session; one that waits is sent when its mode is offered, also in a
 * later session.
 */
class HmiModes : public QObject
{
    Q_OBJECT

public:
    /**
     * @param client whose modes these are. Must outlive this object.
     * @param destination whose modes are read; empty for all.
     */
    HmiModes(QtDbus::AudioManagerHmi& client, const QString& destination);

    /** A session has begun: reads everything, without waiting. */
    void Begin();

    /** The session has ended. */
    void End();

    QStringList List() const;
    QString Current() const;

    /** The mode that was asked for last and is waiting: for its answer, or to be offered. */
    QString Pending() const;

    /** Whether a request waits for its answer. */
    bool IsBusy() const;

    /** Asks for a mode. @return whether the request was sent, or waits for the mode to be offered. */
    bool Request(const QString& mode);

    /** Drops a request that waits for its mode to be offered. @return whether there was one. */
    bool DropWaiting();

Q_SIGNALS:
    /** Something is other than before. */
    void Changed();

    /** Something went wrong: a sentence. */
    void Failed(const QString& text);

    /** Something went well. */
    void Succeeded();

private:
    struct SentRequest
    {
        quint32 id;
        QString mode;
    };

    void Read();
    void OnListRead(quint32 request, bool isRead);
    void OnCurrentRead(quint32 request, bool isRead);
    void OnRead(bool isRead);
    void OnListChanged(bool isAdded, const QString& mode);
    void OnChanged(const QString& mode);
    void OnSetCompleted(quint32 request, bool isSet);
    void SendWaiting();
    bool HasWaiting() const;
    bool IsSent(quint32 request) const;
    void DropStored();
    bool Refuse(const QString& text);

    QtDbus::AudioManagerHmi& m_Client;
    const QString m_Destination;
    QStringList m_List;
    QString m_Current;
    QVector<SentRequest> m_Sent;
    RetryTimer m_Retry{this};
    quint32 m_ListRequest = 0;
    quint32 m_CurrentRequest = 0;
    bool m_IsListKnown = false; ///< In this session.
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_HMIMODES_H
