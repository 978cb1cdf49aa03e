// SPDX-License-Identifier: MIT
#ifndef KIV_TESTS_LEDGER_H
#define KIV_TESTS_LEDGER_H

#include "Schedule.h"

#include <QMap>
#include <QPair>
#include <QSet>
#include <QString>
#include <QStringList>

namespace KivTest {

/**
 * Keeps account of one client's identifiers from what can be seen of it alone: what was sent, returned and
 * completed. Knows no rule but that a request that was sent completes exactly once, under its own identifier.
 *
 * Stored mode requests are left out: their identifiers may complete any number of times.
 */
class Ledger
{
public:
    /** An …Async operation has returned. @param isSent whether a request was sent meanwhile. */
    void Returned(Operation operation, quint32 id, bool isSent);

    /** A mode request is stored under this identifier. */
    void Stored(quint32 id);

    /** A completion signal. */
    void Completed(Operation operation, quint32 id);

    /** Checks that nothing is missing. For a client that lives, when every answer has come. */
    void Close();

    /** What was wrong so far, a line each. */
    QStringList Complaints() const { return m_Complaints; }

private:
    using Key = QPair<quint32, Operation>;

    void Complain(const char* what, Operation operation, quint32 id);

    QMap<Key, int> m_Completions; // of what was sent
    QSet<quint32> m_StoredIds;
    quint32 m_LastId = 0;
    QStringList m_Complaints;
};

} // namespace KivTest

#endif // KIV_TESTS_LEDGER_H
