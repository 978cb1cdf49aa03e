// SPDX-License-Identifier: MIT
#include "ScenarioReader.h"
#include "Spoiler.h"

#include <QJsonArray>
#include <QSet>
#include <QTest>

using namespace Simulator;

namespace {

const QString kReply = R"({"currentMode":["Radio"],"sessionId":7})";
const QString kCall = R"(onX {"mode":"Tape","sessionId":7})";
const QString kBroadcast = R"(news {"newFocus":"gained"})";

Effect Event(Effect::Kind kind, const QString& name, const QJsonObject& parameters)
{
    Effect effect{};
    effect.kind = kind;
    effect.name = name;
    effect.parameters = parameters;
    return effect;
}

/** An answer with two members, a call and a broadcast. */
Outcome Example()
{
    return {{{"sessionId", 7}, {"currentMode", QJsonArray{"Radio"}}},
            {Event(Effect::Kind::Call, "onX", {{"sessionId", 7}, {"mode", "Tape"}}),
             Event(Effect::Kind::Broadcast, "news", {{"newFocus", "gained"}})}};
}

QStringList Texts(const QVector<Effect>& effects)
{
    QStringList texts;
    for (const Effect& effect : effects) {
        texts += effect.name + " " + PayloadOf(effect);
    }
    return texts;
}

/** An answer as a text: the events before, the answer and its delay, the events after. */
QStringList Picture(const Answer& answer)
{
    QString text = answer.kind == Answer::Kind::None ? QString("nothing") : answer.text;
    if (answer.kind == Answer::Kind::Error) {
        text.prepend("error " + answer.errorName + ": ");
    }
    text.append(answer.delay > 0 ? QString(" after %1").arg(answer.delay) : QString());
    return Texts(answer.eventsBefore) + QStringList("<" + text + ">") + Texts(answer.eventsAfter);
}

Answer SpoilExample(const QByteArray& text, quint32 seed = 1)
{
    Randomness randomness(seed);
    const Fault fault = ReadFault(text);
    return Spoil(fault, IsRequestDone(fault) ? Example() : Outcome(), randomness);
}

} // namespace

class tst_Spoiler : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void outcome_isAnsweredAsItIs();
    void fault_spoilsTheOutcome_data();
    void fault_spoilsTheOutcome();
    void hugeAnswer_hasItsBytes();
    void shuffledEvents_areAllThereInADrawnOrder();
    void delay_isDrawnWithinItsLimits();
    void payload_goesBeforeParameters();
};

void tst_Spoiler::outcome_isAnsweredAsItIs()
{
    QCOMPARE(Picture(ToAnswer(Example())), (QStringList{"<" + kReply + ">", kCall, kBroadcast}));
}

