// SPDX-License-Identifier: MIT
#include "JsonParameterParser.h"
#include "LogCapture.h"
#include "StraightforwardCodec.h"
#include "TestMain.h"

#include <QDate>
#include <QRandomGenerator>
#include <QStringList>
#include <QUrl>

#include <functional>
#include <limits>

using namespace KivTest;
namespace Library = Audio::Utils::Kiv::QtDbus;
namespace Straightforward = KivBenchmark::Straightforward;

using ParameterMap = QMap<QString, QVariant>;

namespace {

int NumberFromEnvironment(const char* name, int otherwise)
{
    bool isNumber = false;
    const int number = qEnvironmentVariableIntValue(name, &isNumber);
    return isNumber ? number : otherwise;
}

// Maps and texts of every kind that either codec has to get right, from a seed.
class Generator
{
public:
    explicit Generator(quint32 seed)
        : m_Random(seed)
    {
    }

    ParameterMap Map()
    {
        ParameterMap map;
        const int size = Below(8);
        for (int i = 0; i < size; ++i) {
            map.insert(Text(), OneIn(12) ? QVariant(Nested()) : Value());
        }
        return map;
    }

    // JSON of any kind, not only what the library writes.
    QString Json()
    {
        const QString json = OneIn(10) ? JsonValue(3) : JsonObject(3);
        return OneIn(3) ? Mutated(json) : json;
    }

private:
    int Below(int bound) { return int(m_Random.bounded(quint32(bound))); }
    bool OneIn(int number) { return Below(number) == 0; }

    template <typename Item, std::size_t Count>
    const Item& AnyOf(const Item (&items)[Count])
    {
        return items[Below(int(Count))];
    }

    // ASCII mostly, also control characters and NUL, halves and pairs of surrogates, and the rest.
    void AppendCharacter(QString& text)
    {
        switch (Below(14)) {
        case 0:
            text.append(QChar(Below(0x20)));
            return;
        case 1:
            text.append(QChar(0x80 + Below(0xd800 - 0x80)));
            return;
        case 2:
            text.append(QChar(0xd800 + Below(0x800)));
            return;
        case 3:
            text.append(QChar(0xd800 + Below(0x400))).append(QChar(0xdc00 + Below(0x400)));
            return;
        case 4:
            text.append(QChar(AnyOf({0x22, 0x5c, 0x2f, 0x7f, 0x80, 0x7ff, 0x800, 0xfeff, 0xfffd, 0xffff})));
            return;
        default:
            text.append(QChar(0x20 + Below(0x5f)));
        }
    }

    QString Text()
    {
        QString text;
        const int size = OneIn(50) ? Below(3000) : Below(12);
        const bool isAscii = OneIn(2);
        for (int i = 0; i < size; ++i) {
            if (isAscii) {
                text.append(QChar(0x20 + Below(0x5f)));
            } else {
                AppendCharacter(text);
            }
        }
        return text;
    }

    QStringList List()
    {
        QStringList texts;
        const int size = OneIn(30) ? Below(200) : Below(6);
        for (int i = 0; i < size; ++i) {
            texts.append(Text());
        }
        return texts;
    }

    QVariantMap Nested()
    {
        QVariantMap nested;
        const int size = Below(5);
        for (int i = 0; i < size; ++i) {
            nested.insert(Text(), OneIn(2) ? QVariant(List()) : Value());
        }
        return nested;
    }

    // Around the places where the printing of doubles changes, and anywhere.
    qint64 Whole()
    {
        const qint64 places[] = {0,
                                 1000000000000000,
                                 100000000000000000,
                                 1LL << 31,
                                 1LL << 32,
                                 1LL << 53,
                                 std::numeric_limits<qint64>::max()};
        const auto near = quint64(AnyOf(places)) + quint64(Below(7)) - 3;
        const quint64 any = m_Random.generate64() >> Below(64);
        const quint64 number = OneIn(2) ? near : any;
        return qint64(OneIn(2) ? number : 0 - number);
    }

    QVariant Value()
    {
        switch (Below(16)) {
        case 0:
            return OneIn(2);
        case 1:
        case 2:
            return int(Whole());
        case 3:
        case 4:
            return uint(Whole());
        case 5:
        case 6:
            return qlonglong(Whole());
        case 7:
        case 8:
            return qulonglong(Whole());
        case 9:
        case 10:
            return List();
        case 11:
            return Unusual();
        default:
            return Text();
        }
    }

    QVariant Unusual()
    {
        const QVariant values[] = {QVariant(),
                                   QVariant(double(Whole()) / 7),
                                   QVariant(float(Whole())),
                                   QVariant(QChar(0x20 + Below(0x5f))),
                                   QVariant(Text().toUtf8()),
                                   QVariant(QVariantList{Below(9), Text()}),
                                   QVariant(QDate(2000, 1, 1).addDays(Below(9999))),
                                   QVariant(QUrl("http://localhost/" + Text())),
                                   QVariant::fromValue(short(Below(9))),
                                   QVariant::fromValue(long(Whole())),
                                   QVariant(QString()),
                                   QVariant(QStringList())};
        return AnyOf(values);
    }

    QString JsonText()
    {
        QString json;
        for (const QChar unit : Text()) {
            const bool mustEscape = unit == '"' || unit == '\\' || unit.unicode() < 0x20;
            if (mustEscape || OneIn(20)) {
                json.append(QString("\\u%1").arg(unit.unicode(), 4, 16, QChar('0')));
            } else if (OneIn(20)) {
                json.append('\\').append(QChar("\"\\/bfnrt"[Below(8)]));
            } else {
                json.append(unit);
            }
        }
        return '"' + json + '"';
    }

