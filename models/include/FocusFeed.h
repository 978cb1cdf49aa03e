// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_FOCUSFEED_H
#define KIV_MODELS_FOCUSFEED_H

#include "HmiListModel.h"

#include <QHash>

#include <memory>

namespace Audio::Utils::Kiv::Models {

struct FocusEvent;

/**
 * What the service tells every HMI of the focus of streams, whatever the destination: a list of events, the
 * newest first.
 *
 * At most #limit events are kept. An event comes in as row 0, and then the last row goes if there are too
 * many. Events that were sent while this program had no session, or before start(), are not in the list. The
 * list outlives restarts of the service.
 *
 * Life, threads, blocking, signals: see HmiListModel.
 *
 * @code
 * FocusFeed feed;
 * feed.setLimit(20);
 * QObject::connect(&feed, &FocusFeed::rowsInserted, [&feed] {
 *     const QModelIndex newest = feed.index(0);
 *     qInfo() << newest.data(FocusFeed::StreamNameRole) << newest.data(FocusFeed::NewFocusRole);
 * });
 * feed.start();
 * QCoreApplication::exec();
 * @endcode
 */
class KIV_AUDIO_MODELS_EXPORT FocusFeed : public HmiListModel
{
    Q_OBJECT
    /** How many events are kept: 100 by default, at least 1. It can be changed at any time. */
    Q_PROPERTY(int limit READ limit WRITE setLimit NOTIFY limitChanged)

public:
    /** What a row tells: the event's texts as they came; in QML `streamName` … `time`. */
    enum Role
    {
        StreamNameRole = Qt::UserRole + 1, ///< QString
        StreamModeNameRole,                ///< QString: the mode that the stream offers; may be empty.
        FocusTypeRole,                     ///< QString: "permanent" or "transient", for instance.
        StreamTypeRole,                    ///< QString: "Media", for instance.
        DestinationRole,                   ///< QString: where the stream plays.
        NewFocusRole,                      ///< QString: "gained", "lost" or "temporarilyLost", for instance.
        TimeRole                           ///< QDateTime: when the event came, in local time.
    };
    Q_ENUM(Role)

    /** An empty list. @param parent the Qt parent. */
    explicit FocusFeed(QObject* parent = nullptr);

    /** As that of HmiListModel. */
    ~FocusFeed() override;

    /** @return #limit. */
    int limit() const;

    /**
     * Sets #limit, and removes the oldest events when there are more.
     *
     * @param limit from 1; a smaller one gives a warning and changes nothing.
     */
    void setLimit(int limit);

    /** Removes all events; later ones come in as before. */
    Q_INVOKABLE void clear();

    /**
     * What a row tells.
     *
     * @param index the row.
     * @param role one of #Role.
     * @return the value; invalid for any other role or index.
     */
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    /** @return the names that the values of #Role have in QML. */
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    /** #limit is another one. After the rows that are too many have gone. */
    void limitChanged();

private:
    struct Data;

    void attach() override;
    void follow() override;
    int size() const override;

    void add(const FocusEvent& event);
    void keep(int count);

    std::unique_ptr<Data> m_Data;
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_FOCUSFEED_H
