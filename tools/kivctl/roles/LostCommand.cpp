// SPDX-License-Identifier: MIT
#include "roles/LostCommand.h"

#include "TerminationSignal.h"

#include <unistd.h>

namespace Kivctl {

LostCommand::LostCommand(const QString& command, const QString& focus, QObject* parent)
    : PreparedProcess(parent),
      m_Command(command)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("KIV_FOCUS"), focus);
    setProcessEnvironment(environment);
    setProcessChannelMode(ForwardedChannels);
    setInputChannelMode(ForwardedInputChannel);
    connect(this, qOverload<int, QProcess::ExitStatus>(&QProcess::finished), this, &LostCommand::Finish);
    connect(this, &QProcess::errorOccurred, this, &LostCommand::HandleError);
}

LostCommand::~LostCommand() = default;

void LostCommand::Run()
{
    start(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), m_Command});
}

void LostCommand::Prepare()
{
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
    Tools::TerminationSignal::Unblock();
}

void LostCommand::Finish(int exitCode)
{
    if (exitStatus() != QProcess::NormalExit || exitCode != 0) {
        Q_EMIT Failed(QStringLiteral("--on-lost: the command has ended with %1").arg(exitCode));
    }
    Q_EMIT Done();
}

void LostCommand::HandleError(QProcess::ProcessError error)
{
    if (error == QProcess::FailedToStart) {
        Q_EMIT Failed(QStringLiteral("--on-lost: %1").arg(errorString()));
        Q_EMIT Done();
    }
}

} // namespace Kivctl
