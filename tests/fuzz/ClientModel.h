// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_CLIENTMODEL_H
#define KIV_TESTS_CLIENTMODEL_H

#include "Parameters.h"
#include "ScriptedService.h"
#include "Transcript.h"

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

#include <functional>
#include <utility>

namespace KivFuzz {

/** What a client starts with: an open session and the service's modes. */
constexpr quint32 firstSession = 7;

/**
 * A client as its documentation describes it: functions of the same names, and a transcript of what it asks
 * and says.
 *
 * It decodes with the straightforward codec and shares nothing with the library.
 */
class ClientModel
{
public:
    virtual ~ClientModel() = default;

    void SetReply(const Reply& reply) { m_Reply = reply; }

    /** Handles the replies that have come. */
    void HandleEvents();

    /** Done instead by the slot of the next signal, once; the slot is connected to every signal. */
    void SetSlotAction(std::function<void()> action) { m_SlotAction = std::move(action); }

    QString Request(const QString& methodName, const QString& arguments);
    virtual void Notification(const QString& signalName, const QString& payload) = 0;
    void Powerdown();
    quint32 SessionId() const { return m_Session; }
    bool OpenSession();
    void CloseSession();
    quint32 OpenSessionAsync();
    quint32 CloseSessionAsync();

    Transcript said;

protected:
    /** Interprets a reply: whether it failed, its members, the request's identifier. */
    using Handler = std::function<bool(bool failed, const ParameterMap& reply, quint32 id)>;

    virtual void HandleCall(const QString& methodName, const ParameterMap& parameters) = 0;

    static ParameterMap Decoded(const QString& json);

    /** Has the slots called. */
    void Emit(const QString& line);

    /** Sends a request whose reply goes to a handler, and then completes; 0 for its identifier issues one. */
    quint32 Send(const char* method, const ParameterMap& parameters, const char* completed, Handler handler,
                 quint32 id = 0);

    /** Sends a blocking request. */
    bool Ask(const char* method, const ParameterMap& parameters, ParameterMap& reply);

    quint32 NextId() { return ++m_LastId; }

    /** Parameters with the session among them. */
    ParameterMap WithSession(ParameterMap parameters) const;

private:
    struct Waiting
    {
        Reply reply;
        quint32 id;
        const char* completed;
        Handler handler;
    };

    Reply m_Reply;
    QVector<Waiting> m_Waiting;
    std::function<void()> m_SlotAction;
    bool m_HasProxy = true;
    quint32 m_Session = firstSession;
    quint32 m_LastId = 0;
};

/** The HMI client. */
class HmiModel : public ClientModel
{
public:
    void Notification(const QString& signalName, const QString& payload) override;
    QStringList ModeList() const { return m_Modes; }
    QString CurrentMode() const { return m_Current; }
    QString PendingMode() const { return m_Pending; }
    quint32 PendingSetModeRequestId() const { return m_PendingId; }
    bool SetMode(const QString& mode);
    bool GetModeList(const QString& destination);
    bool GetMode(const QString& destination);
    quint32 SetModeAsync(const QString& mode);
    quint32 GetModeListAsync(const QString& destination);
    quint32 GetModeAsync(const QString& destination);

private:
    void HandleCall(const QString& methodName, const ParameterMap& parameters) override;
    void ChangeModeList(const ParameterMap& parameters);
    void Store(const QString& mode);
    quint32 SendSetMode(const QString& mode);
    ParameterMap Query(const QString& destination) const;

    QStringList m_Modes{"Radio", "Bluetooth"};
    QStringList m_Answered; ///< by "getMode"
    QString m_Current;
    QString m_Pending;
    quint32 m_PendingId = 0;
};

/** The application client. */
class AppModel : public ClientModel
{
public:
    void Notification(const QString& signalName, const QString& payload) override;
    QString LastFocus() const { return m_LastFocus; }
    bool RegisterAudioStream() { return Ask("registerAudioStream", Registration()); }
    bool RequestAudioFocus(bool isSwitch) { return Ask("requestAudioFocus", FocusRequest(isSwitch)); }
    bool AudioActive(bool isPlaying) { return Ask("audioActive", {{"playing", isPlaying}}); }
    bool AbandonAudioFocus(const QString& reason);
    quint32 RegisterAudioStreamAsync();
    quint32 RequestAudioFocusAsync(bool isSwitch);
    quint32 AudioActiveAsync(bool isPlaying);
    quint32 AbandonAudioFocusAsync(const QString& reason);

private:
    void HandleCall(const QString& methodName, const ParameterMap& parameters) override;
    static ParameterMap Registration();
    static ParameterMap FocusRequest(bool isSwitch);
    bool Ask(const char* method, const ParameterMap& parameters);
    quint32 Send(const char* method, const ParameterMap& parameters, const char* completed);

    QString m_LastFocus;
};

} // namespace KivFuzz

#endif // KIV_TESTS_CLIENTMODEL_H
