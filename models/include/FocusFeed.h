// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_FOCUSFEED_H
#define KIV_MODELS_FOCUSFEED_H

#include "HmiListModel.h"

#include <QHash>

#include <memory>

namespace Audio::Utils::Kiv::Models {

struct FocusEvent;

/**
 * What the service tells every HMI of the focus of streams, whatever the destination: a list of events, the newest first.
 *
 * At most #limit events are kept. An event comes in as row 0, and then the last row goes if there are too many. Events
 * that were sent while this program had no session, or before start(), are not in the list. The list outlives restarts of
 * the service.
 *
 * Life, threads, blocking, signals: see HmiListModel.
 *
 * @code
 * FocusFeed feed;
 * feed.setLimit(20);
 * QObject::connect(&feed, &FocusFeed::rowsInserted, [&feed] {
 *     qInfo() << feed.index(0).data(FocusFeed::StreamNameRole) << feed.index(0).data(FocusFeed::NewFocusRole);
 * });
 * feed.start();
 * QCoreApplication::exec();
 * @endcode
 */
class KIV_AUDIO_MODELS_EXPORT FocusFeed : public HmiListModel
{
    Q_OBJECT
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

    explicit FocusFeed(QObject* parent = nullptr);
    ~FocusFeed() override;

    /** How many events are kept: 100 by default. */
    int limit() const;

    /** Removes the oldest events when there are more. A limit below 1 gives a warning and changes nothing. */
    void setLimit(int limit);

    /** Removes all events. */
    Q_INVOKABLE void clear();

    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
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
