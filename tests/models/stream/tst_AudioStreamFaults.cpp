// SPDX-License-Identifier: MIT
#include "LogCapture.h"
#include "PrivateBus.h"
#include "SimulatedStreamStage.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>

using namespace KivTest;

namespace {

const QStringList kAsked{"state Requested"};
const QStringList kGranted{"state Requested", "state Focused", "hasFocus true"};
const QStringList kRefusal{"state Refused", "lastReason Refused", "focusLost Refused"};
const QStringList kGoneWhileFocused{"state Offline", "hasFocus false", "available false"};

/** A fault of one kind in one message, and what the player sees of it. */
struct Case
{
    const char* name;
    QString fault; ///< without the method
    QStringList expected;
    QStringList other = {}; ///< what the player may see as well
};

/** A fault in the answer to a focus request, or in its events. */
const QVector<Case> kRequestCases{
    {"delay", R"("kind":"delay","delay":200)", kGranted},
    {"noAnswer", R"("kind":"noAnswer")", kAsked + kRefusal}, // when the time-out is over
    {"error", R"("kind":"error")", kAsked + kRefusal},
    {"errCode", R"("kind":"errCode")", kAsked + kRefusal},
    {"notJson", R"("kind":"notJson")", kGranted},
    {"missingMember", R"("kind":"missingMember","in":"events","member":"newFocus")", kAsked},
    {"missingMember, all", R"("kind":"missingMember","in":"events")", kAsked},
    {"wrongType", R"("kind":"wrongType","in":"events","member":"newFocus")", kAsked},
    {"wrongType, all", R"("kind":"wrongType","in":"events")", kAsked},
    {"extraMembers", R"("kind":"extraMembers","in":"events")", kGranted},
    {"extraMembers in the answer", R"("kind":"extraMembers","in":"answer")", kGranted},
    {"sessionId", R"("kind":"sessionId","value":4294967295)", kGranted},
    {"hugeAnswer", R"("kind":"hugeAnswer")", kGranted},
    {"duplicateEvents", R"("kind":"duplicateEvents")", kGranted},
    {"shuffledEvents", R"("kind":"shuffledEvents")", kGranted},
    {"eventsFirst", R"("kind":"eventsFirst")", kGranted},
    {"foreignEvents", R"("kind":"foreignEvents")", kAsked},
    {"callBackFirst",
     R"("kind":"callBackFirst","name":"onAudioFocusChange","parameters":{"newFocus":"gained"})", kGranted},
    {"callBackFirst, loss", R"("kind":"callBackFirst")",
     kAsked + QStringList{"state Interrupted", "pauseRequested"}},
    {"flood", R"("kind":"flood","count":500,"to":"app")", kGranted},
    {"leave", R"("kind":"leave","milliseconds":100)",
     kGranted + kGoneWhileFocused + kClaimEnds + kRegistration},
    {"restart", R"("kind":"restart","milliseconds":100)", kAsked + kOffline + kClaimEnds + kRegistration},
    {"crash", R"("kind":"crash")", kAsked + kOffline + kClaimEnds},
    {"stopAnswering", R"("kind":"stopAnswering","milliseconds":200)", kGranted},
};

const QStringList kRegistrationRetried{"state Registering", "state Refused", "lastReason Refused",
                                       "state Idle", "available true"};
const QStringList kRegistrationAgain = QStringList{"state Registering", "state Offline"} + kRegistration;

/** A fault in the registration. */
const QVector<Case> kRegistrationCases{
    {"delay", R"("kind":"delay","delay":200)", kRegistration},
    {"noAnswer", R"("kind":"noAnswer")", kRegistrationRetried},
    {"error", R"("kind":"error")", kRegistrationRetried},
    {"errCode", R"("kind":"errCode")", kRegistrationRetried},
    {"notJson", R"("kind":"notJson")", kRegistration},
    {"missingMember", R"("kind":"missingMember")", kRegistration},
    {"wrongType", R"("kind":"wrongType")", kRegistration},
    {"extraMembers", R"("kind":"extraMembers")", kRegistration},
    {"sessionId", R"("kind":"sessionId","value":0)", kRegistration},
    {"hugeAnswer", R"("kind":"hugeAnswer")", kRegistration},
    {"duplicateEvents", R"("kind":"duplicateEvents")", kRegistration},
    {"shuffledEvents", R"("kind":"shuffledEvents")", kRegistration},
    {"eventsFirst", R"("kind":"eventsFirst")", kRegistration},
    {"foreignEvents", R"("kind":"foreignEvents")", kRegistration},
    {"callBackFirst", R"("kind":"callBackFirst")", kRegistration},
    {"flood", R"("kind":"flood","count":500,"to":"app")", kRegistration},
    {"leave", R"("kind":"leave","milliseconds":100)", kRegistration + kOffline + kRegistration,
     kRegistrationAgain},
    {"restart", R"("kind":"restart","milliseconds":100)", kRegistrationAgain},
    {"crash", R"("kind":"crash")", {"state Registering", "state Offline"}},
    {"stopAnswering", R"("kind":"stopAnswering","milliseconds":200)", kRegistration},
};

const QStringList kReturned{"state Idle", "hasFocus false", "lastReason Abandoned", "focusLost Abandoned"};
const QStringList kAgain{"state Requested", "lastReason None", "state Focused", "hasFocus true"};
const QStringList kAgainLost = QStringList{"state Requested", "lastReason None"} + kOffline + kClaimEnds;

/** A fault in the abandonment of a focus that is asked for again at once. */
const QVector<Case> kAbandonmentCases{
    {"delay", R"("kind":"delay","delay":200)", kReturned + kAgain},
    {"noAnswer", R"("kind":"noAnswer")", kReturned + kAgain},
    {"error", R"("kind":"error")", kReturned + kAgain},
    {"errCode", R"("kind":"errCode")", kReturned + kAgain},
    {"notJson", R"("kind":"notJson")", kReturned + kAgain},
    {"missingMember", R"("kind":"missingMember","in":"events")", kReturned + kAgain},
    {"wrongType", R"("kind":"wrongType","in":"events")", kReturned + kAgain},
    {"extraMembers", R"("kind":"extraMembers","in":"events")", kReturned + kAgain},
    {"sessionId", R"("kind":"sessionId","value":0)", kReturned + kAgain},
    {"hugeAnswer", R"("kind":"hugeAnswer")", kReturned + kAgain},
    {"duplicateEvents", R"("kind":"duplicateEvents")", kReturned + kAgain},
    {"shuffledEvents", R"("kind":"shuffledEvents")", kReturned + kAgain},
    {"eventsFirst", R"("kind":"eventsFirst")", kReturned + kAgain},
    {"foreignEvents", R"("kind":"foreignEvents")", kReturned + kAgain},
    {"callBackFirst", R"("kind":"callBackFirst")", kReturned + kAgain},
    {"flood", R"("kind":"flood","count":500,"to":"app")", kReturned + kAgain},
    {"leave", R"("kind":"leave","milliseconds":100)", kReturned + kAgainLost + kRegistration},
    {"restart", R"("kind":"restart","milliseconds":100)", kReturned + kAgainLost + kRegistration},
    {"crash", R"("kind":"crash")", kReturned + kAgainLost},
    {"stopAnswering", R"("kind":"stopAnswering","milliseconds":200)", kReturned + kAgain},
};

void AddCases(const QVector<Case>& cases)
{
    QTest::addColumn<QString>("fault");
    QTest::addColumn<QStringList>("expected");
    QTest::addColumn<QStringList>("other");
    for (const Case& each : cases) {
        QTest::newRow(each.name) << each.fault << each.expected << each.other;
    }
}

QSet<QString> KindsOf(const QVector<Case>& cases)
{
    QSet<QString> kinds;
    for (const Case& each : cases) {
        kinds.insert(each.fault.section('"', 3, 3));
    }
    return kinds;
}

/** The kinds of faults that the simulator knows, as its document lists them. */
QSet<QString> AllKinds()
{
    QFile file(KIV_SCENARIOS_DOCUMENT);
    const QString text = file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    const QString table = text.section("| Kind | What goes wrong", 1).section("\n\n", 0, 0);
    static const QRegularExpression row("\n\\| `([a-zA-Z]+)` \\|");
    QSet<QString> kinds;
    for (auto match = row.globalMatch(table); match.hasNext();) {
        kinds.insert(match.next().captured(1));
    }
    return kinds;
}

} // namespace

