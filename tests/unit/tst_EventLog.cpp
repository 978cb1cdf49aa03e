// SPDX-License-Identifier: MIT
#include "EventLog.h"
#include "LogRecord.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

using namespace Simulator;
using Kind = LogRecord::Kind;
Q_DECLARE_METATYPE(LogRecord)

namespace {

/** Of a record, without its time. */
LogRecord Record(Kind kind, std::optional<Role> role, const QString& name, const QString& payload,
                 const QString& peer = QString(), const QString& path = QString())
{
    return {kind, role, name, payload, peer, path};
}

LogRecord Numbered(int number)
{
    return Record(Kind::Service, std::nullopt, QString(), QString::number(number));
}

/** The payloads of lines of JSON. */
QStringList Payloads(const QStringList& lines)
{
    QStringList payloads;
    for (const QString& line : lines) {
        payloads += QJsonDocument::fromJson(line.toUtf8()).object().value("payload").toString();
    }
    return payloads;
}

int LastTime(const EventLog& log)
{
    const QStringList lines = log.Read(0).lines;
    return QJsonDocument::fromJson(lines.last().toUtf8()).object().value("time").toInt(-1);
}

QByteArray Content(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no file");
}

} // namespace

class tst_EventLog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void record_isOneLine_data();
    void record_isOneLine();
    void longPayload_isShortenedInATextOnly();
    void longPayload_isNotCutWithinACharacter();
    void file_hasEachLineAtOnce_data();
    void file_hasEachLineAtOnce();
    void file_thatCannotBeOpened_isComplainedAbout();
    void time_doesNotGoBack();
    void excerpt_startsAtItsNumber();
    void excerpt_hasThePartThatFits();
    void oldRecords_makeRoom();
    void clear_forgetsAndCountsAnew();
};

void tst_EventLog::record_isOneLine_data()
{
    QTest::addColumn<LogRecord>("record");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("json");
    const auto row = [](const char* name, const LogRecord& record, const char* text, const char* json) {
        QTest::newRow(name) << record << QByteArray(text) << QByteArray(json);
    };
    const std::optional<Role> nobody;
    row("request", Record(Kind::Request, Role::App, "audioActive", "{\"a\":1}", ":1.7"),
        "<- app  audioActive {\"a\":1}  [:1.7]",
        R"({"kind":"request","name":"audioActive","payload":"{\"a\":1}",)"
        R"("peer":":1.7","role":"app","time":0})");
    row("nameless request", Record(Kind::Request, Role::Hmi, "", "", ":1.7"), "<- hmi   [:1.7]",
        R"({"kind":"request","peer":":1.7","role":"hmi","time":0})");
    row("answer", Record(Kind::Answer, Role::Hmi, "getMode", "{}", ":1.7"), "-> hmi  {}  [:1.7]",
        R"({"kind":"answer","name":"getMode","payload":"{}","peer":":1.7","role":"hmi","time":0})");
    row("error", Record(Kind::Error, Role::Hmi, "getMode", "a.b: no", ":1.7"),
        "-> hmi  getMode a.b: no  [:1.7]",
        R"({"kind":"error","name":"getMode","payload":"a.b: no","peer":":1.7","role":"hmi","time":0})");
    row("call", Record(Kind::Call, Role::App, "onX", "{}", ":1.7", "/p"), "-> app  onX {}  [:1.7 /p]",
        R"({"kind":"call","name":"onX","path":"/p","payload":"{}","peer":":1.7","role":"app","time":0})");
    row("broadcast", Record(Kind::Broadcast, nobody, "news", "{}"), "=> all  news {}",
        R"({"kind":"broadcast","name":"news","payload":"{}","time":0})");
    row("left", Record(Kind::Left, nobody, "", "left", ":1.7"), "-- bus  left  [:1.7]",
        R"({"kind":"left","payload":"left","peer":":1.7","time":0})");
    row("failed", Record(Kind::Failed, Role::Hmi, "onX", "no answer", ":1.7", "/p"),
        "!! hmi  onX failed: no answer  [:1.7 /p]",
        R"({"kind":"failed","name":"onX","path":"/p","payload":"no answer",)"
        R"("peer":":1.7","role":"hmi","time":0})");
    row("fault", Record(Kind::Fault, nobody, "errCode", "setMode", ":1.7"), "** sim  errCode setMode  [:1.7]",
        R"({"kind":"fault","name":"errCode","payload":"setMode","peer":":1.7","time":0})");
    row("step", Record(Kind::Step, nobody, "return", ""), "** sim  return",
        R"({"kind":"step","name":"return","time":0})");
    row("service", Record(Kind::Service, nobody, "", "came"), "** sim  came",
        R"({"kind":"service","payload":"came","time":0})");
    row("line breaks", Record(Kind::Answer, Role::App, "m", "a\r\nb ü", ":1.7"), "-> app  a\\r\\nb ü  [:1.7]",
        R"({"kind":"answer","name":"m","payload":"a\r\nb ü","peer":":1.7","role":"app","time":0})");
}

