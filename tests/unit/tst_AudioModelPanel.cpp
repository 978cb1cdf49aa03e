// SPDX-License-Identifier: MIT
#include "AudioModel.h"

#include <QJsonDocument>
#include <QTest>

using namespace Simulator;

namespace {

QString ToText(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

/** One line for an effect, nothing left out. */
QString LineOf(const Effect& effect)
{
    const QString kind = effect.kind == Effect::Kind::Call ? "call" : "broadcast";
    const QString role = effect.role == Role::Hmi ? "hmi" : "app";
    return QStringList{kind, role, effect.busName, effect.objectPath, effect.name, ToText(effect.parameters)}
        .join(' ');
}

QString LineOf(const Session& session)
{
    const QString role = session.role == Role::Hmi ? "hmi" : "app";
    const QString stream = session.stream ? session.stream->name : "none";
    return QStringList{QString::number(session.id), role,  session.caller, session.objectPath,
                       session.destination,         stream}
        .join(' ');
}

template <typename Item>
QStringList LinesOf(const QVector<Item>& items)
{
    QStringList lines;
    for (const Item& item : items) {
        lines.append(LineOf(item));
    }
    return lines;
}

QString HmiLine(const QString& method, const QString& parameters)
{
    return QString("call hmi :1.1 /screen %1 {%2,\"sessionId\":1}").arg(method, parameters);
}

QString AppLine(const QString& newFocus)
{
    return QString(R"(call app :1.2 /player onAudioFocusChange {"newFocus":"%1","sessionId":2})")
        .arg(newFocus);
}

QString PlayerBroadcast(const QString& newFocus)
{
    return QString("broadcast hmi   audioFocusChangeEvent {\"destination\":\"Rear\",\"focusType\":"
                   "\"permanent\",\"newFocus\":\"%1\",\"streamModeName\":\"\",\"streamName\":\"player\","
                   "\"streamType\":\"Media\"}")
        .arg(newFocus);
}

QString TunerBroadcast(const QString& newFocus)
{
    return QString("broadcast hmi   audioFocusChangeEvent {\"destination\":\"Cabin\",\"focusType\":"
                   "\"permanent\",\"newFocus\":\"%1\",\"streamModeName\":\"/tuner\",\"streamName\":\"tuner\","
                   "\"streamType\":\"Radio\"}")
        .arg(newFocus);
}

QString PhoneBroadcast(const QString& newFocus)
{
    return QString("broadcast hmi   audioFocusChangeEvent {\"destination\":\"all\",\"focusType\":"
                   "\"transient\",\"newFocus\":\"%1\",\"streamModeName\":\"\",\"streamName\":\"phone\","
                   "\"streamType\":\"Call\"}")
        .arg(newFocus);
}

const Stream kPhone{"phone", "", "Call", "transient"};
const Stream kTuner{"tuner", "/tuner", "Radio", "permanent"};

/** Two destinations, an HMI (session 1) and an application that holds the focus for good (session 2). */
class World
{
public:
    explicit World(const QStringList& refused = {}, const QStringList& locked = {})
        : m_Model({{{"Cabin", {"Radio", "Bluetooth"}}, {"Rear", {"Video", "Radio"}}}, refused, locked})
    {
        Hmi("openSession", R"({"busName":"","objectPath":"/screen"})");
        App("openSession", R"({"busName":"","objectPath":"/player","destination":"Rear"})");
        App("registerAudioStream",
            R"({"sessionId":2,"streamName":"player","streamType":"Media","focusType":"permanent"})");
        App("requestAudioFocus", R"({"sessionId":2,"requestType":"request"})");
    }

    Outcome Hmi(const QString& method, const QString& arguments)
    {
        return m_Model.Handle({Role::Hmi, ":1.1", method, arguments});
    }

    Outcome App(const QString& method, const QString& arguments)
    {
        return m_Model.Handle({Role::App, ":1.2", method, arguments});
    }

    AudioModel& Model() { return m_Model; }

    /** All that can be asked: the modes, the current ones and the sessions. */
    QStringList Picture()
    {
        QStringList picture;
        for (const char* destination : {"Cabin", "Rear"}) {
            const QString arguments = QString(R"({"sessionId":1,"destination":"%1"})").arg(destination);
            picture += ToText(Hmi("getModeList", arguments).reply);
            picture += ToText(Hmi("getMode", arguments).reply);
        }
        return picture + LinesOf(m_Model.Sessions());
    }

private:
    AudioModel m_Model;
};

using Deed = PanelOutcome (*)(AudioModel&);

} // namespace

Q_DECLARE_METATYPE(Deed)

class tst_AudioModelPanel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void complaint_saysWhyAndChangesNothing_data();
    void complaint_saysWhyAndChangesNothing();
    void destinationAll_isTheSameAsNone();
    void addMode_tellsEveryHmiWhenItIsNew();
    void addMode_asOftenAsItIsRemoved();
    void removeMode_fromTheStart_replacesItWhereItWasCurrent();
    void removeMode_ofADestination_leavesTheOthers();
    void removeMode_alsoOfAStream_staysUntilTheStreamGoes();
    void pressMode_tellsEveryHmiAsSetModeDoes();
    void startStream_takesTheFocusAndOffersItsMode();
    void startStream_refusedAfterwards_leavesNoTrace();
    void startStream_nameOfAClientsStream_isAllowed();
    void stopStream_givesTheFocusBackAndWithdrawsTheMode();
    void stopStream_thatHasLostTheFocus_onlyEnds();
    void clientsCannotNameAStreamOfTheDevice();
    void focusBackToTheDevice_callsNobody();
    void loseSessions_isTheStartAgain();
    void loseSessions_identifiersGoOn();
    void sessions_areThoseOfClientsInOrder();
};

