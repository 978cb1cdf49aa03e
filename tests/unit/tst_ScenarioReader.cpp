// SPDX-License-Identifier: MIT
#include "JsonNode.h"
#include "ScenarioReader.h"

#include <QJsonArray>
#include <QTest>

using namespace Simulator;

namespace {

using Reading = void (*)(const QByteArray& text);

/** "<line>: <text>" of what a reader complains about; empty when it does not. */
QString ComplaintOf(Reading read, const QByteArray& text)
{
    try {
        read(text);
        return QString();
    } catch (const JsonError& error) {
        return QString("%1: %2").arg(QString::number(error.Line()), error.Text());
    }
}

QStringList ModeTexts(const Scenario& scenario)
{
    QStringList texts;
    for (const DestinationModes& one : scenario.settings.modes) {
        texts += one.destination + "=" + one.modes.join(',');
    }
    return texts;
}

template <typename Kind>
Kind KindOf(const QByteArray& fault)
{
    return std::get<Kind>(ReadFault(fault).kind);
}

template <typename Kind>
Kind ActionOf(const QByteArray& step)
{
    return std::get<Kind>(ReadStep(step).action);
}

} // namespace

Q_DECLARE_METATYPE(Reading)

class tst_ScenarioReader : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyScenario_hasTheDefaults();
    void wholeScenario_isRead();
    void fault_hasTheDefaults();
    void fault_hasItsCommonMembers();
    void faultsOfEachKind_areRead();
    void step_hasTheDefaults();
    void step_hasItsTime();
    void actionsOfEachKind_areRead();
    void limits_areAccepted_data();
    void limits_areAccepted();
    void mistakes_areComplainedAbout_data();
    void mistakes_areComplainedAbout();
};

void tst_ScenarioReader::emptyScenario_hasTheDefaults()
{
    const Scenario scenario = ReadScenario("{}");
    QCOMPARE(ModeTexts(scenario), ModeTexts(Scenario()));
    QCOMPARE(ModeTexts(scenario), QStringList("Cabin=Radio,Bluetooth"));
    QCOMPARE(scenario.settings.refusedStreams, QStringList());
    QCOMPARE(scenario.settings.lockedStreams, QStringList());
    QVERIFY(scenario.isPresent);
    QCOMPARE(scenario.delay, 0);
    QVERIFY(scenario.faults.isEmpty());
    QVERIFY(scenario.steps.isEmpty());
}

void tst_ScenarioReader::wholeScenario_isRead()
{
    const Scenario scenario = ReadScenario(R"({
        "$schema": "any", "description": "", "modes": {"Rear": ["V", "T"], "Cabin": ["R"]},
        "refuse": ["a", "b"], "lock": ["c"], "present": false, "delay": 30,
        "faults": [{"kind": "crash"}, {"kind": "noAnswer"}],
        "steps": [{"do": "return"}, {"do": "crash", "after": 5}]})");
    QCOMPARE(ModeTexts(scenario), (QStringList{"Rear=V,T", "Cabin=R"}));
    QCOMPARE(scenario.settings.refusedStreams, (QStringList{"a", "b"}));
    QCOMPARE(scenario.settings.lockedStreams, QStringList("c"));
    QVERIFY(!scenario.isPresent);
    QCOMPARE(scenario.delay, 30);
    QCOMPARE(scenario.faults.size(), 2);
    QVERIFY(std::holds_alternative<Crash>(scenario.faults.first().kind));
    QVERIFY(std::holds_alternative<NoAnswer>(scenario.faults.last().kind));
    QCOMPARE(scenario.steps.size(), 2);
    QVERIFY(std::holds_alternative<Return>(scenario.steps.first().action));
    QVERIFY(std::holds_alternative<Crash>(scenario.steps.last().action));
    QCOMPARE(scenario.steps.last().after, 5);
}

void tst_ScenarioReader::fault_hasTheDefaults()
{
    const Fault fault = ReadFault(R"({"kind": "noAnswer"})");
    QCOMPARE(fault.name, QString("noAnswer"));
    QCOMPARE(fault.method, QString());
    QVERIFY(!fault.role);
    QCOMPARE(fault.skip, 0);
    QVERIFY(fault.times == 1);
    QCOMPARE(fault.probability, 1.0);
    QCOMPARE(fault.delay.least, 0);
    QCOMPARE(fault.delay.most, 0);
}

