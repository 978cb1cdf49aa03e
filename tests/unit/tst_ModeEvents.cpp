// SPDX-License-Identifier: MIT
#include "HmiFixture.h"
#include "TestMain.h"

#include <functional>

using namespace KivTest;
using Audio::Utils::Kiv::QtDbus::AudioManagerHmi;

using Records = QVector<LogRecord>;
using Requests = QVector<RecordedRequest>;
using Parameters = QMap<QString, QVariant>;

namespace {

const QStringList kModes{"A", "B"};
const QString kSetX = R"({"newMode":"X","sessionId":7})";
const QString kClose = R"({"sessionId":7})";
const LogRecord kNotPoweredDown = Debug("KivBaseClient::Powerdown was not called before destructor!");
const LogRecord kDumpBegins = Debug("+++++++++++Audio Manager Current Sources+++++++++++");
const LogRecord kDumpEnds = Debug("++++++++++++++++++++++++++++++++++++++++++++++++++");

LogRecord OtherSession(const QString& number)
{
    return Critical("AudioManagerHmi::HandleRequest -- Error - Received non-matching session id: " + number);
}

LogRecord OtherMethod(const QString& name)
{
    return Critical(
        Streamed("AudioManagerHmi::HandleRequest -- Error - Received invalid method name:", name));
}

LogRecord CurrentMode(const QString& mode)
{
    return Debug(Streamed("AudioManagerHmi::HandleModeChanged -- Setting current mode:", mode));
}

const LogRecord kNoActiveMode = Critical("AudioManagerHmi::HandleModeChanged -- Kiv Audio manager error: "
                                         "\"onModeChange\" missing \"activeMode\" - Current mode: \"A\"");
const LogRecord kNoListParameters =
    Critical("AudioManagerHmi::HandleModeListChanged -- Error: \"onModeListChange\" missing parameters!");

Records Dump(const QStringList& modes)
{
    Records records{kDumpBegins};
    for (const QString& mode : modes) {
        records.append(Debug(Streamed(" +++++ Mode List:", mode)));
    }
    records.append(kDumpEnds);
    return records;
}

Records Added(const QString& mode, const QStringList& modes)
{
    return Records{Debug(Streamed("AudioManagerHmi::HandleModeListChanged -- add", mode))} + Dump(modes);
}

Records Removed(const QString& mode, const QStringList& modes)
{
    return Records{Debug(Streamed("AudioManagerHmi::HandleModeListChanged -- remove", mode))} + Dump(modes);
}

const QString kFocusEvent = R"({"streamName":"s","streamModeName":"m","focusType":"f","streamType":"t",)"
                            R"("destination":"d","newFocus":"n"})";
const QString kFocusSignal = R"(SignalAudioFocusChange "s" "m" "f" "t" "d" "n")";

/** A client with the modes A and B, of which A is the current one. */
struct Events : HmiFixture
{
    explicit Events(quint32 sessionId = 7)
        : HmiFixture(sessionId, kModes)
    {
        hmi->m_CurrentMode = "A";
        hmi->m_CurrentModeList = QStringList{"A", "C"};
    }

    void Change(const QString& action, const QString& mode)
    {
        hmi->HandleModeListChanged({{"action", action}, {"mode", mode}});
    }

