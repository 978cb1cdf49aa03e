// SPDX-License-Identifier: MIT
#include "client/AsyncCall.h"

#include "logging/Log.h"

#include <QByteArray>

namespace Audio::Utils::Kiv::QtDbus {

quint32 ForwardToClientThread(QObject& client, const AsyncOperation& operation, QGenericArgument argument)
{
    const QByteArray name = QByteArray(operation.className) + "::" + operation.methodName;
    qCDebug(Log) << (name + " -- Forwarding invokation on thread").constData() << QThread::currentThread()
                 << "to thread" << client.thread();
    quint32 requestId = 0;
    if (!QMetaObject::invokeMethod(&client, operation.methodName, Qt::BlockingQueuedConnection,
                                   Q_RETURN_ARG(quint32, requestId), argument)) {
        qCCritical(Log) << (name + " -- Unable to invoke self").constData();
    }
    return requestId;
}

} // namespace Audio::Utils::Kiv::QtDbus
