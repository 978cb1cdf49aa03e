// SPDX-License-Identifier: MIT
#include "BothClients.h"
#include "JsonParameterParser.h"
#include "LogTexts.h"
#include "TestMain.h"

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

using Parameters = QMap<QString, QVariant>;
using Records = QVector<LogRecord>;

namespace {

const int kMebibyte = 1024 * 1024;
const QChar kNul('\0');
const QChar kByteOrderMark(0xfeff);
const QChar kHigh(0xd83d);
const QChar kLow(0xde00);

QString CodePoint(uint number)
{
    return QString::fromUcs4(&number, 1);
}

/** A text as JSON with every unit escaped. */
QString Escaped(const QString& text)
{
    QString json;
    for (const QChar unit : text) {
        json += QString("\\u%1").arg(unit.unicode(), 4, 16, QChar('0'));
    }
    return '"' + json + '"';
}

/** A text as JSON with nothing escaped but what has to be. */
QString Quoted(QString text)
{
    return '"' + text.replace('\\', "\\\\").replace('"', "\\\"") + '"';
}

/** A text as JSON as the library prints it. */
QString Printed(const QString& text)
{
    const QMap<QChar, QString> escapes{{'"', "\\\""}, {'\\', "\\\\"}, {'\b', "\\b"}, {'\f', "\\f"},
                                       {'\n', "\\n"}, {'\r', "\\r"},  {'\t', "\\t"}};
    QString json;
    for (const QChar unit : text) {
        const QString plain =
            unit < ' ' ? QString("\\u%1").arg(unit.unicode(), 4, 16, QChar('0')) : QString(unit);
        json += escapes.value(unit, plain);
    }
    return '"' + json + '"';
}

Parameters Decoded(const QString& json)
{
    Parameters parameters;
    GetParameters(json, parameters);
    return parameters;
}

void AddText(const QString& name, const QString& text, const QString& encoded, const QString& decoded,
             const QString& decodedEscapes)
{
    QTest::newRow(qPrintable(name)) << text << encoded << decoded << decodedEscapes;
}

void AddKept(const QString& name, const QString& text)
{
    AddText(name, text, text, text, text);
}

/**
 * Texts; what the other side has of one that was encoded; what is made of one that comes as JSON as it is; and of one
 * that comes with every unit escaped, a null text when that is not taken for JSON.
 */
void AddTexts()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("encoded");
    QTest::addColumn<QString>("decoded");
    QTest::addColumn<QString>("decodedEscapes");

    AddText("NUL inside", QString("a") + kNul + 'b', "a", QString(), "a");
    AddText("NUL in front", kNul + QString("a"), "", QString(), "");
    AddText("NUL at the end", QString("a") + kNul, "a", QString(), "a");
    AddText("high surrogate alone", 'a' + QString(kHigh) + 'b', "a?b", "a?b", QString());
    AddText("low surrogate alone", 'a' + QString(kLow) + 'b', "a?b", "a?b", QString());
    AddText("surrogates reversed", QString(kLow) + kHigh, "??", "??", QString());
    AddText("high surrogate twice", QString(kHigh) + kHigh, "??", "??", QString());
    AddText("U+FEFF in front", kByteOrderMark + QString("a"), kByteOrderMark + QString("a"), "a", "a");
    AddText("U+FEFF alone", kByteOrderMark, kByteOrderMark, "", "");
    AddText("U+FEFF twice in front", QString(2, kByteOrderMark), QString(2, kByteOrderMark), kByteOrderMark,
            kByteOrderMark);
    AddKept("U+FEFF inside", QString("a") + kByteOrderMark + 'b');
    AddKept("surrogate pair", QString(kHigh) + kLow);
    for (const uint number : {0xfdd0u, 0xfffeu, 0xffffu, 0x1fffeu, 0x1ffffu, 0x10fffeu, 0x10ffffu}) {
        AddKept("noncharacter U+" + QString::number(number, 16), 'a' + CodePoint(number) + 'b');
    }
    AddKept("replacement character", QChar(QChar::ReplacementCharacter));
    AddKept("private use", CodePoint(0xe000) + CodePoint(0x10fffd));
    AddKept("line and paragraph separators", CodePoint(0x2028) + CodePoint(0x2029));
    AddKept("right to left", CodePoint(0x202e) + "abc" + CodePoint(0x202c));
    AddKept("quotes and backslashes", "\\\"'/\\\\\"");
    AddKept("JSON in a text", R"({"sessionId":8,"errMessage":"a"})");
    AddKept("control characters", "\x01\x02\b\t\n\v\f\r\x1b\x1f\x7f");
    AddKept("blanks", " \t ");
    AddKept("1 MiB", QString(kMebibyte, 'a'));
    AddKept("1 MiB of U+1F600", (QString(kHigh) + kLow).repeated(kMebibyte / 4));
}

} // namespace

