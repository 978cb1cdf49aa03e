// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_FOCUSSTACK_H
#define SIMULATOR_MODEL_FOCUSSTACK_H

#include <QLatin1String>
#include <QVector>

namespace Simulator {

/** A session's focus has become "gained", "lost" or "temporarilyLost". */
struct FocusChange
{
    quint32 sessionId;
    QLatin1String newFocus;
};

/**
 * Who holds the focus, and who waits below to get it back.
 *
 * A session that takes the focus for good clears the stack; one that takes it for a while goes on top, and the one
 * below gets the focus back when it goes. So at most the lowest session has the focus for good. Who loses the focus
 * comes before who gets it in every list of changes.
 */
class FocusStack
{
public:
    /** The session that holds the focus; 0 when nobody does. */
    quint32 Holder() const;

    /** Where a session is, 0 being the lowest place; -1 when it neither holds the focus nor waits for it. */
    int PlaceOf(quint32 sessionId) const;

    /** Gives a session the focus. Nothing changes when it holds it already. */
    QVector<FocusChange> Take(quint32 sessionId, bool isForGood);

    /** Takes a session off the stack. Nothing changes when it is not on it. */
    QVector<FocusChange> GiveBack(quint32 sessionId);

private:
    QVector<FocusChange> Displace(quint32 sessionId, bool isForGood);

    QVector<quint32> m_Sessions; ///< the holder comes last
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_FOCUSSTACK_H
