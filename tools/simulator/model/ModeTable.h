// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_MODETABLE_H
#define SIMULATOR_MODEL_MODETABLE_H

#include <QString>
#include <QStringList>
#include <QVector>

namespace Simulator {

/** A destination and the modes that it offers from the start: at least one, none twice. */
struct DestinationModes
{
    QString destination;
    QStringList modes;

    bool operator==(const DestinationModes& other) const
    {
        return destination == other.destination && modes == other.modes;
    }
};

/**
 * The modes that each destination offers, and the current one of each: the first, to begin with.
 *
 * A mode is the device's own, or a stream's; it can be both. Each destination keeps at least one of the device's
 * own, so a list never becomes empty. A mode that is added while it is offered already is offered until it was
 * removed as often; so a list never holds a mode twice.
 *
 * Where a destination is an argument, an empty text means all of them.
 */
class ModeTable
{
public:
    explicit ModeTable(const QVector<DestinationModes>& initial);

    bool HasDestination(const QString& destination) const;

    /** The modes on offer, joined in the order of the destinations, without repeating one. */
    QStringList Modes(const QString& destination) const;

    /** The current mode of each destination, without repeating one. */
    QStringList CurrentModes(const QString& destination) const;

    /** Makes a mode current wherever it is offered. @return false when it is offered nowhere. */
    bool Set(const QString& mode, const QString& destination);

    /** Adds a mode. @return whether a destination offers it that did not. */
    bool Add(const QString& mode, const QString& destination);

    /** Adds a mode of the device itself. @return whether a destination offers it that did not. */
    bool AddOwn(const QString& mode, const QString& destination);

    /** Whether a mode is the device's own at a destination. */
    bool HasOwn(const QString& mode, const QString& destination) const;

    /** The first destination that has no other mode of the device itself; empty when there is none. */
    QString EmptiedBy(const QString& mode, const QString& destination) const;

    /** What a removal has done. */
    struct Removal
    {
        bool isGone = false;  ///< a destination no longer offers the mode
        QStringList newModes; ///< the modes that have become current in its place, without repeating one
    };

    /** Removes a stream's mode, which was added. The first mode becomes current where the removed one was. */
    Removal Remove(const QString& mode, const QString& destination);

    /** Removes a mode wherever it is the device's own. EmptiedBy() must be empty. */
    Removal RemoveOwn(const QString& mode, const QString& destination);

private:
    struct Entry
    {
        QString destination;
        QStringList modes;    ///< may repeat a mode that was added again; the first counts for the order
        QStringList ownModes; ///< those among them that are the device's own
        QString current;
    };

    static void RemoveFrom(Entry& entry, const QString& mode, Removal& removal);

    QVector<Entry> m_Entries;
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_MODETABLE_H
