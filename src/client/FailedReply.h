// SPDX-License-Identifier: MIT
#ifndef KIV_CLIENT_FAILEDREPLY_H
#define KIV_CLIENT_FAILEDREPLY_H

#include "logging/Log.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QString>

namespace Audio::Utils::Kiv::QtDbus {

/** A reply that has already failed: what a Start function returns when nothing was sent. */
inline QDBusPendingReply<QString> FailedReply(QDBusError::ErrorType type, const QString& text)
{
    return QDBusPendingCall::fromCompletedCall(QDBusMessage::createError(type, text));
}

/** Logs why a request is not sent, and gives the reply that says so. */
inline QDBusPendingReply<QString> RefusedReply(const char* logText, const QString& errorText)
{
    qCCritical(Log) << logText;
    return FailedReply(QDBusError::Other, errorText);
}

/** Likewise, for a request that needs a session. Its error has the text of the opposite case; callers know it
 * so. */
inline QDBusPendingReply<QString> NoSessionReply(const char* logText)
{
    return RefusedReply(logText, QStringLiteral("Session is already open"));
}

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_CLIENT_FAILEDREPLY_H