class tst_TextValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void codec_values_data() { AddTexts(); }
    void codec_values();
    void codec_keysAndLists_data() { AddTexts(); }
    void codec_keysAndLists();

    void hmi_sends_data() { AddTexts(); }
    void hmi_sends();
    void hmi_receives_data() { AddTexts(); }
    void hmi_receives();
    void hmi_storedMode_isSentWhenTheServiceSpellsItAlike_data() { AddTexts(); }
    void hmi_storedMode_isSentWhenTheServiceSpellsItAlike();
    void application_sends_data() { AddTexts(); }
    void application_sends();
    void application_receives_data() { AddTexts(); }
    void application_receives();
    void methodAndSignalNames_areRefused_data() { AddTexts(); }
    void methodAndSignalNames_areRefused();
};

// The codec

void tst_TextValues::codec_values()
{
    QFETCH(QString, text);
    QFETCH(QString, encoded);
    QFETCH(QString, decoded);
    QFETCH(QString, decodedEscapes);
    QString json;
    AddParameters({{"k", text}}, json);

    QCOMPARE(json, R"({"k":)" + Printed(encoded) + '}');
    QCOMPARE(Decoded(R"({"k":)" + Quoted(text) + '}').value("k").toString(), decoded);
    QCOMPARE(Decoded(R"({"k":)" + Escaped(text) + '}').value("k").toString(), decodedEscapes);
    QCOMPARE(Decoded(R"({"k":)" + Escaped(text) + '}').isEmpty(), decodedEscapes.isNull());
}

void tst_TextValues::codec_keysAndLists()
{
    QFETCH(QString, text);
    QFETCH(QString, decodedEscapes);
    const Parameters asKey = Decoded('{' + Escaped(text) + ":1}");
    const Parameters inList = Decoded(R"({"k":[)" + Escaped(text) + "]}");

    if (decodedEscapes.isNull()) {
        QCOMPARE(asKey, Parameters());
        QCOMPARE(inList, Parameters());
    } else {
        QCOMPARE(asKey, (Parameters{{decodedEscapes, 1}}));
        QCOMPARE(inList, (Parameters{{"k", QStringList(decodedEscapes)}}));
    }
}

// Through an HMI

void tst_TextValues::hmi_sends()
{
    QFETCH(QString, text);
    QFETCH(QString, encoded);
    BothClients on;
    QSignalSpy completed(on.hmi.data(), &AudioManagerHmi::SignalGetModeListCompleted);
    const QString arguments = R"({"destination":)" + Printed(encoded) + R"(,"sessionId":7})";

    QCOMPARE(on.hmi->GetModeListAsync(text), 1u);
    QTRY_COMPARE(completed, QList<QVariantList>({{1u, true}}));
    QVERIFY(on.hmi->GetMode(text));

    QCOMPARE(on.service->ArgumentsOf("getModeList").last(), arguments);
    QCOMPARE(on.service->ArgumentsOf("getMode").last(), arguments);
}

void tst_TextValues::hmi_receives()
{
    QFETCH(QString, text);
    QFETCH(QString, decoded);
    QFETCH(QString, decodedEscapes);
    BothClients on;
    QSignalSpy changed(on.hmi.data(), &AudioManagerHmi::SignalModeChanged);
    QSignalSpy listed(on.hmi.data(), &AudioManagerHmi::SignalModeListChanged);
    QSignalSpy focus(on.hmi.data(), &AudioManagerHmi::SignalAudioFocusChange);
    QStringList told;
    for (const auto& [json, value] :
         {qMakePair(Quoted(text), decoded), qMakePair(Escaped(text), decodedEscapes)}) {
        QCOMPARE(on.Call(kHmiObject, "onModeChange", R"({"sessionId":7,"activeMode":)" + json + '}'), "{}");
        QCOMPARE(
            on.Call(kHmiObject, "onModeListChange", R"({"sessionId":7,"action":"add","mode":)" + json + '}'),
            "{}");
        on.service->Notify(
            kHmiPath, "audioFocusChangeEvent",
            QString(R"({"streamName":%1,"streamModeName":"m","focusType":"f","streamType":"t",)"
                    R"("destination":"d","newFocus":%1})")
                .arg(json));
        on.Settle();
        told += value.isNull() ? QStringList() : QStringList(value);
    }

    QList<QVariantList> changes;
    QList<QVariantList> additions;
    QList<QVariantList> focusChanges;
    for (const QString& value : qAsConst(told)) {
        changes.append({value});
        additions.append({true, value});
        focusChanges.append({value, "m", "f", "t", "d", value});
    }
    QCOMPARE(changed, changes);
    QCOMPARE(listed, additions);
    QCOMPARE(focus, focusChanges);
    QCOMPARE(on.hmi->ModeList(), (QStringList{"A", "B"} + told));
    QCOMPARE(on.hmi->CurrentMode(), told.isEmpty() ? QString("A") : told.last());
    const LogRecord refused =
        Critical("AudioManagerHmi::HandleRequest -- Error - Received non-matching session id: 0");
    QCOMPARE(on.log.Complaints(), Records(2 * (2 - told.size()), refused));
}

