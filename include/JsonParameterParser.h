// SPDX-License-Identifier: MIT
#ifndef JSONPARAMETERPARSER_H
#define JSONPARAMETERPARSER_H

#include "KivQtDbusExport.h"

#include <QMap>
#include <QString>
#include <QVariant>

/**
 * @file
 * JSON texts in and out of parameter maps: what a ServiceProviderClient of your own needs for its requests
 * and events.
 */

namespace Audio::Utils::Kiv::QtDbus {

/**
 * Encodes a parameter map as the text of one JSON object, without blanks, members in the order of the keys.
 *
 * | Type of the value | Written as |
 * |---|---|
 * | `bool` | `true` or `false` |
 * | `int`, `uint`, `qlonglong`, `qulonglong` | number (rounded to a double beyond 2^53) |
 * | `QStringList` | array of strings; an empty list is `[]` |
 * | `QVariantMap` | nothing of its own: its string lists become members of the object itself, under their own keys; its other entries are dropped with a debug record |
 * | everything else, `double` included | string: what `QVariant::toString` makes of it, which is empty for lists and invalid values |
 *
 * The encoding loses information on purpose; GetParameters() does not invert it. A text is cut at an embedded
 * NUL character.
 *
 * @param aParameters the parameters.
 * @param aJson receives the text; what it held before is replaced. It is left untouched only when there is no
 *        memory for the object.
 *
 * Reentrant; may be called from any thread.
 *
 * @code
 * QString json;
 * AddParameters({{"playing", true}, {"sessionId", 7u}}, json); // {"playing":true,"sessionId":7}
 * @endcode
 */
KIV_QTDBUS_EXPORT void AddParameters(const QMap<QString, QVariant>& aParameters, QString& aJson);

/**
 * Decodes the text of a JSON object and adds its members to a parameter map.
 *
 * | Member | Becomes |
 * |---|---|
 * | `true`, `false` | `bool` |
 * | number | `int`: fraction cut off, limited to the range of `int` |
 * | string | `QString` |
 * | array | `QStringList` of the same length; an element that is not a string becomes an empty text |
 * | `null`, object | a null `QString` |
 *
 * An entry that the map already holds under a member's name is overwritten, other entries stay; of two members
 * with one name the later wins. The elements of a top-level array all go under the empty key.
 *
 * JSON is what cJSON takes for it: also text behind the object, numbers like `01` and raw control characters. Of a
 * decoded text, one U+FEFF at its front is dropped.
 *
 * @param aJson the text. If it is not JSON, nothing is logged and the map is left as it is: whoever needs a
 *        member checks that it is there.
 * @param aParameters receives the members.
 *
 * Reentrant; may be called from any thread.
 *
 * @code
 * QMap<QString, QVariant> reply;
 * GetParameters(R"({"sessionId":7})", reply);
 * const quint32 sessionId = reply.value("sessionId").toUInt(); // 7; 0 when there is no such member
 * @endcode
 */
KIV_QTDBUS_EXPORT void GetParameters(const QString& aJson, QMap<QString, QVariant>& aParameters);

} // namespace Audio::Utils::Kiv::QtDbus

#endif // JSONPARAMETERPARSER_H