    void Store(const QString& mode, quint32 requestId)
    {
        hmi->m_PendingMode = mode;
        hmi->m_PendingSetModeRequestId = requestId;
        hmi->m_RequestId = requestId;
    }
};

/** Things that reach a client, and the one signal that tells of them. */
enum class Happening
{
    ModeChange,
    ModeAdded,
    FocusChange,
    SetModeReply,
    GetModeReply,
    GetModeListReply
};

void AddHappenings()
{
    QTest::addColumn<Happening>("happening");
    QTest::addColumn<QString>("signal");
    QTest::newRow("SignalModeChanged") << Happening::ModeChange << R"(SignalModeChanged "B")";
    QTest::newRow("SignalModeListChanged") << Happening::ModeAdded << R"(SignalModeListChanged true "X")";
    QTest::newRow("SignalAudioFocusChange") << Happening::FocusChange << kFocusSignal;
    QTest::newRow("SignalSetModeCompleted") << Happening::SetModeReply << "SignalSetModeCompleted 1 true";
    QTest::newRow("SignalGetModeCompleted") << Happening::GetModeReply << "SignalGetModeCompleted 1 true";
    QTest::newRow("SignalGetModeListCompleted")
        << Happening::GetModeListReply << "SignalGetModeListCompleted 1 true";
}

void LetHappen(OpenedHmi& hmi, Happening happening)
{
    switch (happening) {
    case Happening::ModeChange:
        hmi.HandleRequest("onModeChange", R"({"sessionId":7,"activeMode":"B"})");
        break;
    case Happening::ModeAdded:
        hmi.HandleRequest("onModeListChange", R"({"sessionId":7,"action":"add","mode":"X"})");
        break;
    case Happening::FocusChange:
        hmi.Notification("audioFocusChangeEvent", kFocusEvent);
        break;
    case Happening::SetModeReply:
        hmi.SetModeAsync("A");
        break;
    case Happening::GetModeReply:
        hmi.GetModeAsync("");
        break;
    case Happening::GetModeListReply:
        hmi.GetModeListAsync("");
        break;
    }
}

/** Does something in a slot of every signal, then reads the arguments of that signal. */
class Actor
{
public:
    Actor(AudioManagerHmi* hmi, std::function<void()> action)
        : m_Action(std::move(action))
    {
        Watch(hmi, &AudioManagerHmi::SignalSetModeCompleted, "SignalSetModeCompleted");
        Watch(hmi, &AudioManagerHmi::SignalGetModeListCompleted, "SignalGetModeListCompleted");
        Watch(hmi, &AudioManagerHmi::SignalGetModeCompleted, "SignalGetModeCompleted");
        Watch(hmi, &AudioManagerHmi::SignalModeChanged, "SignalModeChanged");
        Watch(hmi, &AudioManagerHmi::SignalModeListChanged, "SignalModeListChanged");
        Watch(hmi, &AudioManagerHmi::SignalAudioFocusChange, "SignalAudioFocusChange");
    }

    /** The signals, with the arguments that they had when the action had been done. */
    QStringList Seen() const { return m_Seen; }

private:
    template <typename Signal>
    void Watch(AudioManagerHmi* hmi, Signal signal, const char* name)
    {
        QObject::connect(hmi, signal, [this, name](const auto&... values) {
            m_Action();
            m_Seen.append(Streamed(name, values...));
        });
    }

    std::function<void()> m_Action;
    QStringList m_Seen;
};

} // namespace

Q_DECLARE_METATYPE(Happening)

class tst_ModeEvents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void request_modeChange_isHandled();
    void request_modeListChange_isHandled();
    void request_unknownMethod_isIgnored_data();
    void request_unknownMethod_isIgnored();
    void request_otherSession_isIgnored_data();
    void request_otherSession_isIgnored();
    void request_otherSessionAndUnknownMethod_complainsOfTheSessionOnly();
    void request_sameSessionInAnotherForm_isHandled_data();
    void request_sameSessionInAnotherForm_isHandled();
    void request_withoutSessionOnEitherSide_isHandled_data();
    void request_withoutSessionOnEitherSide_isHandled();
    void request_sessionWhereNoneIsOpen_isIgnored();
    void request_incomplete_isIgnored_data();
    void request_incomplete_isIgnored();
    void request_throughTheBase_isAnsweredWithAnEmptyObject();

    void modeChanged_setsTheModeAndTells();
    void modeChanged_unlistedMode_isTakenAsItComes();
    void modeChanged_sameMode_isToldAgain();
    void modeChanged_valueIsNoText_data();
    void modeChanged_valueIsNoText();
    void modeChanged_storedRequest_isNotTouched();
    void modeChanged_withoutActiveMode_changesNothing();

    void modeListChanged_add_appends();
    void modeListChanged_addListedMode_listsItTwice();
    void modeListChanged_remove_takesTheFirst();
    void modeListChanged_removeUnlisted_complainsAndTells();
    void modeListChanged_removeLast_dumpsNothing();
    void modeListChanged_otherAction_removes_data();
    void modeListChanged_otherAction_removes();
    void modeListChanged_comparesCase();
    void modeListChanged_removeCurrentAndStoredMode_keepsThem();
    void modeListChanged_incomplete_changesNothing_data();
    void modeListChanged_incomplete_changesNothing();
    void modeListChanged_addStored_isSentBeforeItIsTold();
    void modeListChanged_addOther_sendsNothing();
    void modeListChanged_addPendingModeWithoutIdentifier_sendsNothing();
    void modeListChanged_addStoredWithoutSession_isTold();
    void modeListChanged_removeStored_sendsNothing();

    void notify_focusEvent_isTold();
    void notify_anyValues_areTold();
    void notify_needsNoSession();
    void notify_valuesOfOtherTypes_areTexts();
    void notify_missingKey_isIgnored_data();
    void notify_missingKey_isIgnored();
    void notify_garbage_isIgnored_data();
    void notify_garbage_isIgnored();
    void notify_otherName_isRefused_data();
    void notify_otherName_isRefused();

    void slot_deletesTheClient_data() { AddHappenings(); }
    void slot_deletesTheClient();
    void slot_powersTheClientDown_data() { AddHappenings(); }
    void slot_powersTheClientDown();
    void slot_deletesTheClient_storedRequestInFlight();
    void slot_setsAMode_whileItIsAdded();

