// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_JSON_JSONFIELDS_H
#define SIMULATOR_JSON_JSONFIELDS_H

#include "JsonNode.h"

#include <QJsonObject>
#include <QStringList>

#include <optional>

namespace Simulator {

/**
 * The members of an object, read by name, type and limits.
 *
 * Every method throws a JsonError that says what was expected. Finish() complains about members that nobody has asked
 * for, so that a slip in a name does not go unnoticed.
 */
class JsonFields
{
public:
    /** @param what the object is, for complaints: "a step". The node must outlive the object. */
    JsonFields(const JsonNode& node, const QString& what);

    bool Has(const char* key);

    /** A member that must be there. */
    const JsonNode& Required(const char* key);

    /** A member, or null. */
    const JsonNode* Optional(const char* key);

    /** A text that must be there and not be empty. */
    QString Text(const char* key);

    /** A text; the other one when it is missing. */
    QString TextOr(const char* key, const QString& missing);

    /** One of some texts, as its place among them; none when it is missing. */
    std::optional<int> Choice(const char* key, const QStringList& choices);

    std::optional<bool> Flag(const char* key);

    /** A whole number within limits; none when it is missing. */
    std::optional<int> Number(const char* key, int least, int most);

    /** A list of texts that are not empty; empty when it is missing. */
    QStringList Texts(const char* key);

    /** The elements of a list; empty when it is missing. */
    QVector<JsonNode> List(const char* key);

    /** An object; empty when it is missing. */
    QJsonObject Object(const char* key);

    /** Complains if there are other members than those that were asked for. */
    void Finish() const;

    /** "<member>": expected <expected>, found <node>. */
    static JsonError Unexpected(const QString& member, const QString& expected, const JsonNode& found);

    /** Reads a whole number within limits. */
    static int ReadNumber(const QString& member, const JsonNode& node, int least, int most);

    /** Reads a text that is not empty. */
    static QString ReadText(const QString& member, const JsonNode& node);

private:
    const JsonNode& m_Node;
    const QString m_What;
    QStringList m_Known;
};

} // namespace Simulator

#endif // SIMULATOR_JSON_JSONFIELDS_H
