// SPDX-License-Identifier: MIT
#ifndef KIV_SCREENS_QUITSIGNALS_H
#define KIV_SCREENS_QUITSIGNALS_H

#include <QObject>

/** Ends the event loop at SIGTERM or SIGINT, so that everything is closed properly: exit code 0. */
class QuitSignals : public QObject
{
public:
    /** Holds the two back. Call it before the first thread is started, which makes a QGuiApplication. */
    static void Block();

    /** Takes the two from now on, and those that have arrived since Block(). */
    QuitSignals();
    ~QuitSignals() override;

private:
    const int m_Descriptor;
};

#endif // KIV_SCREENS_QUITSIGNALS_H