private:
    static void CheckUnchanged(const OpenedHmi& hmi);
};

void tst_ModeEvents::CheckUnchanged(const OpenedHmi& hmi)
{
    QCOMPARE(hmi.m_ModeList, kModes);
    QCOMPARE(hmi.m_CurrentMode, "A");
    QCOMPARE(hmi.m_CurrentModeList, (QStringList{"A", "C"}));
    QCOMPARE(hmi.m_PendingSetModeRequestId, 0u);
    QVERIFY(hmi.m_PendingMode.isNull());
}

// HandleRequest

void tst_ModeEvents::request_modeChange_isHandled()
{
    Events f;
    f.hmi->HandleRequest("onModeChange", R"({"sessionId":7,"activeMode":"B"})");
    QCOMPARE(f.hmi->m_CurrentMode, "B");
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeChanged "B")"});
    QCOMPARE(f.TakeRecords(), Records{CurrentMode("B")});
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeEvents::request_modeListChange_isHandled()
{
    Events f;
    f.hmi->HandleRequest("onModeListChange", R"({"sessionId":7,"action":"add","mode":"X"})");
    f.hmi->HandleRequest("onModeListChange", R"({"sessionId":7,"action":"remove","mode":"A"})");
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"B", "X"}));
    QCOMPARE(f.heard.List(),
             (QStringList{R"(SignalModeListChanged true "X")", R"(SignalModeListChanged false "A")"}));
    QCOMPARE(f.TakeRecords(), Added("X", {"A", "B", "X"}) + Removed("A", {"B", "X"}));
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeEvents::request_unknownMethod_isIgnored_data()
{
    QTest::addColumn<QString>("methodName");
    QTest::newRow("unknown") << "onSomething";
    QTest::newRow("empty") << "";
    QTest::newRow("mode change in other case") << "onmodechange";
    QTest::newRow("list change in other case") << "OnModeListChange";
    QTest::newRow("longer") << "onModeChanged";
    QTest::newRow("notification") << "audioFocusChangeEvent";
    QTest::newRow("of other clients") << "onAudioFocusChange";
}

