// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SCREENSTAGE_H
#define KIV_TESTS_SCREENSTAGE_H

#include "SimulatorControl.h"
#include "SimulatorProcess.h"

#include <memory>

namespace KivTest {

/** The service that a screen is tested with: the simulator, a process that can be killed and started again. */
class ScreenStage
{
public:
    explicit ScreenStage(const QStringList& options = {})
        : m_Options(options)
    {
    }

    /** Starts the service, also again after it has ended. Until the first time there is none. */
    void StartService()
    {
        m_Simulator = std::make_unique<SimulatorProcess>(m_Options);
        if (!m_Simulator->WaitUntilReady()) {
            qFatal("the simulator does not become ready: %s", qPrintable(m_Simulator->Errors()));
        }
    }

    /** Ends the service without a word. */
    void KillService() { m_Simulator.reset(); }

    /** Sends the service's process a signal, such as SIGSTOP. */
    void SignalService(int number) { m_Simulator->Signal(number); }

    /**
     * Tells the service something. Only a service that has crashed, or whose process ends after it was spoken to in vain, is
     * started anew and told once more.
     */
    template <typename Tell>
    bool Reach(Tell tell)
    {
        if (IsServiceRunning() && tell()) {
            return true;
        }
        if (!QTest::qWaitFor([this] { return !IsServiceRunning(); }, kPatience)) {
            return false;
        }
        StartService();
        return tell();
    }

    bool IsServiceRunning() const { return m_Simulator && m_Simulator->IsRunning(); }

    SimulatorControl control;

private:
    const QStringList m_Options;
    std::unique_ptr<SimulatorProcess> m_Simulator;
};

} // namespace KivTest

#endif // KIV_TESTS_SCREENSTAGE_H