void tst_AudioModelPanel::complaint_saysWhyAndChangesNothing_data()
{
    QTest::addColumn<Deed>("deed");
    QTest::addColumn<QString>("complaint");
    const auto row = [](const char* name, Deed deed, const char* complaint) {
        QTest::newRow(name) << deed << QString(complaint);
    };
    const char* const noRoof = R"(there is no destination "Roof")";
    const char* const noTape = R"(mode "Tape" is not offered)";
    const char* const notOwn = R"(mode "Tape" is not offered by the device itself)";
    using M = AudioModel;
    row(
        "add, unknown destination", [](M& m) { return m.AddMode("Tape", "Roof"); }, noRoof);
    row(
        "add, nameless mode", [](M& m) { return m.AddMode("", ""); }, R"(parameter "mode" is empty)");
    row(
        "remove, unknown destination", [](M& m) { return m.RemoveMode("Radio", "Roof"); }, noRoof);
    row(
        "remove, not offered", [](M& m) { return m.RemoveMode("Tape", ""); }, notOwn);
    row(
        "remove, not offered there", [](M& m) { return m.RemoveMode("Video", "Cabin"); },
        R"(mode "Video" is not offered by the device itself)");
    row(
        "press, unknown destination", [](M& m) { return m.PressMode("Radio", "cabin"); },
        R"(there is no destination "cabin")");
    row(
        "press, not offered", [](M& m) { return m.PressMode("Tape", ""); }, noTape);
    row(
        "press, not offered there", [](M& m) { return m.PressMode("Bluetooth", "Rear"); },
        R"(mode "Bluetooth" is not offered)");
    row(
        "start, unknown destination", [](M& m) { return m.StartStream(kPhone, "Roof"); }, noRoof);
    row(
        "start, nameless",
        [](M& m) {
            return m.StartStream({"", "", "Call", "transient"}, "");
        },
        R"(parameter "streamName" is empty)");
    row(
        "start, without a type",
        [](M& m) {
            return m.StartStream({"x", "", "", "transient"}, "");
        },
        R"(parameter "streamType" is empty)");
    row(
        "start, unknown focus type",
        [](M& m) {
            return m.StartStream({"x", "", "Call", "lasting"}, "");
        },
        R"(parameter "focusType" is neither "permanent" nor "transient")");
    row(
        "start, transient with a mode",
        [](M& m) {
            return m.StartStream({"x", "/x", "Call", "transient"}, "");
        },
        "only a stream with permanent focus can offer a mode");
    row(
        "start, name in use",
        [](M& m) {
            return m.StartStream({"running", "/x", "Call", "permanent"}, "");
        },
        R"(the device has a stream "running" already)");
    row(
        "start, refused",
        [](M& m) {
            return m.StartStream({"refused", "/x", "Call", "permanent"}, "");
        },
        R"(stream "refused" is always refused the focus)");
    row(
        "start, another locked", [](M& m) { return m.StartStream(kTuner, ""); },
        R"(stream "running" holds the focus and is locked)");
    row(
        "stop, unknown", [](M& m) { return m.StopStream("phone"); }, R"(the device has no stream "phone")");
    row(
        "stop, a client's", [](M& m) { return m.StopStream("player"); },
        R"(the device has no stream "player")");
}

