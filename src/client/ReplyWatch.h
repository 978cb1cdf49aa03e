// SPDX-License-Identifier: MIT
#ifndef KIV_CLIENT_REPLYWATCH_H
#define KIV_CLIENT_REPLYWATCH_H

#include "KivBaseClient.h"

#include <QDBusPendingReply>
#include <QString>

#include <utility>

namespace Audio::Utils::Kiv::QtDbus {

/**
 * Whether a request was never sent: its reply has failed without anybody having answered.
 *
 * Not the same as a failed reply. The bus, or a quick service, can have refused a request before its reply is looked
 * at for the first time; such a request was sent, and has to complete.
 */
bool IsUnsent(const QDBusPendingReply<QString>& reply);

/**
 * Has a handler called once when a reply arrives, from the event loop, also when it has arrived already.
 *
 * @param requestId the identifier to use; 0 has a new one issued.
 * @return the identifier.
 */
quint32 AttachWatcher(KivBaseClient& client, const QDBusPendingReply<QString>& reply,
                      KivBaseClient::ReplyHandler handler, unsigned int requestId);

/** Watches the reply of a request that an …Async operation has started; 0 when the request was not sent. */
inline quint32 WatchStartedRequest(KivBaseClient& client, const QDBusPendingReply<QString>& reply,
                                   KivBaseClient::ReplyHandler handler, unsigned int requestId)
{
    return IsUnsent(reply) ? 0 : AttachWatcher(client, reply, std::move(handler), requestId);
}

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_CLIENT_REPLYWATCH_H
