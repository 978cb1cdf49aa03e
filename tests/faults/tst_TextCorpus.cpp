// SPDX-License-Identifier: MIT
#include "BothClients.h"
#include "JsonParameterParser.h"
#include "LogCapture.h"
#include "LogTexts.h"
#include "TestMain.h"
#include "TextCorpus.h"

#include <QSet>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

using Parameters = QMap<QString, QVariant>;
using Records = QVector<LogRecord>;

namespace {

const QVector<CorpusText>& Corpus()
{
    static const QVector<CorpusText> corpus = ReadCorpus(KIV_MALFORMED_JSON);
    return corpus;
}

/** The texts of the kind that the row names. */
QVector<CorpusText> FetchTexts()
{
    QFETCH(QString, kind);
    QVector<CorpusText> texts;
    for (const CorpusText& text : Corpus()) {
        if (text.kind == kind) {
            texts.append(text);
        }
    }
    return texts;
}

Parameters Decoded(const QString& text)
{
    Parameters parameters;
    GetParameters(text, parameters);
    return parameters;
}

bool HasErrCode(const CorpusText& text)
{
    return Decoded(text.text).contains("errCode");
}

/** Every text of an answer, as a mode list takes them. */
QStringList ModesIn(const CorpusText& text)
{
    QStringList modes;
    for (const QVariant& value : Decoded(text.text)) {
        modes += value.toStringList();
    }
    return modes;
}

/** What an answer that holds "errCode" is complained of with. */
Records ErrorCode(const CorpusText& text)
{
    return {Critical(
        Streamed("KivBaseClient::HandleReply -- Received error code:", Decoded(text.text).value("errCode")))};
}

/** What a request came to, with what was complained of. */
QString Line(const CorpusText& text, const QString& result, const Records& complaints)
{
    QString line = text.notation + " -> " + result;
    for (const LogRecord& record : complaints) {
        line += " | " + record.text;
    }
    return line;
}

QString Line(const CorpusText& text, bool result, const Records& complaints)
{
    return Line(text, QString(result ? "true" : "false"), complaints);
}

/** Waits for the completion of a request that was started, and returns its result. */
bool ResultOf(QSignalSpy& completed, quint32 requestId)
{
    const bool isThere = !completed.isEmpty() || completed.wait(30000);
    const QVariantList values = isThere ? completed.takeFirst() : QVariantList();
    if (requestId == 0 || values.value(0) != requestId) {
        qFatal("the request did not complete");
    }
    return values.value(1).toBool();
}

const QString kGoodEvent = R"({"streamName":"s","streamModeName":"m","focusType":"f","streamType":"t",)"
                           R"("destination":"d","newFocus":"lost"})";

} // namespace

class tst_TextCorpus : public QObject
{
    Q_OBJECT

private:
    static void AddKinds();

private Q_SLOTS:
    void corpus_hasTextsOfEveryKind();
    void codec_makesTheStatedOutcomeWithoutARecord_data() { AddKinds(); }
    void codec_makesTheStatedOutcomeWithoutARecord();
    void codec_invalidUtf8_survivesAsReplacement_data();
    void codec_invalidUtf8_survivesAsReplacement();

    void answer_asyncRequestOfTheHmi_failsOnlyWithErrCode_data() { AddKinds(); }
    void answer_asyncRequestOfTheHmi_failsOnlyWithErrCode();
    void answer_modeList_takesWhateverTextsThereAre_data() { AddKinds(); }
    void answer_modeList_takesWhateverTextsThereAre();
    void answer_asyncRequestOfTheApplication_failsOnlyWithErrCode_data() { AddKinds(); }
    void answer_asyncRequestOfTheApplication_failsOnlyWithErrCode();
    void answer_blockingRequest_failsWhenErrCodeIsAnywhere_data() { AddKinds(); }
    void answer_blockingRequest_failsWhenErrCodeIsAnywhere();
    void answer_openSession_opensNone_data() { AddKinds(); }
    void answer_openSession_opensNone();

    void call_isAnsweredAndRefusedForItsSession_data() { AddKinds(); }
    void call_isAnsweredAndRefusedForItsSession();
    void broadcast_isRecordedAndIgnored_data() { AddKinds(); }
    void broadcast_isRecordedAndIgnored();
};

void tst_TextCorpus::AddKinds()
{
    QTest::addColumn<QString>("kind");
    QSet<QString> kinds;
    for (const CorpusText& text : Corpus()) {
        if (!kinds.contains(text.kind)) {
            kinds.insert(text.kind);
            QTest::newRow(qPrintable(text.kind)) << text.kind;
        }
    }
}

void tst_TextCorpus::corpus_hasTextsOfEveryKind()
{
    QSet<QString> kinds;
    QSet<QString> texts;
    for (const CorpusText& text : Corpus()) {
        kinds.insert(text.kind);
        texts.insert(text.text);
    }
    QCOMPARE(texts.size(), Corpus().size()); // none twice
    QVERIFY(texts.size() >= 300);
    QVERIFY(kinds.size() >= 18);
}