void tst_ModeEvents::request_unknownMethod_isIgnored()
{
    QFETCH(QString, methodName);
    Events f;
    f.hmi->HandleRequest(methodName, R"({"sessionId":7,"activeMode":"B","action":"add","mode":"X"})");
    CheckUnchanged(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.TakeRecords(), Records{OtherMethod(methodName)});
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeEvents::request_otherSession_isIgnored_data()
{
    QTest::addColumn<QString>("session");
    QTest::addColumn<QString>("number");
    QTest::newRow("one more") << R"("sessionId":8,)"
                              << "8";
    QTest::newRow("one less") << R"("sessionId":6,)"
                              << "6";
    QTest::newRow("zero") << R"("sessionId":0,)"
                          << "0";
    QTest::newRow("missing") << ""
                             << "0";
    QTest::newRow("other case") << R"("sessionid":7,)"
                                << "0";
    QTest::newRow("text") << R"("sessionId":"seven",)"
                          << "0";
    QTest::newRow("null") << R"("sessionId":null,)"
                          << "0";
    QTest::newRow("negative") << R"("sessionId":-7,)"
                              << "4294967289";
    QTest::newRow("last of two") << R"("sessionId":7,"sessionId":9,)"
                                 << "9";
}

void tst_ModeEvents::request_otherSession_isIgnored()
{
    QFETCH(QString, session);
    QFETCH(QString, number);
    Events f;
    f.hmi->HandleRequest("onModeChange", "{" + session + R"("activeMode":"B"})");
    f.hmi->HandleRequest("onModeListChange", "{" + session + R"("action":"add","mode":"X"})");
    CheckUnchanged(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.TakeRecords(), (Records{OtherSession(number), OtherSession(number)}));
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeEvents::request_otherSessionAndUnknownMethod_complainsOfTheSessionOnly()
{
    Events f;
    f.hmi->HandleRequest("onSomething", R"({"sessionId":8})");
    f.hmi->HandleRequest("onSomething", "garbage");
    QCOMPARE(f.TakeRecords(), (Records{OtherSession("8"), OtherSession("0")}));
}

void tst_ModeEvents::request_sameSessionInAnotherForm_isHandled_data()
{
    QTest::addColumn<QString>("session");
    QTest::newRow("digits in a text") << R"("7")";
    QTest::newRow("with a fraction") << "7.9";
}

void tst_ModeEvents::request_sameSessionInAnotherForm_isHandled()
{
    QFETCH(QString, session);
    Events f;
    f.hmi->HandleRequest("onModeChange", QString(R"({"sessionId":%1,"activeMode":"B"})").arg(session));
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeChanged "B")"});
    QCOMPARE(f.TakeRecords(), Records{CurrentMode("B")});
}

void tst_ModeEvents::request_withoutSessionOnEitherSide_isHandled_data()
{
    QTest::addColumn<QString>("session");
    QTest::newRow("missing") << "";
    QTest::newRow("zero") << R"("sessionId":0,)";
    QTest::newRow("text") << R"("sessionId":"none",)";
}

void tst_ModeEvents::request_withoutSessionOnEitherSide_isHandled()
{
    QFETCH(QString, session);
    Events f(0);
    f.hmi->HandleRequest("onModeChange", "{" + session + R"("activeMode":"B"})");
    f.hmi->HandleRequest("onModeListChange", "{" + session + R"("action":"add","mode":"X"})");
    QCOMPARE(f.hmi->m_CurrentMode, "B");
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"A", "B", "X"}));
    QCOMPARE(f.heard.List(), (QStringList{R"(SignalModeChanged "B")", R"(SignalModeListChanged true "X")"}));
    QCOMPARE(f.TakeRecords(), Records{CurrentMode("B")} + Added("X", {"A", "B", "X"}));
}

void tst_ModeEvents::request_sessionWhereNoneIsOpen_isIgnored()
{
    Events f(0);
    f.hmi->HandleRequest("onModeChange", R"({"sessionId":7,"activeMode":"B"})");
    CheckUnchanged(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.TakeRecords(), Records{OtherSession("7")});
}

void tst_ModeEvents::request_incomplete_isIgnored_data()
{
    QTest::addColumn<QString>("methodName");
    QTest::addColumn<QString>("arguments");
    QTest::newRow("no mode") << "onModeChange"
                             << R"({"sessionId":7,"mode":"B"})";
    QTest::newRow("no action") << "onModeListChange"
                               << R"({"sessionId":7,"mode":"B"})";
    QTest::newRow("no listed mode") << "onModeListChange"
                                    << R"({"sessionId":7,"action":"add"})";
}

void tst_ModeEvents::request_incomplete_isIgnored()
{
    QFETCH(QString, methodName);
    QFETCH(QString, arguments);
    Events f;
    f.hmi->HandleRequest(methodName, arguments);
    CheckUnchanged(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.TakeRecords(),
             Records{methodName == QLatin1String("onModeChange") ? kNoActiveMode : kNoListParameters});
}

void tst_ModeEvents::request_throughTheBase_isAnsweredWithAnEmptyObject()
{
    Events f;
    const QString arguments = R"({"sessionId":7,"activeMode":"B"})";
    QCOMPARE(f.hmi->Request("onModeChange", arguments), "{}");
    QCOMPARE(f.hmi->Request("nonsense", arguments), "{}");
    const auto received = [&](const QString& methodName) {
        return Debug(Streamed("ServiceProviderClient::Request", f.hmi->m_ObjPath, methodName, arguments));
    };
    QCOMPARE(f.TakeRecords(), (Records{received("onModeChange"), CurrentMode("B"), received("nonsense"),
                                       OtherMethod("nonsense")}));
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeChanged "B")"});
}

// HandleModeChanged

void tst_ModeEvents::modeChanged_setsTheModeAndTells()
{
    Events f;
    QString modeWhenTold;
    connect(f.hmi.data(), &AudioManagerHmi::SignalModeChanged, [&] { modeWhenTold = f.hmi->CurrentMode(); });
    f.hmi->HandleModeChanged({{"activeMode", "B"}, {"mode", "C"}});
    QCOMPARE(f.hmi->m_CurrentMode, "B");
    QCOMPARE(modeWhenTold, "B");
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"A", "C"}));
    QCOMPARE(f.hmi->m_ModeList, kModes);
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeChanged "B")"});
    QCOMPARE(f.TakeRecords(), Records{CurrentMode("B")});
}

