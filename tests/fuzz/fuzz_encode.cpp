// SPDX-License-Identifier: MIT
// Encodes any map and decodes the text: the text is that of the straightforward codec, and what comes back
// is what the documentation of the codec says. An input is a map, an entry in each line: a letter for its
// type, its key and its value, with a blank between. \uXXXX stands for a UTF-16 unit.
//
//   b playing 1        bool            t mode Radio       QString
//   i number -7        int             s modes A|B        QStringList
//   u sessionId 7      uint            m outer l A|B      QVariantMap with a QStringList of the key l
//   l number 7         qlonglong       n outer l A        QVariantMap with a QString
//   q number 7         qulonglong      d number 1.5       double
//                                      v key              no value
#include "FuzzTarget.h"
#include "JsonParameterParser.h"
#include "Parameters.h"
#include "StraightforwardCodec.h"

#include <QStringList>
#include <QVariantMap>

#include <algorithm>
#include <limits>

using namespace KivFuzz;
namespace Library = Audio::Utils::Kiv::QtDbus;
namespace Straightforward = KivBenchmark::Straightforward;

namespace {

QString Unescaped(QString text)
{
    constexpr int escapeSize = 6;
    for (int at = int(text.indexOf("\\u")); at >= 0; at = int(text.indexOf("\\u", at + 1))) {
        bool isHex = false;
        const ushort unit = text.mid(at + 2, 4).toUShort(&isHex, 16);
        if (isHex) {
            text.replace(at, escapeSize, QChar(unit));
        }
    }
    return text;
}

// What stands before the first blank; the rest stays.
QString TakeWord(QString& text)
{
    const int end = int(text.indexOf(' '));
    const QString word = text.left(end);
    text = end < 0 ? QString() : text.mid(end + 1);
    return word;
}

QVariant NestedIn(const QVariant& value, const QString& key)
{
    return QVariantMap{{key, value}};
}

QVariant ValueOf(char type, QString text)
{
    switch (type) {
    case 'b':
        return text == "1";
    case 'i':
        return text.toInt();
    case 'u':
        return text.toUInt();
    case 'l':
        return text.toLongLong();
    case 'q':
        return text.toULongLong();
    case 'd':
        return text.toDouble();
    case 's':
        return Unescaped(text).split('|');
    case 'm': {
        const QString key = Unescaped(TakeWord(text));
        return NestedIn(Unescaped(text).split('|'), key);
    }
    case 'n': {
        const QString key = Unescaped(TakeWord(text));
        return NestedIn(Unescaped(text), key);
    }
    case 'v':
        return QVariant();
    default:
        return Unescaped(text);
    }
}

ParameterMap MapOf(const QString& input)
{
    ParameterMap map;
    const QStringList lines = input.split('\n');
    for (QString line : lines) {
        const QString type = TakeWord(line);
        const QString key = Unescaped(TakeWord(line));
        if (!type.isEmpty()) {
            map.insert(key, ValueOf(type.at(0).toLatin1(), line));
        }
    }
    return map;
}

// A text after its way to the service and back.
QString Transported(const QString& text)
{
    const int end = int(text.indexOf(QChar()));
    return QString::fromUtf8(text.left(end).toUtf8().constData());
}

template <typename Integer>
int LimitedToInt(Integer number)
{
    if (number > Integer(std::numeric_limits<int>::max())) {
        return std::numeric_limits<int>::max();
    }
    if (std::is_signed_v<Integer> && qlonglong(number) < std::numeric_limits<int>::min()) {
        return std::numeric_limits<int>::min();
    }
    return int(number);
}

QStringList Transported(const QStringList& texts)
{
    QStringList transported;
    for (const QString& text : texts) {
        transported.append(Transported(text));
    }
    return transported;
}

QVariant Transported(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
        return value;
    case QMetaType::Int:
    case QMetaType::LongLong:
        return LimitedToInt(value.toLongLong());
    case QMetaType::UInt:
    case QMetaType::ULongLong:
        return LimitedToInt(value.toULongLong());
    case QMetaType::QStringList:
        return Transported(value.toStringList());
    default:
        return Transported(value.toString());
    }
}

void InsertNested(ParameterMap& target, const QVariantMap& nested)
{
    for (auto entry = nested.constBegin(); entry != nested.constEnd(); ++entry) {
        if (entry->userType() == QMetaType::QStringList) {
            target.insert(Transported(entry.key()), Transported(*entry));
        }
    }
}

ParameterMap Transported(const ParameterMap& map)
{
    ParameterMap transported;
    for (auto entry = map.constBegin(); entry != map.constEnd(); ++entry) {
        if (entry->userType() == QMetaType::QVariantMap) {
            InsertNested(transported, entry->toMap());
        } else {
            transported.insert(Transported(entry.key()), Transported(*entry));
        }
    }
    return transported;
}

} // namespace

void KivFuzz::HandleInput(const char* data, int size)
{
    const ParameterMap map = MapOf(QString::fromUtf8(data, size));
    QString actual = "replaced";
    QString expected;
    Library::AddParameters(map, actual);
    Straightforward::AddParameters(map, expected);
    if (actual != expected) {
        ReportFinding("encoded unlike the straightforward codec", actual, expected);
    }
    ParameterMap decoded;
    Library::GetParameters(actual, decoded);
    RequireSame("not what was encoded", decoded, Transported(map));
}
