// SPDX-License-Identifier: MIT
#include "JsonParameterParser.h"
#include "LogCapture.h"
#include "TestMain.h"

#include <QChar>
#include <QDate>
#include <QUrl>

#include <cJSON.h>

#include <climits>
#include <cstdlib>
#include <limits>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

using ParameterMap = QMap<QString, QVariant>;

Q_DECLARE_METATYPE(ParameterMap)

namespace {

const LogRecord kNotImplemented =
    Debug("JsonParameterParser - AddParameters() -- Type not implemented: QVariant::QVariantMap");

QString Encoded(const ParameterMap& parameters)
{
    QString json = "untouched";
    AddParameters(parameters, json);
    return json;
}

ParameterMap Decoded(const QString& json, ParameterMap parameters = {})
{
    GetParameters(json, parameters);
    return parameters;
}

// A text for each entry that tells its exact type and whether it is null, where comparing variants would convert.
QStringList Described(const ParameterMap& parameters)
{
    QStringList entries;
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        const QString text = entry->userType() == QMetaType::QStringList
                                 ? "(" + entry->toStringList().join('|') + ")"
                                 : entry->toString();
        entries.append(QString("%1=%2%3:%4")
                           .arg(entry.key(), text.isNull() ? "null " : "",
                                QString::fromLatin1(entry->typeName()), text));
    }
    return entries;
}

// A number as the JSON library prints it.
QString Printed(double number)
{
    cJSON* item = cJSON_CreateNumber(number);
    char* text = cJSON_PrintUnformatted(item);
    const QString printed = QString::fromUtf8(text);
    cJSON_free(text);
    cJSON_Delete(item);
    return printed;
}

// The JSON library's memory: counted, and scarce when asked.
class Memory
{
public:
    // Fails the allocation of the given index, counted from 0, and no other.
    explicit Memory(int failing)
    {
        smAllocations = 0;
        smLiving = 0;
        smFailing = failing;
        cJSON_Hooks hooks{&Memory::Allocate, &Memory::Free};
        cJSON_InitHooks(&hooks);
    }

    ~Memory() { cJSON_InitHooks(nullptr); }

    Memory(const Memory&) = delete;
    Memory& operator=(const Memory&) = delete;

    bool HasFailed() const { return smAllocations > smFailing; }
    int Living() const { return smLiving; }

private:
    static void* Allocate(size_t size)
    {
        if (smAllocations++ == smFailing) {
            return nullptr;
        }
        ++smLiving;
        return std::malloc(size);
    }

    static void Free(void* memory)
    {
        smLiving -= memory == nullptr ? 0 : 1;
        std::free(memory);
    }

    inline static int smAllocations = 0;
    inline static int smLiving = 0;
    inline static int smFailing = 0;
};

// The outcomes of an operation when its first, second, … allocation fails, and at last none; repetitions once.
template <typename Operation>
QStringList OutcomesWithoutMemory(Operation operation)
{
    const int bound = 1000;
    QStringList outcomes;
    for (int failing = 0; failing < bound; ++failing) {
        const Memory memory(failing);
        const QString outcome = operation();
        if (memory.Living() != 0) {
            return {QString("leak of %1 after failure %2").arg(memory.Living()).arg(failing)};
        }
        if (outcomes.isEmpty() || outcomes.last() != outcome) {
            outcomes.append(outcome);
        }
        if (!memory.HasFailed()) {
            return outcomes;
        }
    }
    return {"no end of allocations"};
}

} // namespace