/**
 * Whatever goes wrong at the service leaves the stream in a state that is documented, and without a false
 * focus.
 */
class tst_AudioStreamFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyKindOfFault_isTried();
    void faultInARequest_data();
    void faultInARequest();
    void faultInTheRegistration_data();
    void faultInTheRegistration();
    void faultInAnAbandonment_data();
    void faultInAnAbandonment();

private:
    static bool ArmFault(SimulatedStreamStage& stage, const QString& method);
    void CheckOutcome(SimulatedStreamStage& stage);
    void CheckFocus(SimulatedStreamStage& stage);
};

void tst_AudioStreamFaults::everyKindOfFault_isTried()
{
    const QSet<QString> kinds = AllKinds();
    QCOMPARE(kinds.size(), 20);
    QCOMPARE(KindsOf(kRequestCases), kinds);
    QCOMPARE(KindsOf(kRegistrationCases), kinds);
    QCOMPARE(KindsOf(kAbandonmentCases), kinds);
}

// The fault of the row, in the next call of a method.
bool tst_AudioStreamFaults::ArmFault(SimulatedStreamStage& stage, const QString& method)
{
    QFETCH(QString, fault);
    return stage.control.Arm(QStringLiteral(R"({%1,"method":"%2"})").arg(fault, method)) != 0;
}

