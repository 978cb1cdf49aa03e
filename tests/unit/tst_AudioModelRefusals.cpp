// SPDX-License-Identifier: MIT
#include "AudioModel.h"

#include <QTest>

using namespace Simulator;

namespace {

const QString kBus = ":1.99";

/** One client with an HMI session (1), an application without (2) and one with a stream (3); and another client (4). */
void Populate(AudioModel& model)
{
    const QString open = R"({"busName":"","objectPath":"/%1"})";
    model.Handle({Role::Hmi, kBus, "openSession", open.arg("one")});
    model.Handle({Role::App, kBus, "openSession", open.arg("two")});
    model.Handle({Role::App, kBus, "openSession", open.arg("three")});
    model.Handle({Role::App, ":1.5", "openSession", open.arg("four")});
    model.Handle({Role::App, kBus, "registerAudioStream",
                  R"({"sessionId":3,"streamName":"s","streamType":"Media","focusType":"permanent"})"});
}

} // namespace

class tst_AudioModelRefusals : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void refusal_data();
    void refusal();
};

void tst_AudioModelRefusals::refusal_data()
{
    QTest::addColumn<bool>("isHmi");
    QTest::addColumn<QString>("method");
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("message");
    const bool hmi = true;
    const bool app = false;
    const auto row = [](const char* name, bool isHmi, const char* method, const char* arguments, int code,
                        const char* message) {
        QTest::newRow(name) << isHmi << QString(method) << QString(arguments) << code << QString(message);
    };
    const char* const noObject = "the arguments are not a JSON object";
    row("empty arguments", hmi, "getMode", "", 1, noObject);
    row("garbage", app, "audioActive", "nonsense", 1, noObject);
    row("an array", hmi, "openSession", "[]", 1, noObject);
    row("a number", hmi, "closeSession", "7", 1, noObject);
    row("cut off", app, "openSession", R"({"busName":"")", 1, noObject);

    row("unknown method", hmi, "frobnicate", "{}", 2, R"(there is no method "frobnicate")");
    row("unknown method, no object", app, "", "", 2, R"(there is no method "")");
    row("method in another case", hmi, "GetMode", "{}", 2, R"(there is no method "GetMode")");
    row("an event as a method", hmi, "onModeChange", "{}", 2, R"(there is no method "onModeChange")");

    const QString other = "method \"%1\" is not for this kind of client";
    for (const char* method : {"getModeList", "getMode", "setMode"}) {
        row(method, app, method, "{}", 3, qPrintable(other.arg(method)));
    }
    for (const char* method :
         {"registerAudioStream", "requestAudioFocus", "audioActive", "abandonAudioFocus"}) {
        row(method, hmi, method, "{}", 3, qPrintable(other.arg(method)));
    }

    const QString missing = "parameter \"%1\" is missing";
    const auto missingRow = [&](const char* name, bool isHmi, const char* method, const char* arguments,
                                const char* key) {
        row(name, isHmi, method, arguments, 4, qPrintable(missing.arg(key)));
    };
    missingRow("open without busName", hmi, "openSession", R"({"objectPath":"/a"})", "busName");
    missingRow("open without objectPath", hmi, "openSession", R"({"busName":"a"})", "objectPath");
    missingRow("close without sessionId", app, "closeSession", "{}", "sessionId");
    missingRow("list without sessionId", hmi, "getModeList", R"({"destination":"all"})", "sessionId");
    missingRow("list without destination", hmi, "getModeList", R"({"sessionId":1})", "destination");
    missingRow("mode without sessionId", hmi, "getMode", R"({"destination":"all"})", "sessionId");
    missingRow("mode without destination", hmi, "getMode", R"({"sessionId":1})", "destination");
    missingRow("set without sessionId", hmi, "setMode", R"({"newMode":"Radio"})", "sessionId");
    missingRow("set without newMode", hmi, "setMode", R"({"sessionId":1})", "newMode");
    missingRow("register without sessionId", app, "registerAudioStream", "{}", "sessionId");
    missingRow("register without streamName", app, "registerAudioStream",
               R"({"sessionId":2,"streamType":"Media","focusType":"permanent"})", "streamName");
    missingRow("register without streamType", app, "registerAudioStream",
               R"({"sessionId":2,"streamName":"a","focusType":"permanent"})", "streamType");
    missingRow("register without focusType", app, "registerAudioStream",
               R"({"sessionId":2,"streamName":"a","streamType":"Media"})", "focusType");
    missingRow("focus without requestType", app, "requestAudioFocus", R"({"sessionId":3})", "requestType");
    missingRow("active without playing", app, "audioActive", R"({"sessionId":3})", "playing");
    missingRow("abandon without reason", app, "abandonAudioFocus", R"({"sessionId":3})", "reason");

    const QString noText = "parameter \"%1\" is not a text";
    const char* const noNumber = "parameter \"sessionId\" is not a whole number of 32 bits";
    row("busName a number", hmi, "openSession", R"({"busName":1,"objectPath":"/a"})", 5,
        qPrintable(noText.arg("busName")));
    row("objectPath null", hmi, "openSession", R"({"busName":"a","objectPath":null})", 5,
        qPrintable(noText.arg("objectPath")));
    row("open with destination a list", hmi, "openSession",
        R"({"busName":"a","objectPath":"/a","destination":["Cabin"]})", 5,
        qPrintable(noText.arg("destination")));
    row("sessionId a text", hmi, "closeSession", R"({"sessionId":"1"})", 5, noNumber);
    row("sessionId negative", hmi, "closeSession", R"({"sessionId":-1})", 5, noNumber);
    row("sessionId broken", hmi, "closeSession", R"({"sessionId":1.5})", 5, noNumber);
    row("sessionId too large", hmi, "closeSession", R"({"sessionId":4294967296})", 5, noNumber);
    row("destination a flag", hmi, "getMode", R"({"sessionId":1,"destination":true})", 5,
        qPrintable(noText.arg("destination")));
    row("newMode a number", hmi, "setMode", R"({"sessionId":1,"newMode":1})", 5,
        qPrintable(noText.arg("newMode")));
    row("streamModeName a number", app, "registerAudioStream",
        R"({"sessionId":2,"streamName":"a","streamType":"Media","focusType":"permanent","streamModeName":1})",
        5, qPrintable(noText.arg("streamModeName")));
    row("requestType a flag", app, "requestAudioFocus", R"({"sessionId":3,"requestType":true})", 5,
        qPrintable(noText.arg("requestType")));
    row("playing a text", app, "audioActive", R"({"sessionId":3,"playing":"true"})", 5,
        "parameter \"playing\" is not a boolean");
    row("playing a number", app, "audioActive", R"({"sessionId":3,"playing":1})", 5,
        "parameter \"playing\" is not a boolean");

    const char* const noPath = "parameter \"objectPath\" is not an object path";
    row("objectPath empty", hmi, "openSession", R"({"busName":"","objectPath":""})", 6, noPath);
    row("objectPath relative", hmi, "openSession", R"({"busName":"","objectPath":"a"})", 6, noPath);
    row("objectPath with two slashes", hmi, "openSession", R"({"busName":"","objectPath":"/a//b"})", 6,
        noPath);
    row("objectPath ends in a slash", hmi, "openSession", R"({"busName":"","objectPath":"/a/"})", 6, noPath);
    row("objectPath with a dash", hmi, "openSession", R"({"busName":"","objectPath":"/a-b"})", 6, noPath);
    row("objectPath with a line break", hmi, "openSession", R"({"busName":"","objectPath":"/a\n"})", 6,
        noPath);
    row("streamName empty", app, "registerAudioStream",
        R"({"sessionId":2,"streamName":"","streamType":"Media","focusType":"permanent"})", 6,
        "parameter \"streamName\" is empty");
    row("streamType empty", app, "registerAudioStream",
        R"({"sessionId":2,"streamName":"a","streamType":"","focusType":"permanent"})", 6,
        "parameter \"streamType\" is empty");
    row("streamModeName empty", app, "registerAudioStream",
        R"({"sessionId":2,"streamName":"a","streamType":"b","focusType":"permanent","streamModeName":""})", 6,
        "parameter \"streamModeName\" is empty");
    row("focusType unknown", app, "registerAudioStream",
        R"({"sessionId":2,"streamName":"a","streamType":"Media","focusType":"lasting"})", 6,
        R"(parameter "focusType" is neither "permanent" nor "transient")");
    row("transient with a mode", app, "registerAudioStream",
        R"({"sessionId":2,"streamName":"a","streamType":"b","focusType":"transient","streamModeName":"/a"})",
        6, "only a stream with permanent focus can offer a mode");
    row("requestType unknown", app, "requestAudioFocus", R"({"sessionId":3,"requestType":"ask"})", 6,
        R"(parameter "requestType" is neither "query" nor "request")");
    row("reason empty", app, "abandonAudioFocus", R"({"sessionId":3,"reason":""})", 6,
        "parameter \"reason\" is empty");

    row("session 0", hmi, "closeSession", R"({"sessionId":0})", 7, "there is no session 0");
    row("largest session", app, "audioActive", R"({"sessionId":4294967295})", 7,
        "there is no session 4294967295");
    row("another client's session", app, "closeSession", R"({"sessionId":4})", 8,
        "session 4 is another client's");
    row("an application's session at the HMI object", hmi, "closeSession", R"({"sessionId":2})", 8,
        "session 2 is another client's");
    row("an HMI's session at the application object", app, "closeSession", R"({"sessionId":1})", 8,
        "session 1 is another client's");

    row("open at an unknown destination", app, "openSession",
        R"({"busName":"a","objectPath":"/a","destination":"Roof"})", 9, R"(there is no destination "Roof")");
    row("open at a nameless destination", app, "openSession",
        R"({"busName":"a","objectPath":"/a","destination":""})", 9, R"(there is no destination "")");
    row("list of an unknown destination", hmi, "getModeList", R"({"sessionId":1,"destination":"cabin"})", 9,
        R"(there is no destination "cabin")");
    row("mode of an unknown destination", hmi, "getMode", R"({"sessionId":1,"destination":"Roof"})", 9,
        R"(there is no destination "Roof")");
    row("mode not offered", hmi, "setMode", R"({"sessionId":1,"newMode":"Tape"})", 10,
        R"(mode "Tape" is not offered)");
    row("focus without a stream", app, "requestAudioFocus", R"({"sessionId":2,"requestType":"request"})", 11,
        "session 2 has no stream");
    row("query without a stream", app, "requestAudioFocus", R"({"sessionId":2,"requestType":"query"})", 11,
        "session 2 has no stream");
    row("active without a stream", app, "audioActive", R"({"sessionId":2,"playing":true})", 11,
        "session 2 has no stream");
    row("abandon without a stream", app, "abandonAudioFocus", R"({"sessionId":2,"reason":"a"})", 11,
        "session 2 has no stream");
    row("stream registered twice", app, "registerAudioStream",
        R"({"sessionId":3,"streamName":"b","streamType":"Media","focusType":"transient"})", 12,
        "session 3 has a stream already");
    row("abandon without focus", app, "abandonAudioFocus", R"({"sessionId":3,"reason":"a"})", 13,
        R"(stream "s" has no focus to give back)");
}

void tst_AudioModelRefusals::refusal()
{
    QFETCH(bool, isHmi);
    QFETCH(QString, method);
    QFETCH(QString, arguments);
    QFETCH(int, code);
    QFETCH(QString, message);
    AudioModel model{ModelSettings()};
    Populate(model);

    const Outcome outcome = model.Handle({isHmi ? Role::Hmi : Role::App, kBus, method, arguments});
    QCOMPARE(outcome.reply, (QJsonObject{{"errCode", code}, {"errMessage", message}}));
    QVERIFY(outcome.effects.isEmpty());
}

QTEST_APPLESS_MAIN(tst_AudioModelRefusals)
#include "tst_AudioModelRefusals.moc"