class tst_JsonParameterParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void encode_type_data();
    void encode_type();
    void encode_emptyMap_isTheEmptyObject();
    void encode_severalEntries_inOrderOfKeys();
    void encode_replacesTheOutput();
    void encode_key_isEscapedLikeAText();
    void encode_key_isCutAtNul();
    void encode_nestedMap_isFlattened_data();
    void encode_nestedMap_isFlattened();
    void encode_nestedOtherTypes_areLoggedOnceEach();
    void encode_writesNoRecord();
    void encode_withoutMemory_leavesTheOutputAlone();
    void encode_manyEscapes();

    void decode_type_data();
    void decode_type();
    void decode_duplicateMember_laterWins();
    void decode_existingEntries_areOverwrittenOrKept();
    void decode_members_inOneMap();
    void decode_keys_nonAsciiAndEscapes();
    void decode_arrayRoot_setsTheEmptyKey();
    void decode_scalarRoot_addsNothing_data();
    void decode_scalarRoot_addsNothing();
    void decode_malformed_leavesTheMapAlone_data();
    void decode_malformed_leavesTheMapAlone();
    void decode_byteOrderMark_isSkipped();
    void decode_textIsCutAtNul();
    void decode_withoutMemory_leavesTheMapAlone();

    void roundTrip_data();
    void roundTrip();
};

void tst_JsonParameterParser::encode_type_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("json");
    const double twoTo53 = 9007199254740992.0;

    QTest::newRow("true") << QVariant(true) << "true";
    QTest::newRow("false") << QVariant(false) << "false";
    QTest::newRow("int") << QVariant(5) << "5";
    QTest::newRow("int zero") << QVariant(0) << "0";
    QTest::newRow("int negative") << QVariant(-7) << "-7";
    QTest::newRow("int largest") << QVariant(INT_MAX) << "2147483647";
    QTest::newRow("int smallest") << QVariant(INT_MIN) << "-2147483648";
    QTest::newRow("uint") << QVariant(7u) << "7";
    QTest::newRow("uint beyond int") << QVariant(2147483648u) << "2147483648";
    QTest::newRow("uint largest") << QVariant(UINT_MAX) << "4294967295";
    QTest::newRow("qlonglong") << QVariant(Q_INT64_C(1234567890123)) << "1234567890123";
    QTest::newRow("qlonglong negative") << QVariant(Q_INT64_C(-1234567890123)) << "-1234567890123";
    QTest::newRow("qlonglong beyond 2^53") << QVariant(Q_INT64_C(9007199254740993)) << Printed(twoTo53);
    QTest::newRow("qlonglong largest")
        << QVariant(std::numeric_limits<qlonglong>::max()) << Printed(9223372036854775808.0);
    QTest::newRow("qlonglong smallest")
        << QVariant(std::numeric_limits<qlonglong>::min()) << Printed(-9223372036854775808.0);
    QTest::newRow("qulonglong") << QVariant(Q_UINT64_C(1234567890123)) << "1234567890123";
    QTest::newRow("qulonglong beyond 2^53") << QVariant(Q_UINT64_C(9007199254740993)) << Printed(twoTo53);
    QTest::newRow("qulonglong largest")
        << QVariant(std::numeric_limits<qulonglong>::max()) << Printed(18446744073709551616.0);
    QTest::newRow("QStringList") << QVariant(QStringList{"p", "q"}) << R"(["p","q"])";
    QTest::newRow("QStringList order") << QVariant(QStringList{"b", "a", "b"}) << R"(["b","a","b"])";
    QTest::newRow("QStringList empty") << QVariant(QStringList()) << "[]";
    QTest::newRow("QStringList of empty texts") << QVariant(QStringList{"", QString()}) << R"(["",""])";
    QTest::newRow("QStringList non-ASCII") << QVariant(QStringList{"Grün", "音"}) << R"(["Grün","音"])";
    QTest::newRow("QStringList cut at NUL")
        << QVariant(QStringList{QString::fromLatin1("a\0b", 3)}) << R"(["a"])";

    QTest::newRow("QString") << QVariant("text") << R"("text")";
    QTest::newRow("QString empty") << QVariant("") << R"("")";
    QTest::newRow("QString null") << QVariant(QString()) << R"("")";
    QTest::newRow("QString like a number") << QVariant("5") << R"("5")";
    QTest::newRow("QString non-ASCII") << QVariant("Grün, 音, 😀") << R"("Grün, 音, 😀")";
    QTest::newRow("QString quotes") << QVariant(R"(a "b" \c /d)") << R"("a \"b\" \\c /d")";
    QTest::newRow("QString control characters")
        << QVariant("\b\f\n\r\t\x01\x1f") << R"("\b\f\n\r\t\u0001\u001f")";
    QTest::newRow("QString cut at NUL") << QVariant(QString::fromLatin1("a\0b", 3)) << R"("a")";
    QTest::newRow("double") << QVariant(2.5) << R"("2.5")";
    QTest::newRow("double whole") << QVariant(2.0) << R"("2")";
    QTest::newRow("double negative") << QVariant(-0.125) << R"("-0.125")";
    QTest::newRow("float") << QVariant(1.5f) << R"("1.5")";
    QTest::newRow("long") << QVariant::fromValue(5l) << R"("5")";
    QTest::newRow("ulong") << QVariant::fromValue(5ul) << R"("5")";
    QTest::newRow("short") << QVariant::fromValue(short(5)) << R"("5")";
    QTest::newRow("QChar") << QVariant(QChar('x')) << R"("x")";
    QTest::newRow("QByteArray") << QVariant(QByteArray("bytes")) << R"("bytes")";
    QTest::newRow("QDate") << QVariant(QDate(2024, 2, 29)) << R"("2024-02-29")";
    QTest::newRow("QUrl") << QVariant(QUrl("http://host/path")) << R"("http://host/path")";
    QTest::newRow("QVariantList") << QVariant(QVariantList{1, "two"}) << R"("")";
    QTest::newRow("QVariantHash") << QVariant(QVariantHash{{"k", 1}}) << R"("")";
    QTest::newRow("user type") << QVariant::fromValue(QList<int>{1}) << R"("")";
    QTest::newRow("invalid") << QVariant() << R"("")";
}