void tst_ScenarioReader::fault_hasItsCommonMembers()
{
    const Fault fault = ReadFault(R"({"kind": "eventsFirst", "method": "setMode", "role": "app", "skip": 2,
                                      "times": 3, "probability": 0.25, "delay": [10, 20]})");
    QCOMPARE(fault.name, QString("eventsFirst"));
    QCOMPARE(fault.method, QString("setMode"));
    QVERIFY(fault.role == Role::App);
    QCOMPARE(fault.skip, 2);
    QVERIFY(fault.times == 3);
    QCOMPARE(fault.probability, 0.25);
    QCOMPARE(fault.delay.least, 10);
    QCOMPARE(fault.delay.most, 20);
    const Fault other =
        ReadFault(R"({"kind": "delay", "role": "hmi", "times": "always", "delay": 7, "probability": 0})");
    QVERIFY(other.role == Role::Hmi);
    QVERIFY(!other.times);
    QCOMPARE(other.probability, 0.0);
    QCOMPARE(other.delay.least, 7);
    QCOMPARE(other.delay.most, 7);
}

void tst_ScenarioReader::faultsOfEachKind_areRead()
{
    KindOf<NoAnswer>(R"({"kind": "noAnswer"})");
    KindOf<Late>(R"({"kind": "delay", "delay": 1})");
    KindOf<DuplicateEvents>(R"({"kind": "duplicateEvents"})");
    KindOf<ShuffledEvents>(R"({"kind": "shuffledEvents"})");
    KindOf<EventsFirst>(R"({"kind": "eventsFirst"})");
    KindOf<ForeignEvents>(R"({"kind": "foreignEvents"})");
    KindOf<Crash>(R"({"kind": "crash"})");

    QCOMPARE(KindOf<ErrorAnswer>(R"({"kind": "error"})").name, QString("org.freedesktop.DBus.Error.Failed"));
    QCOMPARE(KindOf<ErrorAnswer>(R"({"kind": "error"})").message, QString("simulated failure"));
    const auto error = KindOf<ErrorAnswer>(R"({"kind": "error", "name": "a._1", "message": ""})");
    QCOMPARE(error.name + "|" + error.message, QString("a._1|"));

    QCOMPARE(KindOf<ErrCodeAnswer>(R"({"kind": "errCode"})").code, QJsonValue(99));
    QCOMPARE(KindOf<ErrCodeAnswer>(R"({"kind": "errCode"})").message, QString("simulated refusal"));
    const auto refusal = KindOf<ErrCodeAnswer>(R"({"kind": "errCode", "code": null, "message": "no"})");
    QCOMPARE(refusal.code, QJsonValue(QJsonValue::Null));
    QCOMPARE(refusal.message, QString("no"));

    QCOMPARE(KindOf<TextAnswer>(R"({"kind": "notJson"})").text, QString("this is not JSON"));
    QCOMPARE(KindOf<TextAnswer>(R"({"kind": "notJson", "text": ""})").text, QString());

    QCOMPARE(KindOf<MissingMember>(R"({"kind": "missingMember"})").member, QString());
    QVERIFY(KindOf<MissingMember>(R"({"kind": "missingMember"})").part == Part::Answer);
    QCOMPARE(KindOf<MissingMember>(R"({"kind": "missingMember", "member": "m"})").member, QString("m"));
    QVERIFY(KindOf<MissingMember>(R"({"kind": "missingMember", "in": "events"})").part == Part::Events);
    QVERIFY(KindOf<WrongType>(R"({"kind": "wrongType", "in": "answer"})").part == Part::Answer);
    QVERIFY(KindOf<WrongType>(R"({"kind": "wrongType", "in": "events"})").part == Part::Events);
    QCOMPARE(KindOf<WrongType>(R"({"kind": "wrongType", "member": "m"})").member, QString("m"));
    QVERIFY(KindOf<ExtraMembers>(R"({"kind": "extraMembers"})").part == Part::Answer);
    QVERIFY(KindOf<ExtraMembers>(R"({"kind": "extraMembers", "in": "events"})").part == Part::Events);

    QCOMPARE(KindOf<SessionIdAnswer>(R"({"kind": "sessionId", "value": 4294967295})").value,
             QJsonValue(4294967295.0));
    QCOMPARE(KindOf<HugeAnswer>(R"({"kind": "hugeAnswer"})").bytes, 1048576);
    QCOMPARE(KindOf<HugeAnswer>(R"({"kind": "hugeAnswer", "bytes": 5})").bytes, 5);

    QCOMPARE(KindOf<CallBackFirst>(R"({"kind": "callBackFirst"})").timeout, 1000);
    QCOMPARE(KindOf<CallBackFirst>(R"({"kind": "callBackFirst"})").name, QString());
    const auto callBack = KindOf<CallBackFirst>(
        R"({"kind": "callBackFirst", "timeout": 9, "name": "n", "parameters": {"a": [1]}})");
    QCOMPARE(callBack.timeout, 9);
    QCOMPARE(callBack.name, QString("n"));
    QCOMPARE(callBack.parameters, (QJsonObject{{"a", QJsonArray{1}}}));

    QVERIFY(!KindOf<Leave>(R"({"kind": "leave"})").milliseconds);
    QVERIFY(KindOf<Leave>(R"({"kind": "leave", "milliseconds": 0})").milliseconds == 0);
    QCOMPARE(KindOf<Restart>(R"({"kind": "restart"})").milliseconds, 0);
    QCOMPARE(KindOf<Restart>(R"({"kind": "restart", "milliseconds": 4})").milliseconds, 4);
    QVERIFY(!KindOf<StopAnswering>(R"({"kind": "stopAnswering"})").milliseconds);
    QVERIFY(KindOf<StopAnswering>(R"({"kind": "stopAnswering", "milliseconds": 6})").milliseconds == 6);
    QCOMPARE(KindOf<Flood>(R"({"kind": "flood", "count": 8})").count, 8);
    QVERIFY(KindOf<Flood>(R"({"kind": "flood", "count": 8})").to == Audience::Hmi);
    QVERIFY(KindOf<Flood>(R"({"kind": "flood", "count": 8, "to": "app"})").to == Audience::App);
}

