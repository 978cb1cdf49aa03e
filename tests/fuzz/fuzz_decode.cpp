// SPDX-License-Identifier: MIT
// Decodes any text: the library and the straightforward codec make the same of it, and so does Qt of a JSON
// object. An input is the text.
#include "FuzzTarget.h"
#include "JsonParameterParser.h"
#include "Parameters.h"
#include "StraightforwardCodec.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <cJSON.h>

#include <algorithm>
#include <limits>

using namespace KivFuzz;
namespace Library = Audio::Utils::Kiv::QtDbus;
namespace Straightforward = KivBenchmark::Straightforward;

namespace {

// From here on cJSON reads no number.
constexpr int longNumber = 63;

bool IsOfNumber(QChar unit)
{
    return unit.isDigit() || QStringLiteral("+-.eE").contains(unit);
}

bool HasLongNumber(const QString& json)
{
    int length = 0;
    for (const QChar unit : json) {
        length = IsOfNumber(unit) ? length + 1 : 0;
        if (length >= longNumber) {
            return true;
        }
    }
    return false;
}

// Whether cJSON reads a character as Qt does. It cuts texts at NUL, refuses halves of surrogates; the codec
// drops a byte order mark at the begin of a text.
bool IsReadAlike(QChar unit)
{
    return !unit.isNull() && !unit.isSurrogate() && unit != QChar(QChar::ByteOrderMark);
}

// Qt takes a backslash before anything.
bool IsEscapeReadAlike(const QString& json, int behindBackslash)
{
    const QChar kind = behindBackslash < json.size() ? json.at(behindBackslash) : QChar();
    if (kind != 'u') {
        return QStringLiteral("\"\\/bfnrt").contains(kind);
    }
    bool isHex = false;
    const ushort unit = json.mid(behindBackslash + 1, 4).toUShort(&isHex, 16);
    return isHex && IsReadAlike(QChar(unit));
}

bool AreEscapesReadAlike(const QString& json)
{
    for (int at = int(json.indexOf('\\')); at >= 0; at = int(json.indexOf('\\', at + 2))) {
        if (!IsEscapeReadAlike(json, at + 1)) {
            return false;
        }
    }
    return true;
}

// Qt takes a number that begins with a point.
bool HasBeginningPoint(const QString& json)
{
    const QString before = QStringLiteral(":,[ \t\r\n");
    for (int at = int(json.indexOf('.', 1)); at >= 0; at = int(json.indexOf('.', at + 1))) {
        if (before.contains(json.at(at - 1))) {
            return true;
        }
    }
    return false;
}

// Whether cJSON has to read a text, which Qt has read, in the same way. It nests less deep than Qt does.
bool IsReadAlike(const QString& json)
{
    return AreEscapesReadAlike(json) && !json.contains(QChar()) &&
           !json.contains(QChar(QChar::ByteOrderMark)) && json.count('[') + json.count('{') < 1000 &&
           !HasLongNumber(json) && !HasBeginningPoint(json);
}

// Of members with one name, Qt takes any.
bool HasOneNameTwice(const QByteArray& json, const QJsonObject& object)
{
    cJSON* const root = cJSON_Parse(json.constData());
    const int members = cJSON_GetArraySize(root); // 0 without a root
    cJSON_Delete(root);
    return members > object.size();
}

int LimitedToInt(double number)
{
    return static_cast<int>(
        std::clamp(number, double(std::numeric_limits<int>::min()), double(std::numeric_limits<int>::max())));
}

QVariant AsParameter(const QJsonValue& value)
{
    switch (value.type()) {
    case QJsonValue::Bool:
        return value.toBool();
    case QJsonValue::Double:
        return LimitedToInt(value.toDouble());
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Array: {
        QStringList texts;
        const QJsonArray elements = value.toArray();
        for (const QJsonValue& element : elements) {
            texts.append(element.toString());
        }
        return texts;
    }
    default:
        return QString();
    }
}

// Qt's strings are null, or not, for reasons of its own.
void ForgetNullTexts(ParameterMap& parameters)
{
    for (QVariant& value : parameters) {
        if (value.userType() == QMetaType::QString && value.toString().isEmpty()) {
            value = QString();
        }
    }
}

void RequireAgreementWithQt(const QString& json)
{
    const QByteArray utf8 = json.toUtf8();
    const QJsonDocument document = QJsonDocument::fromJson(utf8);
    const QJsonObject object = document.object();
    if (!document.isObject() || !IsReadAlike(json) || HasOneNameTwice(utf8, object)) {
        return;
    }
    ParameterMap expected;
    for (auto member = object.constBegin(); member != object.constEnd(); ++member) {
        expected.insert(member.key(), AsParameter(member.value()));
    }
    ParameterMap actual;
    Library::GetParameters(json, actual);
    ForgetNullTexts(actual);
    ForgetNullTexts(expected);
    RequireSame("decoded unlike QJsonDocument", actual, expected);
}

} // namespace

void KivFuzz::HandleInput(const char* data, int size)
{
    const QString json = QString::fromUtf8(data, size);
    const ParameterMap before{{"a", 1}, {"z", "kept"}};
    ParameterMap actual = before;
    ParameterMap expected = before;
    Library::GetParameters(json, actual);
    Straightforward::GetParameters(json, expected);
    RequireSame("decoded unlike the straightforward codec", actual, expected);
    RequireAgreementWithQt(json);
}
