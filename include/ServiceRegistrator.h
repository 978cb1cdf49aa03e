// SPDX-License-Identifier: MIT
#ifndef SERVICEREGISTRATOR_H
#define SERVICEREGISTRATOR_H

#include "IServiceRegistrator.h"
#include "KivQtDbusExport.h"

#include <QMap>
#include <QMutex>
#include <QString>

class QDBusConnection;

namespace Audio::Utils::Kiv::QtDbus {

/**
 * Holds one reference to a bus name of this process.
 *
 * The name is taken on the bus when the first registrator for it is made and given back when the last one is
 * destroyed, so that several clients of one program can share it. The references are counted by name for the
 * whole process, whichever connection they were made on.
 *
 * **Errors.** A name that the bus refuses is logged as critical and otherwise ignored: the object exists all
 * the same, and later registrators do not try again. The service then cannot call the clients. A first
 * registration that *succeeds* writes a warning ("register count is less than 1 …"); it is harmless.
 *
 * **Threads.** Registrators may be made and destroyed on any thread. Both block on the bus while they hold a
 * process-wide lock.
 *
 * @code
 * QDBusConnection bus = QDBusConnection::systemBus();
 * ServiceRegistrator registrator(bus, QStringLiteral("com.quorvantel.audioclient.player"));
 * @endcode
 */
class KIV_QTDBUS_EXPORT ServiceRegistrator : public IServiceRegistrator
{
public:
    /**
     * @param connection the bus; kept as a reference, must outlive the registrator.
     * @param serviceName the bus name. With an empty one nothing is counted or registered. The shipped policy of the
     *        system bus lets clients own the children of "com.quorvantel.audioclient".
     */
    ServiceRegistrator(QDBusConnection& connection, const QString& serviceName);

    /** Gives the name back when this is the last registrator for it. Blocks on the bus then. */
    ~ServiceRegistrator() override;

    /** @return the name given to the constructor, also when the bus has refused it. */
    const QString& GetServiceName() const override;

protected:
    QDBusConnection& m_Connection; ///< The bus, not owned.
    QString m_ServiceName;         ///< See GetServiceName().

    /** The number of living registrators by bus name; an entry stays when it has gone down to 0. */
    static QMap<QString, int> smServiceRegisteredCount;
    /** Guards the counts, and keeps counting and the call to the bus together. */
    static QMutex smCountLock;
};

} // namespace Audio::Utils::Kiv::QtDbus

#endif // SERVICEREGISTRATOR_H
