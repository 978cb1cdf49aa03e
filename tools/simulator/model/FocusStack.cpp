// SPDX-License-Identifier: MIT
#include "FocusStack.h"

#include "Vocabulary.h"

#include <algorithm>

namespace Simulator {

quint32 FocusStack::Holder() const
{
    return m_Sessions.isEmpty() ? 0 : m_Sessions.last();
}

int FocusStack::PlaceOf(quint32 sessionId) const
{
    return static_cast<int>(m_Sessions.indexOf(sessionId));
}

QVector<FocusChange> FocusStack::Take(quint32 sessionId, bool isForGood)
{
    if (Holder() == sessionId) {
        return {};
    }
    QVector<FocusChange> changes = Displace(sessionId, isForGood);
    m_Sessions.append(sessionId);
    changes.append({sessionId, Value::Gained});
    return changes;
}

// Makes room for a session that may wait somewhere on the stack itself.
QVector<FocusChange> FocusStack::Displace(quint32 sessionId, bool isForGood)
{
    QVector<FocusChange> changes;
    if (!isForGood) {
        if (!m_Sessions.isEmpty()) {
            changes.append({Holder(), Value::TemporarilyLost});
        }
        m_Sessions.removeOne(sessionId);
        return changes;
    }
    m_Sessions.removeOne(sessionId);
    std::for_each(m_Sessions.crbegin(), m_Sessions.crend(), [&](quint32 loser) {
        changes.append({loser, Value::Lost});
    });
    m_Sessions.clear();
    return changes;
}

QVector<FocusChange> FocusStack::GiveBack(quint32 sessionId)
{
    const bool wasHolder = Holder() == sessionId;
    if (!m_Sessions.removeOne(sessionId)) {
        return {};
    }
    QVector<FocusChange> changes{{sessionId, Value::Lost}};
    if (wasHolder && !m_Sessions.isEmpty()) {
        changes.append({Holder(), Value::Gained});
    }
    return changes;
}

} // namespace Simulator
