// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_CLIENTNAMES_H
#define KIV_MODELS_CLIENTNAMES_H

#include <QString>

namespace Audio::Utils::Kiv::Models {

/**
 * The bus name of a program that has not chosen one: "com.quorvantel.audioclient." and the application's name, in which
 * "_" stands for what a bus name does not allow. "client" for an application without a name.
 */
QString DefaultBusName(const QString& applicationName);

/** The object path that belongs to a bus name: "/" in the place of ".", and "_" in that of "-". */
QString DefaultObjectPath(const QString& busName);

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_CLIENTNAMES_H
