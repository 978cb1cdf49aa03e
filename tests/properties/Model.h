// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_MODEL_H
#define KIV_TESTS_MODEL_H

#include "Schedule.h"
#include "Trace.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <array>
#include <optional>

namespace KivTest {

/**
 * What the clients have to do: the rules of sessions, identifiers, completions and stored mode requests,
 * written down a second time, without a line of the library.
 *
 * It also knows the service of the schedules: who waits for an answer, and what the answers say.
 */
class Model
{
public:
    Model() = default;
    virtual ~Model() = default;
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    /** Does a step, and everything that follows from it. */
    void Do(const Step& step);

    /** What has to have happened since the last call. */
    QStringList TakeTrace() { return m_Trace.Take(); }

    /** What a client has to look like. */
    ClientState StateOf(int client) const;

    /** How many requests wait for their answer. */
    int WaitingCount() const { return int(m_Waiting.size()); }

protected:
    /** Whether the answer to a stored request ends its being stored; a test may have a wrong idea of it. */
    virtual bool IsSettled(bool isAccepted) const { return isAccepted; }

    /** Whether a stored request that is replaced completes; likewise. */
    virtual bool IsCancelReported() const { return true; }

private:
    struct Client
    {
        bool exists = false;
        int life = 0; // counts the clients that there have been under this name
        int initState = 0;
        bool hasProxy = false;
        quint32 sessionId = 0;
        quint32 lastId = 0;
        QStringList modes;
        quint32 storedId = 0;
        QString storedMode;
        quint32 sessionCount = 0; // of all lives
        std::optional<Step> reaction;
    };

    struct Request
    {
        int client;
        int life;
        Operation operation;
        quint32 id;
    };

    struct Answer
    {
        Outcome outcome;
        int modeCount;
        quint32 sessionId; // in the answer to "openSession"
    };

    void Perform(const Step& step);
    void DoWithClient(const Step& step);
    void Hear(const Step& step);
    void DoWithService(const Step& step);
    void Create(int client);
    void Delete(int client);
    void PowerDown(int client);
    void Initialise(int client);
    bool HandleInitialise(int client);
    void Appear();
    void Settle();

    void CallAsync(const Step& step);
    quint32 Start(const Step& step);
    quint32 SetModeAsync(int client, const QString& mode);
    quint32 Send(int client, Operation operation, const QString& arguments, quint32 id = 0);
    void CallBlocking(const Step& step);
    bool Ask(const Step& step);
    bool SetMode(int client, const QString& mode);
    bool OpenSession(int client);
    bool CloseSession(int client);
    bool GetModeList(int client);
    std::optional<Answer> Exchange(int client, Operation operation, const QString& arguments);
    void Store(int client, const QString& mode);
    bool MayStart(const Step& step) const;

    void AnswerOne(int place, Outcome outcome, int modeCount);
    void Receive(const Request& request, const Answer& answer);
    bool Interpret(const Request& request, const Answer& answer);
    void Complete(int client, Operation operation, quint32 id, bool result);
    Answer MakeAnswer(int client, Operation operation, Outcome outcome, int modeCount);

    void AddMode(int client, const QString& mode);
    void RemoveMode(int client, const QString& mode);

    Client& At(int client) { return m_Clients[static_cast<size_t>(client)]; }
    const Client& At(int client) const { return m_Clients[static_cast<size_t>(client)]; }
    bool IsHearing(int client) const;
    static bool IsHmi(int client) { return Clients()[static_cast<size_t>(client)].isHmi; }
    QString ArgumentsOf(const Step& step) const;
    QString OpenArguments(int client) const;
    QString SessionOnly(int client) const;
    QString QueryArguments(int client) const;
    QString RegistrationArguments(int client) const;

    std::array<Client, 3> m_Clients;
    QVector<Request> m_Waiting;
    std::optional<std::pair<Request, Answer>> m_Prompt; // answered, and not looked at yet
    Trace m_Trace;
    bool m_IsPresent = true;
    bool m_IsConnected = true;
    bool m_AnswersAtOnce = false;
    Outcome m_BlockingOutcome = Outcome::Accept;
    int m_BlockingModes = 1;
};

} // namespace KivTest

#endif // KIV_TESTS_MODEL_H
