// SPDX-License-Identifier: MIT
#ifndef DEVICE_H
#define DEVICE_H

#include "Deed.h"
#include "NamePresence.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <functional>

/** The simulated device: kiv-audio-simulator, through its control interface. Nothing here waits for an answer. */
class Device : public QObject
{
    Q_OBJECT

public:
    /** What becomes of a deed. @param refusal why it was not done; empty when it was. */
    using Outcome = std::function<void(const QString& refusal)>;

    enum class State
    {
        Absent,         ///< There is no simulator.
        ServiceStopped, ///< There is one; the service that it plays is not on the bus.
        ServiceRunning
    };

    explicit Device(const QDBusConnection& bus);

    State CurrentState() const;

    /** Asks the simulator to do something. @param outcome called once, later; not when the device is destroyed. */
    void Do(const Deed& deed, const Outcome& outcome);

Q_SIGNALS:
    /** CurrentState() has changed. */
    void StateChanged();

private:
    QDBusConnection m_Bus;
    NamePresence
        m_Service; // is asked for first: a simulator that is found is not without a service for a moment
    NamePresence m_Simulator;
};

#endif // DEVICE_H
