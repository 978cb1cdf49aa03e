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

// cJSON cuts texts at NUL, refuses halves of surrogates, which Qt takes, and nests less; the codec drops a
// byte order mark at the begin of a text.
bool IsReadAlike(const QString& json)
{
    const char* const exceptions[] = {"\\u0000", "\\ud", "\\ufeff"};
    const bool isExceptional =
        std::any_of(std::begin(exceptions), std::end(exceptions), [&json](const char* exception) {
            return json.contains(QLatin1String(exception), Qt::CaseInsensitive);
        });
    return !isExceptional && !json.contains(QChar()) && !json.contains(QChar(QChar::ByteOrderMark)) &&
           json.count('[') + json.count('{') < 1000 && !HasLongNumber(json);
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
    const QJsonDocument document = QJsonDocument::fromJson(json.toUtf8());
    if (!document.isObject() || !IsReadAlike(json)) {
        return;
    }
    ParameterMap expected;
    const QJsonObject object = document.object();
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