void tst_Spoiler::fault_spoilsTheOutcome_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<QStringList>("picture");
    const auto row = [](const char* fault, const QStringList& picture) {
        QTest::newRow(fault) << QByteArray(fault) << picture;
    };
    const auto answerRow = [&](const char* fault, const QString& answer) {
        row(fault, {"<" + answer + ">", kCall, kBroadcast});
    };
    const auto eventRow = [&](const char* fault, const QStringList& events) {
        row(fault, QStringList("<" + kReply + ">") + events);
    };
    // The request is not done.
    row(R"({"kind": "noAnswer"})", {"<nothing>"});
    row(R"({"kind": "crash"})", {"<nothing>"});
    row(R"({"kind": "restart"})", {"<nothing>"});
    row(R"({"kind": "stopAnswering"})", {"<nothing>"});
    row(R"({"kind": "error"})", {"<error org.freedesktop.DBus.Error.Failed: simulated failure>"});
    row(R"({"kind": "error", "name": "a.b", "message": "", "delay": 5})", {"<error a.b:  after 5>"});
    row(R"({"kind": "errCode"})", {R"(<{"errCode":99,"errMessage":"simulated refusal"}>)"});
    row(R"({"kind": "errCode", "code": [null], "message": "no"})",
        {R"(<{"errCode":[null],"errMessage":"no"}>)"});
    // The answer is another.
    answerRow(R"({"kind": "notJson"})", "this is not JSON");
    answerRow(R"({"kind": "notJson", "text": ""})", "");
    answerRow(R"({"kind": "delay", "delay": 20})", kReply + " after 20");
    answerRow(R"({"kind": "missingMember", "member": "sessionId"})", R"({"currentMode":["Radio"]})");
    answerRow(R"({"kind": "missingMember"})", "{}");
    answerRow(R"({"kind": "missingMember", "member": "other"})", kReply);
    answerRow(R"({"kind": "wrongType", "member": "sessionId"})",
              R"({"currentMode":["Radio"],"sessionId":"7"})");
    answerRow(R"({"kind": "wrongType"})", R"({"currentMode":"of another type","sessionId":"7"})");
    answerRow(R"({"kind": "extraMembers"})",
              R"({"currentMode":["Radio"],"extraBoolean":true,"extraList":[],"extraNothing":null,)"
              R"("extraNumber":1.5,"extraObject":{"inner":"text"},"extraText":"nobody asked for it",)"
              R"("sessionId":7})");
    answerRow(R"({"kind": "sessionId", "value": 0})", R"({"currentMode":["Radio"],"sessionId":0})");
    answerRow(R"({"kind": "sessionId", "value": "x"})", R"({"currentMode":["Radio"],"sessionId":"x"})");
    answerRow(R"({"kind": "sessionId", "value": 2147483649})",
              R"({"currentMode":["Radio"],"sessionId":2147483649})");
    answerRow(R"({"kind": "hugeAnswer", "bytes": 3})",
              R"({"currentMode":["Radio"],"padding":"xxx","sessionId":7})");
    // The events are others.
    eventRow(R"({"kind": "missingMember", "in": "events"})", {"onX {}", "news {}"});
    eventRow(R"({"kind": "missingMember", "in": "events", "member": "sessionId"})",
             {R"(onX {"mode":"Tape"})", kBroadcast});
    eventRow(R"({"kind": "wrongType", "in": "events"})",
             {R"(onX {"mode":4,"sessionId":"7"})", R"(news {"newFocus":6})"});
    eventRow(
        R"({"kind": "extraMembers", "in": "events"})",
        {R"(onX {"extraBoolean":true,"extraList":[],"extraNothing":null,"extraNumber":1.5,)"
         R"("extraObject":{"inner":"text"},"extraText":"nobody asked for it","mode":"Tape","sessionId":7})",
         R"(news {"extraBoolean":true,"extraList":[],"extraNothing":null,"extraNumber":1.5,)"
         R"("extraObject":{"inner":"text"},"extraText":"nobody asked for it","newFocus":"gained"})"});
    eventRow(R"({"kind": "duplicateEvents"})", {kCall, kCall, kBroadcast, kBroadcast});
    eventRow(R"({"kind": "foreignEvents"})", {R"(onX {"mode":"Tape","sessionId":1000007})", kBroadcast});
    row(R"({"kind": "eventsFirst"})", {kCall, kBroadcast, "<" + kReply + ">"});
    // What happens besides is not the answer's business.
    for (const char* fault :
         {R"({"kind": "callBackFirst"})", R"({"kind": "leave"})", R"({"kind": "flood", "count": 9})"}) {
        eventRow(fault, {kCall, kBroadcast});
    }
}

void tst_Spoiler::fault_spoilsTheOutcome()
{
    QFETCH(QByteArray, fault);
    QFETCH(QStringList, picture);
    QCOMPARE(Picture(SpoilExample(fault)), picture);
}

void tst_Spoiler::hugeAnswer_hasItsBytes()
{
    const QString text = SpoilExample(R"({"kind": "hugeAnswer"})").text;
    QCOMPARE(text.count('x'), 1024 * 1024);
    QCOMPARE(text.size() - 1024 * 1024, kReply.size() + int(qstrlen(R"("padding":"",)")));
}

void tst_Spoiler::shuffledEvents_areAllThereInADrawnOrder()
{
    QSet<QStringList> orders;
    for (quint32 seed = 0; seed < 50; ++seed) {
        const Answer answer = SpoilExample(R"({"kind": "shuffledEvents"})", seed);
        QCOMPARE(answer.text, kReply);
        QCOMPARE(Picture(answer), Picture(SpoilExample(R"({"kind": "shuffledEvents"})", seed)));
        orders.insert(Texts(answer.eventsAfter));
    }
    QCOMPARE(orders, (QSet<QStringList>{{kCall, kBroadcast}, {kBroadcast, kCall}}));
}

void tst_Spoiler::delay_isDrawnWithinItsLimits()
{
    QSet<int> delays;
    for (quint32 seed = 0; seed < 200; ++seed) {
        delays.insert(SpoilExample(R"({"kind": "eventsFirst", "delay": [3, 5]})", seed).delay);
    }
    QCOMPARE(delays, (QSet<int>{3, 4, 5}));
}

void tst_Spoiler::payload_goesBeforeParameters()
{
    Effect effect = Event(Effect::Kind::Call, "onX", {{"b", 1}, {"a", "ü"}});
    QCOMPARE(PayloadOf(effect), QString("{\"a\":\"ü\",\"b\":1}"));
    effect.payload = "";
    QCOMPARE(PayloadOf(effect), QString(""));
}

QTEST_APPLESS_MAIN(tst_Spoiler)
#include "tst_Spoiler.moc"