void tst_JsonParameterParser::encode_type()
{
    QFETCH(const QVariant, value);
    QFETCH(const QString, json);
    const LogCapture log;
    QCOMPARE(Encoded({{"k", value}}), "{\"k\":" + json + "}");
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_JsonParameterParser::encode_emptyMap_isTheEmptyObject()
{
    QCOMPARE(Encoded({}), "{}");
}

void tst_JsonParameterParser::encode_severalEntries_inOrderOfKeys()
{
    QCOMPARE(Encoded({{"c", 2.5}, {"a", true}, {"b", 5}}), R"({"a":true,"b":5,"c":"2.5"})");
    QCOMPARE(Encoded({{"b", 1}, {"B", 2}, {"", 3}}), R"({"":3,"B":2,"b":1})");
}

void tst_JsonParameterParser::encode_replacesTheOutput()
{
    QString json = "something longer than what replaces it";
    AddParameters({{"a", 1}}, json);
    QCOMPARE(json, R"({"a":1})");
    AddParameters({}, json);
    QCOMPARE(json, "{}");
}

void tst_JsonParameterParser::encode_key_isEscapedLikeAText()
{
    const QString json = R"({"a\"\n\\ö":1})";
    QCOMPARE(Encoded({{"a\"\n\\ö", 1}}), json);
}

void tst_JsonParameterParser::encode_key_isCutAtNul()
{
    QCOMPARE(Encoded({{QString::fromLatin1("a\0b", 3), 1}}), R"({"a":1})");
}

void tst_JsonParameterParser::encode_nestedMap_isFlattened_data()
{
    QTest::addColumn<ParameterMap>("parameters");
    QTest::addColumn<QString>("json");
    QTest::addColumn<int>("records");
    const QStringList list{"p", "q"};

    QTest::newRow("list and number") << ParameterMap{{"x", QVariantMap{{"list", list}, {"n", 3}}}}
                                     << R"({"list":["p","q"]})" << 1;
    QTest::newRow("two lists") << ParameterMap{{"x", QVariantMap{{"b", list}, {"a", QStringList()}}}}
                               << R"({"a":[],"b":["p","q"]})" << 0;
    QTest::newRow("in place of the outer key")
        << ParameterMap{{"a", 1}, {"b", QVariantMap{{"z", list}}}, {"c", 2}}
        << R"({"a":1,"z":["p","q"],"c":2})" << 0;
    QTest::newRow("same key as an entry")
        << ParameterMap{{"a", QVariantMap{{"k", list}}}, {"k", 5}} << R"({"k":["p","q"],"k":5})" << 0;
    QTest::newRow("same key as itself")
        << ParameterMap{{"k", QVariantMap{{"k", list}}}} << R"({"k":["p","q"]})" << 0;
    QTest::newRow("nested key is escaped")
        << ParameterMap{{"x", QVariantMap{{"ö\"", QStringList{"ä\""}}}}} << R"({"ö\"":["ä\""]})" << 0;
    QTest::newRow("empty") << ParameterMap{{"x", QVariantMap()}} << "{}" << 0;
    QTest::newRow("map in a map") << ParameterMap{{"x", QVariantMap{{"y", QVariantMap{{"l", list}}}}}} << "{}"
                                  << 1;
    QTest::newRow("two maps") << ParameterMap{{"x", QVariantMap{{"n", 1}, {"p", list}}},
                                              {"y", QVariantMap{{"n", 2}, {"q", list}}}}
                              << R"({"p":["p","q"],"q":["p","q"]})" << 2;
}

