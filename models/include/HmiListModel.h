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
 * What AudioModesModel and FocusFeed have in common: a client of the audio service that outlives its
 * restarts, and how it is named.
 *
 * **Life.** Construct, set what is to be other than the default, start(), use, destroy. The service need not
 * run yet. When it leaves, #available turns false; when it is back, a new session is opened by itself.
 *
 * **Sharing.** Models of one thread with the same #busName, #objectPath and #destination share one client,
 * and what one of them asks for shows in all. Two clients cannot have one object path: the later one does not
 * become available until the earlier one is gone. This holds for an AudioStream of the same program, too.
 *
 * **Threads.** A model belongs to one thread, which runs an event loop. On the main thread, use
 * `QDBusConnection::systemBus()` before `exec()`, and call start() from `QTimer::singleShot(0, …)`: Qt
 * notices then when the bus is lost.
 *
 * **Blocking.** start() waits while a service that is there opens a session, and so does the thread in the
 * moment when a late service appears for the first time: 25 s at most, when the service hangs. start() and
 * the destructor wait for the bus itself. Nothing else waits. All properties and data are cached: reading
 * them causes no bus message.
 *
 * **Signals** are emitted for real changes only, from the event loop or from within start() or the function
 * that made the change. A slot may delete the model.
 */
class KIV_AUDIO_MODELS_EXPORT HmiListModel : public QAbstractListModel
{
    Q_OBJECT
    /**
     * Under which name the program is on the bus: "com.quorvantel.audioclient." and the application's name by
     * default, in which "_" stands for what a bus name does not allow. That another program has the name is
     * reported in the log only.
     */
    Q_PROPERTY(QString busName READ busName WRITE setBusName NOTIFY busNameChanged)
    /**
     * Where the client is: the service calls it under this path followed by "/ServiceProviderClient". By
     * default #busName with "/" for "." and "_" for "-", and "/hmi". With a path that is taken, or not valid,
     * the model does not become #available.
     */
    Q_PROPERTY(QString objectPath READ objectPath WRITE setObjectPath NOTIFY objectPathChanged)
    /** What the session and its modes are about, a zone for instance; empty, the default, for all. */
    Q_PROPERTY(QString destination READ destination WRITE setDestination NOTIFY destinationChanged)
    /** Whether there is a session with the service. Rows need not be there yet, and stay when it ends. */
    Q_PROPERTY(bool available READ isAvailable NOTIFY availableChanged)
    /** The number of rows. */
    Q_PROPERTY(int count READ count NOTIFY countChanged)

public:
    /** Closes the session, unless another model shares it, without waiting for the service's answer. */
    ~HmiListModel() override;

    /** @return #busName, the default one when none was set. */
    QString busName() const;

    /** @return #objectPath, the default one when none was set. */
    QString objectPath() const;

    /** @return #destination. */
    QString destination() const;

    /** @return #available. */
    bool isAvailable() const;

    /** @return #count. */
    int count() const;

    /**
     * Sets #busName, and with it a default #objectPath. After start() a warning, and nothing changes.
     *
     * @param name empty for the default.
     */
    void setBusName(const QString& name);

    /**
     * Sets #objectPath. After start() a warning, and nothing changes.
     *
     * @param path empty for the default.
     */
    void setObjectPath(const QString& path);

    /**
     * Sets #destination. After start() a warning, and nothing changes.
     *
     * @param destination empty for all.
     */
    void setDestination(const QString& destination);

    /** Goes to work. Later calls do nothing. */
    Q_INVOKABLE void start();

    /**
     * As #count; rows have no children.
     *
     * @param parent invalid for the list itself.
     * @return the number of rows; 0 for a valid @p parent.
     */
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;

Q_SIGNALS:
    /** #busName was set to another one. */
    void busNameChanged();

    /** #objectPath was set to another one, or has followed #busName. */
    void objectPathChanged();

    /** #destination was set to another one. */
    void destinationChanged();

    /** There is a session now, or none any more. */
    void availableChanged();

    /** There are more or fewer rows. After the signals of the rows themselves. */
    void countChanged();

protected:
    /** Without a session before start(). @param parent the Qt parent. */
    explicit HmiListModel(QObject* parent);

    /** @return the session; `nullptr` before start(). */
    HmiSession* session() const;

    /**
     * Whether an index names a row of this list.
     *
     * @param index of whatever model.
     * @return false also for an invalid one.
     */
    bool hasRow(const QModelIndex& index) const;

    /** Emits countChanged() when there are more or fewer rows than the last time. */
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
