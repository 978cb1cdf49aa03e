// SPDX-License-Identifier: MIT
#ifndef KIVCTL_ROLES_HMITASKS_H
#define KIVCTL_ROLES_HMITASKS_H

#include "AudioManagerHmi.h"
#include "roles/Task.h"

#include <QString>

#include <memory>

namespace Kivctl {

/** What an HMI does: it asks for modes. */
class HmiTask : public Task
{
    Q_OBJECT

public:
    HmiTask(Absence absence, const QString& destination);
    ~HmiTask() override;

protected:
    using Hmi = Audio::Utils::Kiv::QtDbus::AudioManagerHmi;

    std::unique_ptr<Client> MakeClient(Surroundings& surroundings) override;

    /** Asks for the mode list, or the current mode; one of the functions below follows. */
    void AskForModeList();
    void AskForMode();

    /** The answers; the client holds them. */
    virtual void HandleModeList();
    virtual void HandleMode();

    Hmi& GetHmi() const;

private:
    void ModeListCompleted(quint32 requestId, bool result);
    void ModeCompleted(quint32 requestId, bool result);
    bool IsUsable(const QString& methodName, bool result);

    const QString m_Destination;
    Hmi* m_Hmi = nullptr; ///< Owned by the task's base.
    quint32 m_ListRequest = 0;
    quint32 m_ModeRequest = 0;
};

/** `kivctl modes` */
class ModesTask : public HmiTask
{
    Q_OBJECT

public:
    explicit ModesTask(const QString& destination);

protected:
    void Opened() override;
    void HandleModeList() override;
};

/** `kivctl mode` */
class ModeTask : public HmiTask
{
    Q_OBJECT

public:
    explicit ModeTask(const QString& destination);

protected:
    void Opened() override;
    void HandleMode() override;
};

/** `kivctl set-mode` */
class SetModeTask : public HmiTask
{
    Q_OBJECT

public:
    SetModeTask(const QString& destination, const QString& mode, Absence absence);

protected:
    std::unique_ptr<Client> MakeClient(Surroundings& surroundings) override;
    void Opened() override;
    void HandleModeList() override;

private:
    void SetModeCompleted(quint32 requestId, bool result);

    const QString m_Mode;
    const bool m_Waits;
    quint32 m_SetRequest = 0;
};

/** `kivctl monitor` */
class MonitorTask : public HmiTask
{
    Q_OBJECT

public:
    explicit MonitorTask(const QString& destination);

protected:
    std::unique_ptr<Client> MakeClient(Surroundings& surroundings) override;
    void Opened() override;
    void ServiceLeft() override;
    void HandleModeList() override;
    void HandleMode() override;

private:
    void PrintMode(const QString& mode);
    void PrintModeListChange(bool isAdded, const QString& mode);
    void PrintFocus(const QString& streamName, const QString& streamModeName, const QString& focusType,
                    const QString& streamType, const QString& destination, const QString& newFocus);
};

} // namespace Kivctl

#endif // KIVCTL_ROLES_HMITASKS_H
