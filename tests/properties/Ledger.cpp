// SPDX-License-Identifier: MIT
#include "Ledger.h"

#include <algorithm>

namespace KivTest {

void Ledger::Returned(Operation operation, quint32 id, bool isSent)
{
    if (isSent != (id != 0) && operation != Operation::SetMode) {
        Complain(isSent ? "was sent and has no identifier" : "was not sent and has an identifier", operation,
                 id);
    }
    if (!isSent || id == 0 || m_StoredIds.contains(id)) {
        return;
    }
    if (id <= m_LastId) {
        Complain("has an identifier that was issued before", operation, id);
    }
    m_LastId = std::max(m_LastId, id);
    m_Completions.insert({id, operation}, 0);
}

void Ledger::Stored(quint32 id)
{
    if (id != 0) {
        m_StoredIds.insert(id);
        m_LastId = std::max(m_LastId, id);
    }
}

void Ledger::Completed(Operation operation, quint32 id)
{
    if (operation == Operation::SetMode && m_StoredIds.contains(id)) {
        return;
    }
    const auto sent = m_Completions.find({id, operation});
    if (sent == m_Completions.end()) {
        Complain("was never sent and completes", operation, id);
    } else if (++*sent > 1) {
        Complain("completes again", operation, id);
    }
}

void Ledger::Close()
{
    for (auto sent = m_Completions.cbegin(); sent != m_Completions.cend(); ++sent) {
        if (*sent == 0) {
            Complain("was answered and has not completed", sent.key().second, sent.key().first);
        }
    }
}

void Ledger::Complain(const char* what, Operation operation, quint32 id)
{
    m_Complaints.append(QStringLiteral("%1 %2 %3").arg(NameOf(operation)).arg(id).arg(QLatin1String(what)));
}

} // namespace KivTest
