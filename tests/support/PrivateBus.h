// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_PRIVATEBUS_H
#define KIV_TESTS_PRIVATEBUS_H

#include "PreparedProcess.h"

#include <QString>
#include <QTemporaryDir>

namespace KivTest {

/**
 * A bus daemon of our own, to which this process and its children connect as if it were the system bus.
 *
 * Start it before the first use of the system bus. No root, no system bus; many can run side by side.
 */
class PrivateBus
{
public:
    /**
     * Starts the daemon and sets DBUS_SYSTEM_BUS_ADDRESS; aborts the test program when that fails.
     *
     * @param limits "limit" elements of the daemon's configuration.
     */
    explicit PrivateBus(const QString& limits = QString());

    /** Ends the daemon. */
    ~PrivateBus();

    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    QString Address() const;

    /** Kills the daemon at once, as a crash would. */
    void Kill();

    /** Sends a signal to the daemon. May be called from any thread, unlike the rest. */
    void Signal(int number) const;

private:
    class Daemon : public Tools::PreparedProcess
    {
    protected:
        void Prepare() override;
    };

    QTemporaryDir m_Directory;
    Daemon m_Daemon;
    QString m_Address;
    qint64 m_ProcessId = 0;
};

} // namespace KivTest

#endif // KIV_TESTS_PRIVATEBUS_H
