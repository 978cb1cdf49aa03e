// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_COMMANDSIGNALS_H
#define SIMULATOR_COMMANDSIGNALS_H

#include "SignalReader.h"

#include <QObject>

namespace Simulator {

/**
 * What is meant for the supervised command: SIGINT, SIGTERM, and SIGHUP and SIGQUIT unless they are ignored.
 *
 * From its construction on they do not end this program any more, for good: a second one must not keep it
 * from cleaning up. Make it before the first thread is started.
 */
class CommandSignals : public QObject
{
    Q_OBJECT

public:
    CommandSignals();

    /** Has them end a program again. For a child process, between fork and exec; calls nothing else. */
    static void Unblock();

    /** Takes one that has arrived and was not told yet. @return its number, 0 for none. */
    int Take();

Q_SIGNALS:
    /** @param isTyped a key of the terminal has sent it to the whole foreground process group. */
    void Received(int number, bool isTyped);

private:
    Tools::SignalReader m_Reader;
};

} // namespace Simulator

#endif // SIMULATOR_COMMANDSIGNALS_H
