// SPDX-License-Identifier: MIT
#include "HmiFixture.h"
#include "JsonParameterParser.h"
#include "TestMain.h"

#include <QSet>

#include <cJSON.h>

#include <cstdlib>
#include <functional>
#include <limits>

using namespace KivTest;
using namespace Audio::Utils::Kiv::QtDbus;

using ParameterMap = QMap<QString, QVariant>;

Q_DECLARE_METATYPE(ParameterMap)

namespace {

constexpr int kBound = 10000; // allocations, far more than any of these texts needs

// The JSON library's memory while it lives. Allocations from the first failing one on fail, so many of them.
class ScarceMemory
{
public:
    ScarceMemory(int firstFailing, int failures)
    {
        smAllocations = 0;
        smFirstFailing = firstFailing;
        smFailures = failures;
        smStrangers = 0;
        smLiving.clear();
        cJSON_Hooks hooks{&ScarceMemory::Allocate, &ScarceMemory::Free};
        cJSON_InitHooks(&hooks);
    }

    ~ScarceMemory() { cJSON_InitHooks(nullptr); }

    ScarceMemory(const ScarceMemory&) = delete;
    ScarceMemory& operator=(const ScarceMemory&) = delete;

    static bool HasFailed() { return smAllocations > smFirstFailing; }

    // What was taken and not given back, and what was given back and never taken.
    static int Imbalance() { return int(smLiving.size()) + smStrangers; }

private:
    static void* Allocate(size_t size)
    {
        const int index = smAllocations++;
        if (index >= smFirstFailing && index - smFirstFailing < smFailures) {
            return nullptr;
        }
        void* const memory = std::malloc(size);
        smLiving.insert(memory);
        return memory;
    }

    static void Free(void* memory)
    {
        const bool isKnown = memory == nullptr || smLiving.remove(memory);
        smStrangers += isKnown ? 0 : 1;
        std::free(memory);
    }

    inline static int smAllocations = 0;
    inline static int smFirstFailing = 0;
    inline static int smFailures = 0;
    inline static int smStrangers = 0;
    inline static QSet<void*> smLiving;
};

// How many allocations fail one after the other.
constexpr int kOnlyOne = 1;
constexpr int kAllFromThere = std::numeric_limits<int>::max();

// Has an operation done while its first, second, … allocation fails, until none does. Gives the different
// outcomes in order, and a complaint in their place when memory was not given back, or when no allocation
// was made at all.
QStringList Outcomes(int failures, const std::function<QString()>& operation)
{
    QStringList outcomes;
    for (int failing = 0; failing < kBound; ++failing) {
        const ScarceMemory memory(failing, failures);
        const QString outcome = operation();
        if (ScarceMemory::Imbalance() != 0) {
            return {
                QString("%1 not given back after failure %2").arg(ScarceMemory::Imbalance()).arg(failing)};
        }
        if (outcomes.isEmpty() || outcomes.last() != outcome) {
            outcomes.append(outcome);
        }
        if (!ScarceMemory::HasFailed()) {
            return failing == 0 ? QStringList("nothing was allocated") : outcomes;
        }
    }
    return {"no end of allocations"};
}

QString Encoded(const ParameterMap& parameters)
{
    QString json = "untouched";
    AddParameters(parameters, json);
    return json;
}

QString Decoded(const QString& json)
{
    ParameterMap parameters{{"sessionId", "old"}};
    GetParameters(json, parameters);
    QStringList entries;
    for (auto entry = parameters.constBegin(); entry != parameters.constEnd(); ++entry) {
        entries.append(entry.key() + '=' + QString::fromLatin1(entry->typeName()) + ':' +
                       (entry->userType() == QMetaType::QStringList ? entry->toStringList().join('|')
                                                                    : entry->toString()));
    }
    return entries.join(' ');
}

} // namespace

/**
 * Each allocation of the JSON library fails in turn, alone and with all that follow: what the codec promises
 * for it, for messages of every shape, and what becomes of the clients. All memory is given back.
 */
class tst_CodecWithoutMemory : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void encode_data();
    void encode();
    void decode_data();
    void decode();
    void inboundCall_isRefusedWholly();
    void notification_isDroppedWholly();
    void blockingQuery_answerCannotBeDecoded_countsAsEmptyAnswer();
    void blockingRequest_cannotBeEncoded_isSentWithoutArguments();
    void openSession_opensNothingOrTheSession();
};

void tst_CodecWithoutMemory::encode_data()
{
    QTest::addColumn<ParameterMap>("parameters");
    QTest::addColumn<QStringList>("outcomes");
    QTest::newRow("empty") << ParameterMap() << QStringList{"untouched", "{}"};
    QTest::newRow("request") << ParameterMap{{"newMode", "Radio"}, {"sessionId", 7u}}
                             << QStringList{"untouched", R"({"newMode":"Radio","sessionId":7})"};
    QTest::newRow("numbers beyond 10^15")
        << ParameterMap{{"n", 1000000000000000LL}} << QStringList{"untouched", R"({"n":1e+15})"};
    QTest::newRow("nested list") << ParameterMap{{"x", QVariantMap{{"l", QStringList{"a", "b"}}}}}
                                 << QStringList{"untouched", R"({"l":["a","b"]})"};
    QTest::newRow("long text") << ParameterMap{{"s", QString(100000, 'x')}}
                               << QStringList{"untouched", R"({"s":")" + QString(100000, 'x') + R"("})"};
    QTest::newRow("many escapes") // printed twice
        << ParameterMap{{"s", QString(2000, '\x01')}}
        << QStringList{"untouched", "", R"({"s":")" + QString("\\u0001").repeated(2000) + R"("})"};
}