void tst_AudioModelPanel::complaint_saysWhyAndChangesNothing()
{
    QFETCH(Deed, deed);
    QFETCH(QString, complaint);
    World world({"refused"}, {"running"});
    world.Model().StartStream({"running", "", "Call", "transient"}, "");
    const QStringList before = world.Picture();

    const PanelOutcome outcome = deed(world.Model());
    QCOMPARE(outcome.complaint, complaint);
    QCOMPARE(LinesOf(outcome.effects), QStringList());
    QCOMPARE(world.Picture(), before);
    QCOMPARE(LinesOf(world.Model().StopStream("running").effects).mid(1),
             (QStringList{AppLine("gained"), PlayerBroadcast("gained")}));
    QCOMPARE(world.Model().RemoveMode("Video", "").complaint, QString());
    QCOMPARE(world.Model().RemoveMode("Bluetooth", "").complaint, QString());
}

void tst_AudioModelPanel::destinationAll_isTheSameAsNone()
{
    World world;
    QCOMPARE(world.Model().AddMode("Tape", "all").complaint, QString());
    QCOMPARE(world.Picture().mid(0, 4),
             (QStringList{R"({"modeList":["Radio","Bluetooth","Tape"]})", R"({"currentMode":["Radio"]})",
                          R"({"modeList":["Video","Radio","Tape"]})", R"({"currentMode":["Video"]})"}));
}

void tst_AudioModelPanel::addMode_tellsEveryHmiWhenItIsNew()
{
    World world;
    QCOMPARE(LinesOf(world.Model().AddMode("Bluetooth", "Rear").effects),
             QStringList{HmiLine("onModeListChange", R"("action":"add","mode":"Bluetooth")")});
    QCOMPARE(LinesOf(world.Model().AddMode("Bluetooth", "").effects), QStringList());
    QCOMPARE(world.Picture().value(2), QString(R"({"modeList":["Video","Radio","Bluetooth"]})"));
}

void tst_AudioModelPanel::addMode_asOftenAsItIsRemoved()
{
    World world;
    world.Model().AddMode("Tape", "Rear");
    world.Model().AddMode("Tape", "Rear");

    QCOMPARE(LinesOf(world.Model().RemoveMode("Tape", "").effects), QStringList());
    QCOMPARE(LinesOf(world.Model().RemoveMode("Tape", "").effects),
             QStringList{HmiLine("onModeListChange", R"("action":"remove","mode":"Tape")")});
    QCOMPARE(world.Model().RemoveMode("Tape", "").complaint,
             QString(R"(mode "Tape" is not offered by the device itself)"));
}

void tst_AudioModelPanel::removeMode_fromTheStart_replacesItWhereItWasCurrent()
{
    World world;
    QCOMPARE(LinesOf(world.Model().RemoveMode("Radio", "").effects),
             (QStringList{HmiLine("onModeListChange", R"("action":"remove","mode":"Radio")"),
                          HmiLine("onModeChange", R"("activeMode":"Bluetooth")")}));
    QCOMPARE(world.Picture().mid(0, 4),
             (QStringList{R"({"modeList":["Bluetooth"]})", R"({"currentMode":["Bluetooth"]})",
                          R"({"modeList":["Video"]})", R"({"currentMode":["Video"]})"}));

    const PanelOutcome last = world.Model().RemoveMode("Video", "");
    QCOMPARE(last.complaint,
             QString(R"(destination "Rear" must keep a mode of the device itself: "Video" is its last one)"));
    QCOMPARE(LinesOf(last.effects), QStringList());
}

void tst_AudioModelPanel::removeMode_ofADestination_leavesTheOthers()
{
    World world;
    QCOMPARE(LinesOf(world.Model().RemoveMode("Radio", "Rear").effects),
             QStringList{HmiLine("onModeListChange", R"("action":"remove","mode":"Radio")")});
    QCOMPARE(world.Model().RemoveMode("Radio", "Rear").complaint,
             QString(R"(mode "Radio" is not offered by the device itself)"));

    // One of the two destinations concerned could, but nothing changes.
    world.Model().AddMode("Video", "Cabin");
    QCOMPARE(world.Model().RemoveMode("Video", "").complaint,
             QString(R"(destination "Rear" must keep a mode of the device itself: "Video" is its last one)"));
    QCOMPARE(world.Picture().mid(0, 4),
             (QStringList{R"({"modeList":["Radio","Bluetooth","Video"]})", R"({"currentMode":["Radio"]})",
                          R"({"modeList":["Video"]})", R"({"currentMode":["Video"]})"}));
}

