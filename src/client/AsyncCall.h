// SPDX-License-Identifier: MIT
#ifndef KIV_CLIENT_ASYNCCALL_H
#define KIV_CLIENT_ASYNCCALL_H

#include "KivBaseClient.h"
#include "client/ReplyWatch.h"

#include <QObject>
#include <QThread>

#include <functional>
#include <type_traits>

namespace Audio::Utils::Kiv::QtDbus {

/** An …Async operation as the log and the meta-object know it. */
struct AsyncOperation
{
    const char* className;
    const char* methodName;
};

/**
 * Invokes an …Async operation on the client's thread and waits until it has started its request.
 *
 * @return the request identifier; 0 when the operation could not be invoked.
 */
quint32 ForwardToClientThread(QObject& client, const AsyncOperation& operation,
                              QGenericArgument argument = QGenericArgument());

inline quint32 ForwardToClientThread(QObject& client, const AsyncOperation& operation, const QString& text)
{
    return ForwardToClientThread(client, operation, Q_ARG(const QString&, text));
}

inline quint32 ForwardToClientThread(QObject& client, const AsyncOperation& operation, const bool& flag)
{
    return ForwardToClientThread(client, operation, Q_ARG(bool, flag));
}

inline bool IsOnForeignThread(const QObject& client)
{
    return QThread::currentThread() != client.thread();
}

/**
 * The reply handler of an …Async operation: first the operation's reply function, then its completion signal.
 *
 * A slot of that signal may delete the client; nothing of it is touched afterwards.
 *
 * @tparam Reply interprets the reply: a function of the client (or one whose first argument is the client)
 * that takes the failure flag and the reply's parameters, and the request identifier if it wants it.
 * @tparam Completed the completion signal.
 */
template <auto Reply, auto Completed, typename Client>
KivBaseClient::ReplyHandler CompleteWith(Client* client)
{
    return [client](bool failed, const QMap<QString, QVariant>& parameters, unsigned int requestId) {
        bool result = false;
        if constexpr (std::is_invocable_v<decltype(Reply), Client*, bool, QMap<QString, QVariant>, quint32>) {
            result = std::invoke(Reply, client, failed, parameters, requestId);
        } else {
            result = std::invoke(Reply, client, failed, parameters);
        }
        Q_EMIT std::invoke(Completed, client, requestId, result);
        return result;
    };
}

/**
 * The whole of an …Async operation: start the request on the client's thread, have the reply interpreted, and
 * announce the result.
 *
 * @tparam Start sends the request, or returns a reply that has already failed.
 * @return the request identifier; 0 when no request was started, and then nothing is announced.
 */
template <auto Start, auto Reply, auto Completed, typename Client, typename... Arguments>
quint32 CallAsync(Client* client, const AsyncOperation& operation, const Arguments&... arguments)
{
    if (IsOnForeignThread(*client)) {
        return ForwardToClientThread(*client, operation, arguments...);
    }
    return WatchStartedRequest(*client, std::invoke(Start, client, arguments...),
                               CompleteWith<Reply, Completed>(client), 0);
}

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_CLIENT_ASYNCCALL_H
