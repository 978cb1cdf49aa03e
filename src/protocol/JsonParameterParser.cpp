// SPDX-License-Identifier: MIT
#include "JsonParameterParser.h"

#include "logging/Log.h"
#include "protocol/CJsonPtr.h"

#include <QStringList>

namespace Audio::Utils::Kiv::QtDbus {

namespace {

// A list is written whole or not at all: null when any of its elements cannot be created.
CJsonPtr CreateStringArray(const QStringList& texts)
{
    CJsonPtr array(cJSON_CreateArray());
    for (const QString& text : texts) {
        CJsonPtr element(cJSON_CreateString(text.toUtf8().constData()));
        if (!element || !cJSON_AddItemToArray(array.get(), element.get())) {
            return nullptr;
        }
        static_cast<void>(element.release()); // now owned by the array
    }
    return array;
}

CJsonPtr CreateItem(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return CJsonPtr(cJSON_CreateBool(value.toBool() ? 1 : 0));
    case QMetaType::Int:
        return CJsonPtr(cJSON_CreateNumber(value.toInt()));
    case QMetaType::UInt:
        return CJsonPtr(cJSON_CreateNumber(value.toUInt()));
    case QMetaType::LongLong:
        return CJsonPtr(cJSON_CreateNumber(static_cast<double>(value.toLongLong())));
    case QMetaType::ULongLong:
        return CJsonPtr(cJSON_CreateNumber(static_cast<double>(value.toULongLong())));
    case QMetaType::QStringList:
        return CreateStringArray(value.toStringList());
    default:
        return CJsonPtr(cJSON_CreateString(value.toString().toUtf8().constData()));
    }
}

// An item that could not be created is left out of the object.
void AddMember(cJSON* object, const QString& key, CJsonPtr item)
{
    if (item && cJSON_AddItemToObject(object, key.toUtf8().constData(), item.get())) {
        static_cast<void>(item.release()); // now owned by the object
    }
}

void AddNestedLists(cJSON* object, const QVariant& outer)
{
    const QVariantMap nested = outer.toMap();
    for (auto entry = nested.constBegin(); entry != nested.constEnd(); ++entry) {
        if (entry->userType() == QMetaType::QStringList) {
            AddMember(object, entry.key(), CreateStringArray(entry->toStringList()));
        } else {
            qCDebug(Log) << "JsonParameterParser - AddParameters() -- Type not implemented:" << outer.type();
        }
    }
}

QStringList StringsOf(const cJSON* array)
{
    QStringList texts;
    for (const cJSON* element = array->child; element != nullptr; element = element->next) {
        texts.append(QString::fromUtf8(element->valuestring)); // null pointer, hence empty, unless a string
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
    default: // a string has a text; null and objects have none and give a null QString
        return QString::fromUtf8(item->valuestring);
    }
}

} // namespace

void AddParameters(const QMap<QString, QVariant>& aParameters, QString& aJson)
{
    const CJsonPtr root(cJSON_CreateObject());
    if (!root) {
        return;
    }
    for (auto entry = aParameters.constBegin(); entry != aParameters.constEnd(); ++entry) {
        if (entry->userType() == QMetaType::QVariantMap) {
            AddNestedLists(root.get(), *entry);
        } else {
            AddMember(root.get(), entry.key(), CreateItem(*entry));
        }
    }
    const CJsonText text(cJSON_PrintUnformatted(root.get()));
    aJson = QString::fromUtf8(text.get());
}

void GetParameters(const QString& aJson, QMap<QString, QVariant>& aParameters)
{
    const CJsonPtr root(cJSON_Parse(aJson.toUtf8().constData()));
    if (!root) {
        return;
    }
    for (const cJSON* item = root->child; item != nullptr; item = item->next) {
        aParameters.insert(QString::fromUtf8(item->string), ValueOf(item));
    }
}

} // namespace Audio::Utils::Kiv::QtDbus
