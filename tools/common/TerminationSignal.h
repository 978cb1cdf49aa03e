// SPDX-License-Identifier: MIT
#ifndef TOOLS_TERMINATIONSIGNAL_H
#define TOOLS_TERMINATIONSIGNAL_H

#include "SignalReader.h"

#include <QObject>

namespace Tools {

/** SIGINT and SIGTERM as a Qt signal. */
class TerminationSignal : public QObject
{
    Q_OBJECT

public:
    /** Keeps the two from ending the program. Call it before the first thread is started. */
    static void Block();

    /** Undoes Block(). For a child process, between fork and exec; calls nothing else. */
    static void Unblock();

    /** SIGINT or SIGTERM if it has arrived and was not told yet; else 0. */
    static int Pending();

    TerminationSignal();

Q_SIGNALS:
    /** One of the two has arrived, perhaps before this object was made. @param number SIGINT or SIGTERM. */
    void Received(int number);

private:
    SignalReader m_Reader;
};

} // namespace Tools

#endif // TOOLS_TERMINATIONSIGNAL_H
