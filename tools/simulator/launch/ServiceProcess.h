// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SERVICEPROCESS_H
#define SIMULATOR_SERVICEPROCESS_H

#include "ChildProcess.h"

namespace Simulator {

/** The service as a process of its own, so that it can crash while the command goes on. */
class ServiceProcess : public HelperProcess
{
public:
    ServiceProcess();

    /** Stops it, and prints what it had still to say. */
    ~ServiceProcess() override;

    /**
     * Returns when it can be called; whatever else it prints goes to standard error from then on.
     *
     * @param arguments the simulator's options; --address is added.
     * @return false when it does not get ready, see Fate().
     */
    bool Start(const QString& address, const QStringList& arguments);

private:
    void ForwardLines();
};

} // namespace Simulator

#endif // SIMULATOR_SERVICEPROCESS_H