void tst_JsonParameterParser::encode_nestedMap_isFlattened()
{
    QFETCH(const ParameterMap, parameters);
    QFETCH(const QString, json);
    QFETCH(const int, records);
    const LogCapture log;
    QCOMPARE(Encoded(parameters), json);
    QCOMPARE(log.Records(), QVector<LogRecord>(records, kNotImplemented));
}

void tst_JsonParameterParser::encode_nestedOtherTypes_areLoggedOnceEach()
{
    const QVariantMap nested{
        {"bool", true},          {"double", 1.5}, {"int", 1},   {"invalid", QVariant()},
        {"list", QStringList{}}, {"text", "t"},   {"uint", 1u}, {"variants", QVariantList{"a"}}};
    const LogCapture log;
    QCOMPARE(Encoded({{"x", nested}}), R"({"list":[]})");
    QCOMPARE(log.Records(), QVector<LogRecord>(7, kNotImplemented));
}

void tst_JsonParameterParser::encode_writesNoRecord()
{
    const LogCapture log;
    Encoded({{"a", true}, {"b", QStringList{"x"}}, {"c", QVariantList{1}}, {"d", QVariant()}});
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_JsonParameterParser::encode_withoutMemory_leavesTheOutputAlone()
{
    const ParameterMap parameters{{"a", 1},
                                  {"b", true},
                                  {"l", QStringList{"p", "q"}},
                                  {"s", "t"},
                                  {"x", QVariantMap{{"m", QStringList{"r"}}}}};
    const LogCapture log;
    QCOMPARE(OutcomesWithoutMemory([&] { return Encoded(parameters); }),
             (QStringList{"untouched", R"({"a":1,"b":true,"l":["p","q"],"s":"t","m":["r"]})"}));
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

// Escapes make the text longer than was expected: it is printed once more, into memory of its own.
void tst_JsonParameterParser::encode_manyEscapes()
{
    const ParameterMap parameters{{"s", QString(500, QChar(1))}};
    const QString whole = R"({"s":")" + QString("\\u0001").repeated(500) + R"("})";
    QCOMPARE(Encoded(parameters), whole);
    QCOMPARE(OutcomesWithoutMemory([&] { return Encoded(parameters); }),
             (QStringList{"untouched", "", whole})); // "": nothing was printed
}

void tst_JsonParameterParser::decode_type_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("value");

    QTest::newRow("false") << "false"
                           << "bool:false";
    QTest::newRow("true") << "true"
                          << "bool:true";
    QTest::newRow("zero") << "0"
                          << "int:0";
    QTest::newRow("number") << "42"
                            << "int:42";
    QTest::newRow("negative") << "-42"
                              << "int:-42";
    QTest::newRow("fraction is cut off") << "3.9"
                                         << "int:3";
    QTest::newRow("negative fraction is cut off") << "-3.9"
                                                  << "int:-3";
    QTest::newRow("exponent") << "1.5e3"
                              << "int:1500";
    QTest::newRow("largest int") << "2147483647"
                                 << "int:2147483647";
    QTest::newRow("one too large") << "2147483648"
                                   << "int:2147483647";
    QTest::newRow("much too large") << "1e12"
                                    << "int:2147483647";
    QTest::newRow("infinite") << "1e999"
                              << "int:2147483647";
    QTest::newRow("smallest int") << "-2147483648"
                                  << "int:-2147483648";
    QTest::newRow("one too small") << "-2147483649"
                                   << "int:-2147483648";
    QTest::newRow("much too small") << "-1e12"
                                    << "int:-2147483648";
    QTest::newRow("text") << R"("text")"
                          << "QString:text";
    QTest::newRow("text empty") << R"("")"
                                << "QString:";
    QTest::newRow("text non-ASCII") << R"("Grün, 音, 😀")"
                                    << "QString:Grün, 音, 😀";
    QTest::newRow("text escapes") << R"("a\"b\\c\/d\n\u00e4\ud83d\ude00")"
                                  << "QString:a\"b\\c/d\nä😀";
    QTest::newRow("text like a number") << R"("5")"
                                        << "QString:5";
    QTest::newRow("array") << R"(["a","b"])"
                           << "QStringList:(a|b)";
    QTest::newRow("array order") << R"(["b","a","b"])"
                                 << "QStringList:(b|a|b)";
    QTest::newRow("array of other things") << R"(["a",1,null,true,false,["x"],{"k":"x"},"z"])"
                                           << "QStringList:(a|||||||z)";
    QTest::newRow("array of one number") << "[1]"
                                         << "QStringList:()";
    QTest::newRow("array non-ASCII") << R"(["ä"])"
                                     << "QStringList:(ä)";
    QTest::newRow("null") << "null"
                          << "null QString:";
    QTest::newRow("object") << R"({"k":1})"
                            << "null QString:";
    QTest::newRow("object empty") << "{}"
                                  << "null QString:";
}