void tst_AudioModelPanel::removeMode_alsoOfAStream_staysUntilTheStreamGoes()
{
    World world;
    world.Model().StartStream({"tuner", "Bluetooth", "Radio", "permanent"}, "Cabin");

    QCOMPARE(LinesOf(world.Model().RemoveMode("Bluetooth", "Cabin").effects), QStringList());
    QCOMPARE(world.Model().RemoveMode("Bluetooth", "Cabin").complaint,
             QString(R"(mode "Bluetooth" is not offered by the device itself)"));
    QCOMPARE(
        world.Model().RemoveMode("Radio", "Cabin").complaint,
        QString(R"(destination "Cabin" must keep a mode of the device itself: "Radio" is its last one)"));
    QCOMPARE(LinesOf(world.Model().StopStream("tuner").effects).mid(1),
             QStringList{HmiLine("onModeListChange", R"("action":"remove","mode":"Bluetooth")")});
    QCOMPARE(world.Picture().value(0), QString(R"({"modeList":["Radio"]})"));
}

void tst_AudioModelPanel::pressMode_tellsEveryHmiAsSetModeDoes()
{
    World world;
    const PanelOutcome pressed = world.Model().PressMode("Radio", "Rear");
    QCOMPARE(pressed.complaint, QString());
    QCOMPARE(LinesOf(pressed.effects), QStringList{HmiLine("onModeChange", R"("activeMode":"Radio")")});
    QCOMPARE(LinesOf(world.Hmi("setMode", R"({"sessionId":1,"newMode":"Radio"})").effects),
             LinesOf(pressed.effects));
    QCOMPARE(LinesOf(world.Model().PressMode("Radio", "").effects), LinesOf(pressed.effects));
    QCOMPARE(world.Picture().value(3), QString(R"({"currentMode":["Radio"]})"));
}

void tst_AudioModelPanel::startStream_takesTheFocusAndOffersItsMode()
{
    World world;
    const PanelOutcome phone = world.Model().StartStream(kPhone, "");
    QCOMPARE(phone.complaint, QString());
    QCOMPARE(LinesOf(phone.effects),
             (QStringList{AppLine("temporarilyLost"), PlayerBroadcast("temporarilyLost"),
                          PhoneBroadcast("gained")}));

    const PanelOutcome tuner = world.Model().StartStream(kTuner, "Cabin");
    QCOMPARE(tuner.complaint, QString());
    QCOMPARE(
        LinesOf(tuner.effects),
        (QStringList{HmiLine("onModeListChange", R"("action":"add","mode":"/tuner")"), PhoneBroadcast("lost"),
                     AppLine("lost"), PlayerBroadcast("lost"), TunerBroadcast("gained")}));
    QCOMPARE(world.Picture().value(0), QString(R"({"modeList":["Radio","Bluetooth","/tuner"]})"));
}

void tst_AudioModelPanel::startStream_refusedAfterwards_leavesNoTrace()
{
    World world({"tuner"});
    const QStringList before = world.Picture();
    QCOMPARE(world.Model().StartStream(kTuner, "Cabin").complaint,
             QString(R"(stream "tuner" is always refused the focus)"));
    QCOMPARE(world.Picture(), before);
    QCOMPARE(world.Model().StopStream("tuner").complaint, QString(R"(the device has no stream "tuner")"));
    QCOMPARE(ToText(world.App("openSession", R"({"busName":"","objectPath":"/next"})").reply),
             QString(R"({"sessionId":3})"));
}

void tst_AudioModelPanel::startStream_nameOfAClientsStream_isAllowed()
{
    World world;
    QCOMPARE(world.Model().StartStream({"player", "", "Call", "transient"}, "").complaint, QString());
    QCOMPARE(world.Model().StopStream("player").complaint, QString());
    QCOMPARE(ToText(world.App("abandonAudioFocus", R"({"sessionId":2,"reason":"done"})").reply),
             QString("{}"));
}

void tst_AudioModelPanel::stopStream_givesTheFocusBackAndWithdrawsTheMode()
{
    World world;
    world.Model().StartStream(kTuner, "Cabin");
    world.Model().PressMode("/tuner", "");
    const PanelOutcome stopped = world.Model().StopStream("tuner");
    QCOMPARE(stopped.complaint, QString());
    QCOMPARE(LinesOf(stopped.effects),
             (QStringList{TunerBroadcast("lost"),
                          HmiLine("onModeListChange", R"("action":"remove","mode":"/tuner")"),
                          HmiLine("onModeChange", R"("activeMode":"Radio")")}));

    World other;
    other.Model().StartStream(kPhone, "");
    QCOMPARE(LinesOf(other.Model().StopStream("phone").effects),
             (QStringList{PhoneBroadcast("lost"), AppLine("gained"), PlayerBroadcast("gained")}));
    QCOMPARE(other.Model().StartStream(kPhone, "").complaint, QString());
}