void tst_CodecWithoutMemory::encode()
{
    QFETCH(const ParameterMap, parameters);
    QFETCH(const QStringList, outcomes);
    const LogCapture log;
    QCOMPARE(Outcomes(kOnlyOne, [&] { return Encoded(parameters); }), outcomes);
    QCOMPARE(Outcomes(kAllFromThere, [&] { return Encoded(parameters); }), outcomes);
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_CodecWithoutMemory::decode_data()
{
    QTest::addColumn<QString>("json");
    QTest::addColumn<QString>("decoded");
    QTest::newRow("empty") << "{}"
                           << "sessionId=QString:old";
    QTest::newRow("session") << R"({"sessionId":7})"
                             << "sessionId=int:7";
    QTest::newRow("texts") << R"({"action":"add","mode":"\u00e9\"","sessionId":7})"
                           << "action=QString:add mode=QString:é\" sessionId=int:7";
    QTest::newRow("list") << R"({"modeList":["Radio","Bluetooth",7,null]})"
                          << "modeList=QStringList:Radio|Bluetooth|| sessionId=QString:old";
    QTest::newRow("nested") << R"({"a":{"b":{"c":[["d"],{"e":1.5}]}},"f":true})"
                            << "a=QString: f=bool:true sessionId=QString:old";
    QTest::newRow("array") << R"(["a","b"])"
                           << "=QString:b sessionId=QString:old";
}

void tst_CodecWithoutMemory::decode()
{
    QFETCH(const QString, json);
    QFETCH(const QString, decoded);
    QStringList outcomes{"sessionId=QString:old", decoded};
    outcomes.removeDuplicates();
    const LogCapture log;
    QCOMPARE(Outcomes(kOnlyOne, [&] { return Decoded(json); }), outcomes);
    QCOMPARE(Outcomes(kAllFromThere, [&] { return Decoded(json); }), outcomes);
    QCOMPARE(log.Records(), QVector<LogRecord>());
}

void tst_CodecWithoutMemory::inboundCall_isRefusedWholly()
{
    const auto call = [] {
        HmiFixture fixture(7, {"Radio"});
        fixture.hmi->Request("onModeListChange", R"({"sessionId":7,"action":"add","mode":"A"})");
        return (fixture.heard.List() + fixture.hmi->ModeList()).join(' ');
    };
    QCOMPARE(Outcomes(kOnlyOne, call), (QStringList{"Radio", R"(SignalModeListChanged true "A" Radio A)"}));
}

void tst_CodecWithoutMemory::notification_isDroppedWholly()
{
    const auto notify = [] {
        HmiFixture fixture;
        fixture.hmi->Notification("audioFocusChangeEvent",
                                  R"({"streamName":"a","streamModeName":"b","focusType":"c",)"
                                  R"("streamType":"d","destination":"e","newFocus":"f"})");
        return fixture.heard.List().join(' ');
    };
    QCOMPARE(Outcomes(kOnlyOne, notify),
             (QStringList{"", R"(SignalAudioFocusChange "a" "b" "c" "d" "e" "f")"}));
}

void tst_CodecWithoutMemory::blockingQuery_answerCannotBeDecoded_countsAsEmptyAnswer()
{
    const auto query = [] {
        HmiFixture fixture(7, {"old"});
        fixture.Exchange().Answer("getModeList", R"({"modeList":["A","B"]})");
        const bool isAnswered = fixture.hmi->GetModeList("");
        return QString("%1 %2").arg(isAnswered).arg(fixture.hmi->ModeList().join('|'));
    };
    QCOMPARE(Outcomes(kOnlyOne, query), (QStringList{"1 A|B", "1 ", "1 A|B"}));
}

void tst_CodecWithoutMemory::blockingRequest_cannotBeEncoded_isSentWithoutArguments()
{
    const auto request = [] {
        HmiFixture fixture(7, {"A"});
        fixture.hmi->SetMode("A");
        const RecordedRequest sent = fixture.Requests().value(0);
        return sent.methodName + ' ' + sent.arguments;
    };
    QCOMPARE(Outcomes(kOnlyOne, request),
             (QStringList{"setMode ", R"(setMode {"newMode":"A","sessionId":7})"}));
}

void tst_CodecWithoutMemory::openSession_opensNothingOrTheSession()
{
    const auto open = [] {
        HmiFixture fixture(0);
        fixture.Exchange().Answer("openSession", R"({"sessionId":9})");
        const bool isOpened = fixture.hmi->OpenSession();
        return QString("%1 %2").arg(isOpened).arg(fixture.hmi->SessionId());
    };
    QCOMPARE(Outcomes(kOnlyOne, open), (QStringList{"1 9", "0 0", "1 9"}));
}

KIV_UNIT_TEST_MAIN(tst_CodecWithoutMemory)

#include "tst_CodecWithoutMemory.moc"