void tst_JsonParameterParser::decode_type()
{
    QFETCH(const QString, json);
    QFETCH(const QString, value);
    const LogCapture log;
    QCOMPARE(Described(Decoded("{\"k\":" + json + "}")), QStringList("k=" + value));
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_JsonParameterParser::decode_duplicateMember_laterWins()
{
    QCOMPARE(Described(Decoded(R"({"a":1,"b":true,"a":"x"})")), (QStringList{"a=QString:x", "b=bool:true"}));
}

void tst_JsonParameterParser::decode_existingEntries_areOverwrittenOrKept()
{
    QCOMPARE(Described(Decoded(R"({"a":1,"c":null})", {{"a", "old"}, {"b", 2.5}, {"c", "old"}})),
             (QStringList{"a=int:1", "b=double:2.5", "c=null QString:"}));
    QCOMPARE(Described(Decoded("{}", {{"a", "old"}})), QStringList("a=QString:old"));
}

void tst_JsonParameterParser::decode_members_inOneMap()
{
    const ParameterMap decoded = Decoded("{ \"l\" : [\"a\", 1, null],\n \"e\" : [], \"o\" : {\"k\" : 1} }");
    QCOMPARE(Described(decoded), (QStringList{"e=QStringList:()", "l=QStringList:(a||)", "o=null QString:"}));
    QCOMPARE(decoded.value("l").toStringList(), (QStringList{"a", "", ""}));
    QCOMPARE(decoded.value("e").toStringList(), QStringList());
}

void tst_JsonParameterParser::decode_keys_nonAsciiAndEscapes()
{
    const QString json = R"({"ö\"\n":1,"":2,"K":3,"k":4})";
    QCOMPARE(Described(Decoded(json)), (QStringList{"=int:2", "K=int:3", "k=int:4", "ö\"\n=int:1"}));
}

void tst_JsonParameterParser::decode_arrayRoot_setsTheEmptyKey()
{
    QCOMPARE(Described(Decoded(R"(["a",true,7])", {{"k", 1}})), (QStringList{"=int:7", "k=int:1"}));
    QCOMPARE(Described(Decoded("[]", {{"k", 1}})), QStringList("k=int:1"));
}

void tst_JsonParameterParser::decode_scalarRoot_addsNothing_data()
{
    QTest::addColumn<QString>("json");
    for (const char* json : {"5", "\"text\"", "true", "false", "null"}) {
        QTest::newRow(json) << json;
    }
}

