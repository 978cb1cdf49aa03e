// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_HMILISTMODEL_H
#define KIV_MODELS_HMILISTMODEL_H

#include "KivAudioModelsExport.h"

#include <QAbstractListModel>
#include <QString>

#include <memory>

namespace Audio::Utils::Kiv::Models {

class HmiSession;

/**
 * What AudioModesModel and FocusFeed have in common: a client of the audio service that outlives its restarts, and how
 * it is named.
 *
 * **Life.** Construct, set what is to be other than the default, start(), use, destroy. The service need not run yet.
 * When it leaves, #available turns false; when it is back, a new session is opened by itself.
 *
 * **Sharing.** Models of one thread with the same #busName, #objectPath and #destination share one client, and what
 * one of them asks for shows in all. Two clients cannot have one object path: the later one does not become available
 * until the earlier one is gone. This holds for an AudioStream of the same program, too.
 *
 * **Threads.** A model belongs to one thread, which runs an event loop. On the main thread, use
 * `QDBusConnection::systemBus()` before `exec()`, and call start() from `QTimer::singleShot(0, …)`: Qt notices then when
 * the bus is lost.
 *
 * **Blocking.** start() waits while a service that is there opens a session, and so does the thread in the moment when a
 * late service appears for the first time: 25 s at most, when the service hangs. The constructor, destructor and start()
 * wait for the bus itself. Nothing else waits. All properties and data are cached: reading them causes no bus message.
 *
 * **Signals** are emitted for real changes only, from the event loop or from within start() or the function that made the
 * change. A slot may delete the model.
 */
class KIV_AUDIO_MODELS_EXPORT HmiListModel : public QAbstractListModel
{
    Q_OBJECT
    Q_PROPERTY(QString busName READ busName WRITE setBusName NOTIFY busNameChanged)
    Q_PROPERTY(QString objectPath READ objectPath WRITE setObjectPath NOTIFY objectPathChanged)
    Q_PROPERTY(QString destination READ destination WRITE setDestination NOTIFY destinationChanged)
    Q_PROPERTY(bool available READ isAvailable NOTIFY availableChanged)
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    ~HmiListModel() override;

    /**
     * Under which name the program is on the bus: "com.quorvantel.audioclient." and the application's name by default,
     * in which "_" stands for what a bus name does not allow. An empty text sets the default. A name that another
     * program has is reported in the log only.
     */
    QString busName() const;

    /**
     * Under which path the service calls the client: #busName as a path, and "/hmi", by default. An empty text sets the
     * default.
     */
    QString objectPath() const;

    /** What the session and its modes are about, a zone for instance; empty, the default, for all. */
    QString destination() const;

    /** Whether there is a session with the service. */
    bool isAvailable() const;

    /** The number of rows. */
    int count() const;

    /** These three: after start() a warning, and nothing changes. */
    void setBusName(const QString& name);
    void setObjectPath(const QString& path);
    void setDestination(const QString& destination);

    /** Goes to work. Later calls do nothing. */
    Q_INVOKABLE void start();

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;

Q_SIGNALS:
    void busNameChanged();
    void objectPathChanged();
    void destinationChanged();
    void availableChanged();
    void countChanged();

protected:
    explicit HmiListModel(QObject* parent);

    /** The session; null before start(). */
    HmiSession* session() const;

    /** Whether an index names a row of this list. */
    bool hasRow(const QModelIndex& index) const;

    /** Emits countChanged() when there are more or less rows than the last time. */
    void tellCount();

private:
    struct Data;

    /** The session is there: listens to it. */
    virtual void attach() = 0;

    /** Follows the session, and tells what is other than before. Emits last. */
    virtual void follow() = 0;

    virtual int size() const = 0;

    bool configure(QString Data::*setting, const char* name, const QString& value);
    void onChanged();

    std::unique_ptr<Data> m_Data;
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_HMILISTMODEL_H
