// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_SIMULATOR_H
#define KIV_TESTS_SIMULATOR_H

#include "SimulatorControl.h"

#include <QObject>

namespace KivTest {

/** The simulator's control interface, in QML. Calls block. */
class Simulator : public QObject
{
    Q_OBJECT

public:
    /** Calls a method that has no result. @return whether it was done; a warning says why not. */
    Q_INVOKABLE bool tell(const QString& method, const QVariantList& arguments = {})
    {
        const bool isDone = m_Control.Tell(method, arguments);
        if (!isDone) {
            qWarning("%s", qPrintable(m_Control.Error()));
        }
        return isDone;
    }

    /** So many calls of a method have come in since the scenario started. */
    Q_INVOKABLE int callCount(const QString& method) { return static_cast<int>(m_Control.CallCount(method)); }

private:
    SimulatorControl m_Control;
};

} // namespace KivTest

#endif // KIV_TESTS_SIMULATOR_H
