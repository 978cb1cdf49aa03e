// SPDX-License-Identifier: MIT
#include "JsonFields.h"
#include "JsonNode.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

using namespace Simulator;

namespace {

/** "<line>: <text>" of the error that is thrown; empty when there is none. */
template <typename Action>
QString Complaint(Action action)
{
    try {
        action();
        return QString();
    } catch (const JsonError& error) {
        return QString("%1: %2").arg(QString::number(error.Line()), error.Text());
    }
}

QString ComplaintAbout(const QByteArray& text)
{
    return Complaint([&] { JsonNode::Parse(text); });
}

/** Each value with its line, in the order of the text: "a=1 b=2"; elements of lists have no name. */
QStringList Lines(const JsonNode& node, const QString& name = QString())
{
    QStringList lines{QString("%1=%2").arg(name, QString::number(node.line))};
    for (const auto& [key, member] : node.members) {
        lines += Lines(member, key);
    }
    for (const JsonNode& element : node.elements) {
        lines += Lines(element);
    }
    return lines;
}

QByteArray Nested(int depth)
{
    return QByteArray(depth, '[') + QByteArray(depth, ']');
}

} // namespace

class tst_JsonNode : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void types_areKept();
    void members_keepTheirOrder();
    void lines_areThoseOfTheText();
    void numbers_areKeptBeyond32Bits_data();
    void numbers_areKeptBeyond32Bits();
    void depth_of100_isRead();
    void badText_isComplainedAbout_data();
    void badText_isComplainedAbout();
    void fields_areRead();
    void fields_thatAreMissing_haveTheirDefault();
    void fields_areComplainedAbout_data();
    void fields_areComplainedAbout();
    void otherMembers_areComplainedAbout();
};

void tst_JsonNode::types_areKept()
{
    const JsonNode node = JsonNode::Parse(R"([null, true, 1.5, "ü\n\u20ac", [], {}])");
    using Type = JsonNode::Type;
    const QVector<Type> types{Type::Null, Type::Boolean, Type::Number, Type::Text, Type::List, Type::Object};
    const QStringList names{"null", "a boolean", "a number", "a text", "a list", "an object"};
    QCOMPARE(node.elements.size(), types.size());
    for (int place = 0; place < types.size(); ++place) {
        QVERIFY(node.elements[place].type == types[place]);
        QCOMPARE(node.elements[place].TypeName(), names[place]);
    }
    QCOMPARE(node.ToValue(),
             QJsonValue(QJsonArray{QJsonValue::Null, true, 1.5, "ü\n€", QJsonArray(), QJsonObject()}));
}

void tst_JsonNode::members_keepTheirOrder()
{
    const JsonNode node = JsonNode::Parse(R"({"z": 1, "a": 2, "": 3, "Z": 4, "m": {"y": 5, "b": 6}})");
    QCOMPARE(Lines(node), (QStringList{"=1", "z=1", "a=1", "=1", "Z=1", "m=1", "y=1", "b=1"}));
}

void tst_JsonNode::lines_areThoseOfTheText()
{
    const JsonNode node =
        JsonNode::Parse("\n{\n\"a\":\n1, \"b\\n\\n\": [\n\n{\"c\": \"x\\ny\"},\n\n null], \r\n"
                        "\"d\": {\n}\n,\n\"e\"\n:\n-2\n}\n\n");
    QCOMPARE(Lines(node), (QStringList{"=2", "a=4", "b\n\n=4", "=6", "c=6", "=8", "d=9", "e=14"}));
}

void tst_JsonNode::numbers_areKeptBeyond32Bits_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<double>("number");
    QTest::newRow("2^31 - 1") << QByteArray("2147483647") << 2147483647.0;
    QTest::newRow("2^31") << QByteArray("2147483648") << 2147483648.0;
    QTest::newRow("2^32") << QByteArray("4294967296") << 4294967296.0;
    QTest::newRow("2^63 - 1024") << QByteArray("9223372036854774784") << 9223372036854774784.0;
    QTest::newRow("2^63") << QByteArray("9223372036854775808") << 9223372036854775808.0;
    QTest::newRow("2^64") << QByteArray("18446744073709551616") << 18446744073709551616.0;
    QTest::newRow("-2^31 - 1") << QByteArray("-2147483649") << -2147483649.0;
    QTest::newRow("exponent") << QByteArray("25e-1") << 2.5;
}

void tst_JsonNode::numbers_areKeptBeyond32Bits()
{
    QFETCH(QByteArray, text);
    QFETCH(double, number);
    const JsonNode node = JsonNode::Parse(text);
    QVERIFY(node.type == JsonNode::Type::Number);
    QCOMPARE(node.scalar.toDouble(), number);
}

