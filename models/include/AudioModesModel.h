// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_AUDIOMODESMODEL_H
#define KIV_MODELS_AUDIOMODESMODEL_H

#include "HmiListModel.h"

#include <QHash>
#include <QString>
#include <QStringList>

#include <memory>

namespace Audio::Utils::Kiv::Models {

/**
 * The audio modes that the service offers, as a list in its order; a mode that the service lists twice has
 * two rows.
 *
 * **Rows.** Each has a name, whether it is the current mode, and whether it was asked for and is waiting.
 * Mode names are compared exactly. As few rows as possible are inserted and removed, neighbouring ones with
 * one signal, and the model is never reset: selections and animations of a view outlive a restart of the
 * service.
 *
 * **Choosing.** requestMode() asks for a mode. Nothing shows as current before the service says so. A mode
 * that is not offered yet is waited for, and asked for when the service adds it. Of requests the latest
 * counts: it replaces one that waits. A request is over when the service has taken or refused it; then
 * #lastError tells of the refusal.
 *
 * **While the service is away** rows and #currentMode stay as they were. When it is back they are read again,
 * and only what is different changes. A request that was on its way ends with a #lastError; one that waits
 * for its mode is kept, and asked for when the mode is offered again.
 *
 * Life, threads, blocking, signals: see HmiListModel.
 *
 * @code
 * AudioModesModel modes;
 * modes.setDestination(QStringLiteral("Cabin"));
 * QObject::connect(&modes, &AudioModesModel::lastErrorChanged, [&modes] { qInfo() << modes.lastError(); });
 * QObject::connect(&modes, &HmiListModel::availableChanged, [&modes] {
 *     if (modes.isAvailable()) {
 *         modes.requestMode(QStringLiteral("Radio"));
 *     }
 * });
 * modes.start();
 * QCoreApplication::exec();
 * @endcode
 */
class KIV_AUDIO_MODELS_EXPORT AudioModesModel : public HmiListModel
{
    Q_OBJECT
    /** The current mode, as last learned; empty until then. It need not be one of the rows. */
    Q_PROPERTY(QString currentMode READ currentMode NOTIFY currentModeChanged)
    /**
     * The mode that was asked for last, while it waits for the service's answer or to be offered; else empty.
     */
    Q_PROPERTY(QString pendingMode READ pendingMode NOTIFY pendingModeChanged)
    /**
     * Whether a request waits for the service's answer. One that waits for its mode to be offered does not.
     */
    Q_PROPERTY(bool busy READ isBusy NOTIFY busyChanged)
    /**
     * What went wrong last, as an English sentence for logs and developers; empty at first, and again when a
     * session was opened, the modes were read or a request was taken afterwards.
     */
    Q_PROPERTY(QString lastError READ lastError NOTIFY lastErrorChanged)

public:
    /** What a row tells; in QML `name`, `active` and `pending`. The name is the display text, too. */
    enum Role
    {
        NameRole = Qt::UserRole + 1, ///< QString
        ActiveRole,                  ///< bool: it is #currentMode.
        PendingRole                  ///< bool: it is #pendingMode.
    };
    Q_ENUM(Role)

    /** An empty list. @param parent the Qt parent. */
    explicit AudioModesModel(QObject* parent = nullptr);

    /**
     * As that of HmiListModel. A request that waits for its mode ends with the last model that shares the
     * client.
     */
    ~AudioModesModel() override;

    /** @return #currentMode. */
    QString currentMode() const;

    /** @return #pendingMode. */
    QString pendingMode() const;

    /** @return #busy. */
    bool isBusy() const;

    /** @return #lastError. */
    QString lastError() const;

    /**
     * Asks for a mode, without waiting.
     *
     * @param name one of the rows, or a mode that is not offered yet.
     * @return false, with a #lastError, when nothing was asked: without a name, before start(), while
     *         #available is false, or when the request cannot be sent.
     */
    Q_INVOKABLE bool requestMode(const QString& name);

    /**
     * Gives up a request that waits for its mode to be offered. Sends nothing. What was sent cannot be called
     * back: ask for another mode.
     *
     * @return whether there was such a request.
     */
    Q_INVOKABLE bool cancelPending();

    /**
     * What a row tells.
     *
     * @param index the row.
     * @param role one of #Role, or `Qt::DisplayRole` for the name.
     * @return the value; invalid for any other role or index.
     */
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;

    /** @return the names that the values of #Role have in QML. */
    QHash<int, QByteArray> roleNames() const override;

Q_SIGNALS:
    /** The service has told of another #currentMode. The rows' `dataChanged` follows. */
    void currentModeChanged();

    /** #pendingMode is another one, or empty again. The rows' `dataChanged` follows. */
    void pendingModeChanged();

    /** A request waits for its answer now, or none does any more. */
    void busyChanged();

    /** #lastError is another one, or empty again. The last signal of a change. */
    void lastErrorChanged();

private:
    struct Data;

    void attach() override;
    void follow() override;
    int size() const override;

    bool setText(QString Data::*text, const QString& value, void (AudioModesModel::*changed)());
    bool setMode(QString Data::*mode, const QString& value, Role role, void (AudioModesModel::*changed)());
    bool setBusy(bool isBusy);
    bool followList();
    bool doSteps(const QStringList& target);

    std::unique_ptr<Data> m_Data;
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_AUDIOMODESMODEL_H
