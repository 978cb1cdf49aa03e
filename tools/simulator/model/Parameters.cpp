// SPDX-License-Identifier: MIT
#include "Parameters.h"

#include "Refusal.h"

#include <QJsonDocument>
#include <QRegularExpression>

#include <cmath>
#include <limits>

namespace Simulator {

namespace {

QString TypeName(QJsonValue::Type type)
{
    switch (type) {
    case QJsonValue::Bool:
        return QStringLiteral("a boolean");
    case QJsonValue::Double:
        return QStringLiteral("a whole number of 32 bits");
    default:
        return QStringLiteral("a text");
    }
}

Refusal WrongType(QLatin1String key, QJsonValue::Type type)
{
    return Refusal(ErrorCode::WrongType,
                   QStringLiteral("parameter \"%1\" is not %2").arg(key, TypeName(type)));
}

Refusal InvalidValue(QLatin1String key, const QString& demand)
{
    return Refusal(ErrorCode::InvalidValue, QStringLiteral("parameter \"%1\" %2").arg(key, demand));
}

} // namespace

Parameters::Parameters(const QString& arguments)
{
    const QJsonDocument document = QJsonDocument::fromJson(arguments.toUtf8());
    if (!document.isObject()) {
        throw Refusal(ErrorCode::ArgumentsNotAnObject, QStringLiteral("the arguments are not a JSON object"));
    }
    m_Object = document.object();
}

Parameters::Parameters(const QJsonObject& object)
    : m_Object(object)
{
}

QJsonValue Parameters::Value(QLatin1String key, QJsonValue::Type type) const
{
    const QJsonValue value = m_Object.value(key);
    if (value.isUndefined()) {
        throw Refusal(ErrorCode::MissingParameter, QStringLiteral("parameter \"%1\" is missing").arg(key));
    }
    if (value.type() != type) {
        throw WrongType(key, type);
    }
    return value;
}

bool Parameters::Has(QLatin1String key) const
{
    return m_Object.contains(key);
}

QString Parameters::Text(QLatin1String key) const
{
    return Value(key, QJsonValue::String).toString();
}

QString Parameters::NonEmptyText(QLatin1String key) const
{
    const QString text = Text(key);
    if (text.isEmpty()) {
        throw InvalidValue(key, QStringLiteral("is empty"));
    }
    return text;
}

QString Parameters::OneOf(QLatin1String key, QLatin1String first, QLatin1String second) const
{
    const QString text = Text(key);
    if (text != first && text != second) {
        throw InvalidValue(key, QStringLiteral("is neither \"%1\" nor \"%2\"").arg(first, second));
    }
    return text;
}

QString Parameters::ObjectPath(QLatin1String key) const
{
    static const QRegularExpression valid(
        QRegularExpression::anchoredPattern(QStringLiteral("/|(/[A-Za-z0-9_]+)+")));
    const QString text = Text(key);
    if (!valid.match(text).hasMatch()) {
        throw InvalidValue(key, QStringLiteral("is not an object path"));
    }
    return text;
}

bool Parameters::Flag(QLatin1String key) const
{
    return Value(key, QJsonValue::Bool).toBool();
}

quint32 Parameters::Number(QLatin1String key) const
{
    const double number = Value(key, QJsonValue::Double).toDouble();
    if (number < 0 || number > std::numeric_limits<quint32>::max() || std::trunc(number) != number) {
        throw WrongType(key, QJsonValue::Double);
    }
    return static_cast<quint32>(number);
}

} // namespace Simulator
