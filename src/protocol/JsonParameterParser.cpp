// SPDX-License-Identifier: MIT
#include "JsonParameterParser.h"

#include "protocol/CJsonPtr.h"
#include "protocol/JsonObjectBuilder.h"
#include "protocol/Utf8.h"

#include <QStringList>
#include <QVarLengthArray>

namespace Audio::Utils::Kiv::QtDbus {

namespace {

constexpr int usualUtf8Size = 4096; // on the stack up to here

// The value that a variant of just this type holds, without a copy.
template <typename Type>
const Type& Held(const QVariant& value)
{
    return *static_cast<const Type*>(value.constData());
}

// The table of types. A sink counts the members, or builds them.
template <typename Sink>
void AddMember(Sink& sink, const QString& key, const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return sink.AddBool(key, value.toBool());
    case QMetaType::Int:
    case QMetaType::LongLong:
        return sink.AddNumber(key, value.toLongLong());
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return sink.AddNumber(key, value.toULongLong());
    case QMetaType::QStringList:
        return sink.AddList(key, Held<QStringList>(value));
    case QMetaType::QString:
        return sink.AddText(key, Held<QString>(value));
    default:
        return sink.AddText(key, value.toString());
    }
}

template <typename Sink>
void AddNestedLists(Sink& sink, const QVariant& outer)
{
    const QVariantMap nested = outer.toMap();
    for (auto entry = nested.constBegin(); entry != nested.constEnd(); ++entry) {
        if (entry->userType() == QMetaType::QStringList) {
            sink.AddList(entry.key(), entry->toStringList());
        } else {
            sink.SkipUnsupported(outer);
        }
    }
}

template <typename Sink>
void AddMembers(Sink& sink, const QMap<QString, QVariant>& parameters)
{
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        if (entry->userType() == QMetaType::QVariantMap) {
            AddNestedLists(sink, *entry);
        } else {
            AddMember(sink, entry.key(), *entry);
        }
    }
}

QStringList StringsOf(const cJSON* array)
{
    QStringList texts;
    texts.reserve(cJSON_GetArraySize(array));
    for (const cJSON* element = array->child; element != nullptr; element = element->next) {
        texts.append(FromUtf8(element->valuestring)); // null pointer, hence empty, unless a string
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
        return FromUtf8(item->valuestring);
    }
}

} // namespace

void AddParameters(const QMap<QString, QVariant>& aParameters, QString& aJson)
{
    JsonObjectSize size;
    AddMembers(size, aParameters);
    JsonObjectBuilder builder(size);
    if (builder.IsValid()) {
        AddMembers(builder, aParameters);
        aJson = builder.Print();
    }
}

void GetParameters(const QString& aJson, QMap<QString, QVariant>& aParameters)
{
    QVarLengthArray<char, usualUtf8Size> utf8(static_cast<int>(MaximumUtf8Size(aJson)));
    CopyAsUtf8(aJson, utf8.data());
    const CJsonPtr root(cJSON_Parse(utf8.constData()));
    if (!root) {
        return;
    }
    for (const cJSON* item = root->child; item != nullptr; item = item->next) {
        // Members mostly come in the order of their keys; a value is moved to its place, where insert() would copy it.
        *aParameters.insert(aParameters.constEnd(), FromUtf8(item->string), QVariant()) = ValueOf(item);
    }
}

} // namespace Audio::Utils::Kiv::QtDbus