void tst_EventLog::record_isOneLine()
{
    QFETCH(LogRecord, record);
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, json);
    QCOMPARE(ToText(record), text);
    QCOMPARE(ToJson(record), json);
    record.time = 1234;
    QCOMPARE(ToText(record), text);
    QCOMPARE(ToJson(record), json.replace("\"time\":0", "\"time\":1234"));
}

void tst_EventLog::longPayload_isShortenedInATextOnly()
{
    const QString longest = QString("%1 %2\n").repeated(666) + "abcd"; // 4000 characters
    QCOMPARE(longest.size(), 4000);
    const LogRecord whole = Record(Kind::Service, std::nullopt, "", longest);
    const LogRecord longer = Record(Kind::Service, std::nullopt, "", longest + "e");
    const QByteArray line = "** sim  " + QByteArray("%1 %2\\n").repeated(666) + "abcd";
    QCOMPARE(ToText(whole), line);
    QCOMPARE(ToText(longer), line + "… (4001 characters)");
    QCOMPARE(Payloads({QString::fromUtf8(ToJson(longer))}), QStringList(longest + "e"));
}

void tst_EventLog::longPayload_isNotCutWithinACharacter()
{
    const QString note = QString::fromUtf8("\xF0\x9D\x84\x9E"); // two code units
    QCOMPARE(note.size(), 2);
    const QString text = QString(3999, 'x') + note;
    QCOMPARE(ToText(Record(Kind::Service, std::nullopt, "", text)),
             "** sim  " + QByteArray(3999, 'x') + "… (4001 characters)");
    QCOMPARE(ToText(Record(Kind::Service, std::nullopt, "", text.mid(1) + "y")),
             "** sim  " + QByteArray(3998, 'x') + note.toUtf8() + "… (4001 characters)");
}

void tst_EventLog::file_hasEachLineAtOnce_data()
{
    QTest::addColumn<int>("format");
    QTest::addColumn<QByteArray>("lines");
    QTest::newRow("off") << int(LogFormat::Off) << QByteArray();
    QTest::newRow("text") << int(LogFormat::Text) << QByteArray("** sim  1\n** sim  2\n");
    QTest::newRow("json") << int(LogFormat::Json)
                          << QByteArray("{\"kind\":\"service\",\"payload\":\"1\",\"time\":T}\n"
                                        "{\"kind\":\"service\",\"payload\":\"2\",\"time\":T}\n");
}

void tst_EventLog::file_hasEachLineAtOnce()
{
    QFETCH(int, format);
    QFETCH(QByteArray, lines);
    const QTemporaryDir folder;
    const QString path = folder.filePath("log");
    EventLog log(static_cast<LogFormat>(format));
    QCOMPARE(log.OpenFile(path), QString());
    log.Add(Numbered(1));
    log.Add(Numbered(2));
    const QString content = QString::fromUtf8(Content(path));
    QCOMPARE(QString(content).replace(QRegularExpression("\"time\":\\d+"), "\"time\":T").toUtf8(), lines);
    log.Clear(); // what was written stays
    QCOMPARE(QString::fromUtf8(Content(path)), content);
}

