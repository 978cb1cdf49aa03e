// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_STREAMSETTINGS_H
#define KIV_MODELS_STREAMSETTINGS_H

#include "session/ClientNames.h"

#include <QCoreApplication>
#include <QString>

namespace Audio::Utils::Kiv::Models {

/** How a stream is configured, as it was set. */
struct StreamSettings
{
    QString name;
    QString streamType = QStringLiteral("Media");
    bool isPermanent = true;
    QString busName;    ///< Empty for the default.
    QString objectPath; ///< Likewise.
    QString destination;

    QString UsedBusName() const
    {
        return busName.isEmpty() ? DefaultBusName(QCoreApplication::applicationName()) : busName;
    }

    QString UsedObjectPath() const
    {
        return objectPath.isEmpty() ? DefaultObjectPath(UsedBusName()) : objectPath;
    }
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_STREAMSETTINGS_H
