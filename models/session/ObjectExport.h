// SPDX-License-Identifier: MIT
#ifndef KIV_MODELS_OBJECTEXPORT_H
#define KIV_MODELS_OBJECTEXPORT_H

#include <IAdaptorConnection.h>

#include <QDBusConnection>
#include <QString>

class QObject;

namespace Audio::Utils::Kiv::Models {

/**
 * Exports one object, and removes it at the end; unlike AdaptorConnection it leaves the path alone when another object
 * of the program has it.
 */
class ObjectExport : public QtDbus::IAdaptorConnection
{
public:
    explicit ObjectExport(const QDBusConnection& bus);
    ~ObjectExport() override;

    bool RegisterObject(const QString& busName, const QString& objectPath, QObject* object) override;

private:
    QDBusConnection m_Bus;
    QString m_Path;
    QObject* m_Object = nullptr; ///< Only compared.
};

} // namespace Audio::Utils::Kiv::Models

#endif // KIV_MODELS_OBJECTEXPORT_H
