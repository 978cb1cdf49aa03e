// SPDX-License-Identifier: MIT
#include "client/AsyncCall.h"

#include "logging/Log.h"

#include <QByteArray>

namespace Audio::Utils::Kiv::QtDbus {

namespace {

QByteArray NameOf(const AsyncOperation& operation)
{
    return QByteArray(operation.className) + "::" + operation.methodName;
}

} // namespace

quint32 ForwardToClientThread(QObject& client, const AsyncOperation& operation, QGenericArgument argument)
{
    qCDebug(Log) << (NameOf(operation) + " -- Forwarding invokation on thread").constData()
                 << QThread::currentThread() << "to thread" << client.thread();
    quint32 requestId = 0;
    if (!QMetaObject::invokeMethod(&client, operation.methodName, Qt::BlockingQueuedConnection,
                                   Q_RETURN_ARG(quint32, requestId), argument)) {
        qCCritical(Log) << (NameOf(operation) + " -- Unable to invoke self").constData();
    }
    return requestId;
}

} // namespace Audio::Utils::Kiv::QtDbus
