// SPDX-License-Identifier: MIT
#include "roles/HmiTasks.h"

#include "roles/Record.h"

namespace Kivctl {

namespace {

QString ListMethod()
{
    return QStringLiteral("getModeList");
}

QString ModeMethod()
{
    return QStringLiteral("getMode");
}

QString SetMethod()
{
    return QStringLiteral("setMode");
}

/** A line each; nothing for no modes. */
QString Lines(const QStringList& modes)
{
    return modes.isEmpty() ? QString() : modes.join(QLatin1Char('\n'));
}

QString ModesLine(const QStringList& modes)
{
    return QStringLiteral("modes ") + modes.join(QStringLiteral(", "));
}

} // namespace

HmiTask::HmiTask(Absence absence, const QString& destination)
    : Task(Role::Hmi, absence),
      m_Destination(destination)
{
}

HmiTask::~HmiTask() = default;

std::unique_ptr<Task::Client> HmiTask::MakeClient(Surroundings& surroundings)
{
    auto hmi = std::make_unique<Hmi>(surroundings.name, ClientPath(), surroundings.connection, m_Destination,
                                     surroundings.factory, false);
    m_Hmi = hmi.get();
    connect(m_Hmi, &Hmi::SignalGetModeListCompleted, this, &HmiTask::ModeListCompleted);
    connect(m_Hmi, &Hmi::SignalGetModeCompleted, this, &HmiTask::ModeCompleted);
    return hmi;
}

HmiTask::Hmi& HmiTask::GetHmi() const
{
    return *m_Hmi;
}

void HmiTask::AskForModeList()
{
    m_ListRequest = m_Hmi->GetModeListAsync(m_Destination);
    if (m_ListRequest == 0) {
        Fail(ListMethod());
    }
}

void HmiTask::AskForMode()
{
    m_ModeRequest = m_Hmi->GetModeAsync(m_Destination);
    if (m_ModeRequest == 0) {
        Fail(ModeMethod());
    }
}

void HmiTask::ModeListCompleted(quint32 requestId, bool result)
{
    if (requestId == m_ListRequest && IsUsable(ListMethod(), result)) {
        HandleModeList();
    }
}

void HmiTask::ModeCompleted(quint32 requestId, bool result)
{
    if (requestId == m_ModeRequest && IsUsable(ModeMethod(), result)) {
        HandleMode();
    }
}

bool HmiTask::IsUsable(const QString& methodName, bool result)
{
    // Without a session the request was one of a service that has left since.
    if (IsEnding() || !m_Hmi->IsSessionOpen()) {
        return false;
    }
    if (!result || !HoldsList(AnswerTo(methodName))) {
        FailProtocol(methodName, QStringLiteral("no list in the answer"));
        return false;
    }
    return true;
}

void HmiTask::HandleModeList() {}

void HmiTask::HandleMode() {}

// modes

ModesTask::ModesTask(const QString& destination)
    : HmiTask(Absence::Ends, destination)
{
}

void ModesTask::Opened()
{
    AskForModeList();
}

void ModesTask::HandleModeList()
{
    const QStringList modes = GetHmi().ModeList();
    Q_EMIT Printed(ModeListRecord(modes), Lines(modes));
    End({});
}

// mode

ModeTask::ModeTask(const QString& destination)
    : HmiTask(Absence::Ends, destination)
{
}

void ModeTask::Opened()
{
    AskForMode();
}

void ModeTask::HandleMode()
{
    const QString mode = GetHmi().CurrentMode();
    Q_EMIT Printed(ModeRecord(mode), mode);
    End({});
}

// set-mode

SetModeTask::SetModeTask(const QString& destination, const QString& mode, Absence absence)
    : HmiTask(absence, destination),
      m_Mode(mode),
      m_Waits(absence == Absence::Waits)
{
}

std::unique_ptr<Task::Client> SetModeTask::MakeClient(Surroundings& surroundings)
{
    auto client = HmiTask::MakeClient(surroundings);
    connect(&GetHmi(), &Hmi::SignalSetModeCompleted, this, &SetModeTask::SetModeCompleted);
    return client;
}

void SetModeTask::Opened()
{
    AskForModeList();
}

void SetModeTask::HandleModeList()
{
    const QStringList modes = GetHmi().ModeList();
    const bool isOffered = modes.contains(m_Mode);
    if (!isOffered && !m_Waits) {
        End({ExitRefused, QStringLiteral("the mode \"%1\" is not offered; offered: %2")
                              .arg(m_Mode, modes.join(QStringLiteral(", ")))});
        return;
    }
    if (!isOffered) {
        Q_EMIT Complained(QStringLiteral("waiting for the mode \"%1\"").arg(m_Mode));
        Q_EMIT WaitBegun();
    }
    m_SetRequest = GetHmi().SetModeAsync(m_Mode);
    if (m_SetRequest == 0) {
        Fail(SetMethod());
    }
}

void SetModeTask::SetModeCompleted(quint32 requestId, bool result)
{
    if (IsEnding() || requestId != m_SetRequest) {
        return;
    }
    const Verdict verdict = VerdictOf(SetMethod());
    if (!result || verdict.code != ExitDone) {
        Fail(SetMethod());
        return;
    }
    Q_EMIT Printed(Record("modeSet", {{QStringLiteral("mode"), m_Mode}}), m_Mode);
    End({});
}

// monitor

MonitorTask::MonitorTask(const QString& destination)
    : HmiTask(Absence::Waits, destination)
{
}

std::unique_ptr<Task::Client> MonitorTask::MakeClient(Surroundings& surroundings)
{
    auto client = HmiTask::MakeClient(surroundings);
    connect(&GetHmi(), &Hmi::SignalModeChanged, this, &MonitorTask::PrintMode);
    connect(&GetHmi(), &Hmi::SignalModeListChanged, this, &MonitorTask::PrintModeListChange);
    connect(&GetHmi(), &Hmi::SignalAudioFocusChange, this, &MonitorTask::PrintFocus);
    return client;
}

void MonitorTask::Opened()
{
    Q_EMIT Printed(Record("service", {{QStringLiteral("running"), true}}), QStringLiteral("service running"));
    AskForModeList();
}

void MonitorTask::ServiceLeft()
{
    Q_EMIT Printed(Record("service", {{QStringLiteral("running"), false}}), QStringLiteral("service gone"));
}

void MonitorTask::HandleModeList()
{
    const QStringList modes = GetHmi().ModeList();
    Q_EMIT Printed(ModeListRecord(modes), ModesLine(modes));
    AskForMode();
}

void MonitorTask::HandleMode()
{
    PrintMode(GetHmi().CurrentMode());
    Q_EMIT WaitBegun();
}

void MonitorTask::PrintMode(const QString& mode)
{
    Q_EMIT Printed(ModeRecord(mode), QStringLiteral("mode ") + mode);
}

void MonitorTask::PrintModeListChange(bool isAdded, const QString& mode)
{
    const QStringList modes = GetHmi().ModeList();
    QJsonObject record = ModeListRecord(modes);
    record.insert(isAdded ? QStringLiteral("added") : QStringLiteral("removed"), mode);
    Q_EMIT Printed(record, QStringLiteral("%1 (%2 %3)")
                               .arg(ModesLine(modes),
                                    isAdded ? QStringLiteral("added") : QStringLiteral("removed"), mode));
}

void MonitorTask::PrintFocus(const QString& streamName, const QString& streamModeName,
                             const QString& focusType, const QString& streamType, const QString& destination,
                             const QString& newFocus)
{
    const QJsonObject members{
        {QStringLiteral("streamName"), streamName},   {QStringLiteral("streamModeName"), streamModeName},
        {QStringLiteral("focusType"), focusType},     {QStringLiteral("streamType"), streamType},
        {QStringLiteral("destination"), destination}, {QStringLiteral("focus"), newFocus}};
    Q_EMIT Printed(Record("streamFocus", members),
                   QStringLiteral("focus %1 %2 (%3, %4, %5)")
                       .arg(newFocus, streamName, focusType, streamType, destination));
}

} // namespace Kivctl
