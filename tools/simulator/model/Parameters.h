// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_MODEL_PARAMETERS_H
#define SIMULATOR_MODEL_PARAMETERS_H

#include <QJsonObject>
#include <QString>

namespace Simulator {

/**
 * The parameters of a request, read by name and type.
 *
 * A missing parameter, or one of another type, is a Refusal. Parameters that nobody reads are ignored.
 */
class Parameters
{
public:
    /** @param arguments a JSON text; a Refusal when it is not that of an object. */
    explicit Parameters(const QString& arguments);

    explicit Parameters(const QJsonObject& object);

    bool Has(QLatin1String key) const;

    /** A text, which may be empty. */
    QString Text(QLatin1String key) const;

    /** A text that must not be empty. */
    QString NonEmptyText(QLatin1String key) const;

    /** A text that must be one of two. */
    QString OneOf(QLatin1String key, QLatin1String first, QLatin1String second) const;

    /** A text that must be a D-Bus object path. */
    QString ObjectPath(QLatin1String key) const;

    bool Flag(QLatin1String key) const;

    /** A whole number from 0 to the largest of 32 bits. */
    quint32 Number(QLatin1String key) const;

private:
    QJsonValue Value(QLatin1String key, QJsonValue::Type type) const;

    QJsonObject m_Object;
};

} // namespace Simulator

#endif // SIMULATOR_MODEL_PARAMETERS_H