void tst_ScenarioReader::step_hasTheDefaults()
{
    const Step step = ReadStep(R"({"do": "return"})");
    QCOMPARE(step.name, QString("return"));
    QVERIFY(!step.when);
    QCOMPARE(step.after, 0);
    const Step triggered = ReadStep(R"({"do": "return", "when": {}})");
    QVERIFY(triggered.when.has_value());
    QCOMPARE(triggered.when->method, QString());
    QVERIFY(!triggered.when->role);
    QCOMPARE(triggered.when->calls, 1);
}

void tst_ScenarioReader::step_hasItsTime()
{
    const Step step =
        ReadStep(R"({"do": "crash", "after": 12, "when": {"method": "m", "role": "app", "calls": 4}})");
    QCOMPARE(step.after, 12);
    QCOMPARE(step.when->method, QString("m"));
    QVERIFY(step.when->role == Role::App);
    QCOMPARE(step.when->calls, 4);
    QVERIFY(std::holds_alternative<Crash>(ReadStepForNow(R"({"do": "crash"})").action));
}

void tst_ScenarioReader::actionsOfEachKind_areRead()
{
    ActionOf<AnswerAgain>(R"({"do": "answerAgain"})");
    ActionOf<Crash>(R"({"do": "crash"})");
    ActionOf<DisarmFaults>(R"({"do": "disarmFaults"})");
    ActionOf<Return>(R"({"do": "return"})");
    QVERIFY(!ActionOf<Leave>(R"({"do": "leave"})").milliseconds);
    QCOMPARE(ActionOf<Restart>(R"({"do": "restart", "milliseconds": 3})").milliseconds, 3);
    QVERIFY(ActionOf<StopAnswering>(R"({"do": "stopAnswering", "milliseconds": 3})").milliseconds == 3);
    const auto flood = ActionOf<Flood>(R"({"do": "flood", "count": 2, "to": "all"})");
    QCOMPARE(flood.count, 2);
    QVERIFY(flood.to == Audience::All);

    QCOMPARE(ActionOf<AddMode>(R"({"do": "addMode", "mode": "M"})").destination, QString());
    const auto added = ActionOf<AddMode>(R"({"do": "addMode", "mode": "M", "destination": "D"})");
    QCOMPARE(added.mode + "@" + added.destination, QString("M@D"));
    const auto removed = ActionOf<RemoveMode>(R"({"do": "removeMode", "mode": "M", "destination": "D"})");
    QCOMPARE(removed.mode + "@" + removed.destination, QString("M@D"));
    const auto pressed = ActionOf<PressMode>(R"({"do": "pressMode", "mode": "M", "destination": "D"})");
    QCOMPARE(pressed.mode + "@" + pressed.destination, QString("M@D"));

    const auto usual = ActionOf<StartStream>(R"({"do": "startStream", "name": "n"})");
    QCOMPARE((QStringList{usual.stream.name, usual.stream.type, usual.stream.focusType, usual.stream.modeName,
                          usual.destination}),
             (QStringList{"n", "Phone", "transient", "", ""}));
    const auto stream = ActionOf<StartStream>(R"({"do": "startStream", "name": "n", "type": "t",
        "focusType": "permanent", "modeName": "m", "destination": "d"})");
    QCOMPARE((QStringList{stream.stream.name, stream.stream.type, stream.stream.focusType,
                          stream.stream.modeName, stream.destination}),
             (QStringList{"n", "t", "permanent", "m", "d"}));
    QCOMPARE(ActionOf<StopStream>(R"({"do": "stopStream", "name": "n"})").name, QString("n"));

    const auto armed = ActionOf<ArmFault>(R"({"do": "armFault", "fault": {"kind": "leave", "skip": 3}})");
    QVERIFY(std::holds_alternative<Leave>(armed.fault.kind));
    QCOMPARE(armed.fault.name, QString("leave"));
    QCOMPARE(armed.fault.skip, 3);

    const auto sent = ActionOf<Send>(R"({"do": "send", "to": "app", "name": "n", "parameters": {"a": 1}})");
    QVERIFY(sent.to == Audience::App);
    QCOMPARE(sent.name, QString("n"));
    QCOMPARE(sent.parameters, (QJsonObject{{"a", 1}}));
    QVERIFY(!sent.payload);
    const auto raw = ActionOf<Send>(R"({"do": "send", "to": "hmi", "name": "n", "payload": ""})");
    QVERIFY(raw.payload == QString());
    QVERIFY(raw.parameters.isEmpty());
}