// The codec

void tst_TextCorpus::codec_makesTheStatedOutcomeWithoutARecord()
{
    QStringList expected;
    QStringList seen;
    const LogCapture log;
    for (const CorpusText& text : FetchTexts()) {
        expected.append(text.notation + " -> " + text.outcome);
        seen.append(text.notation + " -> " + Described(Decoded(text.text)));
    }
    QCOMPARE(seen, expected);
    QCOMPARE(log.Records(), Records());
}

void tst_TextCorpus::codec_invalidUtf8_survivesAsReplacement_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("replacements");
    QTest::newRow("continuation alone") << QByteArray("\x80") << 1;
    QTest::newRow("two bytes, one there") << QByteArray("\xc3") << 1;
    QTest::newRow("three bytes, two there") << QByteArray("\xe2\x82") << 2;
    QTest::newRow("four bytes, three there") << QByteArray("\xf0\x9f\x98") << 3;
    QTest::newRow("overlong slash") << QByteArray("\xc0\xaf") << 2;
    QTest::newRow("overlong NUL") << QByteArray("\xc0\x80") << 2;
    QTest::newRow("overlong quote") << QByteArray("\xe0\x80\xa2") << 3;
    QTest::newRow("half a surrogate pair") << QByteArray("\xed\xa0\xbd") << 3;
    QTest::newRow("beyond U+10FFFF") << QByteArray("\xf4\x90\x80\x80") << 4;
    QTest::newRow("never a byte of UTF-8") << QByteArray("\xfe\xff") << 2;
    QTest::newRow("Latin-1") << QByteArray("Gr\xfcn") << 1;
}

void tst_TextCorpus::codec_invalidUtf8_survivesAsReplacement()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, replacements);
    const QString text = QString::fromUtf8(R"({"k":"a)" + bytes + R"(b","l":1})");
    const LogCapture log;

    const Parameters decoded = Decoded(text);

    QCOMPARE(decoded.value("k").toString(), "a" + QString::fromUtf8(bytes) + "b");
    QCOMPARE(decoded.value("k").toString().count(QChar::ReplacementCharacter), replacements);
    QCOMPARE(decoded.value("l"), QVariant(1));
    QCOMPARE(decoded.size(), 2);
    QCOMPARE(log.Records(), Records());
}

// As an answer

void tst_TextCorpus::answer_asyncRequestOfTheHmi_failsOnlyWithErrCode()
{
    BothClients on;
    QSignalSpy completed(on.hmi.data(), &AudioManagerHmi::SignalSetModeCompleted);
    QStringList expected;
    QStringList seen;
    quint32 requestId = 0;
    for (const CorpusText& text : FetchTexts()) {
        on.service->Answer("setMode", text.text);
        on.log.Clear();
        const bool isSet = ResultOf(completed, on.hmi->SetModeAsync("A"));
        seen.append(Line(text, isSet, on.log.Complaints()));

        Records complaints;
        ++requestId;
        if (HasErrCode(text)) {
            complaints = ErrorCode(text);
            complaints += Warning(Streamed("AudioManagerHmi::HandleSetModeReply -- Request", requestId,
                                           "failed with reply", Decoded(text.text)));
        }
        expected.append(Line(text, !HasErrCode(text), complaints));
    }
    QCOMPARE(seen, expected);
}

void tst_TextCorpus::answer_modeList_takesWhateverTextsThereAre()
{
    BothClients on;
    QSignalSpy completed(on.hmi.data(), &AudioManagerHmi::SignalGetModeListCompleted);
    QStringList expected;
    QStringList seen;
    QStringList modes = on.hmi->ModeList();
    for (const CorpusText& text : FetchTexts()) {
        on.service->Answer("getModeList", text.text);
        const bool isThere = ResultOf(completed, on.hmi->GetModeListAsync(QString()));
        modes = HasErrCode(text) ? modes : ModesIn(text);
        seen.append(Line(text, isThere, {}) + ' ' + Streamed(on.hmi->ModeList()));
        expected.append(Line(text, !HasErrCode(text), {}) + ' ' + Streamed(modes));
    }
    QCOMPARE(seen, expected);
}

void tst_TextCorpus::answer_asyncRequestOfTheApplication_failsOnlyWithErrCode()
{
    BothClients on;
    QSignalSpy completed(on.app.data(), &AudioManagerApp::SignalAudioActiveCompleted);
    QStringList expected;
    QStringList seen;
    for (const CorpusText& text : FetchTexts()) {
        on.service->Answer("audioActive", text.text);
        on.log.Clear();
        const bool isAccepted = ResultOf(completed, on.app->AudioActiveAsync(true));
        seen.append(Line(text, isAccepted, on.log.Complaints()));
        expected.append(Line(text, !HasErrCode(text), HasErrCode(text) ? ErrorCode(text) : Records()));
    }
    QCOMPARE(seen, expected);
}

