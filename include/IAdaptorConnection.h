// SPDX-License-Identifier: MIT
#ifndef IADAPTORCONNECTION_H
#define IADAPTORCONNECTION_H

#include "KivQtDbusExport.h"

class QObject;
class QString;

namespace Audio::Utils::Kiv::QtDbus {

/**
 * Makes a client's object reachable under a path on the bus.
 *
 * Clients keep a reference: the object must outlive them. They use it once, on their thread, in Initialize()
 * or when the service appears. AdaptorConnection is the real one.
 */
class KIV_QTDBUS_EXPORT IAdaptorConnection
{
public:
    /** For derived classes; objects are not copied. */
    IAdaptorConnection() = default;
    IAdaptorConnection(const IAdaptorConnection&) = delete;
    IAdaptorConnection& operator=(const IAdaptorConnection&) = delete;
    virtual ~IAdaptorConnection() = default;

    /**
     * Exports an object.
     *
     * @param busName the client's bus name.
     * @param objectPath the path.
     * @param object the object, not owned.
     * @return false when it could not be exported; the client's initialisation then fails.
     */
    virtual bool RegisterObject(const QString& busName, const QString& objectPath, QObject* object) = 0;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // IADAPTORCONNECTION_H