void tst_JsonNode::depth_of100_isRead()
{
    QCOMPARE(ComplaintAbout(Nested(100)), QString());
    QCOMPARE(ComplaintAbout("\n" + Nested(101)), QString("2: nested more than 100 deep"));
    // Far beyond what a stack would hold.
    QCOMPARE(ComplaintAbout(QByteArray(10000000, '[')), QString("1: nested more than 100 deep"));
    QCOMPARE(ComplaintAbout("[" + QByteArray("1,").repeated(9999) + "1]"), QString());
    QCOMPARE(ComplaintAbout("[" + QByteArray("1,").repeated(10000) + "\n1]"),
             QString("2: expected at most 10000 in a list or an object"));
    QCOMPARE(ComplaintAbout("{\"a\":" + Nested(99) + "}"), QString());
    QCOMPARE(ComplaintAbout("{\"a\":\n" + Nested(100) + "}"), QString("2: nested more than 100 deep"));
}

void tst_JsonNode::badText_isComplainedAbout_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* name, const QByteArray& text, const char* complaint) {
        QTest::newRow(name) << text << QString(complaint);
    };
    const char* const encoding = "2: not JSON: Invalid encoding in string.";
    row("nothing", "", "1: not JSON: The document is empty.");
    row("blanks", "\n\n  ", "3: not JSON: The document is empty.");
    row("two values", "{}\n{}", "2: not JSON: The document root must not be followed by other values.");
    row("cut off", "{\"a\": [1,\n", "2: not JSON: Invalid value.");
    row("more behind a NUL", QByteArray("{}\n\0 more", 9), "2: not JSON: a NUL byte");
    row("no quotes", "{\n\na: 1}", "3: not JSON: Missing a name for object member.");
    row("a number too big", "[\n1e999]", "2: not JSON: Number too big to be stored in double.");
    row("member twice", "{\"a\": 1,\n\"b\": {\"a\": 2},\n\"a\":\n3}", "4: member \"a\" is given twice");
    row("member twice, once escaped", R"({"a": 1, "\u0061": 2})", "1: member \"a\" is given twice");
    row("inner member twice", "{\"a\": {\"b\": 1,\n\"b\": 2}}", "2: member \"b\" is given twice");
    row("Latin-1", "[\n\"\xe4\"]", encoding);
    row("cut UTF-8", "[\n\"\xe2\x82\"]", encoding);
    row("overlong UTF-8", "[\n\"\xc0\xaf\"]", encoding);
    row("surrogate as UTF-8", "[\n\"\xed\xa0\x80\"]", encoding);
    row("beyond Unicode", "[\n\"\xf5\x80\x80\x80\"]", encoding);
    row("bad UTF-8 in a name", "{\n\"\xff\": 1}", encoding);
    row("half a surrogate", "[\n\"\\ud800\"]", "2: not JSON: The surrogate pair in string is invalid.");
}

void tst_JsonNode::badText_isComplainedAbout()
{
    QFETCH(QByteArray, text);
    QFETCH(QString, complaint);
    QCOMPARE(ComplaintAbout(text), complaint);
}

void tst_JsonNode::fields_areRead()
{
    const JsonNode node = JsonNode::Parse(R"(
        {"text": "t", "empty": "", "choice": "b", "flag": false, "number": 3.0, "texts": ["x", "y"],
         "list": [1, {}], "object": {"k": [null]}})");
    JsonFields fields(node, "a thing");
    QCOMPARE(fields.Text("text"), QString("t"));
    QCOMPARE(fields.TextOr("empty", "other"), QString(""));
    QVERIFY(fields.Choice("choice", {"a", "b"}) == 1);
    QVERIFY(fields.Flag("flag") == false);
    QVERIFY(fields.Number("number", 3, 3) == 3);
    QCOMPARE(fields.Texts("texts"), (QStringList{"x", "y"}));
    QCOMPARE(fields.List("list").size(), 2);
    QCOMPARE(fields.Object("object"), (QJsonObject{{"k", QJsonArray{QJsonValue::Null}}}));
    QVERIFY(fields.Has("text"));
    fields.Finish();
}

void tst_JsonNode::fields_thatAreMissing_haveTheirDefault()
{
    const JsonNode node = JsonNode::Parse("{}");
    JsonFields fields(node, "a thing");
    QCOMPARE(fields.TextOr("a", "other"), QString("other"));
    QVERIFY(!fields.Choice("a", {"x"}));
    QVERIFY(!fields.Flag("a"));
    QVERIFY(!fields.Number("a", 0, 1));
    QVERIFY(!fields.Optional("a"));
    QVERIFY(!fields.Has("a"));
    QVERIFY(fields.Texts("a").isEmpty());
    QVERIFY(fields.List("a").isEmpty());
    QVERIFY(fields.Object("a").isEmpty());
}

