// SPDX-License-Identifier: MIT
#include "NamePresence.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

NamePresence::NamePresence(const QDBusConnection& bus, const QString& name)
    : m_Watcher(name, bus, QDBusServiceWatcher::WatchForOwnerChange)
{
    // Subscribe first, ask second: nothing is missed in between.
    connect(&m_Watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) { Set(!owner.isEmpty()); });
    QDBusConnection(bus).connect(QString(), "/org/freedesktop/DBus/Local", "org.freedesktop.DBus.Local",
                                 "Disconnected", this, SLOT(OnDisconnected()));
    Ask(bus, name);
}

bool NamePresence::IsPresent() const
{
    return m_IsPresent;
}

void NamePresence::OnDisconnected()
{
    Set(false);
}

void NamePresence::Ask(QDBusConnection bus, const QString& name)
{
    QDBusMessage question = QDBusMessage::createMethodCall("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                           "org.freedesktop.DBus", "NameHasOwner");
    question.setArguments({name});
    auto* const answer = new QDBusPendingCallWatcher(bus.asyncCall(question), this);
    connect(answer, &QDBusPendingCallWatcher::finished, this, [this, answer] {
        answer->deleteLater();
        const QDBusPendingReply<bool> reply = *answer;
        Set(reply.isValid() && reply.value());
    });
}

void NamePresence::Set(bool isPresent)
{
    if (m_IsPresent != isPresent) {
        m_IsPresent = isPresent;
        Q_EMIT Changed();
    }
}
