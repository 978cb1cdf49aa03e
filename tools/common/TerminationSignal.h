// SPDX-License-Identifier: MIT
#ifndef TOOLS_TERMINATIONSIGNAL_H
#define TOOLS_TERMINATIONSIGNAL_H

#include <QObject>

class QSocketNotifier;

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

    TerminationSignal();
    ~TerminationSignal() override;

Q_SIGNALS:
    /** One of the two has arrived, perhaps before this object was made. @param number SIGINT or SIGTERM. */
    void Received(int number);

private:
    void Read();

    const int m_Descriptor;
    QSocketNotifier* m_Notifier;
};

} // namespace Tools

#endif // TOOLS_TERMINATIONSIGNAL_H
