// SPDX-License-Identifier: MIT
#ifndef KIVCTL_ROLES_STREAMTASK_H
#define KIVCTL_ROLES_STREAMTASK_H

#include "AudioManagerApp.h"
#include "roles/Task.h"

#include <QString>

#include <memory>

namespace Kivctl {

/** What `kivctl stream` is to do. */
struct StreamPlan
{
    enum class Ask
    {
        Nothing,
        Query,
        Request
    };

    enum class Stay
    {
        No,
        UntilLost,
        Limited ///< for stayMilliseconds
    };

    QString name;
    QString modeName;
    QString type;
    QString destination;
    bool isPermanent = true;
    Ask ask = Ask::Nothing;
    bool isPlaying = false;
    Stay stay = Stay::No;
    int stayMilliseconds = 0;
    QString lostCommand;
};

/** `kivctl stream`: registers, asks for the focus, stays, and gives it back. */
class StreamTask : public Task
{
    Q_OBJECT

public:
    explicit StreamTask(const StreamPlan& plan);
    ~StreamTask() override;

protected:
    std::unique_ptr<Client> MakeClient(Surroundings& surroundings) override;
    void Opened() override;
    void Farewell() override;

private:
    class StreamClient;

    void Registered(quint32 requestId, bool result);
    void AskForFocus();
    void FocusRequested(quint32 requestId, bool result);
    void Decided(const QString& decision);
    void SayPlaying();
    void PlayingSaid(quint32 requestId, bool result);
    void Settle();
    void FocusChanged(const QString& focus);
    void RunLostCommand(const QString& focus);
    void Abandoned(quint32 requestId, bool result);
    bool IsAccepted(const QString& methodName, bool result);

    const StreamPlan m_Plan;
    StreamClient* m_App = nullptr; ///< Owned by the task's base.
    bool m_IsDecided = false;
    bool m_HasFocus = false; ///< Holds it, or waits to get it back.
    bool m_HasSaidPlaying = false;
};

} // namespace Kivctl

#endif // KIVCTL_ROLES_STREAMTASK_H
