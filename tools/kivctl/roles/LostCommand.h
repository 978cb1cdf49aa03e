// SPDX-License-Identifier: MIT
#ifndef KIVCTL_ROLES_LOSTCOMMAND_H
#define KIVCTL_ROLES_LOSTCOMMAND_H

#include "PreparedProcess.h"

#include <QString>

namespace Kivctl {

/**
 * The user's command for the loss of the focus, run by /bin/sh with the focus in KIV_FOCUS.
 *
 * What it prints goes to standard error: standard output is for data.
 */
class LostCommand : public Tools::PreparedProcess
{
    Q_OBJECT

public:
    LostCommand(const QString& command, const QString& focus, QObject* parent);
    ~LostCommand() override;

    void Run();

Q_SIGNALS:
    /** It could not be started, or has ended with another code than 0. Done() follows. */
    void Failed(const QString& text);

    /** It runs no more. */
    void Done();

protected:
    void Prepare() override;

private:
    void Finish(int exitCode);
    void HandleError(QProcess::ProcessError error);

    const QString m_Command;
};

} // namespace Kivctl

#endif // KIVCTL_ROLES_LOSTCOMMAND_H
