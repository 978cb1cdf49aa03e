// SPDX-License-Identifier: MIT
#ifndef TERMINATIONSIGNAL_H
#define TERMINATIONSIGNAL_H

#include <QObject>

/** SIGINT and SIGTERM as a Qt signal, so that a program ends as if its window had been closed. */
class TerminationSignal : public QObject
{
    Q_OBJECT

public:
    /** Holds both back. To be called before there is another thread. */
    static void Block();

    TerminationSignal();
    ~TerminationSignal() override;

Q_SIGNALS:
    void Received();

private:
    const int m_Descriptor;
};

#endif // TERMINATIONSIGNAL_H