void tst_TextCorpus::answer_blockingRequest_failsWhenErrCodeIsAnywhere()
{
    BothClients on;
    const QString arguments = R"({"playing":true,"sessionId":7})";
    QStringList expected;
    QStringList seen;
    for (const CorpusText& text : FetchTexts()) {
        on.service->Answer("audioActive", text.text);
        on.log.Clear();
        const bool isAccepted = on.app->AudioActive(true);
        seen.append(Line(text, isAccepted, on.log.Complaints()));

        const QString answer = AsSent(text.text);
        Records complaints;
        if (answer.contains("errCode")) {
            complaints = {Critical(Streamed("ConcreteServiceProviderProxy::Request -- Error:",
                                            QString("audioActive"), arguments, "Result:", answer)),
                          RequestFails("audioActive", arguments, answer)};
        }
        expected.append(Line(text, complaints.isEmpty(), complaints));
    }
    QCOMPARE(seen, expected);
}

void tst_TextCorpus::answer_openSession_opensNone()
{
    BothClients on;
    QSignalSpy completed(on.app.data(), &ServiceProviderClient::SignalOpenSessionCompleted);
    on.app->HandleCloseSessionReply(false, {});
    QStringList expected;
    QStringList seen;
    for (const CorpusText& text : FetchTexts()) {
        on.service->Answer("openSession", text.text);
        on.log.Clear();
        const bool isOpen = ResultOf(completed, on.app->OpenSessionAsync()) || on.app->IsSessionOpen();
        const Records complaints = on.log.Complaints();
        seen.append(Line(text, isOpen || on.app->OpenSession() || on.app->IsSessionOpen(), complaints));

        const Records noKey{Critical(
            R"(ServiceProviderClient::HandleOpenSessionReply -- Reply does not contain key "sessionId")")};
        expected.append(Line(text, false, HasErrCode(text) ? ErrorCode(text) : noKey));
    }
    QCOMPARE(seen, expected);
    on.service->Answer("openSession", R"({"sessionId":8})");
    QVERIFY(on.app->OpenSession());
}

// From the service

void tst_TextCorpus::call_isAnsweredAndRefusedForItsSession()
{
    BothClients on;
    QStringList expected;
    QStringList seen;
    for (const CorpusText& text : FetchTexts()) {
        on.log.Clear();
        QString answers = on.Call(kHmiObject, "onModeChange", text.text);
        answers += on.Call(kHmiObject, "onModeListChange", text.text);
        answers += on.Call(kAppObject, "onAudioFocusChange", text.text);
        seen.append(Line(text, answers, on.log.Complaints()));

        const LogRecord hmi =
            Critical("AudioManagerHmi::HandleRequest -- Error - Received non-matching session id: 0");
        expected.append(
            Line(text, QString("{}{}{}"), {hmi, hmi, Critical("Kiv service provider session id error!")}));
    }
    QCOMPARE(seen, expected);
    QCOMPARE(on.hmi->CurrentMode(), QString("A"));
    QCOMPARE(on.hmi->ModeList(), (QStringList{"A", "B"}));
    QCOMPARE(on.app->LastFocus(), QString());
    QCOMPARE(on.Call(kHmiObject, "onModeChange", R"({"activeMode":"B","sessionId":7})"), QString("{}"));
    QCOMPARE(on.hmi->CurrentMode(), QString("B"));
}

void tst_TextCorpus::broadcast_isRecordedAndIgnored()
{
    BothClients on;
    QSignalSpy changed(on.hmi.data(), &AudioManagerHmi::SignalAudioFocusChange);
    Records expected;
    for (const CorpusText& text : FetchTexts()) {
        on.service->Notify(kHmiPath, "audioFocusChangeEvent", text.text);
        on.service->Notify(kAppPath, "audioFocusChangeEvent", text.text);
        const QString payload = AsSent(text.text);
        const LogRecord received =
            Debug(Streamed("KivBaseClient::Notification", QString("audioFocusChangeEvent"), payload));
        expected +=
            {received,
             Debug(Streamed(
                 "AudioManagerHmi::HandleNotify -- Focus change is not for a media source, ignore it:",
                 payload)),
             received,
             Critical("Audio manager error: Notify signal shall not be called for application mode!")};
    }
    on.Settle();
    QCOMPARE(on.log.Records(), expected);
    QCOMPARE(changed.size(), 0);
    on.service->Notify(kHmiPath, "audioFocusChangeEvent", kGoodEvent);
    QTRY_COMPARE(changed.size(), 1);
}

KIV_BUS_TEST_MAIN(tst_TextCorpus)
#include "tst_TextCorpus.moc"