namespace {

const Reading kScenario = [](const QByteArray& text) { ReadScenario(text); };
const Reading kFault = [](const QByteArray& text) { ReadFault(text); };
const Reading kStep = [](const QByteArray& text) { ReadStep(text); };
const Reading kStepForNow = [](const QByteArray& text) { ReadStepForNow(text); };

} // namespace

void tst_ScenarioReader::limits_areAccepted_data()
{
    QTest::addColumn<Reading>("read");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("least");
    QTest::addColumn<double>("most");
    const auto row = [](const char* text, Reading read, double least, double most) {
        QTest::newRow(text) << read << QString(text) << least << most;
    };
    row(R"({"delay": %1})", kScenario, 0, 600000);
    row(R"({"kind": "crash", "skip": %1})", kFault, 0, 1000000);
    row(R"({"kind": "crash", "times": %1})", kFault, 1, 1000000);
    row(R"({"kind": "crash", "delay": %1})", kFault, 0, 600000);
    row(R"({"kind": "crash", "delay": [%1, 600000]})", kFault, 0, 600000);
    row(R"({"kind": "crash", "delay": [3, %1]})", kFault, 3, 600000);
    row(R"({"kind": "hugeAnswer", "bytes": %1})", kFault, 1, 16777216);
    row(R"({"kind": "callBackFirst", "timeout": %1})", kFault, 1, 600000);
    row(R"({"kind": "flood", "count": %1})", kFault, 1, 1000000);
    row(R"({"kind": "leave", "milliseconds": %1})", kFault, 0, 600000);
    row(R"({"kind": "restart", "milliseconds": %1})", kFault, 0, 600000);
    row(R"({"kind": "stopAnswering", "milliseconds": %1})", kFault, 0, 600000);
    row(R"({"do": "return", "after": %1})", kStep, 0, 600000);
    row(R"({"do": "return", "when": {"calls": %1}})", kStep, 1, 1000000);
}