void tst_TextValues::hmi_storedMode_isSentWhenTheServiceSpellsItAlike()
{
    QFETCH(QString, text);
    QFETCH(QString, encoded);
    QFETCH(QString, decodedEscapes);
    BothClients on;
    QSignalSpy completed(on.hmi.data(), &AudioManagerHmi::SignalSetModeCompleted);

    QCOMPARE(on.hmi->SetModeAsync(text), 1u);
    QCOMPARE(on.hmi->PendingMode(), text);
    on.Call(kHmiObject, "onModeListChange", R"({"sessionId":7,"action":"add","mode":)" + Escaped(text) + '}');
    on.Settle();

    const bool isSent = decodedEscapes == text;
    QTRY_COMPARE(on.service->ArgumentsOf("setMode"),
                 isSent ? QStringList(R"({"newMode":)" + Printed(encoded) + R"(,"sessionId":7})")
                        : QStringList());
    QTRY_COMPARE(completed, isSent ? QList<QVariantList>({{1u, true}}) : QList<QVariantList>());
    QCOMPARE(on.hmi->PendingMode(), isSent ? QString() : text);
}

// Through an application

void tst_TextValues::application_sends()
{
    QFETCH(QString, text);
    QFETCH(QString, encoded);
    BothClients on;
    QSignalSpy completed(on.app.data(), &AudioManagerApp::SignalAbandonAudioFocusCompleted);
    const QString arguments = R"({"reason":)" + Printed(encoded) + R"(,"sessionId":7})";

    QCOMPARE(on.app->AbandonAudioFocusAsync(text), 1u);
    QTRY_COMPARE(completed, QList<QVariantList>({{1u, true}}));
    QVERIFY(on.app->AbandonAudioFocus(text));

    QCOMPARE(on.service->ArgumentsOf("abandonAudioFocus"), (QStringList{arguments, arguments}));
}

void tst_TextValues::application_receives()
{
    QFETCH(QString, text);
    QFETCH(QString, decoded);
    QFETCH(QString, decodedEscapes);
    BothClients on;
    QSignalSpy changed(on.app.data(), &AudioManagerApp::SignalAudioFocusChanged);
    QSignalSpy decided(on.app.data(), &AudioManagerApp::SignalResponseToAudioFocusRequest);
    QList<QVariantList> told;
    for (const auto& [json, value] :
         {qMakePair(Quoted(text), decoded), qMakePair(Escaped(text), decodedEscapes)}) {
        const QString arguments = R"({"sessionId":7,"newFocus":)" + json + '}';
        QCOMPARE(on.Call(kAppObject, "onAudioFocusChange", arguments), "{}");
        QCOMPARE(on.Call(kAppObject, "onRequestAudioFocusResult", arguments), "{}");
        told += value.isNull() ? QList<QVariantList>() : QList<QVariantList>({{value}});
    }

    QCOMPARE(changed, told);
    QCOMPARE(decided, told);
    QCOMPARE(on.app->LastFocus(), told.isEmpty() ? QString() : told.last().first().toString());
    QCOMPARE(on.log.Complaints(),
             Records(2 * (2 - told.size()), Critical("Kiv service provider session id error!")));
}

// As a name

void tst_TextValues::methodAndSignalNames_areRefused()
{
    QFETCH(QString, text);
    BothClients on;

    QCOMPARE(on.Call(kHmiObject, text, R"({"sessionId":7})"), "{}");
    QCOMPARE(on.Call(kAppObject, text, R"({"sessionId":7})"), "{}");
    on.service->Notify(kHmiPath, text, "{}");
    on.Settle();

    const QString name = AsSent(text);
    QCOMPARE(
        on.log.Complaints(),
        (Records{Critical(Streamed("AudioManagerHmi::HandleRequest -- Error - Received invalid method name:",
                                   name)),
                 Critical(Streamed(name, " is not supported for Application mode in Media Player!")),
                 Critical(Streamed(
                     "AudioManagerHmi::HandleNotify -- Audio manager error: Sending wrong method", name))}));
}

KIV_BUS_TEST_MAIN(tst_TextValues)
#include "tst_TextValues.moc"