void tst_JsonParameterParser::decode_scalarRoot_addsNothing()
{
    QFETCH(const QString, json);
    const LogCapture log;
    QCOMPARE(Described(Decoded(json, {{"k", 1}})), QStringList("k=int:1"));
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_JsonParameterParser::decode_malformed_leavesTheMapAlone_data()
{
    QTest::addColumn<QString>("json");
    QTest::newRow("null") << QString();
    QTest::newRow("empty") << "";
    QTest::newRow("blank") << " ";
    QTest::newRow("word") << "nonsense";
    QTest::newRow("unterminated object") << R"({"k":2)";
    QTest::newRow("unterminated text") << R"({"k":"2)";
    QTest::newRow("unterminated array") << R"({"k":["2")";
    QTest::newRow("no value") << R"({"k":})";
    QTest::newRow("no colon") << R"({"k" 2})";
    QTest::newRow("trailing comma") << R"({"k":2,})";
    QTest::newRow("unquoted key") << "{k:2}";
    QTest::newRow("single quotes") << "{'k':2}";
    QTest::newRow("capitals") << R"({"k":True})";
    QTest::newRow("cut surrogate") << R"({"k":"\ud83d"})";
    QTest::newRow("too deep") << R"({"k":)" + QString(2000, '[') + QString(2000, ']') + "}";
    QTest::newRow("late mistake") << R"({"k":2,"l":nul})";
}

void tst_JsonParameterParser::decode_malformed_leavesTheMapAlone()
{
    QFETCH(const QString, json);
    const LogCapture log;
    QCOMPARE(Described(Decoded(json, {{"k", 1}})), QStringList("k=int:1"));
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_JsonParameterParser::decode_byteOrderMark_isSkipped()
{
    QCOMPARE(Described(Decoded(QChar(0xFEFF) + QString(R"({"k":1})"))), QStringList("k=int:1"));
}

void tst_JsonParameterParser::decode_textIsCutAtNul()
{
    const QString nul(1, QChar('\0'));
    const QString after = R"({"k":1})" + nul + R"({"l":2})";
    const QString within = "{\"k\":" + nul + "1}";
    const QString escaped = R"({"k":"a\u0000b"})";
    QCOMPARE(Described(Decoded(after)), QStringList("k=int:1"));
    QCOMPARE(Described(Decoded(within)), QStringList());
    QCOMPARE(Described(Decoded(escaped)), QStringList("k=QString:a"));
}

void tst_JsonParameterParser::decode_withoutMemory_leavesTheMapAlone()
{
    const auto decode = [] {
        return Described(Decoded(R"({"a":1,"l":["p",{"q":null}],"s":"t"})", {{"a", "old"}})).join(' ');
    };
    const LogCapture log;
    QCOMPARE(OutcomesWithoutMemory(decode),
             (QStringList{"a=QString:old", "a=int:1 l=QStringList:(p|) s=QString:t"}));
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_JsonParameterParser::roundTrip_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("decoded");
    QTest::newRow("bool") << QVariant(true) << "k=bool:true";
    QTest::newRow("int") << QVariant(-5) << "k=int:-5";
    QTest::newRow("uint") << QVariant(7u) << "k=int:7";
    QTest::newRow("uint beyond int") << QVariant(UINT_MAX) << "k=int:2147483647";
    QTest::newRow("double") << QVariant(1.5) << "k=QString:1.5";
    QTest::newRow("text") << QVariant("a\"\\\n\tö 😀") << "k=QString:a\"\\\n\tö 😀";
    QTest::newRow("list") << QVariant(QStringList{"a", "", "ö\""}) << "k=QStringList:(a||ö\")";
}

void tst_JsonParameterParser::roundTrip()
{
    QFETCH(const QVariant, value);
    QFETCH(const QString, decoded);
    QCOMPARE(Described(Decoded(Encoded({{"k", value}}))), QStringList(decoded));
}

KIV_UNIT_TEST_MAIN(tst_JsonParameterParser)
#include "tst_JsonParameterParser.moc"
