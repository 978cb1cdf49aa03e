// SPDX-License-Identifier: MIT
#ifndef DEED_H
#define DEED_H

#include <QString>
#include <QVariantList>

/** What the simulated device can be asked to do: a call of the simulator's control interface. */
struct Deed
{
    QString method;
    QVariantList arguments;

    /** The device offers a mode, at all destinations. */
    static Deed AddMode(const QString& mode);

    /** The device offers it no longer. */
    static Deed RemoveMode(const QString& mode);

    /** Somebody presses a mode on the device's panel. */
    static Deed PressMode(const QString& mode);

    /** A phone call interrupts whoever has the audio focus. */
    static Deed StartCall();

    /** The phone call is over. */
    static Deed EndCall();

    /** The service leaves the bus; it keeps its sessions. */
    static Deed StopService();

    /** The service returns to the bus. */
    static Deed StartService();

    /** The service leaves the bus, and soon returns without sessions, as after a crash. */
    static Deed RestartService();

    /** The next request of any client is answered late. */
    static Deed DelayNextRequest();

    /** The next request of any client is refused. */
    static Deed RefuseNextRequest();
};

#endif // DEED_H
