// SPDX-License-Identifier: MIT
#include "NameBook.h"

namespace Kivctl {

void NameBook::SetOwner(const QString& name, const QString& owner)
{
    const QString former = m_Owners.take(name);
    if (!former.isEmpty()) {
        m_Names[former].removeAll(name);
        if (m_Names[former].isEmpty()) {
            m_Names.remove(former);
        }
    }
    if (!owner.isEmpty()) {
        m_Owners.insert(name, owner);
        m_Names[owner].append(name);
        m_Names[owner].sort();
    }
}

QString NameBook::UniqueNameOf(const QString& name) const
{
    return name.startsWith(QLatin1Char(':')) ? name : m_Owners.value(name);
}

QStringList NameBook::NamesOf(const QString& uniqueName) const
{
    return m_Names.value(uniqueName);
}

} // namespace Kivctl
