// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_TERMINATIONSIGNAL_H
#define SIMULATOR_TERMINATIONSIGNAL_H

#include <QObject>

class QSocketNotifier;

namespace Simulator {

/** SIGINT and SIGTERM as a Qt signal. */
class TerminationSignal : public QObject
{
    Q_OBJECT

public:
    /** Keeps the two from ending the program. Call it before the first thread is started. */
    static void Block();

    TerminationSignal();
    ~TerminationSignal() override;

Q_SIGNALS:
    /** One of the two has arrived, perhaps before this object was made. */
    void Received();

private:
    void Read();

    const int m_Descriptor;
    QSocketNotifier* m_Notifier;
};

} // namespace Simulator

#endif // SIMULATOR_TERMINATIONSIGNAL_H