void tst_ModeEvents::modeChanged_unlistedMode_isTakenAsItComes()
{
    Events f;
    f.hmi->HandleModeChanged({{"activeMode", "Nowhere listed"}});
    QCOMPARE(f.hmi->m_CurrentMode, "Nowhere listed");
    QCOMPARE(f.hmi->m_ModeList, kModes);
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeChanged "Nowhere listed")"});
    QCOMPARE(f.TakeRecords(), Records{CurrentMode("Nowhere listed")});
}

void tst_ModeEvents::modeChanged_sameMode_isToldAgain()
{
    Events f;
    f.hmi->HandleModeChanged({{"activeMode", "A"}});
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeChanged "A")"});
    QCOMPARE(f.TakeRecords(), Records{CurrentMode("A")});
}

void tst_ModeEvents::modeChanged_valueIsNoText_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("mode");
    QTest::newRow("number") << QVariant(5) << "5";
    QTest::newRow("flag") << QVariant(true) << "true";
    QTest::newRow("empty") << QVariant(QString()) << "";
}

void tst_ModeEvents::modeChanged_valueIsNoText()
{
    QFETCH(QVariant, value);
    QFETCH(QString, mode);
    Events f;
    f.hmi->HandleModeChanged({{"activeMode", value}});
    QCOMPARE(f.hmi->m_CurrentMode, mode);
    QCOMPARE(f.heard.List(), QStringList{Streamed("SignalModeChanged", mode)});
}

void tst_ModeEvents::modeChanged_storedRequest_isNotTouched()
{
    Events f;
    f.Store("X", 4);
    f.hmi->HandleModeChanged({{"activeMode", "X"}});
    f.hmi->HandleModeChanged({{"activeMode", "B"}});
    QCOMPARE(f.hmi->m_PendingSetModeRequestId, 4u);
    QCOMPARE(f.hmi->m_PendingMode, "X");
    QCOMPARE(f.heard.List(), (QStringList{R"(SignalModeChanged "X")", R"(SignalModeChanged "B")"}));
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeEvents::modeChanged_withoutActiveMode_changesNothing()
{
    Events f;
    f.hmi->HandleModeChanged({{"ActiveMode", "B"}});
    CheckUnchanged(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.TakeRecords(), Records{kNoActiveMode});
}

// HandleModeListChanged

void tst_ModeEvents::modeListChanged_add_appends()
{
    Events f;
    QStringList modesWhenTold;
    connect(f.hmi.data(), &AudioManagerHmi::SignalModeListChanged,
            [&] { modesWhenTold = f.hmi->ModeList(); });
    f.Change("add", "0");
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"A", "B", "0"}));
    QCOMPARE(modesWhenTold, f.hmi->m_ModeList);
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeListChanged true "0")"});
    QCOMPARE(f.TakeRecords(), (Records{Debug("AudioManagerHmi::HandleModeListChanged -- add \"0\""),
                                       Debug("+++++++++++Audio Manager Current Sources+++++++++++"),
                                       Debug(" +++++ Mode List: \"A\""), Debug(" +++++ Mode List: \"B\""),
                                       Debug(" +++++ Mode List: \"0\""), Debug(QString(50, '+'))}));
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.hmi->m_CurrentMode, "A");
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"A", "C"}));
}

void tst_ModeEvents::modeListChanged_addListedMode_listsItTwice()
{
    Events f;
    f.Change("add", "A");
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"A", "B", "A"}));
    f.Change("remove", "A");
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"B", "A"}));
    QCOMPARE(f.heard.List(),
             (QStringList{R"(SignalModeListChanged true "A")", R"(SignalModeListChanged false "A")"}));
    QCOMPARE(f.TakeRecords(), Added("A", {"A", "B", "A"}) + Removed("A", {"B", "A"}));
}

void tst_ModeEvents::modeListChanged_remove_takesTheFirst()
{
    Events f;
    f.hmi->m_ModeList = QStringList{"C", "A", "B", "A"};
    f.Change("remove", "A");
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"C", "B", "A"}));
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeListChanged false "A")"});
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::HandleModeListChanged -- remove \"A\""), kDumpBegins,
                      Debug(" +++++ Mode List: \"C\""), Debug(" +++++ Mode List: \"B\""),
                      Debug(" +++++ Mode List: \"A\""), kDumpEnds}));
}

