// SPDX-License-Identifier: MIT
#include "JsonFields.h"

#include <algorithm>
#include <cmath>

namespace Simulator {

namespace {

QString Describe(const JsonNode& node)
{
    switch (node.type) {
    case JsonNode::Type::Text:
        return QLatin1Char('"') + node.scalar.toString() + QLatin1Char('"');
    case JsonNode::Type::Number:
        return QString::number(node.scalar.toDouble(), 'g', 15);
    default:
        return node.TypeName();
    }
}

} // namespace

JsonFields::JsonFields(const JsonNode& node, const QString& what)
    : m_Node(node),
      m_What(what)
{
    if (node.type != JsonNode::Type::Object) {
        throw JsonError(node.line,
                        QStringLiteral("expected %1 (an object), found %2").arg(what, Describe(node)));
    }
}

JsonError JsonFields::Unexpected(const QString& member, const QString& expected, const JsonNode& found)
{
    return JsonError(found.line,
                     QStringLiteral("\"%1\": expected %2, found %3").arg(member, expected, Describe(found)));
}

const JsonNode* JsonFields::Optional(const char* key)
{
    const QString name = QString::fromLatin1(key);
    m_Known.append(name);
    const auto isWanted = [&](const auto& member) { return member.first == name; };
    const auto found = std::find_if(m_Node.members.cbegin(), m_Node.members.cend(), isWanted);
    return found == m_Node.members.cend() ? nullptr : &found->second;
}

const JsonNode& JsonFields::Required(const char* key)
{
    const JsonNode* const node = Optional(key);
    if (!node) {
        throw JsonError(m_Node.line,
                        QStringLiteral("%1: member \"%2\" is missing").arg(m_What, QLatin1String(key)));
    }
    return *node;
}

bool JsonFields::Has(const char* key)
{
    return Optional(key) != nullptr;
}

QString JsonFields::ReadText(const QString& member, const JsonNode& node)
{
    if (node.type != JsonNode::Type::Text || node.scalar.toString().isEmpty()) {
        throw Unexpected(member, QStringLiteral("a text that is not empty"), node);
    }
    return node.scalar.toString();
}

QString JsonFields::Text(const char* key)
{
    return ReadText(QString::fromLatin1(key), Required(key));
}

QString JsonFields::TextOr(const char* key, const QString& missing)
{
    const JsonNode* const node = Optional(key);
    if (node && node->type != JsonNode::Type::Text) {
        throw Unexpected(QString::fromLatin1(key), QStringLiteral("a text"), *node);
    }
    return node ? node->scalar.toString() : missing;
}

std::optional<int> JsonFields::Choice(const char* key, const QStringList& choices)
{
    const JsonNode* const node = Optional(key);
    if (!node) {
        return std::nullopt;
    }
    const auto place = node->type == JsonNode::Type::Text ? choices.indexOf(node->scalar.toString()) : -1;
    if (place < 0) {
        const QString expected = QStringLiteral("one of \"%1\"").arg(choices.join(QStringLiteral("\", \"")));
        throw Unexpected(QString::fromLatin1(key), expected, *node);
    }
    return static_cast<int>(place);
}

std::optional<bool> JsonFields::Flag(const char* key)
{
    const JsonNode* const node = Optional(key);
    if (!node) {
        return std::nullopt;
    }
    if (node->type != JsonNode::Type::Boolean) {
        throw Unexpected(QString::fromLatin1(key), QStringLiteral("true or false"), *node);
    }
    return node->scalar.toBool();
}

int JsonFields::ReadNumber(const QString& member, const JsonNode& node, int least, int most)
{
    const double number = node.scalar.toDouble();
    const bool isWhole = node.type == JsonNode::Type::Number && std::trunc(number) == number;
    if (!isWhole || number < least || number > most) {
        throw Unexpected(member, QStringLiteral("a whole number from %1 to %2").arg(least).arg(most), node);
    }
    return static_cast<int>(number);
}

std::optional<int> JsonFields::Number(const char* key, int least, int most)
{
    const JsonNode* const node = Optional(key);
    if (!node) {
        return std::nullopt;
    }
    return ReadNumber(QString::fromLatin1(key), *node, least, most);
}

QVector<JsonNode> JsonFields::List(const char* key)
{
    const JsonNode* const node = Optional(key);
    if (node && node->type != JsonNode::Type::List) {
        throw Unexpected(QString::fromLatin1(key), QStringLiteral("a list"), *node);
    }
    return node ? node->elements : QVector<JsonNode>();
}

QStringList JsonFields::Texts(const char* key)
{
    QStringList texts;
    for (const JsonNode& element : List(key)) {
        texts.append(ReadText(QString::fromLatin1(key), element));
    }
    return texts;
}

QJsonObject JsonFields::Object(const char* key)
{
    const JsonNode* const node = Optional(key);
    if (node && node->type != JsonNode::Type::Object) {
        throw Unexpected(QString::fromLatin1(key), QStringLiteral("an object"), *node);
    }
    return node ? node->ToValue().toObject() : QJsonObject();
}

void JsonFields::Finish() const
{
    for (const auto& [key, node] : m_Node.members) {
        if (!m_Known.contains(key)) {
            QStringList known = m_Known;
            known.removeDuplicates();
            known.sort();
            throw JsonError(node.line,
                            QStringLiteral("%1: there is no member \"%2\"; expected some of \"%3\"")
                                .arg(m_What, key, known.join(QStringLiteral("\", \""))));
        }
    }
}

} // namespace Simulator
