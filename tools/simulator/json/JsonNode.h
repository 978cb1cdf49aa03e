// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_JSON_JSONNODE_H
#define SIMULATOR_JSON_JSONNODE_H

#include <QJsonValue>
#include <QString>
#include <QVector>

#include <exception>
#include <utility>

namespace Simulator {

/** A text that does not say what it should: where, and what was expected there. */
class JsonError : public std::exception
{
public:
    JsonError(int line, const QString& text);

    /** The line, from 1. */
    int Line() const;

    QString Text() const;

private:
    int m_Line;
    QString m_Text;
};

/** A value of a JSON text that remembers its line, and the order of its members. */
struct JsonNode
{
    enum class Type
    {
        Null,
        Boolean,
        Number,
        Text,
        List,
        Object
    };

    Type type = Type::Null;
    int line = 1;
    QJsonValue scalar;                             ///< of a boolean, number or text
    QVector<JsonNode> elements;                    ///< of a list
    QVector<std::pair<QString, JsonNode>> members; ///< of an object, no key twice

    /** Reads a text in UTF-8. @throws JsonError */
    static JsonNode Parse(const QByteArray& text);

    /** The value without lines. */
    QJsonValue ToValue() const;

    /** What the value is, for complaints: "a number". */
    QString TypeName() const;
};

} // namespace Simulator

#endif // SIMULATOR_JSON_JSONNODE_H