void tst_ModeEvents::modeListChanged_removeUnlisted_complainsAndTells()
{
    Events f;
    f.Change("remove", "X");
    CheckUnchanged(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeListChanged false "X")"});
    QCOMPARE(f.TakeRecords(), (Records{Debug("AudioManagerHmi::HandleModeListChanged -- remove \"X\""),
                                       Critical("Remove mode list error: \"X\"")}) +
                                  Dump(kModes));
}

void tst_ModeEvents::modeListChanged_removeLast_dumpsNothing()
{
    Events f;
    f.hmi->m_ModeList = QStringList{"A"};
    f.Change("remove", "A");
    QCOMPARE(f.hmi->m_ModeList, QStringList());
    QCOMPARE(f.TakeRecords(), (Records{Debug("AudioManagerHmi::HandleModeListChanged -- remove \"A\""),
                                       kDumpBegins, kDumpEnds}));
}

void tst_ModeEvents::modeListChanged_otherAction_removes_data()
{
    QTest::addColumn<QVariant>("action");
    QTest::newRow("other case") << QVariant("Add");
    QTest::newRow("upper case") << QVariant("ADD");
    QTest::newRow("blank") << QVariant(" add");
    QTest::newRow("longer") << QVariant("added");
    QTest::newRow("unknown") << QVariant("replace");
    QTest::newRow("empty") << QVariant("");
    QTest::newRow("null") << QVariant(QString());
    QTest::newRow("flag") << QVariant(true);
    QTest::newRow("number") << QVariant(1);
}

void tst_ModeEvents::modeListChanged_otherAction_removes()
{
    QFETCH(QVariant, action);
    Events f;
    f.hmi->HandleModeListChanged({{"action", action}, {"mode", "A"}});
    QCOMPARE(f.hmi->m_ModeList, QStringList{"B"});
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeListChanged false "A")"});
    QCOMPARE(f.TakeRecords(), Removed("A", {"B"}));
}

void tst_ModeEvents::modeListChanged_comparesCase()
{
    Events f;
    f.Change("remove", "a");
    CheckUnchanged(*f.hmi);
    QCOMPARE(f.log.Complaints(), Records{Critical("Remove mode list error: \"a\"")});
}

void tst_ModeEvents::modeListChanged_removeCurrentAndStoredMode_keepsThem()
{
    Events f;
    f.Store("B", 4);
    f.Change("remove", "A");
    f.Change("remove", "B");
    QCOMPARE(f.hmi->m_CurrentMode, "A");
    QCOMPARE(f.hmi->m_CurrentModeList, (QStringList{"A", "C"}));
    QCOMPARE(f.hmi->m_PendingSetModeRequestId, 4u);
    QCOMPARE(f.hmi->m_PendingMode, "B");
    QCOMPARE(f.heard.List(),
             (QStringList{R"(SignalModeListChanged false "A")", R"(SignalModeListChanged false "B")"}));
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeEvents::modeListChanged_incomplete_changesNothing_data()
{
    QTest::addColumn<Parameters>("parameters");
    QTest::newRow("no action") << Parameters{{"mode", "A"}};
    QTest::newRow("no mode") << Parameters{{"action", "remove"}};
    QTest::newRow("no mode to add") << Parameters{{"action", "add"}};
    QTest::newRow("neither") << Parameters{{"activeMode", "B"}};
    QTest::newRow("nothing") << Parameters{};
}

void tst_ModeEvents::modeListChanged_incomplete_changesNothing()
{
    QFETCH(Parameters, parameters);
    Events f;
    f.hmi->HandleModeListChanged(parameters);
    CheckUnchanged(*f.hmi);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.TakeRecords(), Records{kNoListParameters});
    QCOMPARE(f.Requests(), Requests{});
}

void tst_ModeEvents::modeListChanged_addStored_isSentBeforeItIsTold()
{
    Events f;
    f.Store("X", 4);
    Requests requestsWhenTold;
    connect(f.hmi.data(), &AudioManagerHmi::SignalModeListChanged, [&] { requestsWhenTold = f.Requests(); });

    f.Change("add", "X");

    const Requests sent{{false, "setMode", kSetX}};
    QCOMPARE(requestsWhenTold, sent);
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeListChanged true "X")"});
    QCOMPARE(f.TakeRecords(), Added("X", {"A", "B", "X"}));
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List(),
             (QStringList{R"(SignalModeListChanged true "X")", "SignalSetModeCompleted 4 true"}));
    QCOMPARE(f.Requests(), sent);
    QCOMPARE(f.TakeRecords(), Records{});
}

