// SPDX-License-Identifier: MIT
#include "OtherCodecs.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#ifdef KIV_HAVE_NLOHMANN
#include <nlohmann/json.hpp>
#endif

namespace KivBenchmark {

void EncodeWithQJson(const Parameters& parameters, QString& json)
{
    json = QString::fromUtf8(
        QJsonDocument(QJsonObject::fromVariantMap(parameters)).toJson(QJsonDocument::Compact));
}

void DecodeWithQJson(const QString& json, Parameters& parameters)
{
    parameters = QJsonDocument::fromJson(json.toUtf8()).object().toVariantMap();
}

namespace {

using RapidWriter = rapidjson::Writer<rapidjson::StringBuffer>;

void Write(RapidWriter& writer, const QString& text)
{
    const QByteArray utf8 = text.toUtf8();
    writer.String(utf8.constData(), rapidjson::SizeType(utf8.size()));
}

void Write(RapidWriter& writer, const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        writer.Bool(value.toBool());
        return;
    case QMetaType::Int:
    case QMetaType::UInt:
        writer.Int64(value.toLongLong());
        return;
    case QMetaType::QStringList:
        writer.StartArray();
        for (const QString& text : value.toStringList()) {
            Write(writer, text);
        }
        writer.EndArray();
        return;
    default:
        Write(writer, value.toString());
    }
}

QVariant ValueOf(const rapidjson::Value& value)
{
    if (value.IsBool()) {
        return value.GetBool();
    }
    if (value.IsInt()) {
        return value.GetInt();
    }
    if (value.IsArray()) {
        QStringList texts;
        for (const rapidjson::Value& element : value.GetArray()) {
            texts.append(QString::fromUtf8(element.GetString(), int(element.GetStringLength())));
        }
        return texts;
    }
    return QString::fromUtf8(value.GetString(), int(value.GetStringLength()));
}

} // namespace

void EncodeWithRapidJson(const Parameters& parameters, QString& json)
{
    rapidjson::StringBuffer buffer;
    RapidWriter writer(buffer);
    writer.StartObject();
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        Write(writer, entry.key());
        Write(writer, *entry);
    }
    writer.EndObject();
    json = QString::fromUtf8(buffer.GetString(), int(buffer.GetSize()));
}

void DecodeWithRapidJson(const QString& json, Parameters& parameters)
{
    rapidjson::Document document;
    document.Parse(json.toUtf8().constData());
    for (const auto& member : document.GetObject()) {
        parameters.insert(QString::fromUtf8(member.name.GetString()), ValueOf(member.value));
    }
}

#ifdef KIV_HAVE_NLOHMANN

namespace {

nlohmann::json JsonOf(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::Int:
    case QMetaType::UInt:
        return value.toLongLong();
    case QMetaType::QStringList: {
        nlohmann::json array = nlohmann::json::array();
        for (const QString& text : value.toStringList()) {
            array.push_back(text.toStdString());
        }
        return array;
    }
    default:
        return value.toString().toStdString();
    }
}

QVariant ValueOf(const nlohmann::json& value)
{
    if (value.is_boolean()) {
        return value.get<bool>();
    }
    if (value.is_number()) {
        return value.get<int>();
    }
    if (value.is_array()) {
        QStringList texts;
        for (const nlohmann::json& element : value) {
            texts.append(QString::fromStdString(element.get_ref<const std::string&>()));
        }
        return texts;
    }
    return QString::fromStdString(value.get_ref<const std::string&>());
}

} // namespace

void EncodeWithNlohmann(const Parameters& parameters, QString& json)
{
    nlohmann::json object = nlohmann::json::object();
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        object[entry.key().toStdString()] = JsonOf(*entry);
    }
    json = QString::fromStdString(object.dump());
}

void DecodeWithNlohmann(const QString& json, Parameters& parameters)
{
    const auto object = nlohmann::json::parse(json.toStdString());
    for (const auto& [key, value] : object.items()) {
        parameters.insert(QString::fromStdString(key), ValueOf(value));
    }
}

#endif // KIV_HAVE_NLOHMANN

} // namespace KivBenchmark
