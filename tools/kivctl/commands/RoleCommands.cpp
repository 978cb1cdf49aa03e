// SPDX-License-Identifier: MIT
#include "commands/RoleCommands.h"

#include "UsageError.h"
#include "cli/Invocation.h"
#include "cli/Number.h"
#include "roles/CallTask.h"
#include "roles/HmiTasks.h"
#include "roles/Runner.h"
#include "roles/StreamTask.h"

#include <QJsonDocument>
#include <QJsonParseError>

#include <memory>

namespace Kivctl {

namespace {

int Run(std::unique_ptr<Task> task, const Invocation& invocation)
{
    return Runner(std::move(task), Output(invocation.format), invocation.limit).Run();
}

QString Destination(const Invocation& invocation)
{
    return invocation.Value(QStringLiteral("destination"));
}

void RefuseBoth(const Invocation& invocation, const QString& one, const QString& other)
{
    if (invocation.IsSet(one) && invocation.IsSet(other)) {
        throw Tools::UsageError(QStringLiteral("give only one of --%1 and --%2").arg(one, other));
    }
}

/** Refuses an option that was given without a text. */
void RequireText(const Invocation& invocation, const QString& option)
{
    if (invocation.IsSet(option) && invocation.Value(option).isEmpty()) {
        throw Tools::UsageError(QStringLiteral("--%1: expected a text").arg(option));
    }
}

void CheckStream(const Invocation& invocation)
{
    if (!invocation.IsSet(QStringLiteral("name"))) {
        throw Tools::UsageError(QStringLiteral("stream: --name NAME is required"));
    }
    for (const char* option : {"name", "mode-name", "type", "on-lost"}) {
        RequireText(invocation, QString::fromLatin1(option));
    }
    RefuseBoth(invocation, QStringLiteral("query"), QStringLiteral("request"));
    RefuseBoth(invocation, QStringLiteral("hold"), QStringLiteral("for"));
    RefuseBoth(invocation, QStringLiteral("transient"), QStringLiteral("mode-name"));
}

StreamPlan::Ask ReadAsk(const Invocation& invocation)
{
    if (invocation.IsSet(QStringLiteral("query"))) {
        return StreamPlan::Ask::Query;
    }
    return invocation.IsSet(QStringLiteral("request")) ? StreamPlan::Ask::Request : StreamPlan::Ask::Nothing;
}

StreamPlan ReadPlan(const Invocation& invocation)
{
    CheckStream(invocation);
    StreamPlan plan;
    plan.name = invocation.Value(QStringLiteral("name"));
    plan.modeName = invocation.Value(QStringLiteral("mode-name"));
    plan.type = invocation.Value(QStringLiteral("type"));
    plan.destination = Destination(invocation);
    plan.isPermanent = !invocation.IsSet(QStringLiteral("transient"));
    plan.ask = ReadAsk(invocation);
    plan.isPlaying = invocation.IsSet(QStringLiteral("playing"));
    plan.lostCommand = invocation.Value(QStringLiteral("on-lost"));
    if (invocation.IsSet(QStringLiteral("hold"))) {
        plan.stay = StreamPlan::Stay::UntilLost;
    } else if (invocation.IsSet(QStringLiteral("for"))) {
        plan.stay = StreamPlan::Stay::Limited;
        plan.stayMilliseconds = ReadSeconds(QStringLiteral("for"), invocation.Value(QStringLiteral("for")));
    }
    return plan;
}

RawRequest ReadRequest(const QString& methodName, const QString& text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8(), &error);
    if (error.error != QJsonParseError::NoError) {
        throw Tools::UsageError(
            QStringLiteral("call: expected a JSON object, but \"%1\": %2").arg(text, error.errorString()));
    }
    if (!document.isObject()) {
        throw Tools::UsageError(QStringLiteral("call: expected a JSON object, not \"%1\"").arg(text));
    }
    return {methodName, text, document.object()};
}

} // namespace

int RunModes(const Invocation& invocation)
{
    return Run(std::make_unique<ModesTask>(Destination(invocation)), invocation);
}

int RunMode(const Invocation& invocation)
{
    return Run(std::make_unique<ModeTask>(Destination(invocation)), invocation);
}

int RunSetMode(const Invocation& invocation)
{
    const QString mode = invocation.arguments.first();
    if (mode.isEmpty()) {
        throw Tools::UsageError(QStringLiteral("set-mode: expected the name of a mode"));
    }
    const auto absence =
        invocation.IsSet(QStringLiteral("wait")) ? Task::Absence::Waits : Task::Absence::Ends;
    return Run(std::make_unique<SetModeTask>(Destination(invocation), mode, absence), invocation);
}

int RunMonitor(const Invocation& invocation)
{
    return Run(std::make_unique<MonitorTask>(Destination(invocation)), invocation);
}

int RunStream(const Invocation& invocation)
{
    return Run(std::make_unique<StreamTask>(ReadPlan(invocation)), invocation);
}

int RunCall(const Invocation& invocation)
{
    RefuseBoth(invocation, QStringLiteral("hmi"), QStringLiteral("app"));
    const Role role = invocation.IsSet(QStringLiteral("app")) ? Role::App : Role::Hmi;
    const RawRequest request = ReadRequest(invocation.arguments.at(0), invocation.arguments.at(1));
    return Run(std::make_unique<CallTask>(role, Destination(invocation), request), invocation);
}

} // namespace Kivctl
