// SPDX-License-Identifier: MIT
#include "roles/StreamTask.h"

#include "roles/LostCommand.h"
#include "roles/Record.h"

#include <QTimer>

using namespace Audio::Utils::Kiv::QtDbus;

namespace Kivctl {

namespace {

QJsonObject StreamRecord(const char* event, const QString& streamName, const QString& focus)
{
    return Record(event, {{QStringLiteral("streamName"), streamName}, {QStringLiteral("focus"), focus}});
}

} // namespace

/** An application client whose mode can have any name; the library's is named like the client's path. */
class StreamTask::StreamClient : public AudioManagerApp
{
public:
    StreamClient(Surroundings& surroundings, const StreamPlan& plan)
        : AudioManagerApp(surroundings.name, ClientPath(), plan.name, surroundings.connection, plan.type,
                          plan.isPermanent, plan.destination, surroundings.factory, false)
    {
        m_StreamModeName = plan.modeName;
    }
};

StreamTask::StreamTask(const StreamPlan& plan)
    : Task(Role::App, Absence::Ends),
      m_Plan(plan)
{
}

StreamTask::~StreamTask() = default;

std::unique_ptr<Task::Client> StreamTask::MakeClient(Surroundings& surroundings)
{
    auto app = std::make_unique<StreamClient>(surroundings, m_Plan);
    m_App = app.get();
    connect(m_App, &AudioManagerApp::SignalRegisterAudioStreamCompleted, this, &StreamTask::Registered);
    connect(m_App, &AudioManagerApp::SignalRequestAudioFocusCompleted, this, &StreamTask::FocusRequested);
    connect(m_App, &AudioManagerApp::SignalResponseToAudioFocusRequest, this, &StreamTask::Decided);
    connect(m_App, &AudioManagerApp::SignalAudioFocusChanged, this, &StreamTask::FocusChanged);
    connect(m_App, &AudioManagerApp::SignalAudioActiveCompleted, this, &StreamTask::PlayingSaid);
    connect(m_App, &AudioManagerApp::SignalAbandonAudioFocusCompleted, this, &StreamTask::Abandoned);
    return app;
}

bool StreamTask::IsAccepted(const QString& methodName, bool result)
{
    if (IsEnding()) {
        return false;
    }
    const bool isAccepted = result && VerdictOf(methodName).code == ExitDone;
    if (!isAccepted) {
        Fail(methodName);
    }
    return isAccepted;
}

void StreamTask::Opened()
{
    if (m_App->RegisterAudioStreamAsync() == 0) {
        Fail(QStringLiteral("registerAudioStream"));
    }
}

void StreamTask::Registered(quint32 /*requestId*/, bool result)
{
    if (!IsAccepted(QStringLiteral("registerAudioStream"), result)) {
        return;
    }
    Q_EMIT Printed(Record("streamRegistered", {{QStringLiteral("streamName"), m_Plan.name}}),
                   QStringLiteral("registered ") + m_Plan.name);
    if (m_Plan.ask == StreamPlan::Ask::Nothing) {
        SayPlaying();
    } else {
        AskForFocus();
    }
}

void StreamTask::AskForFocus()
{
    if (m_App->RequestAudioFocusAsync(m_Plan.ask == StreamPlan::Ask::Request) == 0) {
        Fail(QStringLiteral("requestAudioFocus"));
    }
}

void StreamTask::FocusRequested(quint32 /*requestId*/, bool result)
{
    IsAccepted(QStringLiteral("requestAudioFocus"), result); // the decision comes separately
}

void StreamTask::Decided(const QString& decision)
{
    Q_EMIT Printed(StreamRecord("focusDecision", m_Plan.name, decision),
                   QStringLiteral("decision ") + decision);
    if (IsEnding() || m_IsDecided || m_Plan.ask == StreamPlan::Ask::Nothing) {
        return;
    }
    m_IsDecided = true;
    const bool isRequest = m_Plan.ask == StreamPlan::Ask::Request;
    const QString wanted = isRequest ? QStringLiteral("granted") : QStringLiteral("wouldBeGranted");
    if (decision != wanted) {
        End({ExitRefused, QStringLiteral("the service's decision on the focus is \"%1\"").arg(decision)});
        return;
    }
    m_HasFocus = isRequest;
    SayPlaying();
}

void StreamTask::SayPlaying()
{
    if (!m_Plan.isPlaying) {
        Settle();
        return;
    }
    m_HasSaidPlaying = m_App->AudioActiveAsync(true) != 0; // the focus can be lost before the answer is there
    if (!m_HasSaidPlaying) {
        Fail(QStringLiteral("audioActive"));
    }
}

void StreamTask::PlayingSaid(quint32 /*requestId*/, bool result)
{
    m_HasSaidPlaying = m_HasSaidPlaying && result;
    if (IsAccepted(QStringLiteral("audioActive"), result)) {
        Settle();
    }
}

void StreamTask::Settle()
{
    if (m_Plan.stay == StreamPlan::Stay::No) {
        End({});
        return;
    }
    Q_EMIT WaitBegun();
    if (m_Plan.stay == StreamPlan::Stay::Limited) {
        QTimer::singleShot(m_Plan.stayMilliseconds, this, [this] { End({}); });
    }
}

void StreamTask::FocusChanged(const QString& focus)
{
    Q_EMIT Printed(StreamRecord("focus", m_Plan.name, focus), QStringLiteral("focus ") + focus);
    const bool isLost = focus == QLatin1String("lost");
    if (isLost || focus == QLatin1String("temporarilyLost")) {
        RunLostCommand(focus);
    }
    m_HasFocus = m_HasFocus && !isLost;
    if (isLost) {
        End({});
    }
}

void StreamTask::RunLostCommand(const QString& focus)
{
    if (!m_Plan.lostCommand.isEmpty()) {
        auto* command = new LostCommand(m_Plan.lostCommand, focus, this);
        connect(command, &LostCommand::Failed, this, &Task::Complained);
        connect(command, &LostCommand::Done, this, &StreamTask::Release);
        Hold();
        command->Run();
    }
}

void StreamTask::Farewell()
{
    if (m_HasSaidPlaying) {
        m_App->AudioActiveAsync(false);
    }
    const QString reason =
        IsStopped() ? QStringLiteral("kivctl was stopped") : QStringLiteral("kivctl has ended");
    if (!m_HasFocus || m_App->AbandonAudioFocusAsync(reason) == 0) {
        CloseSession();
    }
}

void StreamTask::Abandoned(quint32 /*requestId*/, bool /*result*/)
{
    const Verdict verdict = VerdictOf(QStringLiteral("abandonAudioFocus"));
    if (verdict.code != ExitDone) {
        Q_EMIT Complained(verdict.text);
    }
    CloseSession();
}

} // namespace Kivctl
