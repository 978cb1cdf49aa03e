// SPDX-License-Identifier: MIT
#ifndef NAMEPRESENCE_H
#define NAMEPRESENCE_H

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QString>

/** Follows whether a bus name has an owner, without ever waiting for the bus. */
class NamePresence : public QObject
{
    Q_OBJECT

public:
    /** Absent until the bus has answered. */
    NamePresence(const QDBusConnection& bus, const QString& name);

    /** @return whether the name had an owner when the bus told of it last. */
    bool IsPresent() const;

Q_SIGNALS:
    /** IsPresent() has changed. */
    void Changed();

private Q_SLOTS:
    void OnDisconnected();

private:
    void Ask(QDBusConnection bus, const QString& name);
    void Set(bool isPresent);

    QDBusServiceWatcher m_Watcher;
    bool m_IsPresent = false;
};

#endif // NAMEPRESENCE_H