using Reading = void (*)(JsonFields& fields);
Q_DECLARE_METATYPE(Reading)

void tst_JsonNode::fields_areComplainedAbout_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<Reading>("read");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* name, const QByteArray& value, Reading read, const char* complaint) {
        QTest::newRow(name) << QByteArray("{\n\"a\":\n" + value + "}") << read << QString(complaint);
    };
    const Reading text = [](JsonFields& fields) { fields.Text("a"); };
    const Reading textOr = [](JsonFields& fields) { fields.TextOr("a", QString()); };
    const Reading choice = [](JsonFields& fields) { fields.Choice("a", {"x", "y"}); };
    const Reading flag = [](JsonFields& fields) { fields.Flag("a"); };
    const Reading number = [](JsonFields& fields) { fields.Number("a", -2, 5); };
    const Reading texts = [](JsonFields& fields) { fields.Texts("a"); };
    const Reading list = [](JsonFields& fields) { fields.List("a"); };
    const Reading object = [](JsonFields& fields) { fields.Object("a"); };
    row(
        "required", "1", [](JsonFields& fields) { fields.Required("b"); },
        "1: a thing: member \"b\" is missing");
    row(
        "text missing", "1", [](JsonFields& fields) { fields.Text("b"); },
        "1: a thing: member \"b\" is missing");
    row("text empty", "\"\"", text, "3: \"a\": expected a text that is not empty, found \"\"");
    row("text a flag", "true", text, "3: \"a\": expected a text that is not empty, found a boolean");
    row("optional text null", "null", textOr, "3: \"a\": expected a text, found null");
    row("choice unknown", "\"X\"", choice, "3: \"a\": expected one of \"x\", \"y\", found \"X\"");
    row("choice a list", "[]", choice, "3: \"a\": expected one of \"x\", \"y\", found a list");
    row("flag a number", "1", flag, "3: \"a\": expected true or false, found 1");
    row("number too small", "-3", number, "3: \"a\": expected a whole number from -2 to 5, found -3");
    row("number too great", "6", number, "3: \"a\": expected a whole number from -2 to 5, found 6");
    row("number of 64 bits", "4294967296", number,
        "3: \"a\": expected a whole number from -2 to 5, found 4294967296");
    row("number with a fraction", "1.25", number,
        "3: \"a\": expected a whole number from -2 to 5, found 1.25");
    row("number a text", "\"1\"", number, "3: \"a\": expected a whole number from -2 to 5, found \"1\"");
    row("number a flag", "true", number, "3: \"a\": expected a whole number from -2 to 5, found a boolean");
    row("texts with a number", "[\"x\",\n7]", texts, "4: \"a\": expected a text that is not empty, found 7");
    row("texts a text", "\"x\"", texts, "3: \"a\": expected a list, found \"x\"");
    row("list an object", "{}", list, "3: \"a\": expected a list, found an object");
    row("object a list", "[]", object, "3: \"a\": expected an object, found a list");
    row("placeholders", "\"%1 %2 %3\"", flag, "3: \"a\": expected true or false, found \"%1 %2 %3\"");
}

void tst_JsonNode::fields_areComplainedAbout()
{
    QFETCH(QByteArray, text);
    QFETCH(Reading, read);
    QFETCH(QString, complaint);
    const JsonNode node = JsonNode::Parse(text);
    JsonFields fields(node, "a thing");
    QCOMPARE(Complaint([&] { read(fields); }), complaint);
}

void tst_JsonNode::otherMembers_areComplainedAbout()
{
    const JsonNode list = JsonNode::Parse("\n[]");
    QCOMPARE(Complaint([&] { JsonFields(list, "a thing"); }),
             QString("2: expected a thing (an object), found a list"));

    const JsonNode node = JsonNode::Parse("{\"b\": 1,\n\"c\": 2,\n\"a\": 3, \"d\": 4}");
    JsonFields fields(node, "a thing");
    for (const char* key : {"b", "a", "b"}) {
        fields.Optional(key);
    }
    QCOMPARE(Complaint([&] { fields.Finish(); }),
             QString("2: a thing: there is no member \"c\"; expected some of \"a\", \"b\""));
}

QTEST_APPLESS_MAIN(tst_JsonNode)
#include "tst_JsonNode.moc"
