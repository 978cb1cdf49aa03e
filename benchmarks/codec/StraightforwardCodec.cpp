// SPDX-License-Identifier: MIT
#include "StraightforwardCodec.h"

#include <QLoggingCategory>
#include <QStringList>

#include <cJSON.h>

namespace KivBenchmark::Straightforward {

namespace {

cJSON* ArrayOf(const QStringList& texts)
{
    cJSON* array = cJSON_CreateArray();
    for (const QString& text : texts) {
        cJSON_AddItemToArray(array, cJSON_CreateString(text.toUtf8().constData()));
    }
    return array;
}

cJSON* ItemOf(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return cJSON_CreateBool(value.toBool() ? 1 : 0);
    case QMetaType::Int:
        return cJSON_CreateNumber(value.toInt());
    case QMetaType::UInt:
        return cJSON_CreateNumber(value.toUInt());
    case QMetaType::LongLong:
        return cJSON_CreateNumber(static_cast<double>(value.toLongLong()));
    case QMetaType::ULongLong:
        return cJSON_CreateNumber(static_cast<double>(value.toULongLong()));
    case QMetaType::QStringList:
        return ArrayOf(value.toStringList());
    default:
        return cJSON_CreateString(value.toString().toUtf8().constData());
    }
}

void AddNestedLists(cJSON* object, const QVariant& outer)
{
    const QVariantMap nested = outer.toMap();
    for (auto entry = nested.constBegin(); entry != nested.constEnd(); ++entry) {
        if (entry->userType() == QMetaType::QStringList) {
            cJSON_AddItemToObject(object, entry.key().toUtf8().constData(), ItemOf(*entry));
        } else {
            qCDebug((*QLoggingCategory::defaultCategory()))
                << "JsonParameterParser - AddParameters() -- Type not implemented:" << outer.type();
        }
    }
}

QStringList StringsOf(const cJSON* array)
{
    QStringList texts;
    for (const cJSON* element = array->child; element != nullptr; element = element->next) {
        texts.append(QString::fromUtf8(element->valuestring));
    }
    return texts;
}

QVariant ValueOf(const cJSON* item)
{
    switch (item->type) {
    case cJSON_False:
        return false;
    case cJSON_True:
        return true;
    case cJSON_Number:
        return item->valueint;
    case cJSON_Array:
        return StringsOf(item);
    default:
        return QString::fromUtf8(item->valuestring);
    }
}

} // namespace

void AddParameters(const QMap<QString, QVariant>& parameters, QString& json)
{
    cJSON* root = cJSON_CreateObject();
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        if (entry->userType() == QMetaType::QVariantMap) {
            AddNestedLists(root, *entry);
        } else {
            cJSON_AddItemToObject(root, entry.key().toUtf8().constData(), ItemOf(*entry));
        }
    }
    char* text = cJSON_PrintUnformatted(root);
    json = QString::fromUtf8(text);
    cJSON_free(text);
    cJSON_Delete(root);
}

void GetParameters(const QString& json, QMap<QString, QVariant>& parameters)
{
    cJSON* root = cJSON_Parse(json.toUtf8().constData());
    if (root == nullptr) {
        return;
    }
    for (const cJSON* item = root->child; item != nullptr; item = item->next) {
        parameters.insert(QString::fromUtf8(item->string), ValueOf(item));
    }
    cJSON_Delete(root);
}

} // namespace KivBenchmark::Straightforward
