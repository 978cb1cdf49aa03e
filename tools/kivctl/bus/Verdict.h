// SPDX-License-Identifier: MIT
#ifndef KIVCTL_BUS_VERDICT_H
#define KIVCTL_BUS_VERDICT_H

#include "ExitCode.h"

#include <QDBusPendingReply>
#include <QString>

namespace Kivctl {

/** How something has ended, and what to say about it on standard error; nothing when the text is empty. */
struct Verdict
{
    ExitCode code = ExitDone;
    QString text;
};

/** What a request and its finished reply have come to: the answer is a JSON object that is no refusal, or what else. */
Verdict JudgeReply(const QString& methodName, const QDBusPendingReply<QString>& reply, bool isBusConnected);

/** Whether an answer is a JSON object with a list in it, as those with modes are. */
bool HoldsList(const QString& answer);

} // namespace Kivctl

#endif // KIVCTL_BUS_VERDICT_H