void tst_EventLog::file_thatCannotBeOpened_isComplainedAbout()
{
    EventLog log(LogFormat::Text);
    QCOMPARE(log.OpenFile("/nonexistent/log"), QString("No such file or directory"));
}

void tst_EventLog::time_doesNotGoBack()
{
    EventLog log(LogFormat::Off);
    LogRecord record = Numbered(1);
    record.time = 1000000000; // the log knows better
    const auto timeOfAnother = [&] {
        log.Add(record);
        return LastTime(log);
    };
    const int first = timeOfAnother();
    QVERIFY(first >= 0);
    QTRY_VERIFY(timeOfAnother() > first);
    QVERIFY(LastTime(log) < 1000000000);
}

void tst_EventLog::excerpt_startsAtItsNumber()
{
    EventLog log(LogFormat::Off);
    QCOMPARE(log.Read(0).next, 0U);
    for (int number = 0; number < 3; ++number) {
        log.Add(Numbered(number));
    }
    const EventLog::Excerpt all = log.Read(0);
    QCOMPARE(Payloads(all.lines), (QStringList{"0", "1", "2"}));
    QCOMPARE(all.next, 3U);
    const EventLog::Excerpt rest = log.Read(2);
    QCOMPARE(Payloads(rest.lines), QStringList("2"));
    QCOMPARE(rest.next, 3U);
    QCOMPARE(log.Read(3).lines, QStringList());
    QCOMPARE(log.Read(3).next, 3U);
}

void tst_EventLog::excerpt_hasThePartThatFits()
{
    EventLog log(LogFormat::Off);
    for (int number = 0; number < 20; ++number) {
        LogRecord record = Numbered(number);
        record.payload = record.payload.leftJustified(1024 * 1024, 'x');
        log.Add(record);
    }
    QStringList lines;
    QVector<int> parts;
    for (quint32 next = 0; parts.isEmpty() || parts.last() > 0;) {
        const EventLog::Excerpt excerpt = log.Read(next);
        QCOMPARE(excerpt.next, next + static_cast<quint32>(excerpt.lines.size()));
        next = excerpt.next;
        parts.append(int(excerpt.lines.size()));
        lines += excerpt.lines;
    }
    QCOMPARE(parts, (QVector<int>{8, 8, 4, 0}));
    const QStringList payloads = Payloads(lines);
    for (int number = 0; number < 20; ++number) {
        QCOMPARE(payloads[number].section('x', 0, 0), QString::number(number));
    }
}

void tst_EventLog::oldRecords_makeRoom()
{
    EventLog log(LogFormat::Off);
    for (int number = 0; number < 100002; ++number) {
        log.Add(Numbered(number));
    }
    QStringList lines;
    quint32 next = 0;
    for (EventLog::Excerpt excerpt = log.Read(next); !excerpt.lines.isEmpty(); excerpt = log.Read(next)) {
        lines += excerpt.lines;
        next = excerpt.next;
    }
    QCOMPARE(next, 100002U);
    QCOMPARE(lines.size(), 100000);
    QCOMPARE(Payloads({lines.first(), lines.last()}), (QStringList{"2", "100001"}));
    QCOMPARE(Payloads({log.Read(3).lines.first()}), QStringList("3"));
}

void tst_EventLog::clear_forgetsAndCountsAnew()
{
    EventLog log(LogFormat::Off);
    log.Add(Numbered(1));
    log.Clear();
    QCOMPARE(log.Read(0).lines, QStringList());
    QCOMPARE(log.Read(0).next, 0U);
    log.Add(Numbered(2));
    QCOMPARE(Payloads(log.Read(0).lines), QStringList("2"));
    QCOMPARE(log.Read(0).next, 1U);
}

QTEST_APPLESS_MAIN(tst_EventLog)
#include "tst_EventLog.moc"
