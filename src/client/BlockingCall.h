// SPDX-License-Identifier: MIT
#ifndef KIV_CLIENT_BLOCKINGCALL_H
#define KIV_CLIENT_BLOCKINGCALL_H

#include "JsonParameterParser.h"
#include "KivBaseClient.h"

#include <QMap>
#include <QString>
#include <QVariant>

namespace Audio::Utils::Kiv::QtDbus {

/** KivBaseClient::ServiceRequest() with the arguments encoded. */
inline bool BlockingCall(KivBaseClient& client, const QString& methodName,
                         const QMap<QString, QVariant>& parameters, QString& result)
{
    QString arguments;
    AddParameters(parameters, arguments);
    return client.ServiceRequest(methodName, arguments, result);
}

/** Likewise, for a caller who needs to know only whether the service accepted the request. */
inline bool BlockingCall(KivBaseClient& client, const QString& methodName,
                         const QMap<QString, QVariant>& parameters)
{
    QString result;
    return BlockingCall(client, methodName, parameters, result);
}

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_CLIENT_BLOCKINGCALL_H
