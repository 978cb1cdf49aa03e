// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_PRIVATEBUSDAEMON_H
#define SIMULATOR_PRIVATEBUSDAEMON_H

#include "ChildProcess.h"

#include <QString>
#include <QTemporaryDir>

namespace Simulator {

/**
 * A bus daemon of our own, for the user who started it: everybody on it may own every name, send and receive
 * everything, and monitor. It starts no services. Its files are in a temporary folder, removed with this
 * object.
 */
class PrivateBusDaemon
{
public:
    PrivateBusDaemon();

    /** Returns when clients can connect. @return false when that fails, see ErrorText. */
    bool Start();

    /** Where the bus is, once it has started. */
    QString Address() const;

    /** Why it did not start. */
    QString ErrorText() const;

    /** For its signals, and its fate. */
    HelperProcess& Process();

private:
    bool WriteConfiguration(const QString& path);

    QTemporaryDir m_Folder;
    HelperProcess m_Process;
    QString m_Address;
    QString m_ErrorText;
};

} // namespace Simulator

#endif // SIMULATOR_PRIVATEBUSDAEMON_H
