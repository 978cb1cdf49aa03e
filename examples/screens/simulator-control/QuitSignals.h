// SPDX-License-Identifier: MIT
#ifndef QUITSIGNALS_H
#define QUITSIGNALS_H

#include <QSocketNotifier>

#include <memory>

/** SIGINT and SIGTERM end the program as its last window does: with exit code 0. */
class QuitSignals
{
public:
    /** Make it before the application object, which starts threads. */
    QuitSignals();

    ~QuitSignals();

    QuitSignals(const QuitSignals&) = delete;
    QuitSignals& operator=(const QuitSignals&) = delete;

    /** Begins to listen. Call it when there is an application object. */
    void Listen();

private:
    int m_Descriptor;
    std::unique_ptr<QSocketNotifier> m_Notifier;
};

#endif // QUITSIGNALS_H