void tst_ScenarioReader::limits_areAccepted()
{
    QFETCH(Reading, read);
    QFETCH(QString, text);
    QFETCH(double, least);
    QFETCH(double, most);
    const auto complaint = [&](double number) {
        return ComplaintOf(read, text.arg(number, 0, 'f', 0).toUtf8());
    };
    QCOMPARE(complaint(least), QString());
    QCOMPARE(complaint(most), QString());
    const QString expected = QString("expected a whole number from %1 to %2, found ");
    const QString limits = expected.arg(least, 0, 'f', 0).arg(most, 0, 'f', 0);
    QVERIFY2(complaint(least - 1).endsWith(limits + QString::number(least - 1)),
             qPrintable(complaint(least - 1)));
    QVERIFY2(complaint(most + 1).endsWith(limits + QString::number(most + 1, 'f', 0)),
             qPrintable(complaint(most + 1)));
}

void tst_ScenarioReader::mistakes_areComplainedAbout_data()
{
    QTest::addColumn<Reading>("read");
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* name, Reading read, const char* text, const char* complaint) {
        QTest::newRow(name) << read << QByteArray(text) << QString(complaint);
    };
    row("scenario a list", kScenario, "\n[]", "2: expected a scenario (an object), found a list");
    row("fault a number", kFault, "\n7", "2: expected a fault (an object), found 7");
    row("step a text", kStep, "\"x\"", "1: expected a step (an object), found \"x\"");
    row("step now with a delay", kStepForNow, "{\"do\": \"crash\",\n\"after\": 1}",
        "2: a step: there is no member \"after\"; expected some of \"do\"");
    row("step now with a trigger", kStepForNow, "{\"do\": \"crash\",\n\"when\": {}}",
        "2: a step: there is no member \"when\"; expected some of \"do\"");
    row("fault of two kinds", kFault, "{\"kind\": \"crash\",\n\"kind\": \"leave\"}",
        "2: member \"kind\" is given twice");
    row("delay falls", kFault, "{\"kind\": \"crash\", \"delay\": [5,\n4]}",
        "2: \"delay\": expected a whole number from 5 to 600000, found 4");
    row("error name too long", kFault,
        qPrintable("{\"kind\": \"error\",\n\"name\": \"a." + QString(254, 'b') + "\"}"),
        qPrintable("2: \"name\": expected the name of a D-Bus error, found \"a." + QString(254, 'b') + "\""));
    row("error name with a line break", kFault, "{\"kind\": \"error\", \"name\": \"a.b\\n\"}",
        "1: \"name\": expected the name of a D-Bus error, found \"a.b\n\"");
    row("probability negative", kFault, "{\"kind\": \"crash\",\n\"probability\":\n-0.1}",
        "3: \"probability\": expected a number from 0 to 1, found -0.1");
    row("trigger's role", kStep, "{\"do\": \"crash\", \"when\": {\n\"role\": \"all\"}}",
        "2: \"role\": expected one of \"hmi\", \"app\", found \"all\"");
    row("armed fault", kStep, "{\"do\": \"armFault\", \"fault\": {\n\"kind\": \"flood\"}}",
        "1: a fault: member \"count\" is missing");
}

void tst_ScenarioReader::mistakes_areComplainedAbout()
{
    QFETCH(Reading, read);
    QFETCH(QByteArray, text);
    QFETCH(QString, complaint);
    QCOMPARE(ComplaintOf(read, text), complaint);
}

QTEST_APPLESS_MAIN(tst_ScenarioReader)
#include "tst_ScenarioReader.moc"