void tst_ModeEvents::modeListChanged_addOther_sendsNothing()
{
    Events f;
    f.Store("X", 4);
    f.Change("add", "Y");
    f.Change("add", "x");
    QCOMPARE(f.hmi->m_ModeList, (QStringList{"A", "B", "Y", "x"}));
    QCOMPARE(f.hmi->m_PendingSetModeRequestId, 4u);
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(), Added("Y", {"A", "B", "Y"}) + Added("x", {"A", "B", "Y", "x"}));
}

void tst_ModeEvents::modeListChanged_addPendingModeWithoutIdentifier_sendsNothing()
{
    Events f;
    f.Store("X", 0);
    f.Change("add", "X");
    f.Store("", 0);
    f.Change("add", "");
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.heard.List(),
             (QStringList{R"(SignalModeListChanged true "X")", R"(SignalModeListChanged true "")"}));
}

void tst_ModeEvents::modeListChanged_addStoredWithoutSession_isTold()
{
    Events f(0);
    f.Store("X", 4);
    f.Change("add", "X");
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeListChanged true "X")"});
    QCOMPARE(f.TakeRecords(),
             (Records{Debug("AudioManagerHmi::HandleModeListChanged -- add \"X\""),
                      Critical("AudioManagerHmi::StartSetModeRequest -- Session is not open"),
                      Debug("AudioManagerHmi::SetModeAsync -- Unable to start request")}) +
                 Dump({"A", "B", "X"}));
    QCOMPARE(f.hmi->m_PendingSetModeRequestId, 4u);
    QCOMPARE(f.hmi->m_PendingMode, "X");
}

void tst_ModeEvents::modeListChanged_removeStored_sendsNothing()
{
    Events f;
    f.hmi->m_ModeList = QStringList{"A", "X", "X"};
    f.Store("X", 4);
    f.Change("remove", "X");
    QCOMPARE(f.Requests(), Requests{});
    QCOMPARE(f.TakeRecords(), Removed("X", {"A", "X"}));
}

// HandleNotify

void tst_ModeEvents::notify_focusEvent_isTold()
{
    Events f;
    f.hmi->HandleNotify("audioFocusChangeEvent", kFocusEvent);
    QCOMPARE(f.heard.List(), QStringList{kFocusSignal});
    QCOMPARE(f.TakeRecords(), Records{});
    QCOMPARE(f.Requests(), Requests{});
    CheckUnchanged(*f.hmi);
}

void tst_ModeEvents::notify_anyValues_areTold()
{
    Events f(7);
    f.hmi->HandleNotify("audioFocusChangeEvent",
                        R"({"newFocus":"whatever","destination":"","streamType":"Cabin","sessionId":99,)"
                        R"("focusType":"","streamModeName":"","streamName":"Küche","more":true})");
    QCOMPARE(f.heard.List(),
             QStringList{Streamed("SignalAudioFocusChange", QString("Küche"), QString(), QString(),
                                  QString("Cabin"), QString(), QString("whatever"))});
    QCOMPARE(f.TakeRecords(), Records{});
}

void tst_ModeEvents::notify_needsNoSession()
{
    Events f(0);
    f.hmi->HandleNotify("audioFocusChangeEvent", kFocusEvent);
    QCOMPARE(f.heard.List(), QStringList{kFocusSignal});
    QCOMPARE(f.TakeRecords(), Records{});
}

void tst_ModeEvents::notify_valuesOfOtherTypes_areTexts()
{
    Events f;
    f.hmi->HandleNotify("audioFocusChangeEvent",
                        R"({"streamName":5,"streamModeName":true,"focusType":null,"streamType":{"a":"b"},)"
                        R"("destination":-1,"newFocus":2.5})");
    QCOMPARE(f.heard.List(), QStringList{R"(SignalAudioFocusChange "5" "true" "" "" "-1" "2")"});
}

void tst_ModeEvents::notify_missingKey_isIgnored_data()
{
    QTest::addColumn<QString>("payload");
    for (const QString& key : {QString("streamName"), QString("streamModeName"), QString("focusType"),
                               QString("streamType"), QString("destination"), QString("newFocus")}) {
        QTest::newRow(qPrintable(key)) << QString(kFocusEvent).replace("\"" + key + "\"", "\"other\"");
    }
}

void tst_ModeEvents::notify_missingKey_isIgnored()
{
    QFETCH(QString, payload);
    QVERIFY(payload != kFocusEvent);
    Events f;
    f.hmi->HandleNotify("audioFocusChangeEvent", payload);
    QCOMPARE(f.heard.List(), QStringList());
    QCOMPARE(f.TakeRecords(),
             Records{Debug(Streamed(
                 "AudioManagerHmi::HandleNotify -- Focus change is not for a media source, ignore it:",
                 payload))});
    CheckUnchanged(*f.hmi);
}

