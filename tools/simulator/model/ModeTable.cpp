// SPDX-License-Identifier: MIT
#include "ModeTable.h"

#include <algorithm>

namespace Simulator {

namespace {

template <typename Entries, typename Visit>
void ForEach(Entries& entries, const QString& destination, Visit visit)
{
    for (auto& entry : entries) {
        if (destination.isEmpty() || entry.destination == destination) {
            visit(entry);
        }
    }
}

} // namespace

ModeTable::ModeTable(const QVector<DestinationModes>& initial)
{
    for (const DestinationModes& one : initial) {
        m_Entries.append({one.destination, one.modes, one.modes, one.modes.value(0)});
    }
}

bool ModeTable::HasDestination(const QString& destination) const
{
    return std::any_of(m_Entries.cbegin(), m_Entries.cend(),
                       [&](const Entry& entry) { return entry.destination == destination; });
}

QStringList ModeTable::Modes(const QString& destination) const
{
    QStringList modes;
    ForEach(m_Entries, destination, [&](const Entry& entry) { modes += entry.modes; });
    modes.removeDuplicates();
    return modes;
}

QStringList ModeTable::CurrentModes(const QString& destination) const
{
    QStringList modes;
    ForEach(m_Entries, destination, [&](const Entry& entry) { modes += entry.current; });
    modes.removeDuplicates();
    return modes;
}

bool ModeTable::Set(const QString& mode, const QString& destination)
{
    bool isOffered = false;
    ForEach(m_Entries, destination, [&](Entry& entry) {
        if (entry.modes.contains(mode)) {
            entry.current = mode;
            isOffered = true;
        }
    });
    return isOffered;
}

bool ModeTable::Add(const QString& mode, const QString& destination)
{
    bool isNew = false;
    ForEach(m_Entries, destination, [&](Entry& entry) {
        isNew = isNew || !entry.modes.contains(mode);
        entry.modes.append(mode);
    });
    return isNew;
}

bool ModeTable::AddOwn(const QString& mode, const QString& destination)
{
    ForEach(m_Entries, destination, [&](Entry& entry) { entry.ownModes.append(mode); });
    return Add(mode, destination);
}

bool ModeTable::HasOwn(const QString& mode, const QString& destination) const
{
    bool isOwn = false;
    ForEach(m_Entries, destination,
            [&](const Entry& entry) { isOwn = isOwn || entry.ownModes.contains(mode); });
    return isOwn;
}

QString ModeTable::EmptiedBy(const QString& mode, const QString& destination) const
{
    QStringList emptied;
    ForEach(m_Entries, destination, [&](const Entry& entry) {
        if (entry.ownModes == QStringList(mode)) {
            emptied.append(entry.destination);
        }
    });
    return emptied.value(0);
}

void ModeTable::RemoveFrom(Entry& entry, const QString& mode, Removal& removal)
{
    entry.modes.removeAt(entry.modes.lastIndexOf(mode));
    if (entry.modes.contains(mode)) {
        return;
    }
    removal.isGone = true;
    if (entry.current == mode) {
        entry.current = entry.modes.first();
        removal.newModes += entry.current;
        removal.newModes.removeDuplicates();
    }
}

ModeTable::Removal ModeTable::Remove(const QString& mode, const QString& destination)
{
    Removal removal;
    ForEach(m_Entries, destination, [&](Entry& entry) { RemoveFrom(entry, mode, removal); });
    return removal;
}

ModeTable::Removal ModeTable::RemoveOwn(const QString& mode, const QString& destination)
{
    Removal removal;
    ForEach(m_Entries, destination, [&](Entry& entry) {
        if (entry.ownModes.removeOne(mode)) {
            RemoveFrom(entry, mode, removal);
        }
    });
    return removal;
}

} // namespace Simulator