// What the row expects.
void tst_AudioStreamFaults::CheckOutcome(SimulatedStreamStage& stage)
{
    QFETCH(QStringList, expected);
    QFETCH(QStringList, other);
    QVERIFY2(stage.Sees(expected, other), qPrintable(stage.Log().join('\n')));
    CheckFocus(stage);
}

// The service knows of a focus that the stream has: it takes it back. And the stream is usable afterwards.
void tst_AudioStreamFaults::CheckFocus(SimulatedStreamStage& stage)
{
    if (!stage.simulator->IsRunning()) {
        stage.StartService();
        QTRY_VERIFY_WITH_TIMEOUT(stage.stream->isAvailable(), kPatience);
    }
    QVERIFY(stage.control.Do(R"({"do":"disarmFaults"})"));
    const quint32 from = stage.control.LogEnd();
    if (stage.stream->hasFocus()) {
        stage.stream->abandon("end"); // sent when the request before it is answered
        const auto answers = [&] { return Gist(stage.control.Log(from)).filter("app abandonAudioFocus"); };
        QTRY_COMPARE_WITH_TIMEOUT(answers().size(), 2, kPatience);
        QCOMPARE(answers().last(), "answer app abandonAudioFocus {}");
    }
    stage.stream->abandon("nothing");
    stage.stream->requestFocus();
    QTRY_VERIFY_WITH_TIMEOUT(stage.stream->hasFocus(), kPatience);
}

void tst_AudioStreamFaults::faultInARequest_data()
{
    AddCases(kRequestCases);
}

void tst_AudioStreamFaults::faultInARequest()
{
    const LogCapture log;
    SimulatedStreamStage stage;
    stage.Register();
    QVERIFY(ArmFault(stage, "requestAudioFocus"));
    stage.stream->requestFocus();
    CheckOutcome(stage);
}

void tst_AudioStreamFaults::faultInTheRegistration_data()
{
    AddCases(kRegistrationCases);
}

void tst_AudioStreamFaults::faultInTheRegistration()
{
    const LogCapture log;
    SimulatedStreamStage stage;
    QVERIFY(ArmFault(stage, "registerAudioStream"));
    stage.stream->start();
    CheckOutcome(stage);
}

void tst_AudioStreamFaults::faultInAnAbandonment_data()
{
    AddCases(kAbandonmentCases);
}

void tst_AudioStreamFaults::faultInAnAbandonment()
{
    const LogCapture log;
    SimulatedStreamStage stage;
    stage.Register();
    stage.stream->requestFocus();
    QVERIFY(stage.Sees(kGranted));
    QVERIFY(ArmFault(stage, "abandonAudioFocus"));
    stage.stream->abandon("again");
    stage.stream->requestFocus();
    CheckOutcome(stage);
}

int main(int argc, char** argv)
{
    const PrivateBus bus(R"(<limit name="reply_timeout">1000</limit>)"); // for requests without an answer
    const QCoreApplication application(argc, argv);
    tst_AudioStreamFaults test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_AudioStreamFaults.moc"