void tst_ModeEvents::notify_garbage_isIgnored_data()
{
    QTest::addColumn<QString>("payload");
    QTest::newRow("empty text") << "";
    QTest::newRow("no JSON") << "focus!";
    QTest::newRow("empty object") << "{}";
    QTest::newRow("list") << R"(["streamName","newFocus"])";
    QTest::newRow("cut off") << kFocusEvent.chopped(1);
}

void tst_ModeEvents::notify_garbage_isIgnored()
{
    notify_missingKey_isIgnored();
}

void tst_ModeEvents::notify_otherName_isRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("unknown") << "somethingElse";
    QTest::newRow("other case") << "AudioFocusChangeEvent";
    QTest::newRow("inbound call") << "onModeChange";
    QTest::newRow("empty") << "";
}

void tst_ModeEvents::notify_otherName_isRefused()
{
    QFETCH(QString, name);
    Events f;
    f.hmi->HandleNotify(name, kFocusEvent);
    f.hmi->HandleNotify(name, "garbage");
    QCOMPARE(f.heard.List(), QStringList());
    const LogRecord refused = Critical(
        Streamed("AudioManagerHmi::HandleNotify -- Audio manager error: Sending wrong method", name));
    QCOMPARE(f.TakeRecords(), (Records{refused, refused}));
    CheckUnchanged(*f.hmi);
}

// Slots that do more than listen

void tst_ModeEvents::slot_deletesTheClient()
{
    QFETCH(Happening, happening);
    QFETCH(QString, signal);
    Events f;
    const Actor actor(f.hmi, [&f] { delete f.hmi.data(); });

    LetHappen(*f.hmi, happening);
    QVERIFY(f.WaitForSignals(1));
    QVERIFY(f.WaitForSilence());

    QVERIFY(f.hmi.isNull());
    QCOMPARE(f.heard.List(), QStringList{signal});
    QCOMPARE(actor.Seen(), QStringList{signal});
    QCOMPARE(f.log.Records().last(), kNotPoweredDown);
    QCOMPARE(f.log.Complaints(), Records{});
}

void tst_ModeEvents::slot_powersTheClientDown()
{
    QFETCH(Happening, happening);
    QFETCH(QString, signal);
    Events f;
    const Actor actor(f.hmi, [&f] { f.hmi->Powerdown(); });

    LetHappen(*f.hmi, happening);
    QVERIFY(f.WaitForSignals(1));
    QVERIFY(f.WaitForSilence());

    QCOMPARE(f.heard.List(), QStringList{signal});
    QCOMPARE(actor.Seen(), QStringList{signal});
    QCOMPARE(f.hmi->m_SessionId, 0u);
    QVERIFY(f.hmi->m_ServiceProxy == nullptr);
    QCOMPARE(f.Requests().count({true, "closeSession", kClose}), 1);
    QCOMPARE(f.log.Complaints(), Records{});
}

void tst_ModeEvents::slot_deletesTheClient_storedRequestInFlight()
{
    Events f;
    f.Store("X", 4);
    const Actor actor(f.hmi, [&f] { delete f.hmi.data(); });
    f.Change("add", "X");
    QVERIFY(f.hmi.isNull());
    QVERIFY(f.WaitForSilence());
    QCOMPARE(f.heard.List(), QStringList{R"(SignalModeListChanged true "X")"});
    QCOMPARE(actor.Seen(), f.heard.List());
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetX}, {false, "last", "{}"}}));
}

void tst_ModeEvents::slot_setsAMode_whileItIsAdded()
{
    Events f;
    quint32 requestId = 0;
    connect(f.hmi.data(), &AudioManagerHmi::SignalModeListChanged,
            [&](bool, const QString& mode) { requestId = f.hmi->SetModeAsync(mode); });
    f.Change("add", "X");
    QCOMPARE(requestId, 1u);
    QVERIFY(f.WaitForSignals(2));
    QCOMPARE(f.heard.List(),
             (QStringList{R"(SignalModeListChanged true "X")", "SignalSetModeCompleted 1 true"}));
    QCOMPARE(f.Requests(), (Requests{{false, "setMode", kSetX}}));
}

KIV_UNIT_TEST_MAIN(tst_ModeEvents)
#include "tst_ModeEvents.moc"