    QString JsonNumber()
    {
        const QString numbers[] = {QString::number(Whole()),
                                   QString::number(Whole()) + "." + QString::number(Below(100000)),
                                   QString::number(Whole()) + "e" + QString::number(Below(700) - 350),
                                   QString::number(double(Whole()) / 3, 'g', 17),
                                   QStringLiteral("-0"),
                                   QStringLiteral("1E+5"),
                                   QStringLiteral("00012")};
        return AnyOf(numbers);
    }

    QString Blank()
    {
        const QString blanks[] = {"", "", "", "", " ", "\n\t", "\r  "};
        return AnyOf(blanks);
    }

    QString JsonValue(int depth)
    {
        const QString words[] = {"true", "false", "null"};
        switch (Below(depth > 0 ? 9 : 5)) {
        case 0:
            return AnyOf(words);
        case 1:
        case 2:
            return JsonNumber();
        case 5:
        case 6:
            return JsonSequence('[', ']', [this, depth] { return JsonValue(depth - 1); });
        case 7:
            return JsonObject(depth - 1);
        default:
            return JsonText();
        }
    }

    QString JsonObject(int depth)
    {
        return JsonSequence(
            '{', '}', [this, depth] { return JsonText() + Blank() + ':' + Blank() + JsonValue(depth); });
    }

    QString JsonSequence(char begin, char end, const std::function<QString()>& element)
    {
        QStringList elements;
        const int size = Below(6);
        for (int i = 0; i < size; ++i) {
            elements.append(Blank() + element() + Blank());
        }
        return begin + elements.join(',') + end;
    }

    QString Mutated(QString json)
    {
        const int place = Below(int(json.size()) + 1);
        switch (Below(4)) {
        case 0:
            json.truncate(place);
            return json;
        case 1:
            return json.remove(place, 1 + Below(3));
        case 2:
            return json.insert(place, QChar("{}[]\",:\\ 0-.e"[Below(13)]));
        default:
            return json.insert(place, QChar(Below(0x10000)));
        }
    }

    QRandomGenerator m_Random;
};

// Exact types and nulls included, where comparing variants would convert.
QString Described(const ParameterMap& parameters)
{
    QStringList entries;
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        const bool isList = entry->userType() == QMetaType::QStringList;
        const QString text = isList ? '(' + entry->toStringList().join("|") + ')' : entry->toString();
        entries.append(
            QString("%1 = %2 %3 %4")
                .arg(entry.key(), QString::fromLatin1(entry->typeName()), text.isNull() ? "null" : "", text));
    }
    return entries.join('\n');
}

// The text that an encoder makes, and the records that it writes meanwhile.
template <typename Encoder>
QString Encoded(Encoder encode, const ParameterMap& parameters)
{
    const LogCapture log;
    QString json = QStringLiteral("untouched");
    encode(parameters, json);
    return json + '\n' + log.Texts(QtDebugMsg).join('\n');
}

// What a decoder makes of a text in a map that is not empty.
template <typename Decoder>
ParameterMap Decoded(Decoder decode, const QString& json)
{
    ParameterMap parameters{{QStringLiteral("a"), 1}, {QStringLiteral("z"), QStringLiteral("kept")}};
    decode(json, parameters);
    return parameters;
}

QByteArray Hex(const QString& text)
{
    return QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2).toHex(' ');
}

// Empty when both are the same, else what to look at, in UTF-16.
QByteArray Difference(int round, const QString& actual, const QString& expected, const QString& input = {})
{
    if (actual == expected) {
        return QByteArray();
    }
    return "round " + QByteArray::number(round) + "\ninput    " + Hex(input) + "\nexpected " + Hex(expected) +
           "\nactual   " + Hex(actual);
}

QByteArray DecodingDifference(int round, const QString& json)
{
    return Difference(round, Described(Decoded(&Library::GetParameters, json)),
                      Described(Decoded(&Straightforward::GetParameters, json)), json);
}

} // namespace

/**
 * The library's codec against the straightforward one, on random input. The environment can ask for more of it:
 * KIV_ORACLE_ROUNDS (20000), KIV_ORACLE_SEED.
 */
class tst_CodecOracle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void addParameters_randomMap_asStraightforwardCodec();
    void getParameters_randomText_asStraightforwardCodec();
    void getParameters_encodedRandomMap_asStraightforwardCodec();

private:
    const int m_Rounds = NumberFromEnvironment("KIV_ORACLE_ROUNDS", 20000);
    const quint32 m_Seed = quint32(NumberFromEnvironment("KIV_ORACLE_SEED", 20250101));
};

void tst_CodecOracle::addParameters_randomMap_asStraightforwardCodec()
{
    for (int round = 0; round < m_Rounds; ++round) {
        const ParameterMap map = Generator(m_Seed + quint32(round)).Map();
        QCOMPARE(Difference(round, Encoded(&Library::AddParameters, map),
                            Encoded(&Straightforward::AddParameters, map)),
                 QByteArray());
    }
}

void tst_CodecOracle::getParameters_randomText_asStraightforwardCodec()
{
    for (int round = 0; round < m_Rounds; ++round) {
        QCOMPARE(DecodingDifference(round, Generator(m_Seed + quint32(round)).Json()), QByteArray());
    }
}

void tst_CodecOracle::getParameters_encodedRandomMap_asStraightforwardCodec()
{
    for (int round = 0; round < m_Rounds; ++round) {
        const LogCapture log;
        QString json;
        Straightforward::AddParameters(Generator(m_Seed + quint32(round)).Map(), json);
        QCOMPARE(DecodingDifference(round, json), QByteArray());
    }
}

KIV_UNIT_TEST_MAIN(tst_CodecOracle)

#include "tst_CodecOracle.moc"