void tst_AudioModelPanel::stopStream_thatHasLostTheFocus_onlyEnds()
{
    World world;
    world.Model().StartStream(kPhone, "");
    world.App("requestAudioFocus", R"({"sessionId":2,"requestType":"request"})");

    QCOMPARE(world.Model().StartStream(kPhone, "").complaint,
             QString(R"(the device has a stream "phone" already)"));
    const PanelOutcome stopped = world.Model().StopStream("phone");
    QCOMPARE(stopped.complaint, QString());
    QCOMPARE(LinesOf(stopped.effects), QStringList());
}

void tst_AudioModelPanel::clientsCannotNameAStreamOfTheDevice()
{
    World world;
    world.Model().StartStream(kPhone, "");
    QCOMPARE(ToText(world.App("closeSession", R"({"sessionId":3})").reply),
             QString(R"({"errCode":7,"errMessage":"there is no session 3"})"));
    QCOMPARE(ToText(world.App("openSession", R"({"busName":"","objectPath":"/next"})").reply),
             QString(R"({"sessionId":4})"));
}

void tst_AudioModelPanel::focusBackToTheDevice_callsNobody()
{
    World world;
    world.Model().StartStream(kTuner, "Cabin");
    world.Model().StartStream(kPhone, "");
    QCOMPARE(LinesOf(world.Model().StopStream("phone").effects),
             (QStringList{PhoneBroadcast("lost"), TunerBroadcast("gained")}));
}

void tst_AudioModelPanel::loseSessions_isTheStartAgain()
{
    World world;
    const QStringList modes = world.Picture().mid(0, 4);
    world.Model().AddMode("Tape", "");
    world.Model().RemoveMode("Video", "");
    world.Model().PressMode("Tape", "");
    world.Model().StartStream(kTuner, "Cabin");

    world.Model().LoseSessions();
    QCOMPARE(LinesOf(world.Model().Sessions()), QStringList());
    QVERIFY(!world.Model().HasSessions(":1.1"));
    QCOMPARE(LinesOf(world.Model().CallerLeft(":1.2")), QStringList());
    QCOMPARE(world.Model().StopStream("tuner").complaint, QString(R"(the device has no stream "tuner")"));
    QCOMPARE(LinesOf(world.Model().StartStream(kPhone, "").effects), QStringList{PhoneBroadcast("gained")});

    QStringList afterwards;
    const QString open = ToText(world.Hmi("openSession", R"({"busName":"","objectPath":"/screen"})").reply);
    for (const char* destination : {"Cabin", "Rear"}) {
        for (const char* method : {"getModeList", "getMode"}) {
            afterwards += ToText(
                world.Hmi(method, QString(R"({"sessionId":5,"destination":"%1"})").arg(destination)).reply);
        }
    }
    QCOMPARE(open, QString(R"({"sessionId":5})"));
    QCOMPARE(afterwards, modes);
}

void tst_AudioModelPanel::loseSessions_identifiersGoOn()
{
    World world;
    world.Model().LoseSessions();
    QCOMPARE(ToText(world.App("closeSession", R"({"sessionId":2})").reply),
             QString(R"({"errCode":7,"errMessage":"there is no session 2"})"));
    QCOMPARE(ToText(world.App("openSession", R"({"busName":"","objectPath":"/player"})").reply),
             QString(R"({"sessionId":3})"));
}

void tst_AudioModelPanel::sessions_areThoseOfClientsInOrder()
{
    World world;
    world.Model().StartStream(kPhone, "");
    world.App("openSession", R"({"busName":"","objectPath":"/next"})");
    QCOMPARE(LinesOf(world.Model().Sessions()),
             (QStringList{"1 hmi :1.1 /screen  none", "2 app :1.2 /player Rear player",
                          "4 app :1.2 /next  none"}));

    world.Hmi("closeSession", R"({"sessionId":1})");
    QCOMPARE(LinesOf(world.Model().Sessions()),
             (QStringList{"2 app :1.2 /player Rear player", "4 app :1.2 /next  none"}));
}

QTEST_APPLESS_MAIN(tst_AudioModelPanel)
#include "tst_AudioModelPanel.moc"
