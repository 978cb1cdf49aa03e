// SPDX-License-Identifier: MIT
#include "client/ReplyWatch.h"

#include <QDBusError>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QObject>

#include <utility>

namespace Audio::Utils::Kiv::QtDbus {

bool IsUnsent(const QDBusPendingReply<QString>& reply)
{
    // What is made here has no sender. The exception is an answer of a wrong type, which Qt replaces by an error.
    return reply.isError() && reply.reply().service().isEmpty() &&
           reply.error().type() != QDBusError::InvalidSignature;
}

quint32 AttachWatcher(KivBaseClient& client, const QDBusPendingReply<QString>& reply,
                      KivBaseClient::ReplyHandler handler, unsigned int requestId)
{
    const quint32 id = requestId != 0 ? requestId : client.GetNextRequestId();
    auto* watcher = new QDBusPendingCallWatcher(reply, &client);
    const auto onFinished = [handler = std::move(handler), id](QDBusPendingCallWatcher* finished) {
        const QDBusPendingReply<QString> finishedReply = *finished;
        finished->disconnect();  // Qt may tell twice when the reply comes just while the watcher is made
        finished->deleteLater(); // first: the handler may delete the client, and the watcher with it
        KivBaseClient::HandleReply(finishedReply, handler, id);
    };
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher, onFinished, Qt::DirectConnection);
    return id;
}

} // namespace Audio::Utils::Kiv::QtDbus
