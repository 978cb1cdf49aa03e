// SPDX-License-Identifier: MIT
#ifndef ISERVICEREGISTRATOR_H
#define ISERVICEREGISTRATOR_H

#include "KivQtDbusExport.h"

#include <QString>

namespace Audio::Utils::Kiv::QtDbus {

/**
 * Stands for the bus name under which the service can call this program's clients.
 *
 * Clients read the name once, in their constructor, and keep a reference: the object must outlive them.
 * Derive from it to give clients a name without a bus, in tests for instance.
 */
class KIV_QTDBUS_EXPORT IServiceRegistrator
{
public:
    /** For derived classes; objects are not copied. */
    IServiceRegistrator() = default;
    IServiceRegistrator(const IServiceRegistrator&) = delete;
    IServiceRegistrator& operator=(const IServiceRegistrator&) = delete;
    virtual ~IServiceRegistrator() = default;

    /** @return the bus name; the reference is valid as long as this object. */
    virtual const QString& GetServiceName() const = 0;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // ISERVICEREGISTRATOR_H
