// SPDX-License-Identifier: MIT
#include "bus/Verdict.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>

#include <algorithm>

namespace Kivctl {

namespace {

ExitCode CodeOf(const QDBusError& error, const QString& sender)
{
    switch (error.type()) {
    case QDBusError::Disconnected:
    case QDBusError::NoServer:
    case QDBusError::AccessDenied:
        return ExitNoBus;
    case QDBusError::ServiceUnknown:
        return ExitServiceAbsent;
    case QDBusError::NoReply:
    case QDBusError::Timeout:
    case QDBusError::TimedOut:
        // The bus itself answers so for a service that has left; the time-out is made in this process.
        return sender.isEmpty() ? ExitTimeout : ExitServiceAbsent;
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownObject:
    case QDBusError::UnknownInterface:
    case QDBusError::InvalidSignature:
    case QDBusError::InvalidArgs:
        return ExitProtocol;
    default:
        break;
    }
    return error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner") ? ExitServiceAbsent
                                                                                      : ExitRefused;
}

Verdict JudgeError(const QString& methodName, const QDBusPendingReply<QString>& reply, bool isBusConnected)
{
    if (!isBusConnected) {
        return {ExitNoBus, methodName + QStringLiteral(": the bus has gone")};
    }
    const QDBusError error = reply.error();
    return {CodeOf(error, reply.reply().service()),
            QStringLiteral("%1: %2: %3").arg(methodName, error.name(), error.message())};
}

QString AsText(const QJsonValue& value)
{
    return value.isString() ? value.toString() : value.toVariant().toString();
}

Verdict JudgeAnswer(const QString& methodName, const QString& answer)
{
    const QJsonDocument document = QJsonDocument::fromJson(answer.toUtf8());
    if (!document.isObject()) {
        return {ExitProtocol, QStringLiteral("%1: the answer is no JSON object: %2").arg(methodName, answer)};
    }
    const QJsonObject object = document.object();
    if (!object.contains(QStringLiteral("errCode"))) {
        return {};
    }
    return {ExitRefused, QStringLiteral("%1: refused with errCode %2: %3")
                             .arg(methodName, AsText(object.value(QStringLiteral("errCode"))),
                                  AsText(object.value(QStringLiteral("errMessage"))))};
}

} // namespace

Verdict JudgeReply(const QString& methodName, const QDBusPendingReply<QString>& reply, bool isBusConnected)
{
    return reply.isError() ? JudgeError(methodName, reply, isBusConnected)
                           : JudgeAnswer(methodName, reply.value());
}

bool HoldsList(const QString& answer)
{
    const QJsonObject object = QJsonDocument::fromJson(answer.toUtf8()).object();
    return std::any_of(object.begin(), object.end(), [](const QJsonValue& value) { return value.isArray(); });
}

} // namespace Kivctl
