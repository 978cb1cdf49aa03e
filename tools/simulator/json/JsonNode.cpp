// SPDX-License-Identifier: MIT
#include "JsonNode.h"

#include <QJsonArray>
#include <QJsonObject>

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include <algorithm>

namespace Simulator {

namespace {

constexpr int maximumDepth = 100;
constexpr int maximumSize = 10000; // of a list or an object: some of what is done with them is quadratic

/** Tells the line of places in a text that come one after the other. */
class LineCounter
{
public:
    explicit LineCounter(const QByteArray& text)
        : m_Text(text)
    {
    }

    int LineAt(std::size_t offset)
    {
        const auto end = qMin<qint64>(static_cast<qint64>(offset), m_Text.size());
        m_Line += static_cast<int>(std::count(m_Text.cbegin() + m_Counted, m_Text.cbegin() + end, '\n'));
        m_Counted = end;
        return m_Line;
    }

private:
    const QByteArray& m_Text;
    qint64 m_Counted = 0;
    int m_Line = 1;
};

/** Receives what RapidJSON reads, and builds the tree. */
class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder>
{
public:
    TreeBuilder(LineCounter& lines, const rapidjson::MemoryStream& stream)
        : m_Lines(lines),
          m_Stream(stream)
    {
    }

    bool Null() { return Add(JsonNode::Type::Null, QJsonValue()); }
    bool Bool(bool value) { return Add(JsonNode::Type::Boolean, value); }
    bool Int(int value) { return Add(JsonNode::Type::Number, value); }
    bool Uint(unsigned value) { return Add(JsonNode::Type::Number, static_cast<qint64>(value)); }
    bool Int64(int64_t value) { return Add(JsonNode::Type::Number, static_cast<qint64>(value)); }
    bool Uint64(uint64_t value) { return Add(JsonNode::Type::Number, static_cast<double>(value)); }
    bool Double(double value) { return Add(JsonNode::Type::Number, value); }

    bool String(const char* text, rapidjson::SizeType size, bool)
    {
        return Add(JsonNode::Type::Text, QString::fromUtf8(text, static_cast<int>(size)));
    }

    bool Key(const char* text, rapidjson::SizeType size, bool)
    {
        m_Keys.last() = QString::fromUtf8(text, static_cast<int>(size));
        return true;
    }

    bool StartObject() { return Open(JsonNode::Type::Object); }
    bool StartArray() { return Open(JsonNode::Type::List); }
    bool EndObject(rapidjson::SizeType) { return Close(); }
    bool EndArray(rapidjson::SizeType) { return Close(); }

    JsonNode TakeRoot() { return std::move(m_Root); }

private:
    JsonNode MakeNode(JsonNode::Type type)
    {
        JsonNode node;
        node.type = type;
        node.line = m_Lines.LineAt(m_Stream.Tell());
        return node;
    }

    bool Add(JsonNode::Type type, const QJsonValue& scalar)
    {
        JsonNode node = MakeNode(type);
        node.scalar = scalar;
        return Insert(std::move(node));
    }

    bool Open(JsonNode::Type type)
    {
        m_Open.append(MakeNode(type));
        if (m_Open.size() > maximumDepth) {
            throw JsonError(m_Open.last().line, QStringLiteral("nested more than %1 deep").arg(maximumDepth));
        }
        m_Keys.append(QString());
        return true;
    }

    bool Close()
    {
        JsonNode node = m_Open.takeLast();
        m_Keys.removeLast();
        return Insert(std::move(node));
    }

    bool Insert(JsonNode node)
    {
        if (m_Open.isEmpty()) {
            m_Root = std::move(node);
            return true;
        }
        const JsonNode& owner = m_Open.last();
        if (owner.elements.size() + owner.members.size() == maximumSize) {
            throw JsonError(node.line,
                            QStringLiteral("expected at most %1 in a list or an object").arg(maximumSize));
        }
        if (m_Open.last().type == JsonNode::Type::List) {
            m_Open.last().elements.append(std::move(node));
        } else {
            InsertMember(m_Open.last(), std::move(node));
        }
        return true;
    }

    void InsertMember(JsonNode& object, JsonNode node)
    {
        const QString key = m_Keys.last();
        const auto isSame = [&](const auto& member) { return member.first == key; };
        if (std::any_of(object.members.cbegin(), object.members.cend(), isSame)) {
            throw JsonError(node.line, QStringLiteral("member \"%1\" is given twice").arg(key));
        }
        object.members.append({key, std::move(node)});
    }

    LineCounter& m_Lines;
    const rapidjson::MemoryStream& m_Stream;
    QVector<JsonNode> m_Open;
    QVector<QString> m_Keys; ///< the last one read in each open object
    JsonNode m_Root;
};

} // namespace

JsonError::JsonError(int line, const QString& text)
    : m_Line(line),
      m_Text(text)
{
}

int JsonError::Line() const
{
    return m_Line;
}

QString JsonError::Text() const
{
    return m_Text;
}

JsonNode JsonNode::Parse(const QByteArray& text)
{
    constexpr unsigned flags = rapidjson::kParseValidateEncodingFlag | rapidjson::kParseIterativeFlag;
    rapidjson::MemoryStream stream(text.constData(), static_cast<std::size_t>(text.size()));
    LineCounter lines(text);
    TreeBuilder builder(lines, stream);
    rapidjson::Reader reader;
    const rapidjson::ParseResult result = reader.Parse<flags>(stream, builder);
    if (result.IsError()) {
        throw JsonError(lines.LineAt(result.Offset()),
                        QStringLiteral("not JSON: ") +
                            QString::fromLatin1(rapidjson::GetParseError_En(result.Code())));
    }
    if (stream.Tell() < static_cast<std::size_t>(text.size())) { // RapidJSON takes a NUL for the end
        throw JsonError(lines.LineAt(stream.Tell()), QStringLiteral("not JSON: a NUL byte"));
    }
    return builder.TakeRoot();
}

QJsonValue JsonNode::ToValue() const
{
    if (type == Type::List) {
        QJsonArray list;
        for (const JsonNode& element : elements) {
            list.append(element.ToValue());
        }
        return list;
    }
    if (type == Type::Object) {
        QJsonObject object;
        for (const auto& [key, node] : members) {
            object.insert(key, node.ToValue());
        }
        return object;
    }
    return scalar;
}

QString JsonNode::TypeName() const
{
    switch (type) {
    case Type::Null:
        return QStringLiteral("null");
    case Type::Boolean:
        return QStringLiteral("a boolean");
    case Type::Number:
        return QStringLiteral("a number");
    case Type::Text:
        return QStringLiteral("a text");
    case Type::List:
        return QStringLiteral("a list");
    case Type::Object:
        return QStringLiteral("an object");
    }
    return QString();
}

} // namespace Simulator
