// SPDX-License-Identifier: MIT
#include "protocol/JsonObjectBuilder.h"

#include "logging/Log.h"
#include "protocol/Utf8.h"

#include <algorithm>
#include <new>

namespace Audio::Utils::Kiv::QtDbus {

namespace {

constexpr std::size_t bytesOfNumber = 24;         // for a number of 64 bits, sign and end included
constexpr std::size_t printedAround = 8;          // quotes, colon, comma, brackets, or "false" of an item
constexpr std::size_t printerSlack = 64;          // cJSON wants a little more than it needs
constexpr qint64 firstInexact = 1000000000000000; // from 10^15 on cJSON prints an exponent

std::size_t BlockSize(const JsonObjectSize& size)
{
    // The printed text is that of keys and texts again; if escapes make it longer, Print() has another way.
    const std::size_t printed = size.TextBytes() + size.Items() * printedAround + printerSlack;
    return size.Items() * sizeof(cJSON) + size.TextBytes() + printed;
}

// Prints the digits of a number.
char* PrintNumber(quint64 value, char* target)
{
    char reversed[bytesOfNumber];
    char* next = reversed;
    do {
        *next++ = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    target = std::reverse_copy(reversed, next, target);
    *target++ = '\0';
    return target;
}

char* PrintNumber(qint64 value, char* target)
{
    if (value < 0) {
        *target++ = '-';
    }
    return PrintNumber(static_cast<quint64>(qAbs(value)), target);
}

bool IsPrintedAlike(qint64 value)
{
    return value > -firstInexact && value < firstInexact;
}

bool IsPrintedAlike(quint64 value)
{
    return value < static_cast<quint64>(firstInexact);
}

} // namespace

void JsonObjectSize::AddItem()
{
    ++m_Items;
}

void JsonObjectSize::AddString(const QString& text)
{
    m_TextBytes += MaximumUtf8Size(text);
}

void JsonObjectSize::AddBool(const QString& key, bool)
{
    AddItem();
    AddString(key);
}

void JsonObjectSize::AddNumber(const QString& key, qint64)
{
    AddItem();
    AddString(key);
    m_TextBytes += bytesOfNumber;
}

void JsonObjectSize::AddNumber(const QString& key, quint64)
{
    AddNumber(key, qint64());
}

void JsonObjectSize::AddText(const QString& key, const QString& text)
{
    AddItem();
    AddString(key);
    AddString(text);
}

void JsonObjectSize::AddList(const QString& key, const QStringList& texts)
{
    AddItem();
    AddString(key);
    for (const QString& text : texts) {
        AddItem();
        AddString(text);
    }
}

void JsonObjectSize::SkipUnsupported(const QVariant&) {}

JsonObjectBuilder::JsonObjectBuilder(const JsonObjectSize& size)
    : m_Block(static_cast<char*>(cJSON_malloc(BlockSize(size))))
{
    if (m_Block) {
        m_NextItem = reinterpret_cast<cJSON*>(m_Block.get());
        m_NextText = m_Block.get() + size.Items() * sizeof(cJSON);
        m_End = m_Block.get() + BlockSize(size);
        m_Root = MakeItem(cJSON_Object);
    }
}

cJSON* JsonObjectBuilder::MakeItem(int type)
{
    auto* const item = new (m_NextItem++) cJSON();
    item->type = type;
    return item;
}

cJSON* JsonObjectBuilder::MakeText(int type, const QString& text)
{
    cJSON* const item = MakeItem(type);
    item->valuestring = Copy(text);
    return item;
}

char* JsonObjectBuilder::Copy(const QString& text)
{
    char* const begin = m_NextText;
    m_NextText = CopyAsUtf8(text, begin);
    return begin;
}

void JsonObjectBuilder::AddMember(const QString& key, cJSON* item)
{
    cJSON_AddItemToObjectCS(m_Root, Copy(key), item);
}

void JsonObjectBuilder::AddBool(const QString& key, bool value)
{
    AddMember(key, MakeItem(value ? cJSON_True : cJSON_False));
}

template <typename Integer>
void JsonObjectBuilder::AddInteger(const QString& key, Integer value)
{
    cJSON* const item = MakeItem(cJSON_Number);
    item->valuedouble = static_cast<double>(value);
    if (IsPrintedAlike(value)) {
        item->type = cJSON_Raw;
        item->valuestring = m_NextText;
        m_NextText = PrintNumber(value, m_NextText);
    }
    AddMember(key, item);
}

void JsonObjectBuilder::AddNumber(const QString& key, qint64 value)
{
    AddInteger(key, value);
}

void JsonObjectBuilder::AddNumber(const QString& key, quint64 value)
{
    AddInteger(key, value);
}

void JsonObjectBuilder::AddText(const QString& key, const QString& text)
{
    AddMember(key, MakeText(cJSON_String, text));
}

void JsonObjectBuilder::AddList(const QString& key, const QStringList& texts)
{
    cJSON* const array = MakeItem(cJSON_Array);
    for (const QString& text : texts) {
        cJSON_AddItemToArray(array, MakeText(cJSON_String, text));
    }
    AddMember(key, array);
}

void JsonObjectBuilder::SkipUnsupported(const QVariant& outer)
{
    qCDebug(Log) << "JsonParameterParser - AddParameters() -- Type not implemented:" << outer.type();
}

QString JsonObjectBuilder::Print()
{
    const auto room = static_cast<int>(m_End - m_NextText);
    if (cJSON_PrintPreallocated(m_Root, m_NextText, room, false)) {
        return QString::fromUtf8(m_NextText);
    }
    const CJsonText text(cJSON_PrintUnformatted(m_Root));
    return QString::fromUtf8(text.get());
}

} // namespace Audio::Utils::Kiv::QtDbus
