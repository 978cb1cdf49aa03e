// SPDX-License-Identifier: MIT
#include "FocusFeed.h"

#include "session/HmiSession.h"

#include <QPointer>

#include <deque>

namespace Audio::Utils::Kiv::Models {

struct FocusFeed::Data
{
    std::deque<FocusEvent> events;
    int limit = 100;
};

FocusFeed::FocusFeed(QObject* parent)
    : HmiListModel(parent),
      m_Data(std::make_unique<Data>())
{
}

FocusFeed::~FocusFeed() = default;

int FocusFeed::limit() const
{
    return m_Data->limit;
}

void FocusFeed::setLimit(int limit)
{
    if (limit < 1) {
        qWarning("%s: limit %d: expected a number from 1", metaObject()->className(), limit);
        return;
    }
    if (limit == m_Data->limit) {
        return;
    }
    m_Data->limit = limit;
    const QPointer<FocusFeed> self(this);
    keep(limit);
    if (!self.isNull()) {
        Q_EMIT limitChanged();
    }
}

void FocusFeed::clear()
{
    keep(0);
}

QVariant FocusFeed::data(const QModelIndex& index, int role) const
{
    if (!hasRow(index)) {
        return {};
    }
    const FocusEvent& event = m_Data->events.at(static_cast<std::size_t>(index.row()));
    switch (role) {
    case StreamNameRole:
        return event.streamName;
    case StreamModeNameRole:
        return event.streamModeName;
    case FocusTypeRole:
        return event.focusType;
    case StreamTypeRole:
        return event.streamType;
    case DestinationRole:
        return event.destination;
    case NewFocusRole:
        return event.newFocus;
    case TimeRole:
        return event.time;
    default:
        return {};
    }
}

QHash<int, QByteArray> FocusFeed::roleNames() const
{
    return {{StreamNameRole, "streamName"},
            {StreamModeNameRole, "streamModeName"},
            {FocusTypeRole, "focusType"},
            {StreamTypeRole, "streamType"},
            {DestinationRole, "destination"},
            {NewFocusRole, "newFocus"},
            {TimeRole, "time"}};
}

void FocusFeed::attach()
{
    connect(session(), &HmiSession::FocusChanged, this, &FocusFeed::add);
}

void FocusFeed::follow() {}

int FocusFeed::size() const
{
    return static_cast<int>(m_Data->events.size());
}

void FocusFeed::add(const FocusEvent& event)
{
    const QPointer<FocusFeed> self(this);
    beginInsertRows(QModelIndex(), 0, 0);
    m_Data->events.push_front(event);
    endInsertRows();
    if (!self.isNull()) {
        keep(m_Data->limit);
    }
}

// The newest.
void FocusFeed::keep(int count)
{
    const QPointer<FocusFeed> self(this);
    if (size() > count) {
        beginRemoveRows(QModelIndex(), count, size() - 1);
        m_Data->events.erase(m_Data->events.begin() + count, m_Data->events.end());
        endRemoveRows();
    }
    if (!self.isNull()) {
        tellCount();
    }
}

} // namespace Audio::Utils::Kiv::Models
