// SPDX-License-Identifier: MIT
#ifndef KIV_QML_SELFSTARTING_H
#define KIV_QML_SELFSTARTING_H

#include <QDBusConnection>
#include <QMetaObject>
#include <QQmlParserStatus>

namespace Audio::Utils::Kiv::Qml {

/**
 * A model that QML makes: it starts by itself when all its properties are set.
 *
 * It starts in the next turn of the event loop, after a first use of the bus: before that Qt would not notice that the
 * bus is lost, and the loop that makes an interface is often still to run. Who is deleted before does not start.
 *
 * It adds nothing to the model's meta-object, so QML and C++ see one and the same type.
 */
template <typename Model>
class SelfStarting : public Model, public QQmlParserStatus
{
public:
    void classBegin() override {}

    void componentComplete() override
    {
        QDBusConnection::systemBus();
        QMetaObject::invokeMethod(this, &Model::start, Qt::QueuedConnection);
    }
};

} // namespace Audio::Utils::Kiv::Qml

#endif // KIV_QML_SELFSTARTING_H
